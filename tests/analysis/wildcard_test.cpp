#include "analysis/wildcard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

#include "analysis/plain_wildcard.h"
#include "analysis/wildcard_internal.h"
#include "base/text.h"

using std::string_view;

namespace {

struct Row {
  const char* pattern;
  const char* text;
  int expected;
};

class WildcardTest : public testing::Test {
 protected:
  void SetUp() override { ResetWildcards(); }
};

template <size_t N, typename Matching>
void ExpectRows(const Row (&rows)[N], Matching matching) {
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.pattern) + " against " + row.text);
    EXPECT_EQ(matching(row.pattern, row.text), row.expected);
  }
}

std::string RandomText(std::mt19937& random, string_view alphabet, size_t longest) {
  std::string text(random() % (longest + 1), '\0');
  for (char& c : text) {
    c = alphabet[random() % alphabet.size()];
  }
  return text;
}

std::string Repeated(string_view piece, size_t times) {
  std::string text;
  for (size_t i = 0; i < times; ++i) {
    text += piece;
  }
  return text;
}

}  // namespace

TEST_F(WildcardTest, StarsAndQuestionMarks) {
  ExpectRows({{"*", "", 0},
              {"*", "/x", 0},
              {"a*", "a", 0},
              {"*a", "bba", 0},
              {"a**b", "axxb", 0},
              {"a*b*c", "abc", 0},
              {"a*b*c", "ab", 1},
              {"?", "a", 0},
              {"?", "", 1},
              {"a?c", "abc", 0},
              {"a?c", "ac", 1},
              {"", "", 0},
              {"", "a", 1},
              {"/a", "/a", 0},
              {"/a", "/ab", 1},
              {"/ab", "/a", 1},
              {"*?", "", 1},
              {"**", "", 0},
              {"*\xE9*", "a\xE9", 0}},
             super_wildmat);
}

TEST_F(WildcardTest, HtmlSuffix) {
  EXPECT_EQ(super_wildmat("*.html", "/a/b.html"), 0);
  EXPECT_EQ(super_wildmat("*.html", "/a/b.HTML"), 1);
  EXPECT_EQ(super_wildmati("*.html", "/a/b.HTML"), 0);
}

TEST_F(WildcardTest, Groups) {
  EXPECT_EQ(super_wildmat("/(docs|help)/*", "/misc/x"), 1);
  EXPECT_EQ(super_wildmat("/(docs|help)/*", "/help/x"), 0);
  ExpectRows({{"(a|b)c", "ac", 0},
              {"(a|b)c", "bc", 0},
              {"(a|b)c", "cc", 1},
              {"(a|)c", "c", 0},
              {"(|a)c", "ac", 0},
              {"()c", "c", 0},
              {"((a|b)|c)d", "bd", 0},
              {"((a|b)|c)d", "cd", 0},
              {"((a|b)|c)d", "abd", 1},
              {"(a(b|c)|d)e", "ace", 0},
              {"(a(b|c)|d)e", "ae", 1},
              {"(a|b)(c|d)", "bd", 0},
              {"(a*|b)z", "axxz", 0},
              {"x(a|b)", "x", 1},
              {"(a|ab)(c|bcd)e", "abcde", 0},
              {"(?|?"
               "?)c",
               "abc", 0},
              {"([ab]|x)c", "bc", 0}},
             super_wildmat);
}

TEST_F(WildcardTest, Sets) {
  ExpectRows({{"[a-c]x", "bx", 0},
              {"[^a-c]x", "bx", 1},
              {"[^a-c]x", "dx", 0},
              {"[]]x", "]x", 0},
              {"[]a]x", "ax", 0},
              {"[^]]x", "]x", 1},
              {"[^]]x", "ax", 0},
              {"[-a]", "-", 0},
              {"[a-]", "-", 0},
              {"[a-]", "b", 1},
              {"[^-a]", "-", 1},
              {"[a*]", "*", 0},
              {"[a*]", "b", 1},
              {"[a\\]", "\\", 0},
              {"[abc]", "", 1},
              {"[c-a]", "b", 1},
              {"[]-a]", "^", 0},
              {"x[0-9]*", "x7y", 0}},
             super_wildmat);
}

TEST_F(WildcardTest, RangesFollowOneAnother) {
  ExpectRows({{"[a-c-e]", "b", 0}, {"[a-c-e]", "d", 0}, {"[a-c-e]", "-", 1}, {"[a-c-e]", "f", 1}},
             super_wildmat);
}

TEST_F(WildcardTest, RangesGoBySignedCodeDeliberately) {
  EXPECT_EQ(super_wildmat("[\xC0-z]", "a"), 0);  // from -64 to 122
  EXPECT_EQ(super_wildmat("[a-\xFF]", "b"), 1);  // from 97 to -1
}

TEST_F(WildcardTest, SetWithoutEndMatchesNothing) {
  ExpectRows({{"[a", "a", 1},
              {"[", "[", 1},
              {"[^a", "b", 1},
              {"[]", "]", 1},
              {"[a-", "a", 1},
              {"x*[b", "xab", 1},
              {"[^", "^", 1},
              {"[^]", "a", 1}},
             super_wildmat);
}

TEST_F(WildcardTest, Escapes) {
  ExpectRows({{"a\\*", "a*", 0},
              {"a\\*", "ab", 1},
              {"\\?", "?", 0},
              {"\\?", "x", 1},
              {"\\[a]", "[a]", 0},
              {"\\(a", "(a", 0},
              {"\\\\", "\\", 0},
              {"\\a", "a", 0},
              {"\\~", "~", 0},
              {"a\\|b", "a|b", 0},
              {"a\\)", "a)", 0},
              {"*\\*", "ab*", 0}},
             super_wildmat);
}

TEST_F(WildcardTest, PatternThatEndsInABackslashDoesNotMatchThere) {
  ExpectRows({{"a\\", "a\\", 1}, {"a\\", "a", 1}, {"\\", "", 1}, {"*\\", "a\\", 1}}, super_wildmat);
}

TEST_F(WildcardTest, EscapedGroupSyntaxCountsWhileAlternativesAreSkipped) {
  EXPECT_EQ(super_wildmat("(x\\)|b)c", "bc"), 1);  // the escaped ")" ends the group for the skip
  EXPECT_EQ(super_wildmat("(a|\\))c)d", "ac)d"), 1);
  EXPECT_EQ(super_wildmat("(a|\\)z)d", "ad"), 1);
  EXPECT_EQ(super_wildmat("(a|\\)z)d", "azd"), 0);
  EXPECT_EQ(super_wildmat("(a|\\)z", "az"), 0);  // behind "a", the group ends at the escaped ")"
}

TEST_F(WildcardTest, GroupSyntaxOutsideAnyGroupAborts) {
  EXPECT_EQ(DoMatch("a", "a|b"), -1);
  EXPECT_EQ(DoMatch("b", "a|b"), 0);
  EXPECT_EQ(DoMatch("a", "a)"), -1);
  EXPECT_EQ(super_wildmat("a|b", "a"), 1);
  EXPECT_EQ(super_wildmat("a|b", "a|b"), 1);
  EXPECT_EQ(super_wildmat("*)", "a)"), 1);
}

TEST_F(WildcardTest, MatchedGroupStaysOpenForTheRestOfTheRunDeliberately) {
  EXPECT_EQ(super_wildmat("a|b", "a"), 1);
  EXPECT_EQ(super_wildmat("(x|y)", "y"), 0);
  EXPECT_EQ(lbrace, 1);
  EXPECT_EQ(super_wildmat("a|b", "a"), 0);
  EXPECT_EQ(super_wildmat("a)", "a"), 0);
  EXPECT_EQ(super_wildmat("a|b", "b"), 1);
}

TEST_F(WildcardTest, FailedGroupIsClosedAgain) {
  EXPECT_EQ(DoMatch("z", "(x|y)"), 0);
  EXPECT_EQ(DoMatch("zzz", "*(x|(y|v))"), -1);
  EXPECT_EQ(lbrace, 0);
}

TEST_F(WildcardTest, GroupWithoutEndMatchesItsAlternatives) {
  EXPECT_EQ(DoMatch("a", "(a|b"), 1);
  EXPECT_EQ(DoMatch("b", "(a|b"), 1);
  EXPECT_EQ(DoMatch("ab", "(ab"), 1);
}

TEST_F(WildcardTest, AbortAtThePatternsEndLeavesTheGroupOpen) {
  EXPECT_EQ(DoMatch("c", "(a|b"), -1);
  EXPECT_EQ(lbrace, 1);
  EXPECT_EQ(DoMatch("c", "(a"), -1);
  EXPECT_EQ(lbrace, 2);
}

TEST_F(WildcardTest, DoMatchTellsAbortFromNoMatch) {
  EXPECT_EQ(DoMatch("a", "b"), 0);
  EXPECT_EQ(DoMatch("a", "ab"), -1);
  EXPECT_EQ(DoMatch("", "a"), -1);
  EXPECT_EQ(DoMatch("xx", "*a"), -1);
  EXPECT_EQ(DoMatch("a", ""), 0);
  EXPECT_EQ(DoMatch("a", "a"), 1);
}

TEST_F(WildcardTest, LoneStarOpensNothingAndMatchesAll) {
  EXPECT_EQ(super_wildmat("*", "a|b)"), 0);
  EXPECT_EQ(super_wildmati("*", ""), 0);
  EXPECT_EQ(super_wildmat_tilde("*", "~"), 0);
}

TEST_F(WildcardTest, IgnoringCase) {
  ExpectRows({{"", "", 0},
              {"", "x", 1},
              {"/DOCS/*", "/docs/A", 0},
              {"[A-C]x", "bX", 0},
              {"[a-c]X", "Bx", 0},
              {"(DOCS|help)", "HELP", 0},
              {"\\A", "a", 0},
              {"*B", "AAAb", 0},
              {"\xC4", "\xE4", 1},
              {"a", "b", 1}},
             super_wildmati);
}

TEST_F(WildcardTest, IgnoringCaseHasNoTilde) {
  EXPECT_EQ(super_wildmati("a~b", "a"), 1);
  EXPECT_EQ(super_wildmati("a~b", "A~B"), 0);
  EXPECT_EQ(super_wildmat("a~b", "a~b"), 0);
}

TEST_F(WildcardTest, Tilde) {
  ExpectRows({{"*.html~/private/*", "/private/a.html", 1},
              {"*.html~/private/*", "/pub/a.html", 0},
              {"*.html~/private/*", "/pub/a.gif", 1},
              {"~*.gif", "a.gif", 1},
              {"~*.gif", "a.png", 0},
              {"~", "", 0},
              {"~", "a", 1},
              {"~*", "a", 1},
              {"a*~", "ab", 0},
              {"a*~", "b", 1},
              {"a", "a", 0},
              {"", "", 0},
              {"", "a", 1}},
             super_wildmat_tilde);
}

TEST_F(WildcardTest, OnlyTheFirstTildeDivides) {
  ExpectRows(
      {{"a*~b~c", "ab", 0}, {"a*~*b~c", "ab~c", 1}, {"~b~c", "b~c", 1}, {"~b~c", "b", 0}, {"~~", "~", 1}},
      super_wildmat_tilde);
}

TEST_F(WildcardTest, EscapedTildeIsLiteral) {
  ExpectRows({{"a\\~b", "a~b", 0}, {"a\\~b", "a", 1}, {"\\~*~*x", "~ab", 0}, {"\\~*~*x", "~abx", 1}},
             super_wildmat_tilde);
  // An escaped backslash shields the "~" too, which is then an ordinary character.
  EXPECT_EQ(super_wildmat_tilde("a\\\\~b", "a\\~b"), 0);
  EXPECT_EQ(super_wildmat_tilde("a\\\\~b", "a\\"), 1);
}

TEST_F(WildcardTest, FirstTwoHundredFortyThreeCharactersCount) {
  const std::string text(243, 'a');
  EXPECT_EQ(super_wildmat(text, text + "b"), 0);
  EXPECT_EQ(super_wildmat(text + "b", text), 0);
  EXPECT_EQ(super_wildmat(text, text.substr(1)), 1);
}

TEST_F(WildcardTest, InModernLimitsAsManyCharactersOfATextCountAsAnItemHas) {
  SetWildcardLimits(kModernLimits);
  const std::string text(2048, 'a');
  EXPECT_EQ(super_wildmat("*b", text.substr(1) + "b"), 0);
  EXPECT_EQ(super_wildmat("*b", text + "b"), 1);
  EXPECT_EQ(super_wildmat("*ab*", std::string(242, 'a') + "ab/c"), 0);
  EXPECT_EQ(super_wildmat(text.substr(0, 243) + "b", text.substr(0, 243)), 0) << "patterns stay as they are";
  EXPECT_EQ(super_wildmat(text.substr(0, 243), text.substr(0, 244)), 1);
}

TEST_F(WildcardTest, TextsNeedNoTerminator) {
  const string_view url = "/a/b.html?x";
  EXPECT_EQ(super_wildmat("*.html", url.substr(0, 9)), 0);
  EXPECT_EQ(super_wildmat(string_view("*.htmlx").substr(0, 6), url.substr(0, 9)), 0);
  EXPECT_EQ(super_wildmat("a*", string_view()), 1);
}

// Holds the matcher against plain recursion. The calls of one round share their
// open groups, as the calls of one run do. Returns how many plain searches took
// more than 5000 steps.
template <typename MakePattern>
static int CompareWithPlain(std::mt19937& random, int rounds, size_t longest_text, MakePattern make_pattern) {
  int long_searches = 0;
  for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
    PlainMatcher plain;
    lbrace = 0;
    for (int call = 0; call < 3; ++call) {
      const std::string pattern = make_pattern();
      const std::string text = RandomText(random, "aaaab(|)", longest_text);
      SCOPED_TRACE("[" + pattern + "] against [" + text + "]");
      plain.steps = 0;
      const int expected = plain.Match(text.c_str(), pattern.c_str());
      if (plain.gave_up()) {
        break;
      }
      EXPECT_EQ(DoMatch(text, pattern), expected);
      EXPECT_EQ(lbrace, plain.open);
      long_searches += plain.steps > 5000;
    }
  }
  return long_searches;
}

TEST_F(WildcardTest, AnswersAsPlainRecursion) {
  std::mt19937 random(4);
  CompareWithPlain(random, 30000, 8, [&random] { return RandomText(random, "aab*?[]^-\\((||))*", 12); });
}

TEST_F(WildcardTest, AnswersAsPlainRecursionInLongSearches) {
  std::mt19937 random(5);
  const char* const pieces[] = {"*", "*(", "(a|",  "*(a|?)", "(*|a)", "(aa|a)", ")",
                                "|", "?",  "[ab]", "(",      "b",     "\\)",    "(*(a|)*|"};
  const int long_searches = CompareWithPlain(random, 6000, 20, [&] {
    std::string pattern;
    for (size_t i = 2 + random() % 12; i > 0; --i) {
      pattern += pieces[random() % std::size(pieces)];
    }
    return pattern + (random() % 2 == 0 ? "" : "b");
  });
  EXPECT_GT(long_searches, 100);
}

TEST_F(WildcardTest, AnswersAsPlainRecursionInTextsThatGrowAndShrink) {
  SetWildcardLimits(kModernLimits);
  std::mt19937 random(6);
  const char* const pieces[] = {"*", "*(", "(a|", "*(a|?)", "(aa|a)", ")", "?", "b", "(*(a|)*|"};
  int compared = 0;
  for (int round = 0; round < 400; ++round) {
    std::string pattern;
    for (size_t i = 1 + random() % 5; i > 0; --i) {
      pattern += pieces[random() % std::size(pieces)];
    }
    const std::string text = std::string(random() % 3 * random() % 1200, 'a') + RandomText(random, "ab", 6);
    SCOPED_TRACE("[" + pattern + "] against [" + text + "]");
    PlainMatcher plain{.limit = 2000000};
    lbrace = 0;
    const int expected = plain.Match(text.c_str(), pattern.c_str());
    if (!plain.gave_up()) {
      ASSERT_EQ(DoMatch(text, pattern), expected);
      ASSERT_EQ(lbrace, plain.open);
      compared += mTries > 500 ? 1 : 0;
    }
  }
  EXPECT_GT(compared, 50);
}

TEST_F(WildcardTest, ManyStarsCostALinearSearchEach) {
  const std::string url(243, 'a');
  EXPECT_EQ(super_wildmat("*a*a*a*b", url), 1);
  EXPECT_LT(mTries, 1000U);
  EXPECT_EQ(super_wildmat(Repeated("*a", 120) + "*b", url), 1);
  EXPECT_LT(mTries, 1000U);
  EXPECT_EQ(super_wildmat(Repeated("*?", 120) + "*[b]", url), 1);
  EXPECT_LT(mTries, 1000U);
}

// At first each try may be made again; later a star or an alternative is tried once at each place of the
// text.
static void ExpectBoundedWork(size_t text_length) {
  const std::string url(text_length, 'a');
  const std::string patterns[] = {
      Repeated("*(", 80) + "b" + Repeated(")", 80),
      Repeated("(*a", 48) + "b" + Repeated(")", 48),
      Repeated("(a|aa)", 40) + "b",
      Repeated("(*|a)", 40) + "b",
      Repeated("*(a|?)", 40) + "b",
      Repeated("*(a|", 48) + "b",  // groups without end
      Repeated("(*(?|", 40) + "[b]" + Repeated(")", 10),
      Repeated("*(|", 80),
      Repeated("*(a|?)", 12) + "(a|b",  // tries that fail leave groups open
      "*(" + Repeated("|", 80) + ")(" + Repeated("|", 80) + ")(" + Repeated("|", 70) + ")b",
  };
  for (const std::string& pattern : patterns) {
    SCOPED_TRACE(pattern);
    super_wildmat(pattern, url);
    EXPECT_LE(mTries, 501 + std::min(pattern.size(), kTextMax) * (text_length + 1));
  }
}

TEST_F(WildcardTest, NestedGroupsAmongStarsStayBounded) {
  ExpectBoundedWork(243);
}

TEST_F(WildcardTest, NestedGroupsAmongStarsStayBoundedInModernLimits) {
  SetWildcardLimits(kModernLimits);
  ExpectBoundedWork(2048);
}
