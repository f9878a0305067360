#include "analysis/search_engines.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "analysis/driver.h"

namespace {

class SearchEngines : public testing::Test {
 protected:
  SearchEngines() { ResetAnalysis(); }
  ~SearchEngines() override { ResetAnalysis(); }
};

// "name|url|fragment:variable,variable;fragment:variable;" of one engine.
std::string ToText(const SearchEngine& engine) {
  std::string text = std::string(engine.name) + "|" + engine.url + "|";
  for (const SearchDomainInfo* domain = engine.domains; domain != nullptr; domain = domain->next) {
    text += std::string(domain->text()) + ":";
    for (const SearchVariable* variable = domain->variables; variable != nullptr; variable = variable->next) {
      text += std::string(variable->text()) + (variable->next != nullptr ? "," : "");
    }
    text += ";";
  }
  return text;
}

std::string EnginesText() {
  std::string text;
  for (const SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    text += ToText(*engine) + "\n";
  }
  return text;
}

std::string Parsed(std::string_view definition) {
  ParseSearchEngineDefinition(definition);
  return EnginesText();
}

using ParseSearchEngineDefinitionTest = SearchEngines;
using SearchInit = SearchEngines;
using SearchRecords = SearchEngines;

}  // namespace

TEST_F(ParseSearchEngineDefinitionTest, ReadsNameUrlAndPairs) {
  EXPECT_EQ(Parsed("Finder;url=address;domain=.finder.example;vars=q,query;domain=find.example;vars=p"),
            "Finder|address|.finder.example:q,query;find.example:p;\n");
  EXPECT_EQ(mEnginesCount, 1);
}

TEST_F(ParseSearchEngineDefinitionTest, EmptyAndAbsentTextDefineNothing) {
  EXPECT_EQ(Parsed(""), "");
  EXPECT_EQ(Parsed({}), "");
  EXPECT_EQ(mEnginesCount, 0);
}

TEST_F(ParseSearchEngineDefinitionTest, TextWithoutSemicolonDefinesNothing) {
  EXPECT_EQ(Parsed("X"), "");
}

TEST_F(ParseSearchEngineDefinitionTest, NameAloneDefinesAnEngineWithoutUrlAndDomains) {
  EXPECT_EQ(Parsed("X;"), "X||\n");
}

TEST_F(ParseSearchEngineDefinitionTest, UrlWithoutSemicolonDefinesNothing) {
  EXPECT_EQ(Parsed("X;url=u"), "");
  EXPECT_EQ(mEnginesCount, 0);
}

TEST_F(ParseSearchEngineDefinitionTest, UrlCountsOnlyRightAfterTheName) {
  EXPECT_EQ(Parsed("X;note;url=u;domain=d;vars=q"), "X||d:q;\n");
}

TEST_F(ParseSearchEngineDefinitionTest, TrailingDomainIsDropped) {
  EXPECT_EQ(Parsed("X;domain=d;vars=q;domain=e"), "X||d:q;\n");
}

TEST_F(ParseSearchEngineDefinitionTest, FieldNamesIgnoreCaseAndEmptyVariablesAreDropped) {
  EXPECT_EQ(Parsed("X;URL=u;DOMAIN=d;VARS=a,,b"), "X|u|d:a,b;\n");
}

TEST_F(ParseSearchEngineDefinitionTest, DomainWithoutVarsIsDroppedAndTheNextPartStillRead) {
  EXPECT_EQ(Parsed("X;domain=a;domain=b;vars=q;"), "X||b:q;\n");
}

TEST_F(ParseSearchEngineDefinitionTest, OtherPartsAreSkipped) {
  EXPECT_EQ(Parsed("X;vars=lost;noise;;domain=a;vars=q;vars=lost;domain=b;vars=p;more"), "X||a:q;b:p;\n");
}

TEST_F(ParseSearchEngineDefinitionTest, EmptyFragmentAndEmptyVariableListAreKept) {
  EXPECT_EQ(Parsed("X;domain=;vars=q;domain=d;vars=;domain=e;vars="), "X||:q;d:;e:;\n");
}

TEST_F(ParseSearchEngineDefinitionTest, NameAndUrlAreCutTo243Characters) {
  ParseSearchEngineDefinition(std::string(300, 'n') + ";url=" + std::string(300, 'u') + ";");
  EXPECT_EQ(std::string(mpEngineHead->name), std::string(243, 'n'));
  EXPECT_EQ(std::string(mpEngineHead->url), std::string(243, 'u'));
  EXPECT_EQ(std::string(mpEngineHead->list_title), std::string(243, 'n') + " Search Phrases");
}

TEST_F(ParseSearchEngineDefinitionTest, LongFragmentsAndVariablesAreKeptWhole) {
  const std::string fragment(700, 'f');
  const std::string variable(600, 'v');
  EXPECT_EQ(Parsed("X;domain=" + fragment + ";vars=" + variable), "X||" + fragment + ":" + variable + ";\n");
}

TEST_F(ParseSearchEngineDefinitionTest, EnginesKeepDefinitionOrder) {
  Parsed("B;");
  EXPECT_EQ(Parsed("A;"), "B||\nA||\n");
  EXPECT_EQ(mEnginesCount, 2);
}

TEST_F(ParseSearchEngineDefinitionTest, PhraseListIsTitledAfterTheEngine) {
  Parsed("Finder;");
  ASSERT_NE(mpEngineHead->phrases_info, nullptr);
  EXPECT_STREQ(mpEngineHead->phrases_info->name, "Finder Search Phrases");
  EXPECT_EQ(list_length(mpEngineHead->phrases), 0U);
}

TEST_F(ParseSearchEngineDefinitionTest, AnyTextIsReadWithinItsBounds) {
  std::mt19937 random(1);
  const std::vector<std::string> pieces = {"domain=", "vars=", "url=", ";", ";", ",", "=", "x", "d.example"};
  for (int round = 0; round < 2000; ++round) {
    std::string text;
    for (size_t count = random() % 12; count > 0; --count) {
      text += pieces[random() % pieces.size()];
    }
    const int before = mEnginesCount;
    const std::vector<char> exact(text.begin(), text.end());  // no byte behind it
    ParseSearchEngineDefinition({exact.data(), exact.size()});
    EXPECT_LE(mEnginesCount - before, text.find(';') == std::string::npos ? 0 : 1) << text;
  }
}

TEST_F(SearchInit, LoadsThe34DefaultsWhenNothingIsDefined) {
  Search_Init();
  EXPECT_EQ(mEnginesCount, 34);
  EXPECT_TRUE(mNoConfigDefinitions);
  // Names and variables; the addresses are the site's own.
  std::string text;
  for (const SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    text += std::string(engine->name) + ":";
    for (const SearchDomainInfo* domain = engine->domains; domain != nullptr; domain = domain->next) {
      for (const SearchVariable* variable = domain->variables; variable != nullptr;
           variable = variable->next) {
        text += std::string(" ") + variable->name;
      }
      text += domain->next != nullptr ? ";" : "\n";
    }
  }
  EXPECT_EQ(text,
            "About.com: terms\nAltaVista: q\nAOL Search: query search s; query\nAsk Jeeves: ask; ask; ask\n"
            "Direct Hit: qry\nDogpile: q\nExcite: search s\nFAST Search: query\nGO Network: qt\nGoogle: q\n"
            "GoTo: Keywords\nHotBot: MT; MT\nInferenceFind: query\nInfoSeek: qt; qt\niWon: searchfor\n"
            "LookSmart: key\nLycos: query\nMagellan: search query; search query\n"
            "MetaCrawler: general; general\nMicrosoft: qu SearchString\nMSN: q MT\n"
            "NetGuide: query Search.Query AVSearchApp.Query\nNetscape: search\nNorthern Light: qr\n"
            "Open Directory Project: search; search\nPlanetSearch: text\nRealNames: realname\n"
            "SavvySearch: q KW; KW\nSEARCH.com: QUERY; QUERY\nSnap: keyword KW\nSwitchboard: SEARCHSTRING\n"
            "Thunderstone: q arg\nWebCrawler: searchText text\nYahoo!: p\n");
}

TEST_F(SearchInit, EveryDefaultHasAHomePageAndFiveFragmentsBeginWithADot) {
  Search_Init();
  int dotted = 0;
  for (const SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    SCOPED_TRACE(engine->name);
    EXPECT_TRUE(std::string_view(engine->url).starts_with("http://"));
    for (const SearchDomainInfo* domain = engine->domains; domain != nullptr; domain = domain->next) {
      EXPECT_NE(domain->text().find('.'), std::string_view::npos);
      dotted += domain->text().starts_with('.') ? 1 : 0;
    }
  }
  EXPECT_EQ(dotted, 5);
}

TEST_F(SearchInit, OneConfiguredEngineKeepsTheDefaultsOut) {
  ParseSearchEngineDefinition("Finder;domain=finder.example;vars=q");
  Search_Init();
  EXPECT_EQ(EnginesText(), "Finder||finder.example:q;\n");
  EXPECT_FALSE(mNoConfigDefinitions);
}

TEST_F(SearchInit, SecondCallDefinesNothingMore) {
  Search_Init();
  Search_Init();
  EXPECT_EQ(mEnginesCount, 34);
}

TEST_F(SearchRecords, AppendsIgnoreWhatIsMissing) {
  SearchEngine* engine = SearchEngine_New();
  SearchDomainInfo* domain = SearchDomainInfo_New("d");
  SearchDomainInfo_Append(nullptr, domain);
  SearchDomainInfo_Append(engine, nullptr);
  SearchVariable_Append(domain, "");
  EXPECT_EQ(ToText(*engine), "||");
  SearchDomainInfo_Append(engine, domain);
  EXPECT_EQ(ToText(*engine), "||d:;");
  SearchEngine_Append(engine);
  EXPECT_EQ(mpEngineHead, engine);
}

TEST_F(SearchRecords, FreeingNothingIsAllowed) {
  SearchVariable_Free(nullptr);
  SearchDomainInfo_Free(nullptr);
  SearchEngine_Free(nullptr);
  SUCCEED();
}

TEST(LetterPairs, HoldsThoseOfEveryPieceOfTheText) {
  std::mt19937 random(2);
  for (int round = 0; round < 2000; ++round) {
    std::string text(random() % 60, '\0');
    for (char& c : text) {
      c = static_cast<char>(random());
    }
    const std::string piece = text.substr(random() % (text.size() + 1), random() % 20);
    EXPECT_EQ(LetterPairs(piece) & ~LetterPairs(text), 0U);
  }
}

TEST(LetterPairs, TextsWithoutAPairHaveNone) {
  EXPECT_EQ(LetterPairs(""), 0U);
  EXPECT_EQ(LetterPairs("x"), 0U);
}
