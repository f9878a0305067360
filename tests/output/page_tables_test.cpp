#include "output/page_tables.h"

#include <gmock/gmock.h>

#include <regex>
#include <string>

#include "output/written.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

static std::string TableOf(int64_t rows, Lead lead, const char* name = "URLs") {
  return Written([&](Sink& sink) {
    Table table{
        .sink = sink, .columns = {"#", "URL", "Requests"}, .lead = lead, .shares = true, .rows = rows};
    BeginTable(table, name);
    for (int64_t i = 0; i < rows; ++i) {
      SectionRow row{};
      row.item = "/item";
      row.site = "http://site.example";
      row.count = 12345;
      row.bar = 0.5;
      row.weekday = -1;
      PutTableRow(table, row);
    }
    EndTable(table);
  });
}

static std::vector<std::string> Folds(const std::string& table) {
  static const std::regex kSummary("class=\"fold\"><summary>([^<]*)");
  std::vector<std::string> folds;
  for (std::sregex_iterator at(table.begin(), table.end(), kSummary), end; at != end; ++at) {
    folds.push_back((*at)[1]);
  }
  return folds;
}

static int64_t Count(const std::string& text, const std::string& part) {
  int64_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST(PageTable, FirstRowsStandOpenAndTheOthersInFoldsOfAThousand) {
  EXPECT_THAT(Folds(TableOf(1, Lead::kRank)), ElementsAre());
  EXPECT_THAT(Folds(TableOf(14, Lead::kRank)), ElementsAre());
  EXPECT_THAT(Folds(TableOf(15, Lead::kRank)), ElementsAre("Rows 11 to 15"));
  EXPECT_THAT(Folds(TableOf(1000, Lead::kRank)), ElementsAre("Rows 11 to 1,000"));
  EXPECT_THAT(Folds(TableOf(2001, Lead::kRank)),
              ElementsAre("Rows 11 to 1,000", "Rows 1,001 to 2,000", "Rows 2,001 to 2,001"));
}

TEST(PageTable, FiguresOfADrawingAreFolded) {
  EXPECT_THAT(Folds(TableOf(7, Lead::kNone)), ElementsAre("The figures as a table"));
}

TEST(PageTable, EveryElementIsClosed) {
  for (const int64_t rows : {1, 14, 15, 1000, 1001, 2500}) {
    const std::string table = TableOf(rows, Lead::kRank);
    EXPECT_EQ(Count(table, "<tr>"), Count(table, "</tr>"));
    EXPECT_EQ(Count(table, "<tr>"), rows + Count(table, "<thead>"));
    for (const std::string element : {"table", "tbody", "thead", "details", "div", "td", "th", "a"}) {
      EXPECT_EQ(Count(table, "<" + element + " ") + Count(table, "<" + element + ">"),
                Count(table, "</" + element + ">"))
          << element << " of " << rows;
    }
  }
}

TEST(PageTable, RowHasRankItemCountAndShare) {
  EXPECT_THAT(TableOf(1, Lead::kRank),
              HasSubstr("<tr><td class=\"n\">1</td><td class=\"i\"><a rel=\"noopener noreferrer nofollow\" "
                        "href=\"http://site.example/item\">/item</a></td><td class=\"c\">12,345</td>"
                        "<td class=\"s\"><svg class=\"share\" aria-hidden=\"true\"><rect width=\"50%\" "
                        "height=\"100%\"/></svg>0.0 %\n</td></tr>"));
}

TEST(PageTable, NameStaysInItsAttribute) {
  EXPECT_THAT(TableOf(1, Lead::kRank, "\"><script>"), Not(HasSubstr("<script>")));
}
