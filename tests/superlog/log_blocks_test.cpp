#include "superlog/log_blocks.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "dates/clock.h"
#include "superlog/line_reader.h"
#include "superlog/log_events.h"
#include "superlog/log_parts.h"
#include "superlog/log_store.h"
#include "superlog/march_logs.h"
#include "superlog/superlog.h"
#include "support/part_text.h"
#include "support/text_file.h"
#include "unpack/packed.h"
#include "unpack/unpacking.h"

namespace {

constexpr time_t kStart = 972000000;       // some days before the clocks of 2000 go back
constexpr time_t kFarFuture = 4102444800;  // every file is old then
constexpr time_t kLongAgo = 1000;          // and new then

std::string Clf(time_t when, int number) {
  tm local;
  localtime_r(&when, &local);
  char date[40];
  char line[200];
  strftime(date, sizeof date, "%d/%b/%Y:%H:%M:%S +0000", &local);
  snprintf(line, sizeof line, "192.0.2.1 - - [%s] \"GET /%d HTTP/1.0\" 200 %d\n", date, number, number % 97);
  return line;
}

std::string W3c(time_t when, int number) {
  tm local;
  localtime_r(&when, &local);
  char date[40];
  char line[200];
  strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &local);
  snprintf(line, sizeof line, "%s 192.0.2.2 GET /%d 200 %d\n", date, number, number % 89);
  return line;
}

std::string Json(time_t when, int number) {
  char line[200];
  snprintf(line, sizeof line,
           "{\"ts\":%lld.5,\"remote_ip\":\"192.0.2.3\",\"method\":\"GET\",\"uri\":\"/%d\",\"status\":200,"
           "\"size\":%d}\n",
           static_cast<long long>(when), number, number % 83);
  return line;
}

constexpr char kW3cHead[] =
    "#Software: Microsoft Internet Information Services 6.0\n#Fields: date time c-ip cs-method cs-uri-stem "
    "sc-status sc-bytes\n";

class LogBlocksTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    SetCurrentTimeForTest(kFarFuture);
    ResetSuperLog();
    SetBlockSizesForTest({.first = 500, .most = 4000});
    directory = NewPath("logs");
    store = NewPath("store");
    ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
    ASSERT_EQ(mkdir(store.c_str(), 0700), 0);
    CopyText(settings.logs, directory + "/a*.log");
    settings.rules.whole_logs = settings.rules.unpacks = true;
  }
  void TearDown() override {
    ResetSuperLog();
    SetCurrentTimeForTest(-1);
    SetBlockSizesForTest({});
  }

  [[nodiscard]] std::string PathOf(const std::string& name) const { return directory + "/" + name; }

  // A time of its own, as the system's clock may not have gone on.
  void Touch(const std::string& name) {
    const timespec times[2] = {{1000000000, 0}, {1000000000, ++changes}};
    utimensat(AT_FDCWD, PathOf(name).c_str(), times, 0);
  }
  void Write(const std::string& name, const std::string& content) {
    std::ofstream(PathOf(name), std::ios::binary) << content;
    Touch(name);
  }
  void Append(const std::string& name, const std::string& content) {
    std::ofstream(PathOf(name), std::ios::binary | std::ios::app) << content;
    Touch(name);
  }

  // All that a report, or a part, may say of the logs, and how many lines it has read for that.
  std::string Read(time_t first, time_t last, bool with_store) {
    CopyText(settings.store, with_store ? store : "");
    SuperLog_Init(settings, kModernLimits, first, last);
    std::string told;
    lines_read = 0;
    while (SuperLog_NextLogFile()) {
      LogRecords records;
      for (SuperLogRecord record; SuperLog_ParseNextLine(record);) {
        ++lines_read;
        AddTime(records, record.time);
        if (record.time >= first && record.time <= last) {
          ++records.in_range;
          told += std::to_string(record.time) + " " + std::string(record.url) + " " +
                  std::to_string(record.bytes) + "\n";
        }
      }
      SuperLog_LogRead(records);
    }
    const void* place = nullptr;
    for (LogState log; SuperLog_NextState(place, log);) {
      told += std::string(log.path) + (log.copy_of != nullptr ? log.copy_of : "") + " " +
              std::to_string(log.records.count) + " " + std::to_string(log.records.in_range) + " " +
              std::to_string(log.records.first) + " " + std::to_string(log.records.last) + " " +
              std::to_string(log.lines_not_understood) + " " + std::to_string(log.first_not_understood) +
              " " + log.line + "\n";
    }
    EXPECT_EQ(HashBeginnings(), nullptr);
    return told + std::to_string(SuperLongToBytes(SuperLog_GetTotalLogBytesRead())) + " " +
           std::to_string(SuperLog_GetLinesNotUnderstood()) + " " + std::to_string(SuperLog_LogsInRange()) +
           " " + std::to_string(SuperLog_GetRecordsRead()) +
           WrittenPart([](PartWriter& part) { SaveLogs(part); });
  }

  // Lines of that many days, one each 1000 seconds.
  static std::string Days(int days, int from = 0) {
    std::string text;
    for (time_t when = kStart + from * kDay; when < kStart + (from + days) * kDay; when += 1000) {
      text += Clf(when, static_cast<int>(when % 1000007));
    }
    return text;
  }

  // Reads one day of the log with and without the store.
  int64_t LinesReadOfDay(int day) {
    const time_t first = kStart + day * kDay;
    const std::string plain = Read(first, first + kDay - 1, false);
    EXPECT_EQ(Read(first, first + kDay - 1, true), plain);
    return lines_read;
  }

  Settings settings{};
  std::string directory;
  std::string store;
  long changes = 0;
  int64_t lines_read = 0;
};

constexpr int64_t kLinesOfBlock = 4000 / 65;
constexpr int64_t kLinesOfWindow = static_cast<int64_t>(kBigBufSize) / 65;
constexpr int64_t kLinesOfDay = 87;

TEST_F(LogBlocksTest, BlocksOutsideTheRangeAreNotReadAgain) {
  Write("a.log", Days(20));
  EXPECT_EQ(LinesReadOfDay(10), 1728);
  EXPECT_LE(LinesReadOfDay(10), kLinesOfDay + 3 * kLinesOfBlock);
  EXPECT_GE(LinesReadOfDay(10), kLinesOfDay);
  EXPECT_LE(LinesReadOfDay(19), kLinesOfDay + 3 * kLinesOfBlock);
  EXPECT_EQ(LinesReadOfDay(30), 0);
  SetBlockSizesForTest({.first = 700, .most = 3000});
  EXPECT_LE(LinesReadOfDay(10), kLinesOfDay + 3 * kLinesOfBlock + kLinesOfWindow);  // as they were known
}

TEST_F(LogBlocksTest, LogsThatHaveGrownAreReadFromThereOn) {
  Write("a.log", Days(20));
  LinesReadOfDay(1);
  Append("a.log", Days(1, 20));
  EXPECT_LE(LinesReadOfDay(20), kLinesOfDay + 3 * kLinesOfBlock + kLinesOfWindow);
  EXPECT_LE(LinesReadOfDay(10), kLinesOfDay + 3 * kLinesOfBlock);
  std::filesystem::rename(PathOf("a.log"), PathOf("a1.log"));
  Touch("a1.log");
  EXPECT_LE(LinesReadOfDay(10), kLinesOfDay + 3 * kLinesOfBlock);
  EXPECT_EQ(LinesReadOfDay(30), 0);
}

TEST_F(LogBlocksTest, LogsThatAreWrittenToAreKnownByTheirBeginning) {
  SetCurrentTimeForTest(kLongAgo);
  Write("a.log", Days(20));
  EXPECT_EQ(LinesReadOfDay(10), 1728);
  EXPECT_LE(LinesReadOfDay(10), kLinesOfDay + 3 * kLinesOfBlock);
}

TEST_F(LogBlocksTest, LogsThatMayStillHaveChangedAreNotTheSame) {
  const std::string path = PathOf("a.log");
  for (const time_t now : {kLongAgo, kFarFuture}) {
    SetCurrentTimeForTest(now);
    Write("a.log", Days(20));
    LinesReadOfDay(10);
    SetCurrentTimeForTest(kFarFuture);
    EXPECT_EQ(IsAllKnown(path.c_str(), kStart + 30 * kDay, kStart + 31 * kDay), now == kFarFuture);
  }
  SuperLog_Init(settings, kModernLimits, kStart, kStart + kDay);
  ASSERT_TRUE(SuperLog_NextLogFile());
  Append("a.log", Days(1, 20));  // while it is read
  SuperLog_ReadLogs();
  EXPECT_FALSE(IsAllKnown(path.c_str(), kStart + 30 * kDay, kStart + 31 * kDay));
}

TEST_F(LogBlocksTest, WhatBeginsOtherwiseIsReadAgain) {
  const std::string text = Days(20);
  Write("a.log", text);
  LinesReadOfDay(10);
  for (const size_t place : {size_t{30}, text.size() / 2, text.size() - 10}) {
    std::string other = text;
    other[place] ^= 1;
    Write("a.log", other);
    EXPECT_GT(LinesReadOfDay(10), 1700) << place;
    Write("a.log", text + Days(1, 20));
    EXPECT_GT(LinesReadOfDay(10), 1700) << place;
    Write("a.log", text);
    LinesReadOfDay(10);
  }
  Write("a.log", text.substr(0, text.size() / 2));
  EXPECT_GT(LinesReadOfDay(3), 800);
}

TEST_F(LogBlocksTest, WhatIsInForceIsKnownBehindWhatIsPassedOver) {
  std::string text = Days(5);
  text += kW3cHead;
  for (time_t when = kStart + 5 * kDay; when < kStart + 20 * kDay; when += 1000) {
    text += W3c(when, 7);
  }
  Write("a.log", text);
  LinesReadOfDay(10);
  for (int day = 0; day < 20; ++day) {
    EXPECT_LE(LinesReadOfDay(day), kLinesOfDay + 6 * kLinesOfBlock) << day;
  }
}

TEST_F(LogBlocksTest, FirstLineNotUnderstoodIsKnownThoughPassedOver) {
  Write("a.log", Days(5) + "junk of one\n" + Days(5, 5) + "junk of another\n" + Days(5, 10));
  LinesReadOfDay(12);
  EXPECT_LE(LinesReadOfDay(12), kLinesOfDay + 3 * kLinesOfBlock);
  EXPECT_NE(Read(kStart + 12 * kDay, kStart + 13 * kDay, true).find(" 2 433 junk of one"), std::string::npos);
  Append("a.log", "junk of a third\n");
  LinesReadOfDay(12);
}

TEST_F(LogBlocksTest, PackedLogsAreProvenByTheirPackedBytes) {
  if (LibraryFor(PackFormat::kGzip) == nullptr) {
    GTEST_SKIP() << "built without gzip";
  }
  Write("a.log", Pack(PackFormat::kGzip, Days(20)));
  EXPECT_EQ(LinesReadOfDay(30), 1728);
  std::filesystem::rename(PathOf("a.log"), PathOf("a1.log"));
  Touch("a1.log");
  EXPECT_EQ(LinesReadOfDay(30), 0);
  Append("a1.log", Pack(PackFormat::kGzip, Days(1, 20)));
  EXPECT_GT(LinesReadOfDay(30), 1728);
}

// ---- Names of blocks, and who is told of them ----

struct ToldBlock {
  char how;  // p: passed over, r: read
  LogBlock block;
};

// Stands for who knows what blocks came to.
struct KnowsBlocks {
  std::set<std::pair<uint64_t, uint64_t>> counted;
  std::vector<ToldBlock> told;
  int asked = 0;
  std::function<void()> when_asked;
  std::function<void()> when_read;
};
KnowsBlocks mKnows;

std::pair<uint64_t, uint64_t> KeyOf(const LogBlock& block) {
  return {block.name.words[0], block.name.words[1]};
}

class BlockNames : public LogBlocksTest {
 protected:
  BlockNames() { mKnows = {}; }

  std::vector<ToldBlock> Told(int from, int days) {
    const time_t first = kStart + from * kDay;
    return ToldOf(first, first + days * kDay - 1);
  }

  std::vector<ToldBlock> All() { return ToldOf(0, kFarFuture); }

  std::vector<ToldBlock> ToldOf(time_t first, time_t last) {
    mKnows.told.clear();
    mKnows.asked = 0;
    CopyText(settings.store, store);
    LogEvents events;
    events.block_counted = [](const LogBlock& block) {
      ++mKnows.asked;
      if (mKnows.when_asked != nullptr) {
        std::exchange(mKnows.when_asked, nullptr)();
      }
      return mKnows.counted.contains(KeyOf(block));
    };
    events.block_passed = [](const LogBlock& block) { mKnows.told.push_back({'p', block}); };
    events.block_read = [](const LogBlock& block) {
      mKnows.told.push_back({'r', block});
      if (mKnows.when_read != nullptr) {
        std::exchange(mKnows.when_read, nullptr)();
      }
    };
    SuperLog_Init(settings, kModernLimits, first, last, events);
    lines_read = 0;
    while (SuperLog_NextLogFile()) {
      LogRecords records;
      for (SuperLogRecord record; SuperLog_ParseNextLine(record);) {
        ++lines_read;
        AddTime(records, record.time);
        records.in_range += record.time >= first && record.time <= last;
      }
      SuperLog_LogRead(records);
    }
    return mKnows.told;
  }

  // As if the counts of all blocks that were told were kept.
  static void Count(const std::vector<ToldBlock>& told) {
    for (const ToldBlock& one : told) {
      if (one.block.name != BlockName{}) {
        mKnows.counted.insert(KeyOf(one.block));
      }
    }
  }

  static std::string HowOf(const std::vector<ToldBlock>& told) {
    std::string how;
    for (const ToldBlock& one : told) {
      how += one.block.name == BlockName{} ? static_cast<char>(toupper(one.how)) : one.how;
    }
    return how;
  }

  static int64_t RecordsOf(const std::vector<ToldBlock>& told) {
    int64_t records = 0;
    for (const ToldBlock& one : told) {
      records += one.block.records;
    }
    return records;
  }
};

TEST_F(BlockNames, StayWhenAKnownLogIsReadAgain) {
  Write("a.log", Days(20));
  const auto first = All();
  const auto again = All();
  ASSERT_GT(first.size(), 20U);
  ASSERT_EQ(again.size(), first.size());
  std::set<std::pair<uint64_t, uint64_t>> names;
  for (size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(again[i].block, first[i].block) << i;
    names.insert(KeyOf(first[i].block));
  }
  EXPECT_EQ(names.size(), first.size()) << "each its own";
  EXPECT_EQ(HowOf(again), std::string(first.size(), 'r'));
  EXPECT_EQ(RecordsOf(again), 1728);
}

TEST_F(BlockNames, AreNewForAnotherContent) {
  const std::string text = Days(20);
  Write("a.log", text);
  Count(All());
  std::string other = text;
  other[text.size() / 2] ^= 1;
  Write("a.log", other);
  for (const ToldBlock& one : All()) {
    EXPECT_EQ(one.how, 'r');
    EXPECT_NE(one.block.name, BlockName{});
    EXPECT_FALSE(mKnows.counted.contains(KeyOf(one.block)));
  }
}

TEST_F(BlockNames, AreNoneOfWhatIsNotKept) {
  SetCurrentTimeForTest(kLongAgo);  // a small log that may still be written to
  SetBlockSizesForTest({.first = 500, .least = 4000, .most = 1 << 20});
  Write("a.log", Days(20));
  for (const ToldBlock& one : All()) {
    EXPECT_EQ(one.block.name, BlockName{});
  }
  EXPECT_EQ(RecordsOf(mKnows.told), 1728);
}

TEST_F(BlockNames, AreNoneOfWhatReachesBeyondTheRange) {
  Write("a.log", Days(20));
  const std::string how = HowOf(Told(5, 2));
  ASSERT_GE(how.size(), 3U);
  EXPECT_EQ(how.front(), 'R');
  EXPECT_EQ(how.back(), 'R');
  EXPECT_EQ(how.substr(1, how.size() - 2), std::string(how.size() - 2, 'r'));
}

TEST_F(BlockNames, AreAskedForOnlyWhereTheWholeBlockLiesInTheRange) {
  Write("a.log", Days(20));
  const auto whole = All();
  Count(whole);
  const auto some = Told(5, 3);
  EXPECT_EQ(some.front().how, 'r') << "though it is counted, half of it is wanted";
  EXPECT_EQ(some.front().block.name, BlockName{});
  EXPECT_EQ(some[1].how, 'p');
  EXPECT_LE(lines_read, 3 * kLinesOfBlock);
  for (const ToldBlock& one : some) {
    if (one.how == 'p') {
      EXPECT_GE(one.block.first, kStart + 5 * kDay);
      EXPECT_LT(one.block.last, kStart + 8 * kDay);
    }
  }
  Told(30, 1);
  EXPECT_EQ(mKnows.asked, 0) << "nothing of it is wanted";
}

TEST_F(BlockNames, TellOfBlocksInTheOrderOfReading) {
  Write("a.log", Days(5));
  Write("a1.log", Days(5, 5));
  const auto first = All();
  Count(first);
  mKnows.counted.erase(KeyOf(first[3].block));
  const auto again = All();
  ASSERT_EQ(again.size(), first.size());
  std::string how(first.size(), 'p');
  how[0] = how[3] = 'r';  // the first one tells the layout
  EXPECT_EQ(HowOf(again), how);
  for (size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(again[i].block.name, first[i].block.name) << i;
  }
}

TEST_F(BlockNames, CountInTheFiguresOfTheLogThoughPassedOver) {
  Write("a.log", Days(5) + "junk of one\n" + Days(5, 5));
  const auto figures = [&] {
    const void* place = nullptr;
    LogState log;
    EXPECT_TRUE(SuperLog_NextState(place, log));
    return std::to_string(log.records.count) + " " + std::to_string(log.records.in_range) + " " +
           std::to_string(log.records.first - kStart) + " " + std::to_string(log.records.last - kStart) +
           " " + std::to_string(log.lines_not_understood) + " " + std::to_string(log.first_not_understood) +
           " " + log.line + " " + std::to_string(SuperLongToBytes(SuperLog_GetTotalLogBytesRead())) + " " +
           std::to_string(SuperLog_GetRecordsRead()) + " " + std::to_string(SuperLog_GetLinesNotUnderstood());
  };
  const auto size = std::to_string(std::filesystem::file_size(PathOf("a.log")));
  const std::string expected = "864 864 7200 866600 1 433 junk of one " + size + " 864 1";
  Count(All());
  EXPECT_EQ(figures(), expected);
  EXPECT_EQ(HowOf(All()), std::string(mKnows.told.size(), 'p'));
  EXPECT_EQ(lines_read, 0);
  EXPECT_EQ(figures(), expected);
  Append("a.log", "");  // known by its beginning now, but for the block that tells the layout
  EXPECT_EQ(HowOf(All()), "r" + std::string(mKnows.told.size() - 1, 'p'));
  EXPECT_EQ(figures(), expected);
}

TEST_F(BlockNames, StayInALogThatHasGrown) {
  Write("a.log", Days(20));
  const auto first = All();
  Count(first);
  Append("a.log", Days(2, 20));
  const auto grown = All();
  EXPECT_EQ(RecordsOf(grown), RecordsOf(first) + 2 * kDay / 1000 + 1);
  EXPECT_EQ(grown[0].block.name, first[0].block.name) << "read, because it tells the layout";
  size_t known = 1;
  for (; known < grown.size() && grown[known].how == 'p'; ++known) {
    EXPECT_EQ(grown[known].block.name, first[known].block.name);
  }
  EXPECT_GT(known, first.size() / 4);
  for (size_t i = known; i < grown.size(); ++i) {
    EXPECT_EQ(grown[i].how, 'r');
    EXPECT_NE(grown[i].block.name, BlockName{});
    EXPECT_FALSE(mKnows.counted.contains(KeyOf(grown[i].block))) << "a block that ends elsewhere is another";
  }
  Count(grown);
  EXPECT_EQ(HowOf(All()), std::string(grown.size(), 'p'));
}

TEST_F(BlockNames, OfACompressedLogStay) {
  if (LibraryFor(PackFormat::kGzip) == nullptr) {
    GTEST_SKIP() << "built without gzip";
  }
  Write("a.log", Pack(PackFormat::kGzip, Days(20)));
  const auto first = All();
  ASSERT_EQ(HowOf(first), "r");
  const auto again = All();
  ASSERT_EQ(HowOf(again), "r") << "what is known, but not counted, can be kept";
  EXPECT_EQ(again[0].block.name, first[0].block.name);
  Count(first);
  EXPECT_EQ(HowOf(All()), "p");
  std::filesystem::rename(PathOf("a.log"), PathOf("a1.log"));
  Touch("a1.log");
  EXPECT_EQ(HowOf(All()), "p");
  EXPECT_EQ(lines_read, 0);
}

// What is read of a known log while somebody writes to it is not what its names stand for.
TEST_F(BlockNames, AreNotGivenToWhatIsWrittenMeanwhile) {
  Write("a.log", Days(20));
  const auto first = All();
  mKnows.when_read = [&] { Append("a.log", Days(1, 20)); };
  std::set<std::pair<uint64_t, uint64_t>> names;
  for (const ToldBlock& one : first) {
    names.insert(KeyOf(one.block));
  }
  const auto meanwhile = All();
  EXPECT_GT(RecordsOf(meanwhile), RecordsOf(first));
  EXPECT_EQ(meanwhile[0].block.name, first[0].block.name) << "read before";
  for (size_t i = 1; i < meanwhile.size(); ++i) {
    EXPECT_FALSE(names.contains(KeyOf(meanwhile[i].block))) << i;
  }
}

TEST_F(BlockNames, AreNotGivenToWhatIsCutMeanwhile) {
  SetCurrentTimeForTest(kLongAgo);  // known by its beginning, whatever its time
  const std::string text = Days(60);
  Write("a.log", text);
  Count(All());
  const auto names = std::exchange(mKnows.counted, {});
  for (const auto& name : names) {  // more than half is counted, the rest is read
    if (mKnows.counted.size() < names.size() * 3 / 4) {
      mKnows.counted.insert(name);
    }
  }
  mKnows.when_read = [&] { std::filesystem::resize_file(PathOf("a.log"), text.size() * 9 / 10); };
  const auto meanwhile = All();
  bool read = false;
  for (const ToldBlock& one : meanwhile) {
    if (one.how == 'r' && read) {
      EXPECT_FALSE(names.contains(KeyOf(one.block)));
    }
    read |= one.how == 'r';
  }
  EXPECT_TRUE(read);
}

// A log may be rotated between the look at it and its opening.
TEST_F(BlockNames, AreThoseOfTheFileThatWasOpened) {
  Write("a.log", Days(20));
  Write("new", Days(20, 100));
  const auto first = All();
  Count(first);
  mKnows.counted.erase(KeyOf(first[4].block));
  mKnows.when_asked = [&] {
    std::filesystem::rename(PathOf("a.log"), PathOf("old"));
    std::filesystem::rename(PathOf("new"), PathOf("a.log"));
  };
  const auto rotated = All();
  for (const ToldBlock& one : rotated) {
    EXPECT_EQ(one.how, 'r');
    EXPECT_GE(one.block.first, kStart + 100 * kDay);
    EXPECT_FALSE(mKnows.counted.contains(KeyOf(one.block)));
    EXPECT_NE(KeyOf(one.block), KeyOf(first[4].block));
  }
  EXPECT_EQ(RecordsOf(rotated), 1728);
}

// A log that may no longer be read is one that cannot be opened, whatever is known of it.
TEST_F(BlockNames, AreOfNoUseWhereTheLogCannotBeOpened) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can become another user";
  }
  Write("a.log", Days(20));
  ASSERT_EQ(chmod(PathOf("a.log").c_str(), 0640), 0);
  ASSERT_EQ(chmod(directory.c_str(), 0755), 0);
  ASSERT_EQ(chown(store.c_str(), 65534, 65534), 0);
  ASSERT_EQ(setegid(0), 0);
  ASSERT_EQ(seteuid(65534), 0);
  Count(All());  // as one of the group
  const std::string before = HowOf(All());
  ASSERT_EQ(seteuid(0), 0);
  ASSERT_EQ(setegid(65534), 0);
  ASSERT_EQ(seteuid(65534), 0);
  const std::string after = HowOf(All());
  const void* place = nullptr;
  LogState log;
  EXPECT_TRUE(SuperLog_NextState(place, log));
  ASSERT_EQ(seteuid(0), 0);
  ASSERT_EQ(setegid(0), 0);
  EXPECT_EQ(before, std::string(before.size(), 'p'));
  EXPECT_GT(before.size(), 20U);
  EXPECT_EQ(after, "");
  EXPECT_TRUE(log.unopened);
}

// ---- Whatever happens to logs and store ----

class History : public LogBlocksTest {
 protected:
  uint32_t Below(uint32_t most) { return static_cast<uint32_t>(random() % most); }

  std::string Text() {
    std::string text;
    const uint32_t kind = Below(20);  // nearly all are of one kind
    const uint32_t lines = Below(600);
    if (kind == 1 || kind == 2) {
      text += kW3cHead;
    }
    for (uint32_t i = 0; i < lines; ++i) {
      when += Below(20) == 0 ? -static_cast<time_t>(Below(20000)) : static_cast<time_t>(Below(2500));
      const int number = static_cast<int>(Below(1000));
      const uint32_t odd = Below(3000);
      text += odd == 0                ? "what is this\n"
              : odd == 1              ? std::string(Below(70000), 'x') + "\n"
              : odd == 2              ? "\r\n\n"
              : odd == 3              ? "# a comment\n"
              : odd == 4              ? "www.example.com " + Clf(when, number)
              : kind <= 2 && kind > 0 ? W3c(when, number)
              : kind == 3 || odd == 5 ? Json(when, number)
                                      : Clf(when, number);
    }
    return Below(4) == 0 ? text.substr(0, text.size() - std::min<size_t>(text.size(), Below(40))) : text;
  }

  std::string AnyLog() { return "a" + std::to_string(Below(3)) + ".log"; }

  void ChangeInPlace(const std::string& name) {
    std::string text = ReadFile(PathOf(name));
    if (!text.empty()) {
      char& c = text[Below(static_cast<uint32_t>(text.size()))];
      c = c >= '0' && c < '9' ? static_cast<char>(c + 1) : c == '\n' ? ' ' : '\n';
    }
    std::fstream(PathOf(name), std::ios::binary | std::ios::in | std::ios::out) << text;
    Touch(name);
  }

  void ChangeLogs() {
    const std::string name = AnyLog();
    const bool is_there = std::filesystem::exists(PathOf(name));
    switch (is_there ? Below(10) : 0) {
      case 0:
        Write(name, Text());
        break;
      case 1:
        std::filesystem::resize_file(
            PathOf(name), Below(static_cast<uint32_t>(std::filesystem::file_size(PathOf(name)) + 1)));
        Touch(name);
        break;
      case 2:
        ChangeInPlace(name);
        break;
      case 3:
        std::filesystem::rename(PathOf(name), PathOf(AnyLog()));
        break;
      case 4:
        Touch(name);
        break;
      case 5:
        Write("a3.log", ReadFile(PathOf(name)));
        break;
      default:
        Append(name, Text());
    }
  }

  void ChangeStore() {
    std::vector<std::string> entries;
    for (const auto& entry : std::filesystem::directory_iterator(store)) {
      entries.push_back(entry.path());
    }
    if (entries.empty()) {
      return;
    }
    const std::string path = entries[Below(static_cast<uint32_t>(entries.size()))];
    const std::string text = ReadFile(path);
    switch (Below(6)) {
      case 0:
        std::filesystem::resize_file(path, Below(static_cast<uint32_t>(text.size() + 1)));
        break;
      case 1:
        if (!text.empty()) {
          std::string damaged = text;
          damaged[Below(static_cast<uint32_t>(text.size()))] ^= static_cast<char>(1 + Below(255));
          std::ofstream(path, std::ios::binary) << damaged;
        }
        break;
      case 2:
        std::ofstream(entries[0], std::ios::binary) << text;
        break;
      case 3:
        std::filesystem::remove(path);
        break;
      case 4:
        chmod(path.c_str(), 0666);
        break;
      default:
        chmod(store.c_str(), Below(2) == 0 ? 0777 : 0500);
    }
  }

  std::mt19937 random{20001029};
  time_t when = kStart;
};

TEST_F(History, NeverChangesAFigure) {
  int64_t read = 0;
  int64_t passed = 0;
  for (int step = 0; step < 250; ++step) {
    for (uint32_t changes_now = Below(3); changes_now > 0; --changes_now) {
      ChangeLogs();
    }
    chmod(store.c_str(), 0700);
    if (Below(6) == 0) {
      ChangeStore();
    }
    if (Below(40) == 0) {
      SetBlockSizesForTest({.first = 1 + Below(3000), .most = 1000 + Below(70000)});
    }
    SetCurrentTimeForTest(Below(3) == 0 ? kLongAgo : kFarFuture);
    const time_t first = Below(8) == 0 ? 0 : when - static_cast<time_t>(Below(20 * kDay));
    const time_t last = first + static_cast<time_t>(Below(4 * kDay));
    const std::string plain = Read(first, last, false);
    const int64_t all = lines_read;
    ASSERT_EQ(Read(first, last, true), plain) << step;
    read += lines_read;
    passed += all - lines_read;
  }
  EXPECT_GT(passed, read / 20);  // else the history tells nothing
}

}  // namespace
