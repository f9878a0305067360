#include "superlog/log_store.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
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

KnownLog Known(int64_t records = 12) {
  KnownLog log{
      .stamp = kStamp,
      .settled = true,
      .packed = false,
      .size = 900,
      .key = {{1, 2, 3, 4}},
      .hash = {5, 6},
      .bytes = 901,
      .first = {.lines = 0,
                .first = 7,
                .line = "GET / \"?",
                .nearest = {.miss = {.layout = 2, .field = Field::kStatus, .character = 17}, .given = true},
                .reasons = {}},
      .blocks = {}};
  log.first.reasons[LineReason::kNoTime] = {
      .lines = 0, .first = 8, .nearest = {.miss = {.layout = 3, .field = Field::kDate, .character = 5}}};
  for (uint64_t i = 0; i < 3; ++i) {
    log.blocks.push_back({{i, i + 1}, i * 300, i, i % 2, records, -5, 1000000000000, {2, 0, 1}});
  }
  return log;
}

class LogStore : public testing::Test {
 protected:
  void SetUp() override {
    folder = NewPath("store");
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    OpenStore(folder.c_str(), kRules);
  }
  void TearDown() override { OpenStore("", 0); }

  static std::string Recalled(const LogStamp& stamp = kStamp) {
    KnownLog log;
    if (!Recall(stamp, log)) {
      return "nothing";
    }
    const KnownLog known = Known(log.blocks.at(0).records);
    EXPECT_EQ(log.stamp, known.stamp);
    EXPECT_EQ(log.settled, known.settled);
    EXPECT_EQ(log.packed, known.packed);
    EXPECT_EQ(log.size, known.size);
    EXPECT_EQ(log.key.words[3], known.key.words[3]);
    EXPECT_EQ(log.hash, known.hash);
    EXPECT_EQ(log.bytes, known.bytes);
    EXPECT_EQ(log.first.first, known.first.first);
    EXPECT_STREQ(log.first.line, known.first.line);
    EXPECT_EQ(log.first.nearest.given, known.first.nearest.given);
    EXPECT_EQ(log.first.nearest.miss.layout, known.first.nearest.miss.layout);
    EXPECT_EQ(log.first.nearest.miss.field, known.first.nearest.miss.field);
    EXPECT_EQ(log.first.nearest.miss.character, known.first.nearest.miss.character);
    EXPECT_EQ(log.first.reasons, known.first.reasons);
    EXPECT_EQ(log.blocks, known.blocks);
    return std::to_string(log.blocks[0].records) + " records";
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
  Keep(Known());
  EXPECT_EQ(Recalled(), "12 records");
  Keep(Known(13));
  EXPECT_EQ(Recalled(), "13 records");
  EXPECT_NE(Entry(), "");
}

TEST_F(LogStore, AnotherFileIsUnknown) {
  Keep(Known());
  LogStamp other = kStamp;
  ++other.device;
  EXPECT_EQ(Recalled(other), "nothing");
  other = kStamp;
  ++other.inode;
  EXPECT_EQ(Recalled(other), "nothing");
  std::filesystem::rename(Entry(), folder + "/00000000000000070000000000000009");
  EXPECT_EQ(Recalled(other), "nothing");
}

TEST_F(LogStore, WhatHasTooManyBlocksIsNotKept) {
  KnownLog log = Known();
  log.blocks.resize(kMostKeptBlocks + 1);
  Keep(log);
  EXPECT_EQ(Recalled(), "nothing");
}

TEST_F(LogStore, WithoutRoomTheOldEntryStays) {
  Keep(Known());
  signal(SIGXFSZ, SIG_IGN);
  rlimit room{};
  getrlimit(RLIMIT_FSIZE, &room);
  const rlimit none{.rlim_cur = 100, .rlim_max = room.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
  Keep(Known(13));
  setrlimit(RLIMIT_FSIZE, &room);
  EXPECT_EQ(Recalled(), "12 records");
}

TEST_F(LogStore, HashesAreOfTheFileOfTheStamp) {
  const std::string file = folder + "/log";
  std::ofstream(file) << "12345";
  LogStamp stamp;
  ContentHash hash;
  ContentHash expected;
  const ContentKey key{{1, 2, 3, 4}};
  expected = AddBlock(key, {}, "12345", 5);
  ASSERT_TRUE(StampOf(file.c_str(), stamp));
  EXPECT_TRUE(HashOfFile(file.c_str(), stamp, key, hash));
  EXPECT_EQ(hash, expected);
  ++stamp.changed_ns;
  EXPECT_FALSE(HashOfFile(file.c_str(), stamp, key, hash));
  EXPECT_FALSE(HashOfFile("/nowhere", stamp, key, hash));
}

TEST_F(LogStore, OtherRulesKnowNothing) {
  Keep(Known());
  OpenStore(folder.c_str(), kRules + 1);
  EXPECT_EQ(Recalled(), "nothing");
}

TEST_F(LogStore, AnyChangedByteIsDamage) {
  Keep(Known());
  const std::string path = Entry();
  const std::string text = ReadFile(path);
  ASSERT_GT(text.size(), 400U);
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
  EXPECT_EQ(Recalled(), "12 records");
}

TEST_F(LogStore, WhatOthersMayHaveWrittenIsNotBelieved) {
  Keep(Known());
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
  Keep(Known());
  ASSERT_EQ(chmod(folder.c_str(), 0770), 0);
  OpenStore(folder.c_str(), kRules);
  EXPECT_EQ(Recalled(), "nothing");
  ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
  ASSERT_EQ(symlink(folder.c_str(), (folder + ".link").c_str()), 0);
  OpenStore((folder + ".link").c_str(), kRules);
  EXPECT_EQ(Recalled(), "nothing");
  OpenStore((folder + "/missing").c_str(), kRules);
  Keep(Known());
  OpenStore("", kRules);
  Keep(Known());
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

TEST_F(LogStore, KnowsNoLayoutThatThereIsNoneOf) {
  KnownLog log = Known();
  log.first.nearest.miss.layout = 255;
  Keep(log);
  KnownLog known;
  ASSERT_TRUE(Recall(kStamp, known));
  EXPECT_EQ(known.first.nearest.miss.layout, 0);
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
