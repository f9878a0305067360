#include "superlog/log_parts.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "superlog/line_reader.h"
#include "superlog/march_logs.h"
#include "superlog/superlog.h"
#include "support/account_logs.h"
#include "support/part_text.h"
#include "unpack/packed.h"
#include "unpack/unpacking.h"

namespace {

std::vector<std::string> mTold;

void TellNotOpened(const char* path) {
  mTold.push_back(std::string("not opened: ") + path);
}

void TellLook(const LogLook& look) {
  mTold.push_back(std::string(look.path) + " " + std::to_string(look.size) + " " +
                  std::to_string(static_cast<int>(look.verdict)));
}

class LogParts : public AccountLogs {
 protected:
  ~LogParts() override { ResetSuperLog(); }

  const Limits& limits() const { return settings_.rules.whole_logs ? kModernLimits : kClassicLimits; }

  // Reads the logs that match and returns them written down, behind which part stands to be added.
  std::string Read(const std::string& pattern,
                   const LogEvents& events = {.log_not_opened = NoteLogNotOpened}) {
    ResetSuperLog();
    CopyText(settings_.logs, folder_ + "/" + pattern);
    CopyText(settings_.summary, std::to_string(++runs_));  // none knows of the logs of another
    SuperLog_Init(settings_, limits(), kMarch, kApril - 1, events);
    ReadAllLogs(kMarch, kApril);
    EXPECT_EQ(HashBeginnings(), nullptr);
    states_ = States();
    return WrittenPart([](PartWriter& part) { SaveLogs(part); });
  }

  void BeginAdding() {
    ResetSuperLog();
    SuperLog_InitWithoutLogs(settings_, limits(), kMarch, kApril - 1);
  }

  AddedLogs Add(const std::string& bytes) {
    const PartText text(bytes);
    PartReader part = text.reader();
    const AddedLogs logs = AddSavedLogs(part, settings_.rules.whole_logs);
    EXPECT_TRUE(logs.added != LogsAdded::kAll || part.next == part.end);
    return logs;
  }

  std::string States() const {
    std::string text;
    const void* place = nullptr;
    for (LogState log; SuperLog_NextState(place, log);) {
      text += std::string(log.path) + "|" + (log.copy_of == nullptr ? "" : log.copy_of) + "|" +
              std::to_string(log.unopened) + "|" + std::to_string(static_cast<int>(log.format)) + "|" +
              std::to_string(static_cast<int>(log.unpacked)) + "|" + std::to_string(log.records.count) + "|" +
              std::to_string(log.records.in_range) + "|" + std::to_string(log.records.first) + "|" +
              std::to_string(log.lines_not_understood) + "|" + std::to_string(log.first_not_understood) +
              "|" + log.line + "|" + std::to_string(log.nearest.miss.layout) + "|" +
              std::to_string(log.nearest.given) + "|" +
              std::to_string(static_cast<int>(log.nearest.miss.field)) + "|" +
              std::to_string(log.nearest.miss.character) + "\n";
    }
    return text;
  }

  std::string states_;
  int runs_ = 0;
};

const std::string kApples = ToText({.url = "/apples"});
const std::string kOranges = ToText({.url = "/oranges", .referrer = "http://x.example"});

}  // namespace

TEST_F(LogParts, AreWhatTheRunKnew) {
  settings_.rules.whole_logs = true;
  AddLog("a.log", kApples + "not understood\x01\n" + kOranges);
  AddLog("b.log", kApples + "not understood\x01\n" + kOranges);  // a copy
  AddLog("c.log", "nothing at all\n");
  AddLog("d.log", ToText({.time = "05/Apr/2000:10:00:00"}));
  ASSERT_EQ(symlink("gone", (folder_ + "/e.log").c_str()), 0);
  const std::string bytes = Read("*.log");
  const std::string states = states_;
  BeginAdding();
  ASSERT_EQ(Add(bytes).added, LogsAdded::kAll);
  EXPECT_EQ(States(), states);
  EXPECT_EQ(WrittenPart([](PartWriter& part) { SaveLogs(part); }), bytes);
  time_t first = 0;
  time_t last = 0;
  EXPECT_TRUE(SuperLog_TimesHeld(first, last));
  EXPECT_EQ(first, 952250400);
  EXPECT_EQ(last, 954928800);
}

// The reasons of lines follow on the logs, as what the page shows of them.
TEST_F(LogParts, TellReasonsOfLines) {
  settings_.rules.whole_logs = true;
  const std::string timeless = ToText({.time = "99/Foo/2000:10:00:00"});
  AddLog("a.log", kApples + "not understood\n" + timeless + "words\n" + kOranges);
  const std::string bytes = Read("*.log");
  BeginAdding();
  ASSERT_EQ(Add(bytes).added, LogsAdded::kAll);
  EXPECT_EQ(WrittenPart([](PartWriter& part) { SaveLogs(part); }), bytes);
  const void* place = nullptr;
  LogState log;
  ASSERT_TRUE(SuperLog_NextState(place, log));
  LinesByReason reasons = *log.reasons;
  EXPECT_EQ(reasons[LineReason::kNoLayoutFits].lines, 2);
  EXPECT_EQ(reasons[LineReason::kNoTime].lines, 1);
  EXPECT_EQ(reasons[LineReason::kNoTime].first, 3);
  // The last nine bytes are: one line, the third one, of the layout, with its name of eight letters ...
  std::string damaged = bytes;
  const size_t lines = bytes.rfind("combined") - 4;
  ASSERT_EQ(bytes.substr(lines, 4), std::string("\1\3\0\10", 4));
  damaged[lines] = 2;
  BeginAdding();
  EXPECT_EQ(Add(damaged).added, LogsAdded::kDamaged);
  damaged[lines] = 0;
  BeginAdding();
  EXPECT_EQ(Add(damaged).added, LogsAdded::kDamaged);
}

TEST_F(LogParts, TellAgainWhatWasTold) {
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    AddLog("a.log", kApples);
    AddLog("b.log", ToText({.time = "05/Apr/2000:10:00:00"}));
    unlink((folder_ + "/c.log").c_str());
    ASSERT_EQ(symlink("gone", (folder_ + "/c.log").c_str()), 0);
    const std::string bytes = Read("*.log");
    mTold.clear();
    const LogEvents told = {.log_not_opened = TellNotOpened, .log_looked_at = whole ? TellLook : nullptr};
    Read("*.log", told);
    const std::vector<std::string> expected = mTold;
    mTold.clear();
    BeginAdding();
    ASSERT_EQ(Add(bytes).added, LogsAdded::kAll);
    TellLogsAgain(told);
    EXPECT_EQ(mTold, expected);
    EXPECT_EQ(mTold.size(), whole ? 2U : 1U);
  }
}

TEST_F(LogParts, AreRefusedWhereOneRunWouldReadThemOnce) {
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    AddLog("a.log", kApples + kOranges);
    AddLog("b.log", kApples + kOranges);
    AddLog("c.log", kOranges + kApples);  // of one size, and the same but for the order
    const std::string a = Read("a.log");
    const std::string b = Read("b.log");
    const std::string c = Read("c.log");
    BeginAdding();
    ASSERT_EQ(Add(a).added, LogsAdded::kAll);
    EXPECT_EQ(Add(a).added, LogsAdded::kTwice);
    const AddedLogs copy = Add(b);
    EXPECT_EQ(copy.added, LogsAdded::kCopy);
    EXPECT_EQ(copy.log, folder_ + "/b.log");
    // The classic edition goes by size and dates, as it does of the logs of one run.
    EXPECT_EQ(Add(c).added, whole ? LogsAdded::kAll : LogsAdded::kCopy);
  }
}

class PackedLogParts : public LogParts {
 protected:
  void SetUp() override {
    if (LibraryFor(PackFormat::kGzip) == nullptr) {
      GTEST_SKIP() << "built without gzip";
    }
    settings_.rules.whole_logs = settings_.rules.unpacks = true;
  }
};

TEST_F(PackedLogParts, AreRefusedWhereOneRunWouldReadThemOnce) {
  const std::string lines = kApples + kOranges + "not understood\n";
  AddLog("a.log", lines);
  AddLog("b.log", Pack(PackFormat::kGzip, lines));
  AddLog("c.log", Pack(PackFormat::kGzip, kApples) + Pack(PackFormat::kGzip, kOranges + "not understood\n"));
  AddLog("d.log", Pack(PackFormat::kGzip, kOranges + kApples + "not understood\n"));
  const std::vector<std::string> parts = {Read("a.log"), Read("b.log"), Read("c.log"), Read("d.log")};
  BeginAdding();
  ASSERT_EQ(Add(parts[0]).added, LogsAdded::kAll);
  EXPECT_EQ(Add(parts[1]).added, LogsAdded::kCopy);
  BeginAdding();
  ASSERT_EQ(Add(parts[1]).added, LogsAdded::kAll);
  EXPECT_EQ(Add(parts[2]).added, LogsAdded::kCopy);
  EXPECT_EQ(Add(parts[3]).added, LogsAdded::kAll);
}

// A compressed log is left out for one that is not, wherever that stands.
TEST_F(PackedLogParts, MayBeCopiesOfLaterOnes) {
  AddLog("a.log", Pack(PackFormat::kGzip, kApples));
  AddLog("b.log", kApples);
  AddLog("c.log", Pack(PackFormat::kGzip, kOranges));
  const std::string bytes = Read("*.log");
  EXPECT_NE(states_.find("a.log|" + folder_ + "/b.log|"), std::string::npos);
  BeginAdding();
  ASSERT_EQ(Add(bytes).added, LogsAdded::kAll);
  EXPECT_NE(States().find("a.log|" + folder_ + "/b.log|"), std::string::npos);
  EXPECT_EQ(WrittenPart([](PartWriter& part) { SaveLogs(part); }), bytes);
}

TEST_F(LogParts, NameTheNearestLayout) {
  settings_.rules.whole_logs = true;
  AddLog("a.log", R"({"time_local":"05/Mar/2000:10:00:00 +0000","status":200})"
                  "\n");
  AddLog("b.log", kApples.substr(0, kApples.find('"')) + "\n");
  AddLog("c.log", "#Fields: date time c-ip cs-uri-stem sc-status\n10.0.0.1 200 5 Mar\n");
  const std::string bytes = Read("*.log");
  const std::string states = states_;
  BeginAdding();
  ASSERT_EQ(Add(bytes).added, LogsAdded::kAll);
  EXPECT_EQ(States(), states);
  EXPECT_NE(states.find("|0|7|0\n"), std::string::npos) << "no request: " << states;
  EXPECT_NE(states.find("|0|4|23\n"), std::string::npos) << "no time: " << states;
  EXPECT_NE(states.find(" Mar|1|1|"), std::string::npos) << "of told fields: " << states;
}

TEST_F(LogParts, OfOtherDaysMayBeCopies) {
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    AddLog("a.log", ToText({.time = "05/Apr/2000:10:00:00"}));
    AddLog("b.log", ToText({.time = "05/Apr/2000:10:00:00"}));
    const std::string a = Read("a.log");
    const std::string b = Read("b.log");
    BeginAdding();
    ASSERT_EQ(Add(a).added, LogsAdded::kAll);
    EXPECT_EQ(Add(b).added, LogsAdded::kAll);
  }
}

TEST_F(LogParts, CutAnywhereAreDamaged) {
  settings_.rules.whole_logs = true;
  AddLog("a.log", kApples + "not understood\n");
  AddLog("b.log", kApples + "not understood\n");
  const std::string bytes = Read("*.log");
  for (size_t size = 0; size < bytes.size(); ++size) {
    BeginAdding();
    ASSERT_EQ(Add(bytes.substr(0, size)).added, LogsAdded::kDamaged) << size;
  }
}

TEST_F(LogParts, WithPathsThatAPageWouldTakeForMarkupAreNone) {
  BeginAdding();
  EXPECT_EQ(Add(std::string("\1\3a<b\0", 5)).added, LogsAdded::kDamaged);
  EXPECT_EQ(Add(std::string("\1\3a\0b\0", 6)).added, LogsAdded::kDamaged);
  EXPECT_EQ(Add(std::string("\1\3a-b\0", 6).substr(0, 6)).added, LogsAdded::kAll);
}

TEST_F(LogParts, TellOfAnHourThatIsRepeated) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  for (const bool winter : {false, true}) {
    const std::string hour = winter ? "01" : "02";
    AddLog("a.log", ToText({.time = "29/Oct/2000:" + hour + ":30:00"}));
    ResetSuperLog();
    ResetLocalTime();
    CopyText(settings_.logs, folder_ + "/a.log");
    CopyText(settings_.summary, winter ? "w" : "s");
    SuperLog_Init(settings_, kClassicLimits, 0, INT32_MAX);
    EXPECT_EQ(BeginsInRepeatedHour(), !winter);
  }
}
