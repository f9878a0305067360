#include "base/text.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>

TEST(CopyText, FillsTheBufferUpToItsCapacity) {
  char out[4];
  CopyText(out, "abc");
  EXPECT_STREQ(out, "abc");
  CopyText(out, "abcd");
  EXPECT_STREQ(out, "abc");
  CopyText(out, "");
  EXPECT_STREQ(out, "");
}

TEST(CopyText, WritesNothingBehindTheCapacity) {
  char out[6] = ".....";
  CopyText(out, 3, "abcdef");
  EXPECT_STREQ(out, "ab");
  EXPECT_EQ(out[3], '.');
}

TEST(CopyText, CapacityOneHoldsTheEmptyText) {
  char out[1] = {'x'};
  CopyText(out, "abc");
  EXPECT_EQ(out[0], '\0');
}

TEST(CopyText, EndsAtTheFirstNul) {
  char out[10];
  CopyText(out, std::string_view("ab\0cd", 5));
  EXPECT_STREQ(out, "ab");
  EXPECT_EQ(std::string(out), "ab");
}

TEST(CopyText, AbsentTextIsEmpty) {
  char out[4] = "abc";
  CopyText(out, std::string_view());
  EXPECT_STREQ(out, "");
}

TEST(CopyText, TellsTheLengthCopied) {
  char out[4];
  EXPECT_EQ(CopyText(out, "ab"), 2U);
  EXPECT_EQ(CopyText(out, "abcdef"), 3U);
  EXPECT_EQ(CopyText(out, std::string_view("a\0b", 3)), 1U);
  EXPECT_EQ(CopyText(out, std::string_view()), 0U);
}

TEST(CutText, CutsAtMaximumOrNulWhicheverComesFirst) {
  EXPECT_EQ(CutText("abcdef", 4), "abcd");
  EXPECT_EQ(CutText("abc", 4), "abc");
  EXPECT_EQ(CutText("abc", 0), "");
  EXPECT_EQ(CutText(std::string_view("ab\0cd", 5), 4), "ab");
  EXPECT_EQ(CutText(std::string_view("ab\0cd", 5), 1), "a");
}

TEST(CharacterTests, KnowAsciiOnly) {
  for (int byte = 0; byte < 256; ++byte) {
    SCOPED_TRACE(byte);
    const char c = static_cast<char>(byte);
    const bool upper = byte >= 'A' && byte <= 'Z';
    const bool lower = byte >= 'a' && byte <= 'z';
    EXPECT_EQ(ToLowerAscii(c), static_cast<char>(upper ? byte + 32 : byte));
    EXPECT_EQ(IsLetterAscii(c), upper || lower);
    EXPECT_EQ(IsDigitAscii(c), byte >= '0' && byte <= '9');
  }
}

TEST(CompareIgnoreCase, OrdersFoldedBytesUnsigned) {
  EXPECT_EQ(CompareIgnoreCase("Straight", "sTRAIGHT"), 0);
  EXPECT_LT(CompareIgnoreCase("abc", "ABD"), 0);
  EXPECT_GT(CompareIgnoreCase("abd", "ABC"), 0);
  EXPECT_GT(CompareIgnoreCase("\xE4", "z"), 0);
  EXPECT_LT(CompareIgnoreCase("_", "A"), 0) << "the underscore lies between the cases; letters fold down";
}

TEST(CompareIgnoreCase, PrefixComesFirst) {
  EXPECT_LT(CompareIgnoreCase("ab", "ABC"), 0);
  EXPECT_GT(CompareIgnoreCase("ABC", "ab"), 0);
  EXPECT_LT(CompareIgnoreCase("", "a"), 0);
  EXPECT_EQ(CompareIgnoreCase("", ""), 0);
}

TEST(EqualIgnoreCase, NeedsTheSameLength) {
  EXPECT_TRUE(EqualIgnoreCase("About", "aBOUT"));
  EXPECT_FALSE(EqualIgnoreCase("about", "abou"));
  EXPECT_FALSE(EqualIgnoreCase("about", "about "));
  EXPECT_FALSE(EqualIgnoreCase("\xC4", "\xE4")) << "only ASCII letters have a case";
}

TEST(BeginsWithIgnoreCase, TestsThePrefixOnly) {
  EXPECT_TRUE(BeginsWithIgnoreCase("User=ann;", "uSER="));
  EXPECT_TRUE(BeginsWithIgnoreCase("USER", "user"));
  EXPECT_TRUE(BeginsWithIgnoreCase("anything", ""));
  EXPECT_FALSE(BeginsWithIgnoreCase("use", "user"));
  EXPECT_FALSE(BeginsWithIgnoreCase("xuser", "user"));
}

TEST(MakePrintable, LeavesPrintableAsciiAndNothingElse) {
  std::string every;
  std::string expected;
  for (int byte = 1; byte < 256; ++byte) {
    every.push_back(static_cast<char>(byte));
    expected.push_back(byte >= 32 && byte < 127 ? static_cast<char>(byte) : '?');
  }
  MakePrintable(every.data());
  EXPECT_EQ(every, expected);
}

TEST(ToInt, ReadsLeadingDecimalNumber) {
  const struct {
    const char* text;
    int number;
  } rows[] = {
      {"0", 0},
      {"42", 42},
      {" \t\n42", 42},
      {"+7", 7},
      {"-7", -7},
      {"12abc", 12},
      {"1,10", 1},
      {"0x10", 0},
      {"", 0},
      {"abc", 0},
      {"- 7", 0},
      {"007", 7},
      {"2147483647", INT_MAX},
      {"-2147483648", INT_MIN},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(ToInt(row.text), row.number);
  }
}

TEST(ToInt, NullIsZero) {
  EXPECT_EQ(ToInt(nullptr), 0);
}

TEST(ToInt, WrapsBeyond32Bits) {
  EXPECT_EQ(ToInt("2147483648"), INT_MIN);
  EXPECT_EQ(ToInt("4294967296"), 0);
  EXPECT_EQ(ToInt("4294967295"), -1);
}

TEST(ToInt, SaturatesBeyond64BitsBeforeItWraps) {
  EXPECT_EQ(ToInt("99999999999999999999999"), -1);
  EXPECT_EQ(ToInt("-99999999999999999999999"), 0);
}

TEST(ContainsText, EqualsAPlainSearchOverRandomTexts) {
  std::mt19937 random(1);
  for (int i = 0; i < 50000; ++i) {
    // Two letters only, so that parts and near misses are frequent.
    std::string text(random() % 90, '\0');
    std::string part(2 + random() % 9, '\0');
    for (char& c : text) {
      c = random() % 4 == 0 ? 'b' : 'a';
    }
    for (char& c : part) {
      c = random() % 4 == 0 ? 'b' : 'a';
    }
    ASSERT_EQ(ContainsText(text, part), text.find(part) != std::string::npos) << text << ' ' << part;
  }
}

TEST(ContainsText, FindsAtEveryPlace) {
  for (size_t length = 4; length < 70; ++length) {
    for (size_t at = 0; at + 4 <= length; ++at) {
      std::string text(length, 'M');
      text.replace(at, 4, "MSIE");
      ASSERT_TRUE(ContainsText(text, "MSIE")) << text;
      ASSERT_FALSE(ContainsText(text.substr(0, at + 3), "MSIE")) << text;
    }
  }
}
