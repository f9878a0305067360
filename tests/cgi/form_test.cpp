#include "cgi/form.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs Parsed(const std::string& body) {
  std::vector<FormEntry> entries(1 + static_cast<size_t>(std::count(body.begin(), body.end(), '&')));
  memset(entries.data(), 'x', entries.size() * sizeof(FormEntry));
  const int count = parse_entries(entries.data(), body.data(), static_cast<int>(body.size()));
  EXPECT_GE(count, 1);
  EXPECT_LE(static_cast<size_t>(count), entries.size());
  Pairs pairs;
  for (int i = 0; i < count; ++i) {
    pairs.emplace_back(entries[static_cast<size_t>(i)].name, entries[static_cast<size_t>(i)].value);
  }
  return pairs;
}

// The same cut made byte by byte, in a name state and a value state.
Pairs ParsedByteByByte(const std::string& body) {
  Pairs pairs(1);
  bool in_name = true;
  for (const char c : body) {
    if (in_name && c == '=') {
      in_name = false;
    } else if (!in_name && c == '&') {
      pairs.emplace_back();
      in_name = true;
    } else {
      (in_name ? pairs.back().first : pairs.back().second) += c;
    }
  }
  for (auto& [name, value] : pairs) {
    name = name.substr(0, 254).c_str();
    value = value.substr(0, 2047).c_str();
  }
  return pairs;
}

// Not inlined, because the compiler mistakes what it sees of long constant texts for an overrun.
[[gnu::noinline]] std::string Times(size_t length, char c) {
  return std::string(length, c);
}

struct Stream {
  explicit Stream(const std::string& bytes) : file(tmpfile()) {
    fwrite(bytes.data(), 1, bytes.size(), file);
    rewind(file);
  }
  ~Stream() { fclose(file); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  std::FILE* file;
};

}  // namespace

TEST(FormEntry, Takes2303Bytes) {
  EXPECT_EQ(sizeof(FormEntry), 2303U);
  EXPECT_EQ(offsetof(FormEntry, value), 255U);
}

TEST(GetQuery, ReadsTheDeclaredLengthAndNoMore) {
  Stream stream("a=1&b=2REST");
  char buffer[8];
  EXPECT_EQ(get_query(stream.file, 7, buffer), 7);
  EXPECT_STREQ(buffer, "a=1&b=2");
  EXPECT_EQ(getc(stream.file), 'R');
}

TEST(GetQuery, ShortBodyIsAcceptedAsItIs) {
  Stream stream("a=1");
  std::vector<char> buffer(1001, 'x');
  EXPECT_EQ(get_query(stream.file, 1000, buffer.data()), 3);
  EXPECT_STREQ(buffer.data(), "a=1");
  EXPECT_EQ(buffer[4], 'x') << "touches nothing behind the terminating NUL";
}

TEST(GetQuery, ZeroLengthGivesEmptyText) {
  Stream stream("a=1");
  char buffer[1] = {'x'};
  EXPECT_EQ(get_query(stream.file, 0, buffer), 0);
  EXPECT_EQ(buffer[0], '\0');
}

TEST(GetQuery, NegativeLengthTouchesNothing) {
  Stream stream("a=1");
  char buffer[1] = {'x'};
  EXPECT_EQ(get_query(stream.file, -1, buffer), 0);
  EXPECT_EQ(buffer[0], 'x');
  EXPECT_EQ(getc(stream.file), 'a');
}

TEST(ParseEntries, TwoFields) {
  EXPECT_EQ(Parsed("a=1&b=x%26y"), (Pairs{{"a", "1"}, {"b", "x%26y"}}));
}

TEST(ParseEntries, LastFieldWithoutEqualsHasAnEmptyValue) {
  EXPECT_EQ(Parsed("a=1&b"), (Pairs{{"a", "1"}, {"b", ""}}));
}

TEST(ParseEntries, FieldWithoutEqualsDeliberatelyRunsOnIntoTheNextName) {
  EXPECT_EQ(Parsed("a&b=1"), (Pairs{{"a&b", "1"}}));
}

TEST(ParseEntries, FurtherEqualsSignsBelongToTheValue) {
  EXPECT_EQ(Parsed("a=b=c&d=="), (Pairs{{"a", "b=c"}, {"d", "="}}));
}

TEST(ParseEntries, TrailingAmpersandStartsAnEmptyEntry) {
  EXPECT_EQ(Parsed("a=1&"), (Pairs{{"a", "1"}, {"", ""}}));
  EXPECT_EQ(Parsed("="), (Pairs{{"", ""}}));
  EXPECT_EQ(Parsed("&"), (Pairs{{"&", ""}}));
}

TEST(ParseEntries, ZeroOrNegativeLengthYieldsOneEmptyEntry) {
  for (int length : {0, -1, -1000000}) {
    SCOPED_TRACE(length);
    FormEntry entry;
    memset(&entry, 'x', sizeof entry);
    EXPECT_EQ(parse_entries(&entry, "a=1", length), 1);
    EXPECT_STREQ(entry.name, "");
    EXPECT_STREQ(entry.value, "");
  }
}

TEST(ParseEntries, WalksByCountNotByNul) {
  const std::string body("a=1\0x&b=2", 9);
  EXPECT_EQ(Parsed(body), (Pairs{{"a", "1"}, {"b", "2"}})) << "a NUL ends the value, not the walk";
}

TEST(ParseEntries, CutsNameAndValueToTheirCapacities) {
  EXPECT_EQ(Parsed(Times(254, 'n') + "=" + Times(2047, 'v')), (Pairs{{Times(254, 'n'), Times(2047, 'v')}}));
  EXPECT_EQ(Parsed(Times(255, 'n') + "=" + Times(2048, 'v') + "&b=2"),
            (Pairs{{Times(254, 'n'), Times(2047, 'v')}, {"b", "2"}}));
}

TEST(ParseEntries, LimitsApplyToTheEncodedText) {
  const Pairs pairs = Parsed("a=" + Times(2046, 'v') + "%41");
  EXPECT_EQ(pairs[0].second, Times(2046, 'v') + "%");
}

TEST(ParseEntries, AgreesWithCutByteByByteOverRandomBodies) {
  std::mt19937 random(20260802);
  const std::string alphabet("==&&ab%\0", 8);
  for (int round = 0; round < 2000; ++round) {
    std::string body;
    for (size_t length = random() % 20; length > 0; --length) {
      const size_t run = random() % 40 == 0 ? random() % 3000 : 1;
      body.append(run, alphabet[random() % alphabet.size()]);
    }
    ASSERT_EQ(Parsed(body), ParsedByteByByte(body)) << testing::PrintToString(body);
  }
}
