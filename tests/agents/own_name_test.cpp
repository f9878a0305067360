#include "agents/own_name.h"

#include <gtest/gtest.h>

static std::string_view NameBy(std::string_view text, std::string_view found) {
  return OwnName(text, text.find(found));
}

static std::string_view NameOf(std::string_view text) {
  return OwnName(text, std::string_view::npos);
}

TEST(OwnName, IsTheWordsAroundWhatWasFound) {
  EXPECT_EQ(NameBy("AcmeBot/1.0 (+https://acme.example/bot)", "Bot"), "AcmeBot");
  EXPECT_EQ(NameBy("Mozilla/5.0 (compatible; Acme Web Crawler/2.0; +http://acme.example)", "Crawl"),
            "Acme Web Crawler");
  EXPECT_EQ(NameBy("Mozilla/5.0 (X11) Chrome/99.0 Safari/537.36 AcmeBot/1.0", "Bot"), "AcmeBot");
  EXPECT_EQ(NameBy("Jack's Spider", "Spider"), "Jack's Spider");
}

TEST(OwnName, HasNoVersionInIt) {
  EXPECT_EQ(NameBy("AcmeBot 2.0", "Bot"), "AcmeBot");
  EXPECT_EQ(NameBy("AcmeBot-1.2.3", "Bot"), "AcmeBot");
  EXPECT_EQ(NameBy("AcmeBot v20210315 - https://acme.example", "Bot"), "AcmeBot");
  EXPECT_EQ(NameBy("360Acmebot", "bot"), "360Acmebot");
  EXPECT_EQ(NameBy("Web2", "Web"), "Web2");
}

TEST(OwnName, OfASentenceIsTheWordAlone) {
  EXPECT_EQ(NameBy("this is the crawler of a very small university, do not mind", "crawl"), "crawler");
}

TEST(OwnName, IsNoPartOfAnAddress) {
  EXPECT_EQ(NameBy("Acme/1.0 (+http://robots.acme.example/bot.html)", "bot.html"), "Acme");
  EXPECT_EQ(NameBy("Acme/1.0 (bot@acme.example)", "bot@"), "Acme");
  EXPECT_EQ(NameBy("Acme/1.0 www.acme.example/bot", "bot"), "Acme");
  EXPECT_EQ(NameBy("Acme/1.0 (acme.com)", ".com"), "Acme");
}

TEST(OwnName, StandsInTheCommentOrInFrontOrBehind) {
  EXPECT_EQ(NameOf("Mozilla/5.0 (compatible; Acme/1.0; +http://acme.example)"), "Acme");
  EXPECT_EQ(NameOf("Acme Collector (http://acme.example)"), "Acme Collector");
  EXPECT_EQ(NameOf("Acme Collector http://acme.example"), "Acme Collector");
  EXPECT_EQ(NameOf("Mozilla/5.0 (X11; Linux) AppleWebKit/537.36 (KHTML, like Gecko) Acme/3 Safari/537.36"),
            "Acme");
  EXPECT_EQ(NameOf("Mozilla/5.0 (compatible; MSIE 6.0; Windows NT 5.1) Acme"), "Acme");
}

TEST(OwnName, IsTheHostOfTheAddressWhereNothingElseIs) {
  EXPECT_EQ(NameOf("Mozilla/5.0 (X11) Chrome/99.0 Safari/537.36 (+https://www.acme.example/about)"),
            "acme.example");
  EXPECT_EQ(NameOf("http://acme.example/"), "acme.example");
}

TEST(OwnName, IsWhatThereIsWhereNothingIsAName) {
  EXPECT_EQ(NameOf("Mozilla/5.0"), "Mozilla");
  EXPECT_EQ(NameOf("()"), "()");
  EXPECT_EQ(NameOf("1.0"), "1.0");
}

TEST(OwnName, TakesTabsForBlanks) {
  EXPECT_EQ(NameOf("Mozilla/5.0\t(X11)\tChrome/99.0\tAcme"), "Acme");
  EXPECT_EQ(NameOf("()\t"), "()\t");
}

TEST(OwnName, IsCut) {
  const std::string word(100, 'a');
  EXPECT_EQ(NameOf(word), word.substr(0, kLongestOwnName));
  EXPECT_EQ(NameOf("Acme " + word), "Acme");
}

TEST(OwnName, OfPlacesBeyondTheTextIsThatOfTheText) {
  EXPECT_EQ(OwnName("Acme", 4), "Acme");
  EXPECT_EQ(OwnName("Acme", 400), "Acme");
}
