#include "report/ranked_tables.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdio>
#include <string>

#include "analysis/smart_memory.h"
#include "base/text.h"
#include "support/text_file.h"

namespace {

template <typename Print>
std::string Output(Print print) {
  testing::internal::CaptureStdout();
  print();
  return testing::internal::GetCapturedStdout();
}

// ---- ReportSummary ----

class ReportSummaryTest : public testing::Test {
 protected:
  static std::string Summary(int64_t distinct, int top, int top_is_percent, int greater,
                             const char* noun = "URLs", int columns = 2,
                             const std::array<BrandShare, kMostBrands>& brands = {}) {
    const CutOff cut_off{top, top_is_percent != 0, greater};
    SectionLook look{};
    look.colour = "#FFDD00";
    look.noun = noun;
    return Output([&] {
      ReportSummary(look,
                    {distinct, 0, cut_off, AllShown(cut_off, distinct), false, false, 0, brands, false, 0},
                    columns);
    });
  }

  static std::array<BrandShare, kMostBrands> Brands(int64_t first, int64_t second, int64_t total) {
    return {{{"Brand A", first, Share(first, total)}, {"Brand B", second, Share(second, total)}}};
  }

  static std::string Row(const std::string& text, char columns = '2') {
    return std::string(
               "<tr>\n<td bgcolor=\"#FFDD00\" align=\"center\" width=\"10%\"><b>Summary:</b></td>\n") +
           "<td colspan=" + columns + " bgcolor=\"#FFDD00\">" + text + "</td>\n</tr>\n";
  }
};

TEST_F(ReportSummaryTest, NothingWithoutItems) {
  EXPECT_EQ(Summary(0, 10, 0, 5), "");
  EXPECT_EQ(Summary(0, -1, 0, -1, "browsers"), "");
}

TEST_F(ReportSummaryTest, AllDefaultOnlyCounts) {
  EXPECT_EQ(Summary(7, -1, 0, -1), Row("<b>7</b> distinct URLs were found."));
}

TEST_F(ReportSummaryTest, SevenItemsWithTopTenAreAllShown) {
  EXPECT_EQ(Summary(7, 10, 0, 0), Row("<b>7</b> distinct URLs were found.  All are shown in the report."));
}

TEST_F(ReportSummaryTest, WordsFollowTheCutOff) {
  struct Case {
    const char* name;
    long distinct;
    int top;
    int top_is_percent;
    int greater;
    const char* text;
  };
  constexpr char kAll[] = "<b>20</b> distinct URLs were found.  All are shown in the report.";
  for (const Case& c : {
           Case{"no cut-off", 20, 0, 0, 0, kAll},
           Case{"at least one", 20, 0, 0, 1, kAll},
           Case{"top equals distinct", 20, 20, 0, 0, kAll},
           Case{"top beyond distinct with greater", 20, 21, 0, 5, kAll},
           Case{"whole percentage", 20, 100, 1, 9, kAll},
           Case{"negative top", 20, -1, 0, 0, kAll},
           Case{"top", 20, 19, 0, 0,
                "This report shows the top 19 URLs requested.<br>\n<b>20</b> distinct URLs were found."},
           Case{"top of one", 20, 19, 0, 1,
                "This report shows the top 19 URLs requested.<br>\n<b>20</b> distinct URLs were found."},
           Case{"top and greater", 20, 5, 0, 2,
                "This report shows the top 5 URLs with at least 2 requests.<br>\n"
                "<b>20</b> distinct URLs were found."},
           Case{"greater", 20, 0, 0, 3,
                "This report shows all URLs with at least 3 requests.<br>\n<b>20</b> distinct URLs were "
                "found."},
           Case{"negative top and greater", 20, -1, 0, 3,
                "This report shows all URLs with at least 3 requests.<br>\n<b>20</b> distinct URLs were "
                "found."},
           Case{"percentage", 20, 30, 1, 0,
                "This report shows the top 30% of URLs requested.<br>\n<b>20</b> distinct URLs were found."},
           Case{"percentage and greater", 20, 99, 1, 4,
                "This report shows the top 99% of URLs with at least 4 requests.<br>\n"
                "<b>20</b> distinct URLs were found."},
       }) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Summary(c.distinct, c.top, c.top_is_percent, c.greater), Row(c.text));
  }
}

TEST_F(ReportSummaryTest, TextSpansTheColumnsBesideItsLabel) {
  EXPECT_EQ(Summary(3, 0, 0, 0, "phrases", 1),
            Row("<b>3</b> distinct phrases were found.  All are shown in the report.", '1'));
}

TEST_F(ReportSummaryTest, DeliberateBadNounsPrintTwoSpaces) {
  EXPECT_EQ(Summary(20, 10, 0, 0, " bad URLs"), Row("This report shows the top 10  bad URLs requested.<br>\n"
                                                    "<b>20</b> distinct  bad URLs were found."));
}

TEST_F(ReportSummaryTest, SharesOfTheBrandsStandLast) {
  EXPECT_EQ(Summary(2, -1, 0, -1, "browsers", 2, Brands(150, 298, 450)),
            Row("<b>2</b> distinct browsers were found."
                "<br>\n<b>150</b> of the requests (<b>33%</b>) were from versions of Brand A."
                "<br>\n<b>298</b> of the requests (<b>66%</b>) were from versions of Brand B."));
}

TEST_F(ReportSummaryTest, DeliberateShareBelowOneIsZero) {
  EXPECT_EQ(Summary(2, 0, 0, 0, "browsers", 2, Brands(3, 4, 400)),  // 0.75 of a hundred
            Row("<b>2</b> distinct browsers were found.  All are shown in the report."
                "<br>\n<b>3</b> of the requests (<b>0%</b>) were from versions of Brand A."
                "<br>\n<b>4</b> of the requests (<b>1%</b>) were from versions of Brand B."));
}

TEST_F(ReportSummaryTest, NoBrowserTotalGivesZeroShares) {
  EXPECT_EQ(Summary(1, -1, 0, -1, "browsers", 2, Brands(5, 0, 0)),
            Row("<b>1</b> distinct browsers were found."
                "<br>\n<b>5</b> of the requests (<b>0%</b>) were from versions of Brand A."
                "<br>\n<b>0</b> of the requests (<b>0%</b>) were from versions of Brand B."));
}

// ---- display_list ----

constexpr char kHeading[] =
    "<tr><td align=\"center\" width=\"10%\"><b>Quantity</b></td>"
    "<td align=\"center\" width=\"10%\"><b>% of Total</b></td>"
    "<td><b>Item</b></td></tr>\n";
constexpr char kNoItems[] = "<tr>\n<td colspan=\"3\"><i><b>No items found</b></i></td>\n</tr>\n";

std::string Figures(const std::string& count, const std::string& percentage) {
  return "<tr><td align=center>" + count + "</td><td align=center>" + percentage + "%</td>";
}

std::string PlainRow(const std::string& count, const std::string& percentage, const std::string& text) {
  return Figures(count, percentage) + "<td>" + text + "</td></tr>\n";
}

std::string LinkRow(const std::string& count, const std::string& percentage, const std::string& address,
                    const std::string& text) {
  return Figures(count, percentage) + "<td><a href=\"" + address + "\" target=\"_blank\">" + text +
         "</a></td></tr>\n";
}

constexpr SectionId kPlain = SectionId::kDomains;

class RankedTables : public testing::Test {
 protected:
  void SetUp() override {
    settings_.cgi = 1;
    CopyText(settings_.url, "http://www.example.com");
    gListInfo = {};
    smart_memory_init(settings_);
    init_list(list_, info_, "Items", SubLists::kAny);
  }

  void TearDown() override {
    for (CountedReport* report :
         {&analysis_.urls, &analysis_.referrers, &analysis_.browsers, &analysis_.badurls,
          &analysis_.badreferrers, &analysis_.domains, &analysis_.domaintypes}) {
      destroy(report->list);
    }
    destroyListInfo();
  }

  void Count(const char* key, int times = 1, const char* subkey = "") {
    for (int i = 0; i < times; ++i) {
      add_item(list_, info_, key, subkey, nullptr, false);
    }
  }

  // Counts keys named 1000, 1001, ...; those made first have the highest counts.
  void CountMany(int keys) {
    for (int i = 0; i < keys; ++i) {
      Count(std::to_string(1000 + i).c_str(), keys - i);
    }
  }

  // Rows of what Count has counted, drawn as the items of the given section are.
  std::string Rows(int top, int top_is_percent, int greater, SectionId kind, int64_t total) {
    Section section = SectionOf(kind);
    section.report = &Settings::requests;
    section.items.counted = &Analysis::urls;
    section.items.base = &Analysis::referrers;
    settings_.requests = {1, top, greater, top_is_percent};
    analysis_.referrers.total = total;
    return Output([&] {
      RankedRows rows = OpenRanked(settings_, section, analysis_);
      display_list(rows, settings_.cgi == 0);
    });
  }

  // Number of rows that the cut-off shows.
  int RowCount(int top, int top_is_percent, int greater) {
    const std::string rows = Rows(top, top_is_percent, greater, kPlain, 100);
    int count = 0;
    for (size_t at = 0; (at = rows.find("<tr><td align=center>", at)) != std::string::npos; ++at) {
      ++count;
    }
    return count;
  }

  Settings settings_{};
  Analysis analysis_{};
  List& list_ = analysis_.urls.list;
  ListInfo*& info_ = analysis_.urls.info;
};

using DisplayListTest = RankedTables;

TEST_F(DisplayListTest, EmptyListSaysSo) {
  EXPECT_EQ(Rows(10, 0, 0, SectionId::kBadUrls, 5), kNoItems);
  settings_.cgi = 0;
  EXPECT_EQ(Rows(0, 0, 0, kPlain, 0), kNoItems);
}

TEST_F(DisplayListTest, RowsByCountWithPercentages) {
  Count("a");
  Count("b", 3);
  Count("c", 2);
  EXPECT_EQ(Rows(0, 0, 0, SectionId::kBrowsers, 7), std::string(kHeading) + PlainRow("3", "42.86", "b") +
                                                        PlainRow("2", "28.57", "c") +
                                                        PlainRow("1", "14.29", "a"));
}

TEST_F(DisplayListTest, TiesStandInDescendingKeyOrder) {
  for (const char* key : {"x", "z", "y"}) {
    Count(key);
  }
  EXPECT_EQ(Rows(0, 0, 0, kPlain, 3), std::string(kHeading) + PlainRow("1", "33.33", "z") +
                                          PlainRow("1", "33.33", "y") + PlainRow("1", "33.33", "x"));
}

TEST_F(DisplayListTest, NoTotalGivesZeroPercentages) {
  Count("a", 5);
  EXPECT_EQ(Rows(0, 0, 0, kPlain, 0), std::string(kHeading) + PlainRow("5", "0.00", "a"));
}

TEST_F(DisplayListTest, ItemsPrintUnescaped) {
  Count("<b>100%s</b>&\x95");
  EXPECT_EQ(Rows(0, 0, 0, kPlain, 1), std::string(kHeading) + PlainRow("1", "100.00", "<b>100%s</b>&\x95"));
}

TEST_F(DisplayListTest, TopLimitsTheRows) {
  CountMany(12);
  EXPECT_EQ(RowCount(5, 0, 0), 5);
  EXPECT_EQ(RowCount(12, 0, 0), 12);
  EXPECT_EQ(RowCount(INT_MAX, 0, 0), 12);
}

TEST_F(DisplayListTest, TopShowsTheHighestCountsInOrder) {
  CountMany(12);
  EXPECT_EQ(Rows(2, 0, 0, kPlain, 100),
            std::string(kHeading) + PlainRow("12", "12.00", "1000") + PlainRow("11", "11.00", "1001"));
}

TEST_F(DisplayListTest, TopZeroShowsEveryItemWithAtLeastGreater) {
  CountMany(12);
  EXPECT_EQ(RowCount(0, 0, 0), 12);
  EXPECT_EQ(RowCount(0, 0, 4), 9);
  EXPECT_EQ(RowCount(0, 1, 13), 0);
}

TEST_F(DisplayListTest, BothCutOffsHold) {
  CountMany(12);
  EXPECT_EQ(RowCount(5, 0, 10), 3);
  EXPECT_EQ(RowCount(5, 0, 2), 5);
}

TEST_F(DisplayListTest, TenPercentOfFiftyFiveItemsIsFiveRows) {
  CountMany(55);
  EXPECT_EQ(RowCount(10, 1, 0), 5);
  EXPECT_EQ(RowCount(100, 1, 0), 55);
  EXPECT_EQ(RowCount(INT_MAX, 1, 0), 55);
  EXPECT_EQ(RowCount(1, 1, 0), 0);
}

TEST_F(DisplayListTest, NegativeTopShowsOnlyTheHeading) {
  CountMany(3);
  EXPECT_EQ(Rows(-1, 0, 0, kPlain, 6), kHeading);
  EXPECT_EQ(Rows(INT_MIN, 1, 0, kPlain, 6), kHeading);
}

TEST_F(DisplayListTest, NegativeGreaterShowsAll) {
  CountMany(3);
  EXPECT_EQ(RowCount(0, 0, -1), 3);
}

TEST_F(DisplayListTest, CountsBeyondTheLimitOfTheSortStandLast) {
  Count("busy");
  KeyOrder(list_)->count = 1000000;
  Count("calm", 2);
  EXPECT_EQ(Rows(0, 0, 0, kPlain, 1000002),
            std::string(kHeading) + PlainRow("2", "0.00", "calm") + PlainRow("1000000", "100.00", "busy"));
  EXPECT_EQ(Rows(1, 0, 0, kPlain, 1000002), std::string(kHeading) + PlainRow("2", "0.00", "calm"));
}

TEST_F(DisplayListTest, EarlyStopHidesCountsBeyondTheLimitToo) {
  Count("busy");
  KeyOrder(list_)->count = 1000000;
  Count("calm", 2);
  EXPECT_EQ(Rows(0, 0, 3, kPlain, 1000002), kHeading);
}

// -- Kinds --

TEST_F(DisplayListTest, ReferralsLinkToThemselves) {
  Count("http://other.example/page?q=1");
  EXPECT_EQ(
      Rows(0, 0, 0, SectionId::kReferrers, 1),
      kHeading + LinkRow("1", "100.00", "http://other.example/page?q=1", "http://other.example/page?q=1"));
}

TEST_F(DisplayListTest, RequestsLinkUnderTheSiteUnlessAbsolute) {
  struct Item {
    const char* item;
    bool absolute;
  };
  for (const Item& row :
       {Item{"/docs/index.html", false}, Item{"/a.html", false}, Item{"http://a.example/", true},
        Item{"ftp://a.example/", true}, Item{"https://a.example/", true}, Item{"gopher://a.example/", false},
        Item{"x9://a.example/", false}, Item{"://a.example/b", false},
        // 8 characters or fewer are never absolute
        Item{"http://a", false}, Item{"ftp://ab", false}, Item{"ftp://", false}, Item{"http://ab", true},
        Item{"ftp://abc", true}, Item{"/ab/://xy", true}, Item{"/ab/c/://xy", false}, Item{"/ab://xyz", true},
        Item{"/", false}}) {
    SCOPED_TRACE(row.item);
    destroy(list_);
    list_ = {};
    Count(row.item);
    const std::string address = row.absolute ? row.item : std::string("http://www.example.com") + row.item;
    EXPECT_EQ(Rows(0, 0, 0, SectionId::kBadUrls, 2), kHeading + LinkRow("1", "50.00", address, row.item));
  }
}

TEST_F(DisplayListTest, SingleReferrerOfABadUrlHasNoPlural) {
  Count("/gone.html", 1, "http://other.example/");
  EXPECT_EQ(Rows(0, 0, 0, SectionId::kBadUrls, 1),
            kHeading + Figures("1", "100.00") +
                "<td><a href=\"http://www.example.com/gone.html\" target=\"_blank\">/gone.html</a>"
                "\n<font size=\"-1\" face=\"Arial,Helv\">"
                "<br>\n&nbsp;&nbsp;<i>1&nbsp;referrer&nbsp;from:&nbsp;<a href=\"http://other.example/\" "
                "target=\"_blank\">http://other.example/</a></i>"
                "\n</font>\n</td></tr>\n");
}

TEST_F(DisplayListTest, ReferrersOfABadUrlAreSortedAndNeverCutOff) {
  Count("http://old.example/gone", 1, "http://a.example/");
  Count("http://old.example/gone", 3, "http://b.example/");
  Count("http://old.example/gone", 1, "http://c.example/");
  Count("http://old.example/gone", 2);
  Count("/other", 1, "http://a.example/");
  const std::string once = "<br>\n&nbsp;&nbsp;<i>1&nbsp;referrer&nbsp;from:&nbsp;";
  EXPECT_EQ(Rows(1, 0, 7, SectionId::kBadUrls, 8),
            kHeading + Figures("7", "87.50") +
                "<td><a href=\"http://old.example/gone\" target=\"_blank\">http://old.example/gone</a>"
                "\n<font size=\"-1\" face=\"Arial,Helv\">"
                "<br>\n&nbsp;&nbsp;<i>3&nbsp;referrers&nbsp;from:&nbsp;<a href=\"http://b.example/\" "
                "target=\"_blank\">http://b.example/</a></i>" +
                once + "<a href=\"http://c.example/\" target=\"_blank\">http://c.example/</a></i>" + once +
                "<a href=\"http://a.example/\" target=\"_blank\">http://a.example/</a></i>"
                "\n</font>\n</td></tr>\n");
}

TEST_F(DisplayListTest, OtherKindsDoNotPrintSubLists) {
  Count("/gone.html", 1, "http://other.example/");
  EXPECT_EQ(Rows(0, 0, 0, kPlain, 1), kHeading + PlainRow("1", "100.00", "/gone.html"));
}

TEST_F(DisplayListTest, NetworksPrintByName) {
  const std::string path = NewPath("networks");
  FILE* file = fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  fputs("COM Commercial\nUK United Kingdom\n", file);
  fclose(file);
  CopyText(settings_.Networks, path);
  Count("com", 2);
  Count("xyz");
  EXPECT_EQ(Rows(0, 0, 0, SectionId::kDomainTypes, 4),
            kHeading + PlainRow("2", "50.00", "Commercial") + PlainRow("1", "25.00", "XYZ"));
  remove(path.c_str());
}

TEST_F(DisplayListTest, PlainRunsDrawEveryKindPlain) {
  settings_.cgi = 0;
  Count("com", 2, "http://other.example/");
  for (const SectionId kind : {SectionId::kDomainTypes, SectionId::kReferrers, SectionId::kBadUrls,
                               SectionId::kBrowsers, SectionId::kDomains}) {
    SCOPED_TRACE(static_cast<int>(kind));
    EXPECT_EQ(Rows(0, 0, 0, kind, 4), kHeading + PlainRow("2", "50.00", "com"));
  }
}

// ---- PrintRankedSection ----

class PrintRankedSectionTest : public RankedTables {
 protected:
  void SetUp() override {
    RankedTables::SetUp();
    struct Row {
      CountedReport& report;
      const char* name;
      int32_t total;
    };
    for (const Row& row :
         {Row{analysis_.urls, "Top URLs", 10}, Row{analysis_.referrers, "Top Referrers", 20},
          Row{analysis_.browsers, "Browsers", 40}, Row{analysis_.badurls, "Bad URLs", 0},
          Row{analysis_.badreferrers, "Bad Referrers", 0}, Row{analysis_.domains, "Domains", 80},
          Row{analysis_.domaintypes, "Domain Types", 100}}) {
      init_list(row.report.list, row.report.info, row.name, SubLists::kAny);
      row.report.total = row.total;
    }
  }

  void CountTwice(CountedReport& report, const char* key) {
    add_item(report.list, report.info, key, {}, nullptr, false);
    add_item(report.list, report.info, key, {}, nullptr, false);
  }

  std::string Section(SectionId section) {
    return Output([&] { PrintRankedSection(settings_, SectionOf(section), analysis_); });
  }

  static std::string Frame(const std::string& anchor, const std::string& colour, const std::string& title,
                           const std::string& explanation) {
    return "\n<p><a name=\"" + anchor +
           "\"></a><hr noshade><p>\n"
           "<center><table border=1 width=\"80%\" cellspacing=0>\n"
           "<tr>\n<td colspan=3 bgcolor=\"" +
           colour + "\" align=\"center\"><font size=\"+1\"><b>" + title +
           "</b></font></td>\n</tr>\n<tr>\n<td colspan=3 bgcolor=\"" + colour + "\">" + explanation +
           "</td>\n</tr>\n";
  }

  static std::string Summary(const std::string& colour, const std::string& text) {
    return "<tr>\n<td bgcolor=\"" + colour +
           "\" align=\"center\" width=\"10%\"><b>Summary:</b></td>\n<td colspan=2 bgcolor=\"" + colour +
           "\">" + text + "</td>\n</tr>\n";
  }

  static std::string AllShown(const std::string& noun) {
    return "<b>1</b> distinct " + noun + " were found.  All are shown in the report.";
  }
};

constexpr char kSectionEnd[] = "</table></center><p>";

TEST_F(PrintRankedSectionTest, Urls) {
  settings_.requests = {1, 10, 0, 0};
  CountTwice(analysis_.urls, "/index.html");
  EXPECT_EQ(Section(SectionId::kUrls),
            Frame("urls", "#FFDD00", "Top URLs Requested",
                  "This report shows the most-requested pages for the days analyzed.") +
                Summary("#FFDD00", AllShown("URLs")) + kHeading +
                LinkRow("2", "20.00", "http://www.example.com/index.html", "/index.html") + kSectionEnd);
}

TEST_F(PrintRankedSectionTest, CutOffIsThatOfTheSection) {
  settings_.requests = {1, 1, 0, 0};
  settings_.domains = {1, 0, 5, 0};
  CountTwice(analysis_.urls, "/a");
  add_item(analysis_.urls.list, analysis_.urls.info, "/b", {}, nullptr, false);
  CountTwice(analysis_.domains, "example.com");
  EXPECT_EQ(
      Section(SectionId::kUrls),
      Frame("urls", "#FFDD00", "Top URLs Requested",
            "This report shows the most-requested pages for the days analyzed.") +
          Summary("#FFDD00",
                  "This report shows the top 1 URLs requested.<br>\n<b>2</b> distinct URLs were found.") +
          kHeading + LinkRow("2", "20.00", "http://www.example.com/a", "/a") + kSectionEnd);
  EXPECT_EQ(Section(SectionId::kDomains),
            Frame("domains", "#A0A048", "User Domain Analysis",
                  "This report shows the domain of users viewing your site.") +
                Summary("#A0A048",
                        "This report shows all domains with at least 5 requests.<br>\n"
                        "<b>1</b> distinct domains were found.") +
                kHeading + kSectionEnd);
}

TEST_F(PrintRankedSectionTest, Referrers) {
  CountTwice(analysis_.referrers, "http://other.example/");
  EXPECT_EQ(Section(SectionId::kReferrers),
            Frame("referrers", "#00E8E8", "Top Referrers To Your Site",
                  "This report shows the pages that visitors to your site came from.") +
                Summary("#00E8E8", AllShown("referrers")) + kHeading +
                LinkRow("2", "10.00", "http://other.example/", "http://other.example/") + kSectionEnd);
}

TEST_F(PrintRankedSectionTest, BrowsersWithTheSharesOfTheBrands) {
  CountTwice(analysis_.browsers, "Mozilla/4.7 [en]");
  analysis_.NavCount = 2;
  analysis_.gHits_Browsers = 40;
  EXPECT_EQ(
      Section(SectionId::kBrowsers),
      Frame("browsers", "#00A0A0", "Most Common Browsers",
            "This report shows which browsers are being used to view your site.") +
          Summary("#00A0A0", AllShown("browsers") +
                                 "<br>\n<b>2</b> of the requests (<b>5%</b>) were from versions of Netscape "
                                 "Navigator-brand browsers."
                                 "<br>\n<b>0</b> of the requests (<b>0%</b>) were from versions of Microsoft "
                                 "Internet Explorer.") +
          kHeading + PlainRow("2", "5.00", "Mozilla/4.7 [en]") + kSectionEnd);
}

TEST_F(PrintRankedSectionTest, BadUrlsAreMeasuredAgainstTheUrlTotal) {
  CountTwice(analysis_.badurls, "/gone");
  EXPECT_EQ(Section(SectionId::kBadUrls),
            Frame("badurls", "#D00000", "Bad URLs",
                  "This report lists the requests that generated <i>404 Not Found</i> error messages "
                  "(because the requested files didn't exist).") +
                Summary("#D00000", AllShown(" bad URLs")) + kHeading +
                LinkRow("2", "20.00", "http://www.example.com/gone", "/gone") + kSectionEnd);
}

TEST_F(PrintRankedSectionTest, BadReferrersAreMeasuredAgainstTheReferrerTotal) {
  CountTwice(analysis_.badreferrers, "http://other.example/");
  EXPECT_EQ(Section(SectionId::kBadReferrers),
            Frame("badreferrers", "#C048A8", "Bad Referrers",
                  "This report lists pages with invalid links to your site. Click on each link to visit the "
                  "page to look for the invalid link.") +
                Summary("#C048A8", AllShown(" bad referrers")) + kHeading +
                LinkRow("2", "10.00", "http://other.example/", "http://other.example/") + kSectionEnd);
}

TEST_F(PrintRankedSectionTest, DeliberateDomainsAreDrawnPlain) {
  CountTwice(analysis_.domains, "example.com");
  EXPECT_EQ(Section(SectionId::kDomains), Frame("domains", "#A0A048", "User Domain Analysis",
                                                "This report shows the domain of users viewing your site.") +
                                              Summary("#A0A048", AllShown("domains")) + kHeading +
                                              PlainRow("2", "2.50", "example.com") + kSectionEnd);
}

TEST_F(PrintRankedSectionTest, DomainTypes) {
  CountTwice(analysis_.domaintypes, "com");
  EXPECT_EQ(Section(SectionId::kDomainTypes),
            Frame("networks", "#3399CC", "Types Of Domains",
                  "This report shows the most common country or institution type of the users viewing your "
                  "site.  (This is the top-level domain of the user.)") +
                Summary("#3399CC", AllShown("origins")) + kHeading + PlainRow("2", "2.00", "COM") +
                kSectionEnd);
}

TEST_F(PrintRankedSectionTest, EmptySectionHasNoSummary) {
  EXPECT_EQ(Section(SectionId::kUrls),
            Frame("urls", "#FFDD00", "Top URLs Requested",
                  "This report shows the most-requested pages for the days analyzed.") +
                kNoItems + kSectionEnd);
}

TEST_F(PrintRankedSectionTest, PlainRunsPrintATitleLineInPlaceOfTheFrame) {
  struct Row {
    SectionId section;
    CountedReport& report;
    const char* title;
    const char* percentage;
  };
  settings_.cgi = 0;
  for (const Row& row :
       {Row{SectionId::kUrls, analysis_.urls, "Top URLs Accessed", "20.00"},
        Row{SectionId::kReferrers, analysis_.referrers, "Top Referrers To Your Site", "10.00"},
        Row{SectionId::kBrowsers, analysis_.browsers, "Most Common Browsers", "5.00"},
        Row{SectionId::kBadUrls, analysis_.badurls, "Server Summary", "20.00"},
        Row{SectionId::kBadReferrers, analysis_.badreferrers, "Server Summary", "10.00"},
        Row{SectionId::kDomains, analysis_.domains, "User Domain Analysis", "2.50"},
        Row{SectionId::kDomainTypes, analysis_.domaintypes, "Origin of Users", "2.00"}}) {
    SCOPED_TRACE(row.report.info->name);
    const std::string title = std::string("\n").append(row.title).append("\n\n");
    EXPECT_EQ(Section(row.section), title + kNoItems + kSectionEnd);
    CountTwice(row.report, "com");
    EXPECT_EQ(Section(row.section), title + kHeading + PlainRow("2", row.percentage, "com") + kSectionEnd);
  }
}

}  // namespace
