#include "superlog/field_splitter.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "superlog/byte_scan.h"
#include "superlog/plain_fields.h"

// All fields of a line; one more than any line can have means an endless loop.
static Values Split(const std::string& line, char separator) {
  std::string buffer = line + '\0' + std::string(kScanOverread, '"');
  FieldCursor cursor = {buffer.data(), buffer.data() + line.size(), nullptr, 0};
  Values values;
  while (cursor.next != cursor.end && values.size() <= line.size()) {
    ParseFieldBySeparator(cursor, separator);
    EXPECT_EQ(cursor.value[cursor.length], '\0');
    EXPECT_LE(cursor.value + cursor.length, cursor.end);
    values.emplace_back(cursor.value, cursor.length);
  }
  return values;
}

struct SplitCase {
  const char* line;
  Values values;
};

static void ExpectSplits(char separator, const std::vector<SplitCase>& cases) {
  for (const SplitCase& row : cases) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(Split(row.line, separator), row.values);
  }
}

// --- Space ----------------------------------------------------------------------

TEST(ParseField, SplitsACommonLogLine) {
  ExpectSplits(
      'S', {{"10.0.0.1 - bob [10/Oct/2000:13:55:36 -0700] \"GET /a b HTTP/1.0\" 200 2326",
             {"10.0.0.1", "-", "bob", "10/Oct/2000:13:55:36 -0700", "GET /a b HTTP/1.0", "200", "2326"}}});
}

TEST(ParseField, EmptyAtTheEndOfTheLine) {
  std::string buffer(1 + kScanOverread, '\0');
  FieldCursor cursor = {buffer.data(), buffer.data(), nullptr, 9};
  ParseField(cursor);
  EXPECT_EQ(cursor.value, buffer.data());
  EXPECT_EQ(cursor.length, 0u);
  EXPECT_EQ(cursor.next, cursor.end);
}

TEST(ParseField, OpeningCharacterDecidesTheTerminator) {
  ExpectSplits('S', {
                        {"\"a b\" c", {"a b", "c"}},
                        {"'a b' c", {"a b", "c"}},
                        {"[a b] c", {"a b", "c"}},
                        {"]a b", {"]a", "b"}},
                        {"(a b) c", {"(a", "b)", "c"}},
                        {"\"\" a", {"", "a"}},
                        {"[] a", {"", "a"}},
                    });
}

TEST(ParseField, OneSpaceBehindAClosingCharacterIsSkipped) {
  ExpectSplits('S', {
                        {"\"a\"b c", {"a", "b", "c"}},
                        {"\"a\"  c", {"a", "", "c"}},
                        {"[a][b]", {"a", "b"}},
                        {"'a' ", {"a"}},
                    });
}

TEST(ParseField, TwoSpacesEncloseAnEmptyFieldDeliberately) {
  ExpectSplits('S', {{"a  b", {"a", "", "b"}}, {" a", {"", "a"}}, {"a ", {"a"}}, {"  ", {"", ""}}});
}

TEST(ParseField, PairOfDoubleQuotesHidesTheTerminator) {
  ExpectSplits('S', {
                        {"a\"b c\"d e", {"a\"b c\"d", "e"}},
                        {"[a\"]\"b] c", {"a\"]\"b", "c"}},
                        {"'a\"'\"b' c", {"a\"'\"b", "c"}},
                        {"a\"b c d", {"a\"b c d"}},
                        {"a\"\"b c", {"a\"\"b", "c"}},
                    });
}

TEST(ParseField, FirstClosingQuoteEndsADoubleQuotedField) {
  ExpectSplits('S', {{"\"a\\\"b c\" d", {"a\\", "b", "c\" d"}}, {"\"\"a\"\" b", {"", "a\"\"", "b"}}});
}

TEST(ParseField, EndOfLineEndsAnOpenField) {
  ExpectSplits('S', {{"\"a b", {"a b"}}, {"[a b", {"a b"}}, {"'a b", {"a b"}}, {"a \"", {"a", ""}}});
}

TEST(ParseField, SingleQuoteInsideADoubleQuotedFieldIsPlain) {
  ExpectSplits('S', {{"\"it's\" b", {"it's", "b"}}});
}

// --- Tab ------------------------------------------------------------------------

TEST(ParseFieldTab, SplitsAtEveryTab) {
  ExpectSplits('T', {{"a\tb c\t\td", {"a", "b c", "", "d"}}, {"\t", {""}}, {"a\t", {"a"}}});
}

TEST(ParseFieldTab, LeadingSpacesAreSkippedAndTrailingOnesKept) {
  ExpectSplits('T', {{"  a \t b", {"a ", "b"}}, {"   ", {""}}, {"a\t  ", {"a", ""}}});
}

TEST(ParseFieldTab, QuotesHideTabsAndAreRemovedAroundTheWholeValue) {
  ExpectSplits('T', {
                        {"\"a\tb\"\tc", {"a\tb", "c"}},
                        {"\"a\"", {"a"}},
                        {"\"\"\ta", {"", "a"}},
                        {"x\"a\tb\"\tc", {"x\"a\tb\"", "c"}},
                        {"\"a\tb\tc", {"\"a\tb\tc"}},
                        {"\"", {"\""}},
                        {"\"a\"b\"c\"\td", {"a\"b\"c", "d"}},
                    });
}

// --- Comma ----------------------------------------------------------------------

TEST(ParseFieldComma, SplitsAtCommaAndSpace) {
  ExpectSplits(
      'C', {{"10.0.0.1, -, 03/20/01, 7:55:20, W3SVC2", {"10.0.0.1", "-", "03/20/01", "7:55:20", "W3SVC2"}}});
}

TEST(ParseFieldComma, CommaWithoutSpaceIsPartOfTheValueDeliberately) {
  ExpectSplits('C', {{"1,234, b", {"1,234", "b"}}, {"a,", {"a,"}}, {",,,", {",,,"}}, {"a,\tb", {"a,\tb"}}});
}

TEST(ParseFieldComma, LeadingBlanksAreSkippedAndTrailingOnesKept) {
  ExpectSplits('C', {{" \t a , b", {"a ", "b"}}, {"a, ", {"a", ""}}});
}

TEST(ParseFieldComma, QuotesHideCommasAndStay) {
  ExpectSplits('C', {{"\"a, b\", c", {"\"a, b\"", "c"}}, {"\"a, b", {"\"a, b"}}});
}

// --- Against the plain rules ----------------------------------------------------

TEST(ParseFieldBySeparator, EqualsThePlainRulesOverRandomLines) {
  const std::string alphabet = "abcdefgh    \t\t,,\"\"'[]";
  std::mt19937 random(7);
  for (int i = 0; i < 30000; ++i) {
    std::string line(random() % 150, '\0');
    for (char& c : line) {
      c = alphabet[random() % alphabet.size()];
    }
    SCOPED_TRACE(line);
    for (const char separator : {'S', 'T', 'C'}) {
      ASSERT_EQ(Split(line, separator), SplitPlainly(line, separator)) << separator;
    }
  }
}

TEST(IsSeparatorLetter, KnowsTheSeparatorLettersOnly) {
  for (int c = 0; c < 256; ++c) {
    EXPECT_EQ(IsSeparatorLetter(static_cast<char>(c)), c == 'S' || c == 'T' || c == 'C') << c;
  }
}
