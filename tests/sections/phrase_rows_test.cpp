#include "sections/phrase_rows.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "analysis/driver.h"

namespace {

class PhraseRows : public testing::Test {
 protected:
  PhraseRows() { ResetAnalysis(); }
  ~PhraseRows() override { ResetAnalysis(); }

  // Defines an engine; those defined first come first.
  SearchEngine& Define(const std::string& definition) {
    ParseSearchEngineDefinition(definition);
    analysis_.search.engines = mpEngineHead;
    SearchEngine* last = mpEngineHead;
    while (last->next != nullptr) {
      last = last->next;
    }
    return *last;
  }

  void Count(SearchEngine& engine, const char* phrase, int times) {
    for (; times > 0; --times) {
      add_item(engine.phrases, engine.phrases_info, phrase, {}, nullptr, false);
      ++analysis_.search.hits;
    }
  }

  // The next engine's phrases up to the cut-off, "phrase=count " each.
  static std::string Phrases(EngineRow& engine) {
    std::string text;
    for (PhraseRow row{}; NextPhrase(engine, row);) {
      text.append(row.phrase).append("=").append(std::to_string(row.count)).append(" ");
    }
    return text;
  }

  // The same of all engines.
  std::string AllPhrases() {
    EngineRows rows = OpenEngines(settings_, analysis_);
    std::string text;
    for (EngineRow engine{}; NextEngine(rows, engine);) {
      text.append(engine.name).append(": ").append(Phrases(engine));
    }
    return text;
  }

  void CountFive(SearchEngine& engine) {
    Count(engine, "a", 2);
    Count(engine, "b", 9);
    Count(engine, "c", 1);
    Count(engine, "d", 5);
    Count(engine, "e", 2);
  }

  Settings settings_{};
  Analysis analysis_{};
};

constexpr const char* kFinder = "Finder;url=http://finder.example/;domain=finder.example;vars=q";
constexpr const char* kSeeker = "Seeker;domain=seeker.example;vars=q";

TEST_F(PhraseRows, NoEngineHasNoRows) {
  EngineRows rows = OpenEngines(settings_, analysis_);
  EngineRow engine{};
  EXPECT_EQ(rows.summary.distinct, 0);
  EXPECT_FALSE(NextEngine(rows, engine));
}

TEST_F(PhraseRows, EnginesComeInDefinitionOrderAndSilentOnesAreLeftOut) {
  SearchEngine& seeker = Define(kSeeker);
  Define("Silent;domain=silent.example;vars=q");
  SearchEngine& finder = Define(kFinder);
  Define("Mute;domain=mute.example;vars=q");
  Count(finder, "red shoes", 2);
  Count(finder, "blue", 1);
  Count(seeker, "blue", 1);
  EngineRows rows = OpenEngines(settings_, analysis_);
  EXPECT_EQ(rows.summary.distinct, 3) << "the same phrase of two engines counts twice";
  EXPECT_EQ(rows.summary.total, 4);
  EngineRow engine{};
  ASSERT_TRUE(NextEngine(rows, engine));
  EXPECT_STREQ(engine.name, "Seeker");
  EXPECT_STREQ(engine.address, "");
  EXPECT_EQ(engine.hits, 1);
  EXPECT_DOUBLE_EQ(engine.share, 0.25);
  ASSERT_TRUE(NextEngine(rows, engine));
  EXPECT_STREQ(engine.name, "Finder");
  EXPECT_STREQ(engine.address, "http://finder.example/");
  EXPECT_EQ(engine.hits, 3);
  EXPECT_EQ(engine.distinct, 2);
  EXPECT_DOUBLE_EQ(engine.share, 0.75);
  EXPECT_EQ(Phrases(engine), "red shoes=2 blue=1 ");
  EXPECT_FALSE(NextEngine(rows, engine));
  EXPECT_FALSE(NextEngine(rows, engine)) << "the end stays the end";
}

TEST_F(PhraseRows, EmptyPhrasesLowerTheSharesOfAll) {
  Count(Define(kFinder), "a", 1);
  analysis_.search.hits = 2;
  EngineRows rows = OpenEngines(settings_, analysis_);
  EngineRow engine{};
  ASSERT_TRUE(NextEngine(rows, engine));
  EXPECT_EQ(engine.hits, 1);
  EXPECT_DOUBLE_EQ(engine.share, 0.5);
}

TEST_F(PhraseRows, CutOffHoldsForEachEngineByItself) {
  CountFive(Define(kFinder));
  Count(Define(kSeeker), "x", 3);
  settings_.search = {1, 3, 2, 0};
  EXPECT_EQ(AllPhrases(), "Finder: b=9 d=5 e=2 Seeker: x=3 ");
  settings_.search = {1, 0, 2, 0};
  EXPECT_EQ(AllPhrases(), "Finder: b=9 d=5 e=2 a=2 Seeker: x=3 ");
  settings_.search = {1, -1, 0, 0};
  EXPECT_EQ(AllPhrases(), "Finder: Seeker: ");
}

TEST_F(PhraseRows, DeliberateTopIsANumberOfRowsEvenAsAPercentage) {
  CountFive(Define(kFinder));
  settings_.search = {1, 2, 0, 1};
  EXPECT_EQ(AllPhrases(), "Finder: b=9 d=5 ");
  EXPECT_TRUE(OpenEngines(settings_, analysis_).summary.cut_off.percent) << "what was asked for stays";
}

TEST_F(PhraseRows, TellsWhetherTheDefinitionsAreBuiltIn) {
  EXPECT_FALSE(OpenEngines(settings_, analysis_).built_in);
  analysis_.search.built_in = true;
  EXPECT_TRUE(OpenEngines(settings_, analysis_).built_in);
}

}  // namespace
