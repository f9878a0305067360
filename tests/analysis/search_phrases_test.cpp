#include "analysis/search_phrases.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "analysis/driver.h"
#include "analysis/plain_query.h"
#include "analysis/search_engines.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "support/counted.h"

namespace {

class CountSearchHitsTest : public testing::Test {
 protected:
  CountSearchHitsTest() { ResetAnalysis(); }
  ~CountSearchHitsTest() override { ResetAnalysis(); }

  // The phrases of every engine, one engine a line.
  static std::string Phrases() {
    std::string text;
    for (SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
      text += std::string(engine->name) + ": " + Counted(engine->phrases) + "\n";
    }
    return text;
  }

  void Count(std::string_view referrer) {
    counts_.engines = mpEngineHead;
    CountSearchHits(referrer, counts_);
  }

  std::string PhrasesAfter(const std::string& referrer) {
    Count(referrer);
    return Phrases();
  }

  SearchCounts counts_{};
};

std::string QueryValue(std::string text, const char* name) {
  return parseQuery(text.data(), name) ? "found " + std::string(text.c_str()) : "none " + text;
}

}  // namespace

TEST(ParseQuery, WritesTheDecodedValueOverTheText) {
  EXPECT_EQ(QueryValue("search?x=1&q=red+sh%6Fes&z=2", "q"), "found red shoes");
}

TEST(ParseQuery, NamesCompareIgnoringCase) {
  EXPECT_EQ(QueryValue("s?Q=a", "q"), "found a");
  EXPECT_EQ(QueryValue("s?q=a", "Q"), "found a");
}

TEST(ParseQuery, FailsWithoutAQueryAndLeavesTheText) {
  EXPECT_EQ(QueryValue("search", "q"), "none search");
  EXPECT_EQ(QueryValue("search?", "q"), "none search?");
  EXPECT_EQ(QueryValue("search?q", "q"), "none search?q");
  EXPECT_EQ(QueryValue("", "q"), "none ");
}

TEST(ParseQuery, ValueMayBeEmpty) {
  EXPECT_EQ(QueryValue("s?q=&p=x", "q"), "found ");
  EXPECT_EQ(QueryValue("s?q=", "q"), "found ");
}

TEST(ParseQuery, ParameterWithoutEqualsRunsIntoTheNextNameDeliberately) {
  EXPECT_EQ(QueryValue("s?flag&q=a", "q"), "none s?flag&q=a");
  EXPECT_EQ(QueryValue("s?flag&q=a", "flag&q"), "found a");
}

TEST(ParseQuery, FurtherEqualsSignsBelongToTheValue) {
  EXPECT_EQ(QueryValue("s?q=a=b&p=c", "q"), "found a=b");
  EXPECT_EQ(QueryValue("s?p=a=b&q=c", "q"), "found c");
}

TEST(ParseQuery, EscapedNulEndsTheValue) {
  EXPECT_EQ(QueryValue("s?q=a%00b", "q"), "found a");
}

TEST(FindQueryValueTest, EqualsTheCharacterByCharacterScan) {
  std::mt19937 random(3);
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 14, '\0');
    for (char& c : text) {
      c = "?=&qQx%"[random() % 7];
    }
    const char* name = std::vector<const char*>{"q", "x", "q&x", "qq"}[random() % 4];
    std::string plain;
    std::string_view value;
    const bool expected = PlainQueryValue(text.c_str(), name, plain);
    EXPECT_EQ(FindQueryValue(text, name, value), expected) << text << " " << name;
    EXPECT_EQ(value, plain) << text << " " << name;
  }
}

TEST_F(CountSearchHitsTest, CountsTheDecodedPhrase) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  EXPECT_EQ(PhrasesAfter("http://finder.example/search?x=1&q=red+shoes"), "F: red shoes=1 \n");
  EXPECT_EQ(counts_.hits, 1);
}

TEST_F(CountSearchHitsTest, VariableNamesIgnoreCase) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=Q");
  EXPECT_EQ(PhrasesAfter("http://finder.example/search?x=1&q=red+shoes"), "F: red shoes=1 \n");
}

TEST_F(CountSearchHitsTest, NeedsAThirdSlash) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  EXPECT_EQ(PhrasesAfter("http://finder.example?q=a"), "F: \n");
  EXPECT_EQ(PhrasesAfter("finder.example?q=a"), "F: \n");
  EXPECT_EQ(counts_.hits, 0);
}

TEST_F(CountSearchHitsTest, AbsentAndEmptyReferrersCountNothing) {
  ParseSearchEngineDefinition("F;domain=;vars=q");
  Count({});
  EXPECT_EQ(PhrasesAfter(""), "F: \n");
}

TEST_F(CountSearchHitsTest, NoEngineNoPhrase) {
  Count("http://finder.example/s?q=a");
  EXPECT_EQ(counts_.hits, 0);
}

TEST_F(CountSearchHitsTest, HostsCompareCaseSensitively) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  EXPECT_EQ(PhrasesAfter("http://FINDER.EXAMPLE/s?q=a"), "F: \n");
}

TEST_F(CountSearchHitsTest, FragmentMayStandAnywhereInTheHostPart) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  EXPECT_EQ(PhrasesAfter("http://www.pathfinder.example.test:8080/s?q=a"), "F: a=1 \n");
  EXPECT_EQ(PhrasesAfter("http://other.test/finder.example?q=a"), "F: a=1 \n");
}

TEST_F(CountSearchHitsTest, SchemeBelongsToTheHostPart) {
  ParseSearchEngineDefinition("F;domain=https://;vars=q");
  EXPECT_EQ(PhrasesAfter("http://a.example/s?q=a"), "F: \n");
  EXPECT_EQ(PhrasesAfter("https://a.example/s?q=a"), "F: a=1 \n");
}

TEST_F(CountSearchHitsTest, EmptyFragmentMatchesEveryHost) {
  ParseSearchEngineDefinition("F;domain=;vars=q");
  EXPECT_EQ(PhrasesAfter("http://any.test/s?q=a"), "F: a=1 \n");
}

TEST_F(CountSearchHitsTest, DottedFragmentDemandsALabelInFront) {
  ParseSearchEngineDefinition("F;domain=.finder.example;vars=q");
  EXPECT_EQ(PhrasesAfter("http://finder.example/s?q=a"), "F: \n");
  EXPECT_EQ(PhrasesAfter("http://www.finder.example/s?q=a"), "F: a=1 \n");
}

TEST_F(CountSearchHitsTest, EmptyPhraseIsAHitWithoutARow) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q,p");
  EXPECT_EQ(PhrasesAfter("http://finder.example/s?q=&p=x"), "F: \n");
  EXPECT_EQ(counts_.hits, 1);
}

TEST_F(CountSearchHitsTest, ParameterWithoutEqualsHidesTheNextDeliberately) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  EXPECT_EQ(PhrasesAfter("http://finder.example/s?flag&q=a"), "F: \n");
}

TEST_F(CountSearchHitsTest, FirstEngineThenDomainThenVariableWins) {
  ParseSearchEngineDefinition("A;domain=www.finder;vars=z;domain=finder.example;vars=y,q");
  ParseSearchEngineDefinition("B;domain=finder.example;vars=q,y,z");
  EXPECT_EQ(PhrasesAfter("http://www.finder.example/s?q=3&y=2&z=1"), "A: 1=1 \nB: \n");
  EXPECT_EQ(PhrasesAfter("http://www.finder.example/s?q=3&y=2"), "A: 1=1 2=1 \nB: \n");
  EXPECT_EQ(counts_.hits, 2);
}

TEST_F(CountSearchHitsTest, GoesOnToLaterEnginesWhileNoVariableMatches) {
  ParseSearchEngineDefinition("A;domain=finder.example;vars=x");
  ParseSearchEngineDefinition("B;domain=finder.example;vars=q");
  EXPECT_EQ(PhrasesAfter("http://finder.example/s?q=a"), "A: \nB: a=1 \n");
}

TEST_F(CountSearchHitsTest, PhrasesAreCaseSensitiveDeliberately) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  Count("http://finder.example/s?q=Red");
  EXPECT_EQ(PhrasesAfter("http://finder.example/s?q=red"), "F: Red=1 red=1 \n");
}

TEST_F(CountSearchHitsTest, BlanksStayAsTheyAre) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  EXPECT_EQ(PhrasesAfter("http://finder.example/s?q=+a++b+"), "F:  a  b =1 \n");
}

TEST_F(CountSearchHitsTest, PhrasesAreCutTo243CharactersAfterDecoding) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  std::string referrer = "http://finder.example/s?q=";
  for (int i = 0; i < 300; ++i) {
    referrer += "%41";
  }
  std::string phrase(243, 'A');
  EXPECT_EQ(PhrasesAfter(referrer), std::string("F: ").append(phrase).append("=1 \n"));
}

TEST_F(CountSearchHitsTest, LongPhrasesEqualDecodingThemWhole) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  std::mt19937 random(4);
  for (int round = 0; round < 300; ++round) {
    std::string encoded(700 + random() % 200, '\0');
    for (char& c : encoded) {
      c = "%%4Aa+x"[random() % 7];
    }
    std::string whole = encoded;
    whole.resize(decode(whole.data()));
    Count("http://finder.example/s?q=" + encoded);
    EXPECT_EQ(Counted(mpEngineHead->phrases), whole.substr(0, 243) + "=1 ");
    destroy(mpEngineHead->phrases);
  }
}

TEST_F(CountSearchHitsTest, DefaultsKnowTheirEngines) {
  Search_Init();
  Count("http://www.google.com/search?hl=en&q=red+shoes");
  Count("http://search.yahoo.com/bin/search?p=blue");
  EXPECT_EQ(counts_.hits, 2);
  for (SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    const std::string name = engine->name;
    EXPECT_EQ(Counted(engine->phrases), name == "Google"   ? "red shoes=1 "
                                        : name == "Yahoo!" ? "blue=1 "
                                                           : "");
  }
}

TEST_F(CountSearchHitsTest, EveryDefaultDomainLeadsToAnEngine) {
  Search_Init();
  int64_t referrers = 0;
  for (const SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    for (const SearchDomainInfo* domain = engine->domains; domain != nullptr; domain = domain->next) {
      Count("http://www" + std::string(domain->name) + "/s?" + domain->variables->name + "=a");
      EXPECT_EQ(counts_.hits, ++referrers) << domain->name;
    }
  }
}

class ModernSearchTest : public CountSearchHitsTest {
 protected:
  ModernSearchTest() {
    Search_Init(kModernSearch);
    counts_ = NewSearchCounts();
  }

  // The engine that a referral without a phrase counts for; empty: none.
  std::string ReferralOf(std::string_view referrer) {
    Count(referrer);
    std::string names;
    for (SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
      names += engine->referrals != 0 ? engine->name : "";
      engine->referrals = 0;
    }
    return names;
  }
};

TEST_F(ModernSearchTest, EnginesAndAssistantsAreKnownByTheirHosts) {
  const std::vector<std::pair<std::string_view, std::string_view>> engines = {
      {"https://www.google.com/", "Google"},     {"https://www.google.co.uk", "Google"},
      {"https://duckduckgo.com/", "DuckDuckGo"}, {"https://www.bing.com/search?q=", "Bing"},
      {"https://chatgpt.com/", "ChatGPT"},       {"https://www.perplexity.ai/", "Perplexity"},
      {"https://gemini.google.com/", "Gemini"},  {"https://claude.ai/", "Claude"},
      {"https://yandex.ru/", "Yandex"},          {"https://search.brave.com/", "Brave Search"}};
  for (const auto& [referrer, engine] : engines) {
    EXPECT_EQ(ReferralOf(referrer), engine) << referrer;
  }
}

TEST_F(ModernSearchTest, OtherSitesOfTheirOwnersAreNone) {
  for (const std::string_view other :
       {"https://mail.google.com/", "https://notgoogle.com/", "https://www.example.com/www.google.com",
        "https://chatgpt.example/"}) {
    EXPECT_EQ(ReferralOf(other), "") << other;
    EXPECT_EQ(ReferralOf(other), "") << other << " again";
  }
  EXPECT_EQ(counts_.hits, 0);
}

TEST_F(ModernSearchTest, ManyOtherHostsHideNoEngine) {
  for (int i = 0; i < 5000; ++i) {
    Count("https://site" + std::to_string(i) + ".example/");
  }
  EXPECT_EQ(counts_.hits, 0);
  EXPECT_EQ(ReferralOf("https://www.google.com/"), "Google");
}

TEST_F(CountSearchHitsTest, OnlyReferrersWithAQueryMayCount) {
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  counts_ = NewSearchCounts();
  EXPECT_FALSE(MayCountForEngine("http://finder.example/", counts_));
  EXPECT_TRUE(MayCountForEngine("http://finder.example/?", counts_));
  EXPECT_TRUE(MayCountForEngine("http://other.example/?", counts_)) << "not known yet";
  Count("http://other.example/?q=a");
  EXPECT_FALSE(MayCountForEngine("http://other.example/?", counts_));
}

// What is remembered holds for all spellings of a host.
TEST_F(CountSearchHitsTest, HostsOfEnginesInOtherLettersMayCount) {
  ParseSearchEngineDefinition("F;domain=Finder.example;vars=q");
  counts_ = NewSearchCounts();
  for (const std::string_view referrer :
       {"http://finder.example/?q=a", "http://FINDER.EXAMPLE/?q=a", "http://Finder.example/?q=a"}) {
    Count(referrer);
    EXPECT_TRUE(MayCountForEngine(referrer, counts_)) << referrer;
  }
  EXPECT_EQ(counts_.hits, 1);
}

TEST_F(ModernSearchTest, ReferrersWithoutAQueryMayCount) {
  EXPECT_TRUE(MayCountForEngine("https://www.google.com/", counts_));
  EXPECT_TRUE(MayCountForEngine("https://other.example/", counts_)) << "not known yet";
  Count("https://other.example/");
  EXPECT_FALSE(MayCountForEngine("https://other.example/", counts_));
}

TEST_F(CountSearchHitsTest, AnyReferrerIsReadWithinItsBounds) {
  Search_Init();
  std::mt19937 random(5);
  for (int round = 0; round < 5000; ++round) {
    std::vector<char> referrer(random() % 40);
    for (char& c : referrer) {
      c = "/?=&%q.ag"[random() % 9];
    }
    Count({referrer.data(), referrer.size()});
  }
  SUCCEED();
}
