#include "output/page_cells.h"

#include <gtest/gtest.h>

#include <string>

#include "output/written.h"

static std::string Item(const std::string& text, const char* site) {
  return Written([&](Sink& sink) { PutItemText(sink, text.c_str(), site); });
}
static std::string Plain(const std::string& text, const char* site) {
  return Written([&](Sink& sink) { PutPlainItem(sink, text.c_str(), site); });
}
static std::string Percent(double share) {
  return Written([&](Sink& sink) { PutShare(sink, share); });
}
static std::string Size(uint64_t bytes) {
  return Written([&](Sink& sink) { PutByteSize(sink, bytes); });
}

static const std::string kLink = "<a rel=\"noopener noreferrer nofollow\" href=\"";

TEST(PageItem, LinksWhatIsOfTheWebAndNothingElse) {
  EXPECT_EQ(Item("/a b", "http://site.example"), kLink + "http://site.example/a%20b\">/a b</a>");
  EXPECT_EQ(Item("https://r.example/?a&b", ""),
            kLink + "https://r.example/?a&amp;b\">https://r.example/?a&amp;b</a>");
  EXPECT_EQ(Item("javascript:alert(1)", ""), "<bdi>javascript:alert(1)</bdi>");
  EXPECT_EQ(Item("data:text/html,x", ""), "<bdi>data:text/html,x</bdi>");
  EXPECT_EQ(Item("@evil.example/", "http://site.example"), "<bdi>@evil.example/</bdi>");
  EXPECT_EQ(Item("/a", "javascript:x"), "<bdi>/a</bdi>");
  EXPECT_EQ(Item("/a", nullptr), "<bdi>/a</bdi>");
}

TEST(PageItem, HoldsMarkupAsText) {
  EXPECT_EQ(Item("</bdi><script>", nullptr), "<bdi>&lt;/bdi&gt;&lt;script&gt;</bdi>");
  EXPECT_EQ(Plain("\"><svg>", "http://site.example"), "<bdi>&quot;&gt;&lt;svg&gt;</bdi>");
  EXPECT_EQ(Plain("/\"><svg>", "http://site.example"),
            kLink + "http://site.example/%22%3E%3Csvg%3E\">/&quot;&gt;&lt;svg&gt;</a>");
}

TEST(PageItem, AddressesAreShownAsTheyAreReadAndLinkedAsTheyStand) {
  EXPECT_EQ(Item("/caf%C3%A9", "http://site.example"), kLink + "http://site.example/caf%C3%A9\">/café</a>");
  EXPECT_EQ(Plain("/caf%C3%A9", "http://site.example"), kLink + "http://site.example/caf%C3%A9\">/café</a>");
  EXPECT_EQ(Item("http://r.example/%3C%C3%A9", ""),
            kLink + "http://r.example/%3C%C3%A9\">http://r.example/%3Cé</a>");
  EXPECT_EQ(Item("caf%C3%A9", nullptr), "<bdi>caf%C3%A9</bdi>");
  std::string encoded = "/";
  std::string read = "/";
  for (int i = 0; i < 89; ++i) {
    encoded += "%C3%A9";
    read += "é";
  }
  EXPECT_EQ(Item(encoded, ""), "<bdi>" + read + "</bdi>");
}

TEST(PageItem, LongTextLosesItsMiddleAndHasItFolded) {
  const std::string text = std::string(60, 'a') + "MIDDLE" + std::string(30, 'z');
  EXPECT_EQ(Item(text, nullptr), "<bdi>" + std::string(60, 'a') + "\u2026" + std::string(30, 'z') +
                                     "</bdi><details class=\"in\"><summary>in full</summary>"
                                     "<bdi class=\"whole\">" +
                                     text + "</bdi></details>");
  EXPECT_EQ(Item(std::string(90, 'a'), nullptr), "<bdi>" + std::string(90, 'a') + "</bdi>");
  EXPECT_EQ(Plain(text, nullptr), "<bdi>" + text + "</bdi>");
}

TEST(PageFigures, SharesHaveOneDigit) {
  EXPECT_EQ(Percent(0), "0.0 %");
  EXPECT_EQ(Percent(0.0004), "&lt; 0.1 %");
  EXPECT_EQ(Percent(0.0005), "0.1 %");
  EXPECT_EQ(Percent(0.1234), "12.3 %");
  EXPECT_EQ(Percent(2), "200.0 %");
}

TEST(PageFigures, SizesAreInPowersOfThousand) {
  EXPECT_EQ(Size(0), "0 bytes");
  EXPECT_EQ(Size(999), "999 bytes");
  EXPECT_EQ(Size(1000), "1.0 kB");
  EXPECT_EQ(Size(999949), "999.9 kB");
  EXPECT_EQ(Size(999950), "1.0 MB");
  EXPECT_EQ(Size(2747282740), "2.7 GB");
  EXPECT_EQ(Size(UINT64_MAX), "18.4 EB");
}

TEST(PageFigures, NounsFollowTheirNumber) {
  const auto counted = [](int64_t count) {
    return Written([&](Sink& sink) { PutCounted(sink, count, "log", "logs"); });
  };
  EXPECT_EQ(counted(0), "0 logs");
  EXPECT_EQ(counted(1), "1 log");
  EXPECT_EQ(counted(1234), "1,234 logs");
}
