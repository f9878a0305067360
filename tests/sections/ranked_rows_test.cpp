#include "sections/ranked_rows.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/text_file.h"

namespace {

class RankedRowsTest : public testing::Test {
 protected:
  RankedRowsTest() {
    CopyText(settings_.url, "http://www.example.com");
    for (const Section& section : Sections()) {
      if (section.rows == RowKind::kRanked) {
        CountedReport& report = CountedIn(section, analysis_);
        init_list(report.list, report.info, section.parameter, SubLists::kAny);
      }
    }
  }

  ~RankedRowsTest() override {
    for (const Section& section : Sections()) {
      if (section.rows == RowKind::kRanked) {
        destroy(CountedIn(section, analysis_).list);
      }
    }
    destroyListInfo();
  }

  void Count(CountedReport& report, const char* key, int times = 1, const char* subkey = "") {
    for (; times > 0; --times) {
      add_item(report.list, report.info, key, subkey, nullptr, false);
    }
  }

  RankedRows Open(SectionId id) { return OpenRanked(settings_, SectionOf(id), analysis_); }

  // The only row of a section.
  RankedRow Only(SectionId id) {
    rows_ = Open(id);
    RankedRow row{};
    EXPECT_TRUE(NextRanked(rows_, row));
    RankedRow behind{};
    EXPECT_FALSE(NextRanked(rows_, behind));
    return row;
  }

  Settings settings_{};
  Analysis analysis_{};
  RankedRows rows_{};
};

TEST_F(RankedRowsTest, EmptyTableHasNoRows) {
  RankedRows rows = Open(SectionId::kUrls);
  EXPECT_EQ(rows.summary.distinct, 0);
  RankedRow row{};
  EXPECT_FALSE(NextRanked(rows, row));
}

TEST_F(RankedRowsTest, RowsCarryCountAndShare) {
  Count(analysis_.urls, "/a", 1);
  Count(analysis_.urls, "/b", 3);
  analysis_.urls.total = 8;  // of which some were given up
  RankedRows rows = Open(SectionId::kUrls);
  EXPECT_EQ(rows.summary.distinct, 2);
  EXPECT_EQ(rows.summary.total, 8);
  RankedRow row{};
  ASSERT_TRUE(NextRanked(rows, row));
  EXPECT_STREQ(row.item, "/b");
  EXPECT_EQ(row.count, 3);
  EXPECT_DOUBLE_EQ(row.share, 0.375);
  ASSERT_TRUE(NextRanked(rows, row));
  EXPECT_STREQ(row.item, "/a");
  EXPECT_DOUBLE_EQ(row.share, 0.125);
  EXPECT_FALSE(NextRanked(rows, row));
  EXPECT_STREQ(row.item, "/a") << "left as it was";
}

TEST_F(RankedRowsTest, CutOffIsThatOfTheSection) {
  for (const char* key : {"a", "b", "c"}) {
    Count(analysis_.domains, key);
    Count(analysis_.urls, key);
  }
  settings_.domains = {1, 2, 0, 0};
  EXPECT_FALSE(Open(SectionId::kDomains).summary.all_shown);
  EXPECT_TRUE(Open(SectionId::kUrls).summary.all_shown);
  RankedRows rows = Open(SectionId::kDomains);
  RankedRow row{};
  EXPECT_EQ(rows.summary.cut_off.top, 2);
  EXPECT_TRUE(NextRanked(rows, row) && NextRanked(rows, row));
  EXPECT_FALSE(NextRanked(rows, row));
}

TEST_F(RankedRowsTest, DeliberateBadSectionsAreMeasuredAgainstAllUrlsAndReferrers) {
  Count(analysis_.badurls, "/gone", 2);
  Count(analysis_.badreferrers, "http://other.example/", 2);
  analysis_.urls.total = 10;
  analysis_.referrers.total = 1;
  EXPECT_DOUBLE_EQ(Only(SectionId::kBadUrls).share, 0.2);
  EXPECT_DOUBLE_EQ(Only(SectionId::kBadReferrers).share, 2.0);
}

TEST_F(RankedRowsTest, NoTotalGivesNoShare) {
  Count(analysis_.badurls, "/gone", 5);
  EXPECT_EQ(Only(SectionId::kBadUrls).share, 0.0);
}

// -- Links --

TEST_F(RankedRowsTest, UrlsLinkUnderTheSiteUnlessTheyNameOne) {
  struct Item {
    const char* item;
    bool absolute;
  };
  for (const Item& item :
       {Item{"/docs/index.html", false}, Item{"/a.html", false}, Item{"http://a.example/", true},
        Item{"ftp://a.example/", true}, Item{"https://a.example/", true}, Item{"gopher://a.example/", false},
        Item{"x9://a.example/", false}, Item{"://a.example/b", false},
        // 8 characters or fewer never do
        Item{"http://a", false}, Item{"ftp://ab", false}, Item{"ftp://", false}, Item{"http://ab", true},
        Item{"ftp://abc", true}, Item{"/ab/://xy", true}, Item{"/ab/c/://xy", false}, Item{"/", false}}) {
    SCOPED_TRACE(item.item);
    destroy(analysis_.urls.list);
    analysis_.urls.list = {};
    Count(analysis_.urls, item.item);
    EXPECT_STREQ(Only(SectionId::kUrls).site, item.absolute ? "" : "http://www.example.com");
  }
}

TEST_F(RankedRowsTest, WithoutASiteOnlyUrlsThatNameOneLink) {
  settings_.url[0] = '\0';
  Count(analysis_.urls, "/a.html");
  Count(analysis_.badurls, "http://a.example/");
  EXPECT_EQ(Only(SectionId::kUrls).site, nullptr);
  EXPECT_STREQ(Only(SectionId::kBadUrls).site, "");
}

TEST_F(RankedRowsTest, ReferrersAreAddresses) {
  Count(analysis_.referrers, "/not/one");
  Count(analysis_.badreferrers, "http://other.example/");
  EXPECT_STREQ(Only(SectionId::kReferrers).site, "");
  EXPECT_STREQ(Only(SectionId::kBadReferrers).site, "");
}

TEST_F(RankedRowsTest, DeliberateDomainsAndBrowsersDoNotLink) {
  Count(analysis_.browsers, "Mozilla/4.7");
  Count(analysis_.domains, "example.com");
  Count(analysis_.domaintypes, "com");
  for (const SectionId id : {SectionId::kBrowsers, SectionId::kDomains, SectionId::kDomainTypes}) {
    EXPECT_EQ(Only(id).site, nullptr);
  }
}

// -- Descriptions and referrers --

TEST_F(RankedRowsTest, DomainTypesAreDescribedByTheNamesFile) {
  CopyText(settings_.Networks, WriteFile("networks", "COM Commercial\nUK United Kingdom\n"));
  Count(analysis_.domaintypes, "com", 2);
  Count(analysis_.domaintypes, "xyz");
  Count(analysis_.domains, "com");
  RankedRows rows = Open(SectionId::kDomainTypes);
  RankedRow row{};
  ASSERT_TRUE(NextRanked(rows, row));
  EXPECT_STREQ(row.item, "com");
  EXPECT_STREQ(row.description, "Commercial");
  ASSERT_TRUE(NextRanked(rows, row));
  EXPECT_STREQ(row.item, "xyz");
  EXPECT_STREQ(row.description, "XYZ") << "not in the file";
  EXPECT_EQ(Only(SectionId::kDomains).description, nullptr);
}

TEST_F(RankedRowsTest, BadUrlsHaveTheirReferrersByRankAndNeverCutOff) {
  Count(analysis_.badurls, "/gone", 1, "http://a.example/");
  Count(analysis_.badurls, "/gone", 3, "http://b.example/");
  Count(analysis_.badurls, "/gone", 1, "http://c.example/");
  Count(analysis_.badurls, "/gone", 2);
  settings_.badurls = {1, 1, 4, 0};
  RankedRow row = Only(SectionId::kBadUrls);
  EXPECT_EQ(row.count, 7);
  ASSERT_TRUE(HasReferrers(row));
  std::string text;
  for (ReferrerRow referrer{}; NextReferrer(row, referrer);) {
    text.append(referrer.address).append("=").append(std::to_string(referrer.count)).append(" ");
  }
  EXPECT_EQ(text, "http://b.example/=3 http://c.example/=1 http://a.example/=1 ");
}

TEST_F(RankedRowsTest, ItemsWithoutReferrersHaveNone) {
  Count(analysis_.badurls, "/gone");
  RankedRow row = Only(SectionId::kBadUrls);
  EXPECT_FALSE(HasReferrers(row));
  ReferrerRow referrer{};
  EXPECT_FALSE(NextReferrer(row, referrer));
}

TEST_F(RankedRowsTest, OtherSectionsDoNotShowSubLists) {
  Count(analysis_.urls, "/a", 1, "http://other.example/");
  EXPECT_FALSE(HasReferrers(Only(SectionId::kUrls)));
}

// -- Brands --

TEST_F(RankedRowsTest, BrowsersTellTheSharesOfTheBrands) {
  analysis_.NavCount = 150;
  analysis_.MsieCount = 300;
  analysis_.gHits_Browsers = 600;
  const ItemSummary summary = Open(SectionId::kBrowsers).summary;
  EXPECT_STREQ(summary.brands[0].name, "Netscape Navigator-brand browsers");
  EXPECT_EQ(summary.brands[0].count, 150);
  EXPECT_DOUBLE_EQ(summary.brands[0].share, 0.25);
  EXPECT_STREQ(summary.brands[1].name, "Microsoft Internet Explorer");
  EXPECT_EQ(summary.brands[1].count, 300);
  EXPECT_DOUBLE_EQ(summary.brands[1].share, 0.5);
}

TEST_F(RankedRowsTest, OtherSectionsHaveNoBrands) {
  for (const BrandShare& brand : Open(SectionId::kUrls).summary.brands) {
    EXPECT_EQ(brand.name, nullptr);
  }
}

}  // namespace
