#include "report/search_report.h"

#include <gtest/gtest.h>

#include <string>

#include "analysis/driver.h"
#include "report/site.h"

namespace {

class SearchReport : public testing::Test {
 protected:
  SearchReport() {
    ResetAnalysis();
    settings_.cgi = 1;
    settings_.search.on = 1;
  }
  ~SearchReport() override { ResetAnalysis(); }

  void Hit(const std::string& host, const std::string& phrase, int times) {
    counts_.engines = mpEngineHead;
    for (; times > 0; --times) {
      CountSearchHits("http://" + host + "/s?q=" + phrase, counts_);
    }
  }

  // Five phrases with the counts 9, 5, 2, 2 and 1.
  void HitFinder() {
    Hit("finder.example", "a", 2);
    Hit("finder.example", "b", 9);
    Hit("finder.example", "c", 1);
    Hit("finder.example", "d", 5);
    Hit("finder.example", "e", 2);
  }

  std::string Report() {
    Analysis analysis{};
    counts_.engines = mpEngineHead;
    counts_.built_in = mNoConfigDefinitions;
    analysis.search = counts_;
    testing::internal::CaptureStdout();
    Search_Report(settings_, SectionOf(SectionId::kPhrases), analysis);
    return testing::internal::GetCapturedStdout();
  }

  // The rows alone, "count phrase " each.
  std::string Rows() {
    const std::string page = Report();
    const std::string opening = "<td align=\"center\">";
    std::string rows;
    for (size_t at = page.find(opening); at != std::string::npos; at = page.find(opening, at + 1)) {
      const size_t count = at + opening.size();
      const size_t phrase = page.find("<td>", at) + 4;
      rows.append(page, count, page.find('<', count) - count).append(" ");
      rows.append(page, phrase, page.find('<', phrase) - phrase).append(" ");
    }
    return rows;
  }

  Settings settings_{};
  SearchCounts counts_{};
};

constexpr const char* kFinder = "Finder;url=http://finder.example/;domain=finder.example;vars=q";
constexpr const char* kSeeker = "See & ker;domain=seeker.example;vars=q";

using OutputSearchDebugInfoTest = SearchReport;

std::string DebugInfo() {
  testing::internal::CaptureStdout();
  OutputSearchDebugInfo(mpEngineHead);
  return testing::internal::GetCapturedStdout();
}

std::string DomainDebug(const SearchDomainInfo* domain) {
  testing::internal::CaptureStdout();
  SearchDomainInfo_Debug(domain);
  return testing::internal::GetCapturedStdout();
}

}  // namespace

TEST_F(SearchReport, WithoutPhrasesSpansOneColumn) {
  ParseSearchEngineDefinition(kFinder);
  EXPECT_EQ(Report(),
            "\n<p><a name=\"search\"></a><hr noshade><p>\n"
            "<center><table border=1 width=\"80%\" cellspacing=0>\n"
            "<tr>\n"
            "<td colspan=1 bgcolor=\"#40C080\" align=\"center\"><font size=\"+1\"><b>Search "
            "Phrases</b></font></td>\n"
            "</tr>\n"
            "<tr>\n"
            "<td colspan=1 bgcolor=\"#40C080\">This report shows the phrases submitted to the popular search "
            "engines"
            " by users looking for your site's content."
            "</td>\n"
            "</tr>\n"
            "<tr>\n<td><b><i>No search phrases found</i></b></td>\n</tr>\n"
            "</table></center><p>");
}

TEST_F(SearchReport, ListsPhrasesEngineByEngineInDefinitionOrder) {
  ParseSearchEngineDefinition(kSeeker);
  ParseSearchEngineDefinition("Silent;domain=silent.example;vars=q");
  ParseSearchEngineDefinition(kFinder);
  Hit("finder.example", "red+shoes", 2);
  Hit("finder.example", "<i>", 1);
  Hit("seeker.example", "blue", 1);
  EXPECT_EQ(Report(),
            "\n<p><a name=\"search\"></a><hr noshade><p>\n"
            "<center><table border=1 width=\"80%\" cellspacing=0>\n"
            "<tr>\n"
            "<td colspan=2 bgcolor=\"#40C080\" align=\"center\"><font size=\"+1\"><b>Search "
            "Phrases</b></font></td>\n"
            "</tr>\n"
            "<tr>\n"
            "<td colspan=2 bgcolor=\"#40C080\">This report shows the phrases submitted to the popular search "
            "engines"
            " by users looking for your site's content."
            "</td>\n"
            "</tr>\n"
            "<tr>\n<td bgcolor=\"#40C080\" align=\"center\" width=\"10%\"><b>Summary:</b></td>\n"
            "<td colspan=1 bgcolor=\"#40C080\"><b>3</b> distinct phrases were found."
            "  All are shown in the report.</td>\n</tr>\n"
            "<tr>\n<td align=\"center\" width=\"10%\"><b>Quantity</b></td><td><b>Phrase</b></td></tr>\n"
            "<tr>\n<td colspan=2 align=\"left\" bgcolor=\"#40C080\">&nbsp;<i>Results from See & ker"
            " (1 hits total, which is 25% of all search engines referrals)</i></td>\n</tr>\n"
            "<tr>\n<td align=\"center\">1</td>\n<td>blue</td>\n</tr>\n"
            "<tr>\n<td colspan=2 align=\"left\" bgcolor=\"#40C080\">&nbsp;<i>Results from "
            "<a href=\"http://finder.example/\" target=\"_blank\">Finder</a>"
            " (3 hits total, which is 75% of all search engines referrals)</i></td>\n</tr>\n"
            "<tr>\n<td align=\"center\">2</td>\n<td>red shoes</td>\n</tr>\n"
            "<tr>\n<td align=\"center\">1</td>\n<td><i></td>\n</tr>\n"
            "</table></center><p>");
}

TEST_F(SearchReport, DefaultDefinitionsPrintTheNote) {
  Search_Init();
  const std::string note =
      "content.<br>\n<i><b>Note:</b> No search engine definitions were found in the Orvellis configuration "
      "file,"
      " so the default definitions are being used, but they may be out of date."
      "  <a href=\"" +
      std::string(kSearchEnginesPage) + "\" target=\"_blank\">More info...</a></i></td>\n</tr>\n";
  EXPECT_NE(Report().find(note), std::string::npos);
  EXPECT_TRUE(std::string_view(kSearchEnginesPage).ends_with("/products/orvellis/support/searchengines.asp"));
}

TEST_F(SearchReport, ConfiguredDefinitionsPrintNoNote) {
  ParseSearchEngineDefinition(kFinder);
  Search_Init();
  EXPECT_EQ(Report().find("Note:"), std::string::npos);
}

TEST_F(SearchReport, EngineWithoutUrlHasNoLink) {
  ParseSearchEngineDefinition(kSeeker);
  Hit("seeker.example", "blue", 1);
  EXPECT_EQ(Report().find("<a href"), std::string::npos);
}

TEST_F(SearchReport, TopAndGreaterCutTheRowsOfAnEngine) {
  ParseSearchEngineDefinition(kFinder);
  HitFinder();
  settings_.search.top = 3;
  settings_.search.greater = 2;
  EXPECT_EQ(Rows(), "9 b 5 d 2 e ");
}

TEST_F(SearchReport, TopZeroShowsEverythingUpToGreater) {
  ParseSearchEngineDefinition(kFinder);
  HitFinder();
  settings_.search.greater = 2;
  EXPECT_EQ(Rows(), "9 b 5 d 2 e 2 a ");
}

TEST_F(SearchReport, NegativeTopShowsNoRows) {
  ParseSearchEngineDefinition(kFinder);
  HitFinder();
  settings_.search.top = -1;
  EXPECT_EQ(Rows(), "");
}

TEST_F(SearchReport, TopIsANumberOfRowsPerEngineDeliberately) {
  ParseSearchEngineDefinition(kFinder);
  ParseSearchEngineDefinition(kSeeker);
  HitFinder();
  Hit("seeker.example", "x", 3);
  settings_.search.top = 2;
  settings_.search.top_is_percent = 1;
  EXPECT_EQ(Rows(), "9 b 5 d 3 x ");
}

TEST_F(SearchReport, EmptyPhrasesLowerTheSharesOfAll) {
  ParseSearchEngineDefinition(kFinder);
  Hit("finder.example", "a", 1);
  Hit("finder.example", "", 1);
  EXPECT_NE(Report().find("(1 hits total, which is 50% of all"), std::string::npos);
}

TEST_F(SearchReport, OutsideHtmlModeATitleReplacesTheFrameButRowsStayDeliberately) {
  settings_.cgi = 0;
  ParseSearchEngineDefinition(kSeeker);
  EXPECT_EQ(Report(),
            "\nSearch Engine Phrases\n\n"
            "<tr>\n<td><b><i>No search phrases found</i></b></td>\n</tr>\n</table></center><p>");
  Hit("seeker.example", "blue", 1);
  EXPECT_EQ(Report(),
            "\nSearch Engine Phrases\n\n"
            "<tr>\n<td align=\"center\" width=\"10%\"><b>Quantity</b></td><td><b>Phrase</b></td></tr>\n"
            "<tr>\n<td colspan=2 align=\"left\" bgcolor=\"#40C080\">&nbsp;<i>Results from See & ker"
            " (1 hits total, which is 100% of all search engines referrals)</i></td>\n</tr>\n"
            "<tr>\n<td align=\"center\">1</td>\n<td>blue</td>\n</tr>\n</table></center><p>");
}

TEST_F(OutputSearchDebugInfoTest, SaysSoWithoutEngines) {
  EXPECT_EQ(DebugInfo(),
            "The following search engines are defined in the Orvellis configuration file:<p>\n"
            "No search engines defined.<p>\n");
}

TEST_F(OutputSearchDebugInfoTest, ListsEveryDefinition) {
  ParseSearchEngineDefinition(
      "Finder;url=http://f.example/;domain=f.example;vars=q,p;domain=g.example;vars=");
  ParseSearchEngineDefinition("Bare;");
  EXPECT_EQ(DebugInfo(),
            "The following search engines are defined in the Orvellis configuration file:<p>\n"
            "<b>Finder:</b><br>\nURL: http://f.example/<br>\n"
            "Domain: f.example<br>\nVars: q p<br>\n"
            "Domain: g.example<br>\nVars:<br>\n"
            "<b>Bare:</b><br>\nNo URL defined.<br>\n");
}

TEST_F(OutputSearchDebugInfoTest, OneDomainForDiagnosis) {
  EXPECT_EQ(DomainDebug(nullptr), "pDomain is NULL<br>\n");
  ParseSearchEngineDefinition("F;domain=f.example;vars=q,p");
  EXPECT_EQ(DomainDebug(mpEngineHead->domains),
            "Domain name = f.example<br>\nVariables:<br>\n&nbsp;&nbsp;name = q<br>\n"
            "&nbsp;&nbsp;name = p<br>\nend of variables.<br>\n");
}
