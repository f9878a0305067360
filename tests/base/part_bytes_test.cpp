#include "base/part_bytes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "support/part_text.h"

static PartReader ReaderOf(const std::string& bytes) {
  return {bytes.data(), bytes.data() + bytes.size()};
}

static uint64_t FigureOf(const std::string& bytes, bool& damaged) {
  PartReader part = ReaderOf(bytes);
  const uint64_t figure = TakeFigure(part);
  damaged = part.damaged;
  return figure;
}

TEST(PartBytes, AreTheseAndNoOthers) {
  const std::string bytes = WrittenPart([](PartWriter& part) {
    for (const uint64_t figure : {0UL, 127UL, 128UL, 300UL, UINT64_MAX}) {
      PutFigure(part, figure);
    }
    for (const int64_t figure : {0L, -1L, 1L, -64L, 64L, INT64_MIN, INT64_MAX}) {
      PutSigned(part, figure);
    }
    PutText(part, "");
    PutText(part, "caf\xc3\xa9");
  });
  const std::string nines(9, '\xff');
  const std::string expected = std::string("\0\x7f\x80\x01\xac\x02", 6) + nines + "\x01" +
                               std::string("\0\x01\x02\x7f\x80\x01", 6) + nines + "\x01" + "\xfe" +
                               std::string(8, '\xff') + "\x01" + std::string("\0\x05", 2) + "caf\xc3\xa9";
  EXPECT_EQ(bytes, expected);
}

TEST(PartBytes, ComeBack) {
  static std::vector<uint64_t> figures;
  static std::vector<std::string> texts;
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    figures.push_back(random() >> random() % 64);
    texts.push_back(std::string(random() % (i % 1000 == 0 ? 20000 : 30), static_cast<char>(random())));
  }
  const std::string bytes = WrittenPart([](PartWriter& part) {
    for (size_t i = 0; i < figures.size(); ++i) {
      PutFigure(part, figures[i]);
      PutSigned(part, static_cast<int64_t>(figures[i]));
      PutText(part, texts[i]);
    }
  });
  PartReader part = ReaderOf(bytes);
  for (size_t i = 0; i < figures.size(); ++i) {
    ASSERT_EQ(TakeFigure(part), figures[i]);
    ASSERT_EQ(TakeSigned(part), static_cast<int64_t>(figures[i]));
    ASSERT_EQ(TakeText(part, 20000), texts[i]);
  }
  EXPECT_EQ(part.next, part.end);
  EXPECT_FALSE(part.damaged);
}

TEST(PartBytes, OfADamagedPartGiveNothing) {
  const std::string nines(9, '\xff');
  bool damaged = false;
  EXPECT_EQ(FigureOf(nines + "\x01", damaged), UINT64_MAX);
  EXPECT_FALSE(damaged);
  for (const std::string& bytes :
       {std::string(), std::string("\x80"), nines, nines + "\x02", nines + "\x81\x01"}) {
    EXPECT_EQ(FigureOf(bytes, damaged), 0U);
    EXPECT_TRUE(damaged);
  }
}

TEST(PartBytes, OfTextsAreNoMoreThanThereAre) {
  const std::string bytes =
      "\x04"
      "abc\x01x";
  PartReader part = ReaderOf(bytes);
  EXPECT_EQ(TakeText(part, 4), "abc\x01");
  EXPECT_EQ(TakeText(part, 4), "");
  EXPECT_TRUE(part.damaged);
  part = ReaderOf(bytes);
  EXPECT_EQ(TakeText(part, 3), "");
  EXPECT_TRUE(part.damaged);
  EXPECT_EQ(TakeFigure(part), 0U);
  const std::string cut =
      "\x05"
      "abcd";
  part = ReaderOf(cut);
  EXPECT_EQ(TakeText(part, 9), "");
  EXPECT_TRUE(part.damaged);
}

TEST(PartBytes, OfFiguresBeyondTheMostAreDamaged) {
  const std::string bytes = "\x05\x06";
  PartReader part = ReaderOf(bytes);
  EXPECT_EQ(TakeFigureUpTo(part, 5), 5U);
  EXPECT_FALSE(part.damaged);
  EXPECT_EQ(TakeFigureUpTo(part, 5), 0U);
  EXPECT_TRUE(part.damaged);
}
