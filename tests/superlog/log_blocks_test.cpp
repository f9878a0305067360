#include "superlog/log_blocks.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "dates/clock.h"
#include "superlog/line_reader.h"
#include "superlog/log_parts.h"
#include "superlog/log_store.h"
#include "superlog/superlog.h"
#include "support/part_text.h"
#include "support/text_file.h"
#include "unpack/packed.h"
#include "unpack/unpacking.h"

namespace {

constexpr time_t kStart = 972000000;  // some days before the clocks of 2000 go back
constexpr time_t kDay = 86400;
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
