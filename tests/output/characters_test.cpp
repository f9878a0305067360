#include "output/characters.h"

#include <gtest/gtest.h>

#include <string_view>

static void ExpectCharacter(std::string_view text, uint32_t code, int size) {
  const Character character = FirstCharacter(text);
  EXPECT_TRUE(character.valid) << text;
  EXPECT_EQ(character.code, code);
  EXPECT_EQ(character.size, size);
}

TEST(FirstCharacter, ReadsUtf8) {
  ExpectCharacter("a", 'a', 1);
  ExpectCharacter(std::string_view("\0", 1), 0, 1);
  ExpectCharacter("\xc3\xa9t", 0xe9, 2);
  ExpectCharacter("\xe2\x82\xac", 0x20ac, 3);
  ExpectCharacter("\xf0\x9f\x98\x80", 0x1f600, 4);
  ExpectCharacter("\xf4\x8f\xbf\xbf", 0x10ffff, 4);
}

TEST(FirstCharacter, TakesBytesThatAreNoneByThemselves) {
  for (const std::string_view text : {
           "\x80",
           "\xbf",
           "\xc0\x80",
           "\xc1\xbf",
           "\xc3",
           "\xc3(",
           "\xe0\x80\x80",
           "\xe2\x82",
           "\xe2\x82(",
           "\xed\xa0\x80",
           "\xed\xbf\xbf",
           "\xf0\x80\x80\x80",
           "\xf4\x90\x80\x80",
           "\xf5\x80\x80\x80",
           "\xff",
           "\xfe",
       }) {
    const Character character = FirstCharacter(text);
    EXPECT_FALSE(character.valid);
    EXPECT_EQ(character.size, 1);
    EXPECT_EQ(character.code, static_cast<uint8_t>(text[0]));
  }
}

TEST(IsVisible, TellsLettersFromControls) {
  for (const uint32_t code : {0x20U, 0x41U, 0x7eU, 0xa1U, 0xe9U, 0x4e2dU, 0x1f600U, 0x301U}) {
    EXPECT_TRUE(IsVisible(code)) << code;
  }
  for (const uint32_t code : {0U, 0x1bU, 0x1fU, 0x7fU, 0x9bU, 0xa0U, 0xadU, 0x200bU, 0x200eU, 0x202eU,
                              0x2066U, 0x2028U, 0x3164U, 0xfeffU, 0xe000U, 0xfffeU, 0xe0041U, 0x10ffffU}) {
    EXPECT_FALSE(IsVisible(code)) << code;
  }
}

TEST(ColumnsOf, KnowsWideCharactersAndMarks) {
  EXPECT_EQ(ColumnsOf('a'), 1);
  EXPECT_EQ(ColumnsOf(0xe9), 1);
  EXPECT_EQ(ColumnsOf(0x301), 0);
  EXPECT_EQ(ColumnsOf(0x4e2d), 2);
  EXPECT_EQ(ColumnsOf(0x1f600), 2);
}
