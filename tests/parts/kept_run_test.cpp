#include "parts/kept_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "analysis/driver.h"
#include "analysis/smart_memory.h"
#include "dates/clock.h"
#include "parts/counts.h"
#include "superlog/log_blocks.h"
#include "support/account_logs.h"
#include "support/counters.h"
#include "support/part_text.h"

namespace {

constexpr time_t kFarFuture = 4102444800;  // every file is old then

std::string mCache;
bool mRemoves = false;      // what is kept, as soon as a log was looked at
const char* mRotates = "";  // and that log, when it is looked at

class KeptRunTest : public AccountLogs {
 protected:
  KeptRunTest() {
    SetCurrentTimeForTest(kFarFuture);
    mCache = NewPath("cache");
    mRemoves = false;
    mRotates = "";
    mkdir(mCache.c_str(), 0700);
    for (RankedReport* const report :
         {&settings_.requests, &settings_.referrers, &settings_.search, &settings_.browsers,
          &settings_.badurls, &settings_.badreferrers, &settings_.domains, &settings_.domaintypes}) {
      report->on = 1;
    }
    settings_.badurl_referrers = settings_.dailytotals = settings_.hitsperhour = 1;
    settings_.hitsperdayofweek = settings_.hoursofweek = 1;
    settings_.rules.whole_logs = settings_.rules.unpacks = true;
    settings_.part_cache_size = 1 << 30;
    Ask("01012000", "12312000");
  }
  ~KeptRunTest() override { SetBlockSizesForTest({}); }

  void Ask(const char* first, const char* last) {
    CopyText(settings_.start_date, first);
    CopyText(settings_.end_date, last);
  }

  static std::string Day(const std::string& day, const std::string& name) {
    return ToText({.time = day + ":10:00:00",
                   .url = "/" + name,
                   .referrer = "http://www.google.com/search?q=" + name,
                   .agent = "Mozilla/4.7"}) +
           ToText({.time = day + ":11:00:00", .url = "/all", .referrer = "http://Other.example/" + name}) +
           ToText({.host = "10.1.2.3",
                   .time = day + ":12:00:00",
                   .url = "/none" + name,
                   .status = "404",
                   .referrer = "http://other.example/all"}) +
           "no request of " + name + "\n";
  }

  // Three days of each of three months.
  void AddMonths() {
    for (const char* const month : {"Jan", "Feb", "Mar"}) {
      for (const char* const day : {"01", "02", "03"}) {
        const std::string name = std::string(month == std::string("Jan") ? "1"
                                             : *month == 'F'             ? "2"
                                                                         : "3") +
                                 day;
        AddLog(name + ".log", Day(std::string(day) + "/" + month + "/2000", name));
      }
    }
  }

  std::map<std::string, std::string> Counters(bool kept) {
    ResetSuperLog();
    ResetAnalysis();
    CopyText(settings_.store, kept ? mCache : "");
    CopyText(settings_.part_cache, kept ? mCache : "");
    AnalysisEvents events;
    events.logs.log_looked_at = [](const LogLook& look) {
      const bool rotates = *mRotates != '\0' && std::string_view(look.path).ends_with(mRotates);
      mRemoves |= rotates;
      if (rotates) {
        std::filesystem::remove(look.path);
      }
      if (std::exchange(mRemoves, false)) {
        for (const std::string& path : Files()) {
          std::filesystem::remove(path);
        }
      }
    };
    Analysis analysis{};
    EXPECT_TRUE(BeginAnalysis(settings_, kModernCounting, analysis, events));
    if (kept) {
      EXPECT_TRUE(CountWithKept(settings_, analysis));
    } else {
      CountRecords(settings_, analysis);
    }
    CompleteCounts(settings_, analysis);
    auto counters = CountersOf(analysis);
    EndAnalysis(analysis);
    return counters;
  }

  // A run with what is kept; how many of the files that were there before it has used.
  int Used() {
    const auto plain = Counters(false);
    const std::vector<std::string> files = Files();
    const timespec old[2] = {{1000, 0}, {1000, 0}};
    for (const std::string& path : files) {
      EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), old, 0), 0);
    }
    EXPECT_EQ(Counters(true), plain);
    int used = 0;
    for (const std::string& path : files) {
      struct stat info;
      used += stat(path.c_str(), &info) == 0 && info.st_mtime != 1000 ? 1 : 0;
    }
    return used;
  }

  static std::vector<std::string> Files() {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(mCache)) {
      if (entry.path().extension() == ".counts") {
        files.push_back(entry.path());
      }
    }
    return files;
  }

  static void Damage(const std::string& path) {
    std::string text = ReadFile(path);
    text[text.size() / 2] ^= 1;
    std::ofstream(path, std::ios::binary) << text;
  }
};

constexpr int kOfDays = 9;
constexpr int kOfMonths = 2;  // the third may go on

TEST_F(KeptRunTest, OfTheSameQuestionTakesOneSum) {
  AddMonths();
  EXPECT_EQ(Used(), 0);
  EXPECT_EQ(Files().size(), size_t{kOfDays + kOfMonths + 1});
  EXPECT_EQ(Used(), 1);
  EXPECT_EQ(Files().size(), size_t{kOfDays + kOfMonths + 1});
}

TEST_F(KeptRunTest, OfAnotherRangeTakesSumsOfMonths) {
  AddMonths();
  Used();
  Ask("02012000", "03312000");
  EXPECT_EQ(Used(), 1 + 3) << "February and days of March";
  EXPECT_EQ(Used(), 1);
  Ask("01022000", "03312000");
  EXPECT_EQ(Used(), 2 + 1 + 3) << "days of January, February, days of March";
  Ask("02022000", "02022000");
  EXPECT_EQ(Used(), 1);
}

TEST_F(KeptRunTest, OfAnotherDayTakesTheSumOfAllBefore) {
  AddMonths();
  Used();
  AddLog("304.log", Day("04/Mar/2000", "304"));
  EXPECT_EQ(Used(), 1);
  EXPECT_EQ(Files().size(), size_t{kOfDays + kOfMonths + 1 + 2}) << "the day, and the sum of all";
  EXPECT_EQ(Used(), 1);
}

// What follows on another day is not what the sum is of.
TEST_F(KeptRunTest, OfLogsInAnotherOrderTakesNoSumOfThem) {
  AddMonths();
  Used();
  std::filesystem::rename(folder_ + "/101.log", folder_ + "/999.log");
  Used();
  EXPECT_EQ(Used(), 1);
  std::filesystem::remove(folder_ + "/202.log");
  Used();
  EXPECT_EQ(Used(), 1);
}

TEST_F(KeptRunTest, CutsALogInBlocksAndCountsWhatIsOfNoName) {
  SetBlockSizesForTest({.first = 300, .least = 700, .most = 700});
  std::string text;
  for (int day = 10; day < 30; ++day) {
    const std::string name = std::to_string(day);
    text += Day(name + "/Jan/2000", name);
  }
  AddLog("a.log", text);
  Ask("01122000", "01252000");
  EXPECT_EQ(Used(), 0);
  EXPECT_GT(Files().size(), 5U);
  EXPECT_GE(Used(), 1);
  Ask("01132000", "01282000");
  EXPECT_GT(Used(), 3);
  AddLog("b.log", Day("14/Jan/2000", "b"));
  EXPECT_GE(Used(), 1);
}

TEST_F(KeptRunTest, KeepsTheLeastSpellingWhateverIsReadFirst) {
  AddLog("a.log", {{.referrer = "http://Other.example/Page"}});
  AddLog("b.log", {{.referrer = "http://OTHER.example/PAGE"}, {.referrer = "http://third.example/b"}});
  for (const char* const last : {"/b.log", "/0.log"}) {
    std::filesystem::rename(folder_ + "/b.log", folder_ + last);
    for (int run = 0; run < 3; ++run) {
      Used();
      const auto counters = Counters(true);
      EXPECT_EQ(counters.at("referrers"), "http://OTHER.example/PAGE=2 http://third.example/b=1 ") << last;
    }
  }
}

TEST_F(KeptRunTest, CountsAgainWhatCannotBeAdded) {
  AddMonths();
  Used();
  for (const std::string& path : Files()) {
    Damage(path);
  }
  Used();
  EXPECT_LT(Files().size(), size_t{kOfDays + kOfMonths + 1}) << "what is damaged is removed";
  for (int run = 0; run < 12; ++run) {
    Used();
  }
  EXPECT_EQ(Used(), 1) << "at last all is kept again";
}

TEST_F(KeptRunTest, CountsAgainWhatGoesBeforeItIsAdded) {
  AddMonths();
  Used();
  const auto plain = Counters(false);
  mRemoves = true;
  EXPECT_EQ(Counters(true), plain);
  EXPECT_FALSE(mRemoves);
  EXPECT_EQ(Used(), kOfDays - 1) << "the first one was passed over, and is gone";
  EXPECT_EQ(Used(), 1);
}

TEST_F(KeptRunTest, CountsAgainWithoutALogThatGoesMeanwhile) {
  AddMonths();
  Used();
  mRotates = "303.log";
  const auto counters = Counters(true);
  EXPECT_EQ(counters.at("hits"), "24");
  EXPECT_EQ(counters.at("records"), "24");
  EXPECT_EQ(counters.at("not understood"), "8");
}

// What a budget takes depends on all that was counted before.
TEST_F(KeptRunTest, CountsAgainWhereMemoryIsReclaimed) {
  settings_.SmartMemoryMaxMemoryToAllocate = 500;
  settings_.SmartMemoryReclaimSize = 100;
  settings_.referrers.on = settings_.search.on = settings_.browsers.on = 0;
  for (int log = 0; log < 3; ++log) {
    std::string text;
    for (int i = 0; i < 700; ++i) {
      text += ToText({.url = "/" + std::to_string(log * 700 + i)});
    }
    AddLog(std::to_string(log) + ".log", text);
  }
  const std::string urls = Counters(false)["urls"];
  EXPECT_LT(std::count(urls.begin(), urls.end(), '='), 2100);
  for (int run = 0; run < 3; ++run) {
    Used();
    EXPECT_EQ(Files().size(), 3U) << "and no sum of them";
  }
}

TEST_F(KeptRunTest, CountsOnAFullDisk) {
  AddMonths();
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = signal(SIGXFSZ, SIG_IGN);
  const auto plain = Counters(false);
  const rlimit full = {100, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
  const auto counters = Counters(true);
  const rlimit some = {1500, before.rlim_max};  // enough for what is known of a log
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &some), 0);
  const auto with_some = Counters(true);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  signal(SIGXFSZ, handler);
  EXPECT_EQ(counters, plain);
  EXPECT_EQ(with_some, plain);
  Used();
  EXPECT_EQ(Used(), 1);
}

TEST_F(KeptRunTest, IsNoneWithoutAFolderOrWhereRecordsDependOnOthers) {
  AddMonths();
  Analysis analysis{};
  CopyText(settings_.store, mCache);
  ASSERT_TRUE(BeginAnalysis(settings_, kModernCounting, analysis));
  EXPECT_FALSE(CountWithKept(settings_, analysis));
  CopyText(settings_.part_cache, mCache);
  settings_.debug = 1;
  EXPECT_FALSE(CountWithKept(settings_, analysis));
  settings_.debug = 0;
  chmod(mCache.c_str(), 0777);
  EXPECT_FALSE(CountWithKept(settings_, analysis));
  chmod(mCache.c_str(), 0700);
  EXPECT_EQ(analysis.hits, 0);
  EXPECT_TRUE(CountWithKept(settings_, analysis));
  EXPECT_EQ(analysis.hits, 27);
  EndAnalysis(analysis);
}

int mLines = 0;

TEST_F(KeptRunTest, TellsWhoListensOfAllLines) {
  AddMonths();
  Used();
  ResetSuperLog();
  ResetAnalysis();
  mLines = 0;
  AnalysisEvents events;
  events.line_read = [] { ++mLines; };
  Analysis analysis{};
  CopyText(settings_.store, mCache);
  CopyText(settings_.part_cache, mCache);
  ASSERT_TRUE(BeginAnalysis(settings_, kModernCounting, analysis, events));
  EXPECT_TRUE(CountWithKept(settings_, analysis));
  EXPECT_EQ(mLines, 27);
  EndAnalysis(analysis);
}

// ---- What is forgotten between blocks ----

std::string TablesAsText() {
  std::string text;
  for (const ListInfo* info = gListInfo.first; info != nullptr; info = info->next) {
    text += std::to_string(info->entries) + " " + std::to_string(info->reclaimed);
    for (const int64_t kind : info->kinds) {
      text += " " + std::to_string(kind);
    }
    text += "\n";
  }
  return text + std::to_string(gSM_CurrentBytesAllocated) + " " + std::to_string(gSM_TotalBytesAllocated) +
         " " + std::to_string(gSM_MaximumBytesAllocated) + " " + std::to_string(gSM_TotalBytesFreed);
}

TEST_F(KeptRunTest, ForgetsAllThatWasCounted) {
  AddMonths();
  AddLog("own.log", {{.time = "05/Mar/2000:10:00:00", .url = "/a", .referrer = "http://site.example/x"},
                     {.referrer = "http://www.google.com/"},
                     {.agent = "Mozilla/4.0 (compatible; MSIE 5.0)"}});
  Counters(false);  // what is made once is made
  ResetSuperLog();
  ResetAnalysis();
  CopyText(settings_.store, "");
  Analysis analysis{};
  ASSERT_TRUE(BeginAnalysis(settings_, kModernCounting, analysis));
  const Rules rules = ResolveRules(settings_, kModernCounting);
  const auto saved = [&] {
    return WrittenPart([&](PartWriter& part) { SaveCounts(part, rules, analysis); });
  };
  const auto fresh = CountersOf(analysis);
  const std::string fresh_tables = TablesAsText();
  const std::string fresh_counts = saved();
  std::string fresh_bytes(reinterpret_cast<const char*>(&analysis), sizeof analysis);
  CountRecords(settings_, analysis);
  const auto counted = CountersOf(analysis);
  const std::string counted_tables = TablesAsText();
  EXPECT_EQ(counted.at("own referrers"), "1");
  EXPECT_EQ(counted.at("referrals"), "1 ");
  EXPECT_NE(counted_tables, fresh_tables);
  ForgetCounts(analysis);
  EXPECT_EQ(CountersOf(analysis), fresh);
  EXPECT_EQ(TablesAsText(), fresh_tables);
  EXPECT_EQ(saved(), fresh_counts);
  EXPECT_EQ(memcmp(&analysis, fresh_bytes.data(), sizeof analysis), 0);
  SuperLog_BeginAgain(analysis.range_first, analysis.range_last);
  CountRecords(settings_, analysis);
  EXPECT_EQ(CountersOf(analysis), counted);
  EXPECT_EQ(TablesAsText(), counted_tables);
  EndAnalysis(analysis);
}

}  // namespace
