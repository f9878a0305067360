#include "superlog/kept_texts.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/limits.h"
#include "superlog/byte_scan.h"
#include "superlog/log_events.h"

static int mTold = 0;

class KeptTextsTest : public testing::Test {
 protected:
  void SetUp() override {
    mTold = 0;
    mLogEvents.texts_go = [] { ++mTold; };
  }
  void TearDown() override { mLogEvents = {}; }

  static std::string_view Keep(const std::string& text) {
    char* const room = RoomForText(text.size());
    return KeepText(room, text.copy(room, text.size()));
  }
};

TEST_F(KeptTextsTest, TextsStandOneBehindTheOtherEachWithItsEnd) {
  const std::string_view first = Keep("one");
  const std::string_view second = Keep("");
  const std::string_view third = Keep("three");
  EXPECT_EQ(first, "one");
  EXPECT_STREQ(first.data(), "one");
  EXPECT_STREQ(second.data(), "");
  EXPECT_EQ(third, "three");
}

TEST_F(KeptTextsTest, RoomThatIsNotKeptIsGivenAgain) {
  char* const room = RoomForText(kLongestItem);
  EXPECT_EQ(RoomForText(5), room);
  KeepText(room, 2);
  EXPECT_NE(RoomForText(5), room);
}

// The texts of a record are good until that is told, and it is told before any is overwritten.
TEST_F(KeptTextsTest, TellsBeforeTheRoomBeginsAnew) {
  const std::string text(1000, 'a');
  std::string_view kept = Keep(text);
  for (int i = 0; mTold == 0 && i < 1000; ++i) {
    ASSERT_EQ(kept, text);
    kept = Keep(text);
  }
  EXPECT_EQ(mTold, 1);
  EXPECT_EQ(kept, text);
}

TEST_F(KeptTextsTest, TheLongestLineFitsWithRoomToReadOn) {
  for (int i = 0; i < 10; ++i) {
    const std::string_view kept = Keep(std::string(kLongestLine, static_cast<char>('a' + i)));
    std::string behind(kScanOverread, '\0');
    memcpy(behind.data(), kept.data() + kept.size(), behind.size());
    EXPECT_EQ(kept.size(), kLongestLine);
    EXPECT_EQ(kept.back(), 'a' + i);
    EXPECT_EQ(behind[0], '\0');
  }
  EXPECT_GT(mTold, 1);
}
