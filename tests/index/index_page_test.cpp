#include "index/index_page.h"

#include <gmock/gmock.h>

#include "index/made_reports.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

static std::string PageOver(std::vector<FoundReport> reports) {
  FoundReports found{.reports = std::move(reports)};
  return Written([&](Sink& sink) { PutIndexPage(sink, found, 1'795'305'840); });
}

static size_t CountOf(const std::string& page, const std::string& part) {
  size_t count = 0;
  for (size_t at = page.find(part); at != std::string::npos; at = page.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST(IndexPage, BeginsWithItsMark) {
  const std::string page = PageOver({});
  EXPECT_TRUE(IsIndexPage(page));
  EXPECT_THAT(page, HasSubstr("<title>Reports</title>\n<meta http-equiv=\"Content-Security-Policy\""));
  EXPECT_THAT(page, HasSubstr("There is no report in this folder yet."));
  EXPECT_THAT(page, Not(HasSubstr("<nav")));
}

TEST(IndexPage, HasARowForEachReport) {
  std::vector<FoundReport> reports{Made("", "2026-11-21.html", kDay, kDay, 1234),
                                   Made("", "week.html", kDay - 6, kDay, 99)};
  reports[0].summary.bytes = 5'000'000;
  const std::string page = PageOver(reports);
  EXPECT_THAT(
      page,
      HasSubstr("<a href=\"2026-11-21.html\"><time>2026-11-21</time></a> <small>Saturday</small></th>"
                "<td class=\"c\">1,234</td><td class=\"c\">5.0 MB</td><td class=\"k\"><svg class=\"spark\""));
  EXPECT_THAT(page,
              HasSubstr("<a href=\"week.html\"><time>2026-11-15</time> to <time>2026-11-21</time></a></th>"
                        "<td class=\"c\">99</td>"));
  EXPECT_THAT(page, HasSubstr("<h2 id=\"site-1-title\"><bdi>Shop</bdi></h2>"));
  EXPECT_THAT(page, HasSubstr("November 2026 <small>1 day: 1,234 requests, 5.0 MB</small>"));
  EXPECT_THAT(page, HasSubstr("<dt>Over</dt> <dd>2 reports</dd>"));
}

TEST(IndexPage, MissingDaysAreTold) {
  const std::string page =
      PageOver({Made("", "a.html", kDay, kDay), Made("", "b.html", kDay - 1, kDay - 1),
                Made("", "c.html", kDay - 4, kDay - 4), Made("", "d.html", kDay - 6, kDay - 6)});
  EXPECT_EQ(CountOf(page, "No daily report: "), 2U);
  EXPECT_THAT(page, HasSubstr("No daily report: <time>2026-11-18</time> to <time>2026-11-19</time></td>"));
  EXPECT_THAT(page, HasSubstr("No daily report: <time>2026-11-16</time></td>"));
}

TEST(IndexPage, LastDaysAreDrawn) {
  std::vector<FoundReport> reports;
  for (int64_t i = 0; i < 5; ++i) {
    reports.push_back(Made("", std::to_string(i) + ".html", kDay - 2 * i, kDay - 2 * i, 5 - i));
    reports.back().summary.spark.clear();
  }
  EXPECT_THAT(
      PageOver(reports),
      HasSubstr("<p class=\"words\">Requests of the last 9 days: <svg class=\"spark\" aria-hidden=\"true\" "
                "viewBox=\"0 0 9 20\" preserveAspectRatio=\"none\">"
                "<path d=\"M0 20V16h1V20h1V12h1V20h1V8h1V20h1V4h1V20h1V0h1V20z\"/></svg></p>"));
}

TEST(IndexPage, LongNamesLoseTheirMiddle) {
  std::vector<FoundReport> reports{Made("", "a.html", kDay, kDay)};
  reports[0].summary.title = std::string(100, 'a') + std::string(100, 'b');
  EXPECT_THAT(PageOver(reports),
              HasSubstr("<bdi>" + std::string(60, 'a') + "\u2026" + std::string(30, 'b') + "</bdi>"));
}

TEST(IndexPage, SitesHaveContents) {
  std::vector<FoundReport> reports{Made("", "a.html", kDay, kDay), Made("two words", "b.html", kDay, kDay),
                                   Made("zoo", "c.html", kDay, kDay)};
  reports[1].summary.title = "Web Site Analysis";
  reports[2].summary.title = "";
  reports[2].summary.site = "http://localhost";
  const std::string page = PageOver(reports);
  EXPECT_THAT(page, HasSubstr("<li><a href=\"#site-1\"><bdi>Shop</bdi></a></li>\n"
                              "<li><a href=\"#site-2\"><bdi>two words</bdi></a></li>\n"
                              "<li><a href=\"#site-3\"><bdi>zoo</bdi></a></li>\n"));
  EXPECT_THAT(page, HasSubstr("href=\"two%20words/b.html\""));
  EXPECT_THAT(page, HasSubstr("3 reports of 3 sites"));
  EXPECT_THAT(page, Not(HasSubstr("localhost")));
}

TEST(IndexPage, TitlesThatDifferStandInTheRowsAndNothingIsSummedUp) {
  std::vector<FoundReport> reports{Made("", "a.html", kDay, kDay), Made("", "b.html", kDay - 5, kDay - 5)};
  reports[1].summary.title = "Shop, pages only";
  const std::string page = PageOver(reports);
  EXPECT_THAT(page, HasSubstr("<br><small><bdi>Shop</bdi></small>"));
  EXPECT_THAT(page, HasSubstr("<br><small><bdi>Shop, pages only</bdi></small>"));
  EXPECT_THAT(page, HasSubstr("November 2026 <small>2 reports</small>"));
  EXPECT_THAT(page, Not(HasSubstr("No daily report: ")));
}

TEST(IndexPage, ReportsOfTheSameDaysAreToldApartByTheirFiles) {
  const std::string page = PageOver({Made("", "a.html", kDay, kDay), Made("", "b.html", kDay, kDay),
                                     Made("", "c.html", kDay - 1, kDay - 1)});
  EXPECT_THAT(page, HasSubstr("<small><bdi>a.html</bdi></small>"));
  EXPECT_THAT(page, HasSubstr("<small><bdi>b.html</bdi></small>"));
  EXPECT_THAT(page, Not(HasSubstr("<bdi>c.html</bdi>")));
}

TEST(IndexPage, ForeignTextsStayTexts) {
  std::vector<FoundReport> reports{
      Made("<b>", "javascript:\"x\".html", kDay, kDay), Made("\xFF", "..%2f&#\n.html", kDay, kDay),
      Made("", "twin.html", kDay, kDay), Made("", "</td><script>.html", kDay, kDay)};
  reports[1].summary.title = "</title><script>alert(1)</script>\x1B";
  reports[0].summary.site = "javascript:alert(1)";
  const std::string page = PageOver(reports);
  EXPECT_THAT(page, HasSubstr("href=\"%3Cb%3E/javascript%3A%22x%22.html\""));
  EXPECT_THAT(page, HasSubstr("href=\"%FF/..%252f%26%23%0A.html\""));
  EXPECT_THAT(page, HasSubstr("&lt;/title&gt;&lt;script&gt;alert(1)&lt;/script&gt;<i>\\x1B</i>"));
  EXPECT_THAT(page, HasSubstr("<bdi>javascript:alert(1)</bdi>"));
  EXPECT_THAT(page, Not(HasSubstr("<script")));
}

TEST(IndexPage, NotesTellWhatIsLeftOut) {
  FoundReports found{.reports = {}, .others = 2, .closed_folders = 1, .too_many = true};
  const std::string page = Written([&](Sink& sink) { PutIndexPage(sink, found, 0); });
  EXPECT_THAT(
      page,
      HasSubstr("<li>2 pages in the folder are no reports of the modern edition, and are left out.</li>"));
  EXPECT_THAT(page, HasSubstr("<li>1 folder could not be read.</li>"));
  EXPECT_THAT(page, HasSubstr("<li>There are more than 100,000 reports: some are left out.</li>"));
}

TEST(IndexPage, ManyReportsAreLimited) {
  std::vector<FoundReport> reports;
  for (int64_t i = 0; i < 20'000; ++i) {
    reports.push_back(
        Made(i % 2 == 0 ? "even" : "odd", std::to_string(i) + ".html", kDay - i / 2, kDay - i / 2));
  }
  const std::string page = PageOver(reports);
  EXPECT_EQ(CountOf(page, "<th scope=\"row\">"), kMostRows);
  EXPECT_EQ(CountOf(page, "<p class=\"words\">7,500 older reports are left out here, but in the folder.</p>"),
            2U);
  EXPECT_LT(page.size(), 4'000'000U);
}

TEST(IndexPage, ManySitesAreLimited) {
  std::vector<FoundReport> reports;
  for (int i = 0; i < 2'000; ++i) {
    reports.push_back(Made("site" + std::to_string(i), "a.html", kDay, kDay));
  }
  const std::string page = PageOver(reports);
  EXPECT_EQ(CountOf(page, "<section "), kMostSites);
  EXPECT_THAT(page, HasSubstr("<li>1,500 more sites are left out.</li>"));
  EXPECT_THAT(page, Not(HasSubstr("<details class=\"fold month\" open>")));
}
