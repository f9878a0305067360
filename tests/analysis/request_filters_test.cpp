#include "analysis/request_filters.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/request_filters_internal.h"
#include "base/limits.h"

using std::string_view;

namespace {

class FilterTest : public testing::Test {
 protected:
  void SetUp() override { ResetFilters(); }

  // Begins a run with these filters.
  void SetDomains(const std::string& filter) {
    ResetFilters();
    CopyText(settings_.filter_domains, filter);
  }
  void SetFileTypes(const std::string& filter) {
    ResetFilters();
    CopyText(settings_.filter_filetypes, filter);
  }
  void SetFind(const std::string& find) { CopyText(settings_.find, find); }

  bool Domain(string_view host) const { return NotFilteredDomain(settings_, host); }
  bool Host(string_view host) const { return NotFilteredHost(settings_, host); }
  bool FileType(string_view type) const { return NotFilteredFileType(settings_, type); }
  bool Url(string_view url) const { return NotFilteredURL(settings_, url); }

  Settings settings_ = {};
};

using NotFilteredDomainTest = FilterTest;
using NotFilteredHostTest = FilterTest;
using NotFilteredFileTypeTest = FilterTest;
using NotFilteredUrlTest = FilterTest;

std::string RandomFilter(std::mt19937& random, string_view alphabet, size_t longest) {
  std::string text(random() % (longest + 1), '\0');
  for (char& c : text) {
    c = alphabet[random() % alphabet.size()];
  }
  return text;
}

}  // namespace

TEST_F(NotFilteredHostTest, NetworksAndAddressesLeaveOutWhatBelongsToThem) {
  SetDomains("10.0.0.0/8, 2001:DB8::/32, 192.0.2.7, ::1");
  EXPECT_FALSE(Host("10.255.0.1"));
  EXPECT_TRUE(Host("110.0.0.1"));
  EXPECT_TRUE(Host("11.0.0.1"));
  EXPECT_FALSE(Host("2001:db8:ffff::1"));
  EXPECT_TRUE(Host("2001:db9::1"));
  EXPECT_FALSE(Host("192.0.2.7"));
  EXPECT_TRUE(Host("192.0.2.70"));
  EXPECT_FALSE(Host("::1"));
  EXPECT_TRUE(Host("::11"));
  EXPECT_TRUE(Host("shop.example.com"));
  EXPECT_TRUE(Host(""));
}

TEST_F(NotFilteredHostTest, OtherEntriesAreTexts) {
  SetDomains("example.COM,10.1.,10.0.0.0/33,2001:db8:");
  EXPECT_FALSE(Host("shop.EXAMPLE.com"));
  EXPECT_FALSE(Host("10.1.2.3"));
  EXPECT_FALSE(Host("210.1.2.3"));
  EXPECT_TRUE(Host("10.0.0.1"));
  EXPECT_FALSE(Host("2001:db8::1"));
  EXPECT_TRUE(Host("2001:db9::1"));
}

TEST_F(NotFilteredHostTest, ReferrersAreHeldAgainstTheTexts) {
  SetDomains("192.0.2.7");
  EXPECT_FALSE(Domain("http://192.0.2.7/a"));
  EXPECT_TRUE(Host("http://192.0.2.7/a"));
}

TEST_F(NotFilteredHostTest, AsManyNetworksAsThereIsRoomFor) {
  SetDomains("::," + std::string("::,::,::,::,::,::,::,::,::,::,") + std::string(kTextMax, ','));
  EXPECT_FALSE(Host("::"));
  SetDomains(std::string(kTextMax, ','));
  EXPECT_FALSE(Host("x"));
}

TEST_F(NotFilteredHostTest, NamesAreWantedWhereAnEntryMayBeAPartOfOne) {
  for (const char* const filter : {"", "10.0.0.0/8", "10.1.,192.0.2.7", "2001:db8::/32,::1"}) {
    SetDomains(filter);
    EXPECT_FALSE(FiltersNames(settings_)) << filter;
  }
  for (const char* const filter : {"example.com", "10.0.0.0/8,x", "10.0.0.0/33"}) {
    SetDomains(filter);
    EXPECT_TRUE(FiltersNames(settings_)) << filter;
  }
}

TEST_F(NotFilteredDomainTest, EntriesAreFoundIgnoringCase) {
  SetDomains("example.com, SAMPLE.org");
  EXPECT_FALSE(Domain("SHOP.EXAMPLE.COM"));
  EXPECT_FALSE(Domain("sample.organic.net"));
  EXPECT_TRUE(Domain("example.co"));
}

TEST_F(NotFilteredDomainTest, EntriesCountWhereverTheyStandDeliberately) {
  SetDomains("example.com");
  EXPECT_FALSE(Domain("shop.example.com"));
  EXPECT_FALSE(Domain("example.com.au"));
  EXPECT_FALSE(Domain("myexample.community.org"));
}

TEST_F(NotFilteredDomainTest, BlanksAndTabsAreDroppedInsideEntriesToo) {
  SetDomains(" exa mple.\tcom\t");
  EXPECT_FALSE(Domain("www.example.com"));
  EXPECT_TRUE(Domain("exa"));
}

TEST_F(NotFilteredDomainTest, EmptyOrAbsentHostIsAlwaysCounted) {
  SetDomains("example.com,");
  EXPECT_TRUE(Domain(""));
  EXPECT_TRUE(Domain(string_view()));
}

TEST_F(NotFilteredDomainTest, EmptyFilterCountsEveryHost) {
  SetDomains("");
  EXPECT_TRUE(Domain("shop.example.com"));
}

TEST_F(NotFilteredDomainTest, EmptyEntryExcludesEveryHost) {
  for (const char* filter : {"a.example,", ",a.example", "a.example,,b.example", ",", " ", "\t, x"}) {
    SCOPED_TRACE(filter);
    SetDomains(filter);
    EXPECT_FALSE(Domain("192.0.2.1"));
  }
}

TEST_F(NotFilteredDomainTest, AddressPrefixesWorkAsEntries) {
  SetDomains("192.0.2.,198.51.100.7");
  EXPECT_FALSE(Domain("192.0.2.44"));
  EXPECT_FALSE(Domain("198.51.100.77"));
  EXPECT_TRUE(Domain("203.0.113.5"));
}

TEST_F(NotFilteredDomainTest, BytesBeyondAsciiStandForThemselves) {
  SetDomains("\xC4");
  EXPECT_FALSE(Domain("x\xC4"));
  EXPECT_TRUE(Domain("x\xE4"));
}

TEST_F(NotFilteredDomainTest, TableIsBuiltAtTheFirstHost) {
  SetDomains("a.example");
  EXPECT_TRUE(Domain(""));
  CopyText(settings_.filter_domains, "b.example");
  EXPECT_FALSE(Domain("b.example"));
  CopyText(settings_.filter_domains, "a.example");
  EXPECT_TRUE(Domain("a.example"));
}

TEST_F(NotFilteredDomainTest, HostLongerThanAnyTextIsCut) {
  SetDomains("z");
  EXPECT_FALSE(Domain(std::string(kLongestItem - 1, 'a') + "z"));
  EXPECT_TRUE(Domain(std::string(kLongestItem, 'a') + "z"));
}

TEST_F(NotFilteredDomainTest, LongestFilters) {
  SetDomains(std::string(243, 'a'));
  EXPECT_FALSE(Domain(std::string(243, 'A')));
  EXPECT_TRUE(Domain(std::string(242, 'A')));
  SetDomains(std::string(243, ','));
  EXPECT_FALSE(Domain("a"));
}

TEST_F(NotFilteredDomainTest, ReleasedTableIsNotRebuiltDeliberately) {
  SetDomains("example.com");
  EXPECT_FALSE(Domain("example.com"));
  FreeDomainsNow();
  EXPECT_TRUE(Domain("example.com"));
}

// The filter as slots of 244 characters and a lowered copy of the host.
static bool PlainNotFilteredDomain(const std::string& filter, const std::string& host) {
  if (host.empty() || filter.empty()) {
    return true;
  }
  std::vector<std::string> slots(1);
  for (const char c : filter) {
    if (c == ',') {
      slots.emplace_back();
    } else if (c != ' ' && c != '\t') {
      slots.back() += static_cast<char>(tolower(c));
    }
  }
  std::string lowered;
  for (const char c : host) {
    lowered += static_cast<char>(tolower(c));
  }
  for (const std::string& slot : slots) {
    if (lowered.find(slot) != std::string::npos) {
      return false;
    }
  }
  return true;
}

TEST_F(NotFilteredDomainTest, AnswersAsTheTableOfSlots) {
  std::mt19937 random(6);
  for (int round = 0; round < 2000; ++round) {
    const std::string filter = RandomFilter(random, "abABcC. \t,", round % 10 == 0 ? 243 : 12);
    SetDomains(filter);
    for (int i = 0; i < 5; ++i) {
      const std::string host = RandomFilter(random, "aBbC.", 20);
      SCOPED_TRACE("[" + filter + "] [" + host + "]");
      ASSERT_EQ(Domain(host), PlainNotFilteredDomain(filter, host));
    }
  }
}

TEST_F(NotFilteredFileTypeTest, DotIsOptionalAndCaseIgnored) {
  SetFileTypes("gif,.JPG,Png");
  EXPECT_FALSE(FileType(".gif"));
  EXPECT_FALSE(FileType(".GIF"));
  EXPECT_FALSE(FileType(".jpg"));
  EXPECT_FALSE(FileType(".png"));
  EXPECT_TRUE(FileType(".html"));
}

TEST_F(NotFilteredFileTypeTest, ComparesTheWholeType) {
  SetFileTypes("gif");
  EXPECT_TRUE(FileType(".gi"));
  EXPECT_TRUE(FileType(".gif2"));
  EXPECT_TRUE(FileType("gif"));
}

TEST_F(NotFilteredFileTypeTest, BlankBeforeTheDotKeepsItDeliberately) {
  SetFileTypes(".gif,jpg, .png");
  EXPECT_FALSE(FileType(".gif"));
  EXPECT_FALSE(FileType(".jpg"));
  EXPECT_TRUE(FileType(".png"));
  EXPECT_FALSE(FileType("..png"));
}

TEST_F(NotFilteredFileTypeTest, BlanksAreDroppedInsideEntriesToo) {
  SetFileTypes("g i\tf , h tml");
  EXPECT_FALSE(FileType(".gif"));
  EXPECT_FALSE(FileType(".html"));
}

TEST_F(NotFilteredFileTypeTest, OnlyOneDotIsSkipped) {
  SetFileTypes("..gif,.");
  EXPECT_TRUE(FileType(".gif"));
  EXPECT_FALSE(FileType("..gif"));
  EXPECT_FALSE(FileType("."));
}

TEST_F(NotFilteredFileTypeTest, EmptyFilterOrTypeIsAlwaysCounted) {
  SetFileTypes("");
  EXPECT_TRUE(FileType(".gif"));
  SetFileTypes("gif,,");
  EXPECT_TRUE(FileType(""));
  EXPECT_TRUE(FileType(string_view()));
}

TEST_F(NotFilteredFileTypeTest, EmptyEntryIsALoneDot) {
  SetFileTypes("gif,");
  EXPECT_FALSE(FileType("."));
  EXPECT_TRUE(FileType(".x"));
}

TEST_F(NotFilteredFileTypeTest, LongestFilters) {
  SetFileTypes(std::string(243, 'a'));
  EXPECT_FALSE(FileType("." + std::string(243, 'A')));
  SetFileTypes(std::string(243, ','));
  EXPECT_FALSE(FileType("."));
  SetFileTypes("." + std::string(241, ',') + "z");
  EXPECT_FALSE(FileType(".Z"));
}

TEST_F(NotFilteredFileTypeTest, TableIsBuiltAtTheFirstCall) {
  SetFileTypes("gif");
  EXPECT_TRUE(FileType(""));
  CopyText(settings_.filter_filetypes, "png");
  EXPECT_FALSE(FileType(".gif"));
  EXPECT_TRUE(FileType(".png"));
}

TEST_F(NotFilteredFileTypeTest, ReleasedTableIsRebuiltDeliberately) {
  SetFileTypes("gif,jpg");
  EXPECT_FALSE(FileType(".gif"));
  FreeFileTypesNow();
  CopyText(settings_.filter_filetypes, "png");
  EXPECT_TRUE(FileType(".gif"));
  EXPECT_FALSE(FileType(".png"));
}

TEST_F(NotFilteredUrlTest, UrlBeginsWithTheFindText) {
  SetFind("/docs/");
  EXPECT_TRUE(Url("/docs/"));
  EXPECT_TRUE(Url("/docs/a.html"));
  EXPECT_FALSE(Url("/docs"));
  EXPECT_FALSE(Url("/Docs/a.html"));
  EXPECT_FALSE(Url(""));
  EXPECT_FALSE(Url(string_view()));
}

TEST_F(NotFilteredUrlTest, EmptyFindTextSelectsAll) {
  SetFind("");
  EXPECT_TRUE(Url("/a"));
  EXPECT_TRUE(Url(""));
}

TEST_F(NotFilteredUrlTest, LongestTexts) {
  SetFind(std::string(243, 'a'));
  EXPECT_TRUE(Url(std::string(300, 'a')));
  EXPECT_FALSE(Url(std::string(242, 'a')));
}
