#include "superlog/log_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "dates/clock.h"
#include "support/text_file.h"

namespace {

constexpr LogStamp kStamp{.device = 7,
                          .inode = 8,
                          .size = 900,
                          .changed = 952000000,
                          .changed_ns = 5,
                          .described = 952000001,
                          .described_ns = 999999999};
constexpr uint64_t kRules = 0xfedcba9876543210;
constexpr LogRecords kRecords{.count = 12, .in_range = 3, .first = -5, .last = 1000000000000};

class LogStore : public testing::Test {
 protected:
  void SetUp() override {
    folder = NewPath("store");
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    OpenStore(folder.c_str(), kRules);
  }
  void TearDown() override { OpenStore("", 0); }

  static std::string Recalled(const LogStamp& stamp = kStamp) {
    LogRecords records;
    return Recall(stamp, records)
               ? std::to_string(records.count) + " " + std::to_string(records.in_range) + " " +
                     std::to_string(records.first) + " " + std::to_string(records.last)
               : "nothing";
  }

  // The only file of the store.
  [[nodiscard]] std::string Entry() const {
    std::string path;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
      EXPECT_EQ(path, "");
      path = file.path();
    }
    return path;
  }

  std::string folder;
};

TEST_F(LogStore, RecallsWhatWasKept) {
  EXPECT_EQ(Recalled(), "nothing");
  Keep(kStamp, kRecords);
  EXPECT_EQ(Recalled(), "12 0 -5 1000000000000");
  LogRecords more = kRecords;
  more.count = 13;
  Keep(kStamp, more);
  EXPECT_EQ(Recalled(), "13 0 -5 1000000000000");
  EXPECT_NE(Entry(), "");
}

TEST_F(LogStore, AnyOtherStampIsUnknown) {
  Keep(kStamp, kRecords);
  for (uint64_t LogStamp::*word : {&LogStamp::device, &LogStamp::inode, &LogStamp::size}) {
    LogStamp other = kStamp;
    ++(other.*word);
    EXPECT_EQ(Recalled(other), "nothing");
  }
  for (int64_t LogStamp::*word :
       {&LogStamp::changed, &LogStamp::changed_ns, &LogStamp::described, &LogStamp::described_ns}) {
    LogStamp other = kStamp;
    ++(other.*word);
    EXPECT_EQ(Recalled(other), "nothing");
  }
}

TEST_F(LogStore, OtherRulesKnowNothing) {
  Keep(kStamp, kRecords);
  OpenStore(folder.c_str(), kRules + 1);
  EXPECT_EQ(Recalled(), "nothing");
}

TEST_F(LogStore, AnyChangedByteIsDamage) {
  Keep(kStamp, kRecords);
  const std::string path = Entry();
  const std::string text = ReadFile(path);
  ASSERT_GT(text.size(), 100U);
  for (size_t place = 0; place < text.size(); ++place) {
    for (const int flip : {1, 4, 0x20}) {
      std::string damaged = text;
      damaged[place] = static_cast<char>(damaged[place] ^ flip);
      std::ofstream(path) << damaged;
      EXPECT_EQ(Recalled(), "nothing") << place;
    }
    std::ofstream(path) << text.substr(0, place);
    EXPECT_EQ(Recalled(), "nothing") << place;
  }
  std::ofstream(path) << text << "x";
  EXPECT_EQ(Recalled(), "nothing");
  std::ofstream(path) << text << std::string(100000, '1');
  EXPECT_EQ(Recalled(), "nothing");
  std::ofstream(path) << text;
  EXPECT_EQ(Recalled(), "12 0 -5 1000000000000");
}

TEST_F(LogStore, WhatOthersMayHaveWrittenIsNotBelieved) {
  Keep(kStamp, kRecords);
  const std::string path = Entry();
  ASSERT_EQ(chmod(path.c_str(), 0666), 0);
  EXPECT_EQ(Recalled(), "nothing");
  ASSERT_EQ(chmod(path.c_str(), 0644), 0);
  EXPECT_NE(Recalled(), "nothing");
  ASSERT_EQ(link(path.c_str(), (folder + "/second").c_str()), 0);
  EXPECT_EQ(Recalled(), "nothing");
  ASSERT_EQ(rename(path.c_str(), (folder + ".entry").c_str()), 0);
  unlink((folder + "/second").c_str());
  ASSERT_EQ(symlink((folder + ".entry").c_str(), path.c_str()), 0);
  EXPECT_EQ(Recalled(), "nothing");
  unlink(path.c_str());
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(Recalled(), "nothing");  // and does not wait
}

TEST_F(LogStore, FoldersOfOthersAndLinksAreNone) {
  Keep(kStamp, kRecords);
  ASSERT_EQ(chmod(folder.c_str(), 0770), 0);
  OpenStore(folder.c_str(), kRules);
  EXPECT_EQ(Recalled(), "nothing");
  ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
  ASSERT_EQ(symlink(folder.c_str(), (folder + ".link").c_str()), 0);
  OpenStore((folder + ".link").c_str(), kRules);
  EXPECT_EQ(Recalled(), "nothing");
  OpenStore((folder + "/missing").c_str(), kRules);
  Keep(kStamp, kRecords);
  OpenStore("", kRules);
  Keep(kStamp, kRecords);
  EXPECT_EQ(Recalled(), "nothing");
  OpenStore(folder.c_str(), kRules);
  EXPECT_NE(Recalled(), "nothing");
}

TEST_F(LogStore, StampsAreOfPlainFiles) {
  const std::string file = folder + "/log";
  std::ofstream(file) << "12345";
  LogStamp stamp;
  ASSERT_TRUE(StampOf(file.c_str(), stamp));
  EXPECT_EQ(stamp.size, 5U);
  EXPECT_FALSE(StampOf(folder.c_str(), stamp));
  EXPECT_FALSE(StampOf("/nowhere", stamp));
}

TEST_F(LogStore, SettledIsOlderThanTwoSeconds) {
  SetCurrentTimeForTest(kStamp.described + 2);
  EXPECT_FALSE(IsSettled(kStamp));
  SetCurrentTimeForTest(kStamp.described + 3);
  EXPECT_TRUE(IsSettled(kStamp));
  LogStamp newer = kStamp;
  newer.changed = kStamp.described + 1;
  EXPECT_FALSE(IsSettled(newer));
  SetCurrentTimeForTest(-1);
}

}  // namespace
