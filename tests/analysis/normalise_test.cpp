#include "analysis/normalise.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "analysis/plain_normalise.h"
#include "support/room.h"

using std::string_view;

namespace {

struct KnownRow {
  const char* text;
  bool expected;
};

struct CutRow {
  const char* text;
  const char* expected;
};

template <size_t N, typename Cut>
void ExpectCuts(const CutRow (&rows)[N], Cut cut) {
  for (const CutRow& row : rows) {
    SCOPED_TRACE(row.text);
    const WithRoom text(row.text);
    EXPECT_EQ(cut(text), row.expected);
  }
}

std::string RandomText(std::mt19937& random, string_view alphabet, size_t longest) {
  std::string text(random() % (longest + 1), '\0');
  for (char& c : text) {
    c = alphabet[random() % alphabet.size()];
  }
  return text;
}

TEST(WithoutPort, CutsPortsAlone) {
  EXPECT_EQ(WithoutPort("www.example.com:8080"), "www.example.com");
  EXPECT_EQ(WithoutPort("192.0.2.9:80"), "192.0.2.9");
  EXPECT_EQ(WithoutPort("[2001:db8::9]:8080"), "[2001:db8::9]");
  for (const char* site : {"", "80", ":", "www.example.com", "www.example.com:", "www:80x", "2001:db8::9",
                           "[2001:db8::9]", "a:b:80"}) {
    EXPECT_EQ(WithoutPort(site), site);
  }
  EXPECT_EQ(WithoutPort(":80"), "");
}

}  // namespace

TEST(IsIpAddr, Rows) {
  const KnownRow rows[] = {
      {"10.0.0.1", true},
      {" 10.0.0.1 ", true},
      {"   10.0.0.1", true},
      {"256.1.1.1", false},
      {"1.2.3.4.5", false},
      {"1.2.3", false},
      {"a.b.c.d", false},
      {"", false},
      {"   ", false},
      {"10.0.0.1 host", true},
      {"10.0.0.1x", false},
      {"10.0.0.1\t", false},
      {"\t1.2.3.4", false},
      {"1.2 .3.4", false},
      {"1.2.3.4.", false},
      {"-1.2.3.4", false},
      {"255.255.255.255", true},
  };
  for (const KnownRow& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(IsIpAddr(row.text), row.expected);
  }
}

TEST(IsIpAddr, AbsentTextIsNone) {
  EXPECT_FALSE(IsIpAddr(string_view()));
}

TEST(IsIpAddr, LastOctetMayExceed255AndOctetsMayBeEmptyDeliberately) {
  EXPECT_TRUE(IsIpAddr("1.2.3.999"));
  EXPECT_TRUE(IsIpAddr("1..2.5"));
  EXPECT_TRUE(IsIpAddr("..."));
  EXPECT_TRUE(IsIpAddr("1.2.3."));
  EXPECT_FALSE(IsIpAddr("1.2.256.4"));
}

TEST(IsIpAddr, OctetsWrapAt32Bits) {
  EXPECT_TRUE(IsIpAddr("4294967297.0.0.1"));   // 1
  EXPECT_FALSE(IsIpAddr("4294967552.0.0.1"));  // 256
  EXPECT_TRUE(IsIpAddr("4294967295.0.0.1"));   // -1
}

TEST(IpAddrsOnly, AbsentAndEmptyTextsAre) {
  EXPECT_TRUE(IpAddrsOnly(string_view()));
  EXPECT_TRUE(IpAddrsOnly(""));
}

TEST(IpAddrsOnly, DigitsDotsCommasAndSemicolons) {
  EXPECT_TRUE(IpAddrsOnly("10.1.,192.0.2.7;;"));
  EXPECT_FALSE(IpAddrsOnly("10.1, 10.2"));
  EXPECT_FALSE(IpAddrsOnly("10.1.example.com"));
  EXPECT_FALSE(IpAddrsOnly("10.1\xB2"));
}

TEST(IPaddress, Rows) {
  const KnownRow rows[] = {
      {"", false},
      {"host.example.c0m", false},
      {"host.example.co9", true},
      {"192.0.2.1", true},
      {"example.com.", true},
      {"localhost", false},
      {"host1", true},
      {"(null)", true},
      {"shop.example.co-", true},
      {"x.EXAMPLE", false},
      {"host.example.co\xE9", true},
  };
  for (const KnownRow& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(IPaddress(row.text), row.expected);
  }
  EXPECT_FALSE(IPaddress(string_view()));
}

TEST(IPaddress, OnlyTheLastCharacterDecidesDeliberately) {
  EXPECT_FALSE(IPaddress("192.0.2.1a"));
  EXPECT_TRUE(IPaddress("host.example.com1"));
}

TEST(IPaddress, LastCharacterOfALongHostCounts) {
  EXPECT_FALSE(IPaddress(std::string(2047, '9') + "a"));
  EXPECT_TRUE(IPaddress(std::string(2047, 'a') + "9"));
}

TEST(TruncateDomain, TopLevelLabel) {
  ExpectCuts({{"shop.example.com", "com"},
              {"1.2.3.4", "4"},
              {"example.com.", ""},
              {"localhost", "localhost"},
              {".com", "com"},
              {"", ""},
              {"(null)", ""}},
             [](string_view host) { return TruncateDomain(host, 1); });
}

TEST(TruncateDomain, SeveralLabels) {
  ExpectCuts({{"a.shop.example.com", "example.com"}, {"example.com", "example.com"}, {"..", "."}},
             [](string_view host) { return TruncateDomain(host, 2); });
}

TEST(TruncateDomain, CountBelowOneKeepsAllButNullHost) {
  for (const int n : {0, -1}) {
    EXPECT_EQ(TruncateDomain("shop.example.com", n), "shop.example.com");
    EXPECT_EQ(TruncateDomain("(null)", n), "");
  }
}

TEST(TruncateLSD, DropsTheFirstLabelWhenTwoDotsAreThere) {
  ExpectCuts({{"shop.example.com", "example.com"},
              {"a.b.example.co.uk", "b.example.co.uk"},
              {"example.com", "example.com"},
              {"localhost", "localhost"},
              {"example.com.", "com."},
              {"..", "."},
              {"", ""}},
             TruncateLSD);
}

TEST(TruncateIP, KeepsThreeOctets) {
  ExpectCuts({{"10.1.2.3", "10.1.2"},
              {"10.1.2", "10.1.2"},
              {"10", "10"},
              {"10.1.2.", "10.1.2"},
              {"10.1.2.3.4", "10.1.2"},
              {"...", ".."},
              {"", ""}},
             TruncateIP);
}

TEST(TruncateCGI, CutsAtQueryOrQuote) {
  ExpectCuts({{"/a.cgi?x=1", "/a.cgi"},
              {"/a\"b?c", "/a"},
              {"/a?b\"c", "/a"},
              {"/plain", "/plain"},
              {"?", ""},
              {"", ""}},
             TruncateCGI);
}

TEST(TruncateAt, CutsAtTheMarkThatItIsGiven) {
  EXPECT_EQ(TruncateAt(WithRoom("/a\\\"b?c"), '?'), "/a\\\"b");
  EXPECT_EQ(TruncateAt(WithRoom("/a\\\"b"), '?'), "/a\\\"b");
}

TEST(TruncateFileType, LastDotOfThePath) {
  ExpectCuts({{"/docs/a.HTML", ".HTML"},
              {"/docs/readme", ""},
              {"/a.b/c", ""},
              {"/img/x.gif?y=1", ".gif"},
              {"/img/x?y=/a.gif", ""},
              {".gif", ".gif"},
              {"/a.tar.gz", ".gz"},
              {"/a.", "."},
              {"readme", ""},
              {"/", ""},
              {"", ""}},
             TruncateFileType);
}

TEST(CheckIP, LabelsWithoutALetterAreUnknown) {
  ExpectCuts({{"4", "UNKNOWN"},
              {"com", "com"},
              {"x9", "x9"},
              {"9X", "9X"},
              {"-", "UNKNOWN"},
              {"\xE9", "UNKNOWN"},
              {"", ""}},
             checkIP);
}

TEST(TypeOfDomain, IsTheLastLabelIfThereIsALetter) {
  ExpectCuts({{"example.com", "com"},
              {"10.1.2", "UNKNOWN"},
              {"localhost", "localhost"},
              {"com.", ""},
              {"(null)", ""},
              {"2001:db8:1::/48", "2001:db8:1::/48"}},
             TypeOfDomain);
}

TEST(TypeOfDomain, OfANetworkIsUnknown) {
  ExpectCuts({{"example.com", "com"}, {"2001:db8:1::/48", "UNKNOWN"}, {"::/48", "UNKNOWN"}},
             TypeOfDomainOrNetwork);
}

TEST(Normalisers, AbsentTextsStayAbsent) {
  const string_view absent;
  EXPECT_EQ(TruncateDomain(absent, 1).data(), nullptr);
  EXPECT_EQ(TruncateLSD(absent).data(), nullptr);
  EXPECT_EQ(TruncateIP(absent).data(), nullptr);
  EXPECT_EQ(TruncateCGI(absent).data(), nullptr);
  EXPECT_EQ(TruncateFileType(absent).data(), nullptr);
  EXPECT_EQ(checkIP(absent).data(), nullptr);
  EXPECT_FALSE(MSIE(absent));
}

TEST(Normalisers, EmptiedTextsStayPresent) {
  EXPECT_NE(TruncateDomain("(null)", 1).data(), nullptr);
  EXPECT_NE(TruncateDomain("example.", 1).data(), nullptr);
  EXPECT_NE(TruncateCGI(WithRoom("?")).data(), nullptr);
  EXPECT_NE(TruncateFileType("/readme").data(), nullptr);
}

TEST(MSIE, FindsTheBrand) {
  EXPECT_TRUE(MSIE("Mozilla/4.0 (compatible; MSIE 5.0; X11)"));
  EXPECT_TRUE(MSIE("MSIE"));
  EXPECT_TRUE(MSIE("MSxMSIE"));
  EXPECT_FALSE(MSIE("Mozilla/4.7 [en] (X11; Linux)"));
  EXPECT_FALSE(MSIE("MSI"));
  EXPECT_FALSE(MSIE("msie"));
  EXPECT_FALSE(MSIE(""));
}

TEST(MSIE, NeverLooksBackDeliberately) {
  EXPECT_FALSE(MSIE("MMSIE"));
  EXPECT_TRUE(MSIE("MMMSIE"));
  EXPECT_FALSE(MSIE("MSMSIE"));
  EXPECT_FALSE(MSIE("MSIMSIE"));
}

TEST(MSIE, AnswersAsTheFourStateAutomaton) {
  std::mt19937 random(1);
  int found = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::string agent = RandomText(random, "MSIEx", 12);
    SCOPED_TRACE(agent);
    ASSERT_EQ(MSIE(agent), PlainMsie(agent));
    found += MSIE(agent);
  }
  EXPECT_GT(found, 20);
}

TEST(IPaddress, AnswersAsTheCutCopy) {
  std::mt19937 random(2);
  for (int i = 0; i < 5000; ++i) {
    const std::string host = RandomText(random, "aZ9.-", i % 2 == 0 ? 8 : 300);
    SCOPED_TRACE(host);
    ASSERT_EQ(IPaddress(host), PlainIPaddress(host));
  }
}
