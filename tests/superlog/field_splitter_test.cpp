#include "superlog/field_splitter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "superlog/byte_scan.h"
#include "superlog/plain_fields.h"

// All fields of a line; one more than any line can have means an endless loop.
template <bool kEscapes = false>
static Values Split(const std::string& line, char separator, bool cut = false) {
  std::string buffer = line + '\0' + std::string(kScanOverread, '"');
  static LineMarks marks;
  MarkLine(marks, buffer.data(), buffer.data() + line.size(), SeparatorOf(separator));
  FieldCursor cursor = {marks, buffer.data(), buffer.data() + line.size(), nullptr, 0, cut};
  Values values;
  while (cursor.next != cursor.end && values.size() <= line.size()) {
    ParseFieldBySeparator<kEscapes>(cursor, separator);
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
  static LineMarks marks;
  MarkLine(marks, buffer.data(), buffer.data(), ' ');
  FieldCursor cursor = {marks, buffer.data(), buffer.data(), nullptr, 9};
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

// --- Space, with escapes ----------------------------------------------------------

TEST(ParseFieldWithEscapes, EscapedQuoteIsPartOfItsField) {
  const std::vector<SplitCase> cases = {
      {R"("a\"b" c)", {R"(a\"b)", "c"}},
      {R"("a\\"b" c)", {R"(a\\)", "b\" c"}},
      {R"("a\" 404 \"b" 200)", {R"(a\" 404 \"b)", "200"}},
      {R"("a\\" 200)", {R"(a\\)", "200"}},
      {R"("a\\\" b" 200)", {R"(a\\\" b)", "200"}},
      {R"("\"" 200)", {R"(\")", "200"}},
      {R"("\\")", {R"(\\)"}},
      {R"("a\x22b" c)", {R"(a\x22b)", "c"}},
      {R"(a\"b c" d)", {R"(a\"b)", "c\" d"}},
      {R"(a"b\" c" d)", {R"(a"b\" c")", "d"}},
      {R"([a\"] "b" c)", {R"(a\")", "b", "c"}},
      {R"('a\"' "b" c)", {R"(a\")", "b", "c"}},
  };
  for (const SplitCase& row : cases) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(Split<true>(row.line, 'S'), row.values);
  }
}

TEST(ParseFieldWithEscapes, ServersWithoutEscapesAreToldByWhatFollows) {
  const std::vector<SplitCase> cases = {
      {R"("C:\" "b c" d)", {R"(C:\)", "b c", "d"}},
      {R"("GET /a\" 200 100)", {R"(GET /a\)", "200", "100"}},
      {R"("C:\")", {R"(C:\)"}},
      {R"("a\"b\" c)", {R"(a\"b\)", "c"}},
      {R"("a\)", {R"(a\)"}},
      {R"("a\"b)", {R"(a\"b)"}},
  };
  for (const SplitCase& row : cases) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(Split<true>(row.line, 'S'), row.values);
  }
}

TEST(ParseFieldWithEscapes, FieldWithoutEndOfACutLineIsWhatIsLeft) {
  EXPECT_EQ(Split<true>(R"(a "b\" 404 5)", 'S', true), (Values{"a", R"(b\" 404 5)"}));
  EXPECT_EQ(Split<true>(R"(a "b\" 404 5)", 'S'), (Values{"a", R"(b\)", "404", "5"}));
}

TEST(ParseFieldWithEscapes, PortBehindABracketIsNoField) {
  EXPECT_EQ(Split<true>("[2001:db8::1]:443 - x", 'S'), (Values{"2001:db8::1", "-", "x"}));
  EXPECT_EQ(Split<true>("[::1]: x", 'S'), (Values{"::1", "x"}));
  EXPECT_EQ(Split<true>("[::1]:443", 'S'), (Values{"::1"}));
  EXPECT_EQ(Split<true>("[::1]443 x", 'S'), (Values{"::1", "443", "x"}));
  EXPECT_EQ(Split("[::1]:443 x", 'S'), (Values{"::1", ":443", "x"}));
}

TEST(ParseFieldWithEscapes, EqualsThePlainRulesOverRandomLines) {
  const std::string alphabet = "abc    \"\"\"\\\\\\'[]]::";
  std::mt19937 random(8);
  for (int i = 0; i < 30000; ++i) {
    std::string line(random() % 60, '\0');
    for (char& c : line) {
      c = alphabet[random() % alphabet.size()];
    }
    SCOPED_TRACE(line);
    for (const bool cut : {false, true}) {
      ASSERT_EQ(Split<true>(line, 'S', cut), SplitEscapedPlainly(line, cut)) << cut;
    }
    for (const char separator : {'T', 'C'}) {
      ASSERT_EQ(Split<true>(line, separator), SplitPlainly(line, separator)) << separator;
    }
  }
}

// --- The date in front of a request -------------------------------------------------

static int PlaceOfDate(std::string line) {
  const auto length = static_cast<ptrdiff_t>(line.size());
  line.append(1, '\0').append(kScanOverread, '"');
  const char* const date = FindDateBeforeRequest(line.data(), line.data() + length);
  return date == nullptr ? -1 : static_cast<int>(date - line.data());
}

TEST(FindDateBeforeRequest, IsTheTextBeforeTheFirstBareQuote) {
  const std::string request = "[05/Mar/2000:07:06:11 +0000] \"GET / HTTP/1.0\" 200 1";
  EXPECT_EQ(PlaceOfDate(request), 0);
  EXPECT_EQ(PlaceOfDate("192.0.2.7 - - " + request), 14);
  EXPECT_EQ(PlaceOfDate("a [01/Jan/2000:00:00:00 +0000] " + request), 31);
  EXPECT_EQ(PlaceOfDate(R"(a [01/Jan/2000:00:00:00 +0000] \"GET / HTTP/1.0\" 404 1 )" + request), 56);
  EXPECT_EQ(PlaceOfDate("'[ " + request), 3);
}

TEST(FindDateBeforeRequest, NeedsTheWholeShape) {
  const std::string whole = "u [05/Mar/2000:07:06:11 +0000] \"";
  EXPECT_EQ(PlaceOfDate(whole), 2);
  for (const size_t place : {1, 2, 5, 9, 14, 23, 29, 30, 31}) {
    std::string other = whole;
    other[place] = 'x';
    EXPECT_EQ(PlaceOfDate(other), -1) << other;
  }
  EXPECT_EQ(PlaceOfDate(whole.substr(3)), -1);
  EXPECT_EQ(PlaceOfDate("\"u\" " + whole), -1);
  EXPECT_EQ(PlaceOfDate(""), -1);
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

// As the parsers do, or not at all where a field may need one.
template <char kSeparator>
static void ExpectSplitAtSeparators(std::string line, size_t most, size_t longest) {
  const std::string special = kSeparator == 'T' ? " " : "['";
  const Values parsed = SplitPlainly(line, kSeparator);
  const size_t length = line.size();
  line += std::string(kScanOverread, kSeparator == 'T' ? '\t' : ' ');
  const auto marks = std::make_unique<LineMarks>();
  MarkLine(*marks, line.data(), line.data() + length, SeparatorOf(kSeparator));
  std::vector<std::string_view> fields(most);
  const size_t count = SplitAtSeparators<kSeparator>(*marks, most, longest, fields.data());
  const bool needs_parser = std::any_of(parsed.begin(), parsed.begin() + std::min(most, parsed.size()),
                                        [&](const std::string& value) { return value.size() > longest; });
  if (line.find_first_of(special) >= length) {
    ASSERT_EQ(count, needs_parser ? 0 : std::min(most, parsed.size())) << line;
  }
  for (size_t field = 0; field < count; ++field) {
    ASSERT_EQ(fields[field], parsed[field]) << line;
  }
}

TEST(SplitAtSeparators, SplitsAsTheParsersDo) {
  std::mt19937 random(9);
  for (int i = 0; i < 20000; ++i) {
    const std::string alphabet = i % 2 == 0 ? "abc \t]" : "abcdefg \t['";
    std::string line(1 + random() % (i % 10 == 0 ? 300 : 40), '\0');
    for (char& c : line) {
      c = alphabet[random() % alphabet.size()];
    }
    const size_t most = 1 + random() % 20;
    ExpectSplitAtSeparators<'S'>(line, most, 5 + random() % 20);
    std::string tabs = line;
    std::replace(tabs.begin(), tabs.end(), ' ', i % 3 == 0 ? ' ' : 'x');
    ExpectSplitAtSeparators<'T'>(tabs, most, 5 + random() % 20);
  }
}
