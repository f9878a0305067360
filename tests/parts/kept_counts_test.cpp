#include "parts/kept_counts.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "analysis/driver.h"
#include "analysis/search_engines.h"
#include "dates/clock.h"
#include "support/account_logs.h"
#include "support/counted.h"

namespace {

constexpr BlockName kFirst{{1, 2}};
constexpr BlockName kSecond{{1, 3}};
constexpr BlockName kThird{{2, 2}};

std::string TextOf(const ContentHash& name) {
  char text[40];
  snprintf(text, sizeof text, "%016llx%016llx", static_cast<unsigned long long>(name.high),
           static_cast<unsigned long long>(name.low));
  return text;
}

class KeptCountsTest : public AccountLogs {
 protected:
  KeptCountsTest() {
    cache_ = NewPath("cache");
    mkdir(cache_.c_str(), 0700);
    settings_.requests.on = 1;
    settings_.rules.whole_logs = true;
  }

  // What the counts of the first block are called.
  std::string NameOf(const std::vector<BlockName>& blocks = {kFirst}) {
    ResetAnalysis();
    Analysis analysis{};
    if (engine_ != nullptr) {
      ParseSearchEngineDefinition(engine_);
    }
    BeginAdding(settings_, kModernCounting, analysis);
    const Rules rules = ResolveRules(settings_, kModernCounting);
    KeptCounts kept{"", rules, {}, {}};
    EXPECT_TRUE(OpenKeptCounts(cache_.c_str(), rules, analysis, kept));
    const std::vector<ContentHash> names = NamesOfCounts(kept, blocks);
    EndAnalysis(analysis);
    EXPECT_EQ(names.size(), blocks.size());
    return TextOf(names.back());
  }

  // Has function called with counts of "/a" and "/b", as they are kept.
  template <class Function>
  void With(Function function) {
    ResetAnalysis();
    Analysis analysis{};
    BeginAdding(settings_, kModernCounting, analysis);
    const Rules rules = ResolveRules(settings_, kModernCounting);
    KeptCounts kept{"", rules, {}, {}};
    ASSERT_TRUE(OpenKeptCounts(cache_.c_str(), rules, analysis, kept));
    function(kept, analysis);
    EndAnalysis(analysis);
  }

  void KeepSome(const std::vector<BlockName>& blocks = {kFirst}) {
    With([&](const KeptCounts& kept, Analysis& analysis) {
      add_items(analysis.urls.list, analysis.urls.info, "/a", {3});
      add_items(analysis.urls.list, analysis.urls.info, "/b", {1});
      analysis.hits = analysis.urls.total = 4;
      EXPECT_TRUE(KeepCounts(kept, blocks, analysis));
    });
  }

  // The counts of the blocks as text; "none" where they cannot be added.
  std::string Added(const std::vector<BlockName>& blocks = {kFirst}) {
    std::string text = "none";
    With([&](const KeptCounts& kept, Analysis& analysis) {
      PartBytes room;
      if (AddKept(kept, blocks, room, analysis)) {
        text = Counted(analysis.urls.list) + std::to_string(analysis.hits);
      }
      ReleasePart(room);
    });
    return text;
  }

  // The only one.
  std::string File() {
    std::string path;
    for (const auto& entry : std::filesystem::directory_iterator(cache_)) {
      EXPECT_EQ(path, "");
      path = entry.path();
    }
    return path;
  }

  std::set<std::string> Files() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(cache_)) {
      names.insert(entry.path().filename());
    }
    return names;
  }

  // A file of so many bytes, used at that time.
  void Put(const std::string& name, size_t size, time_t used, long ns = 0) {
    const std::string path = cache_ + "/" + name;
    std::ofstream(path) << std::string(size, 'x');
    const timespec times[2] = {{used, ns}, {used, ns}};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }

  std::string cache_;
  const char* engine_ = nullptr;
};

constexpr const char* kAdded = "/a=3 /b=1 4";

// ---- Names ----

TEST_F(KeptCountsTest, AreCalledByAllThatDecidesThem) {
  const Settings settings = settings_;
  std::set<std::string> names{NameOf()};
  const auto is_another = [&](auto set) {
    settings_ = settings;
    set(settings_);
    return names.insert(NameOf()).second;
  };
  EXPECT_TRUE(is_another([](Settings& s) { CopyText(s.find, "/docs"); }));
  EXPECT_TRUE(is_another([](Settings& s) { s.find_pattern = 1; }));
  EXPECT_TRUE(is_another([](Settings& s) { s.find_casesensitive = 1; }));
  EXPECT_TRUE(is_another([](Settings& s) { s.subdirs = 0; }));
  EXPECT_TRUE(is_another([](Settings& s) { CopyText(s.authrealm, "r"); }));
  EXPECT_TRUE(is_another([](Settings& s) { CopyText(s.authuser, "r"); }));
  EXPECT_TRUE(is_another([](Settings& s) { CopyText(s.filter_domains, "!r"); }));
  EXPECT_TRUE(is_another([](Settings& s) { CopyText(s.filter_filetypes, "r"); }));
  EXPECT_TRUE(is_another([](Settings& s) { s.showquery = 1; }));
  EXPECT_TRUE(is_another([](Settings& s) { CopyText(s.url, "http://r.example"); }));
  EXPECT_TRUE(is_another([](Settings& s) {
    CopyText(s.filter_domains, "!r");
    s.filter_referrers = 1;
  }));
  EXPECT_TRUE(is_another([](Settings& s) {
    s.rules.looks_up_together = true;
    s.dnslookupenabled = 1;
  }));
  for (RankedReport Settings::*const report :
       {&Settings::referrers, &Settings::search, &Settings::browsers, &Settings::badurls,
        &Settings::badreferrers, &Settings::domains, &Settings::domaintypes}) {
    EXPECT_TRUE(is_another([&](Settings& s) { (s.*report).on = 1; }));
  }
  EXPECT_TRUE(is_another([](Settings& s) { s.badurls.on = s.badurl_referrers = 1; }));
  EXPECT_TRUE(is_another([](Settings& s) { s.requests.on = 0; }));
  EXPECT_TRUE(is_another([](Settings& s) { s.dailytotals = 1; }));
  EXPECT_TRUE(is_another([](Settings& s) { s.hitsperhour = 1; }));
  EXPECT_TRUE(is_another([&](Settings&) { engine_ = "F;domain=finder.example;vars=q"; }));
  EXPECT_TRUE(is_another([&](Settings&) { engine_ = "F;domain=finder.example;vars=q,r"; }));
  engine_ = nullptr;
  EXPECT_TRUE(is_another([](Settings&) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    ResetLocalTime();
  }));
  setenv("TZ", "UTC", 1);
  tzset();
  ResetLocalTime();
  EXPECT_TRUE(is_another([](Settings&) { SuperLog_SetFixGmt("1", 9); }));
  ResetSuperLog();
  EXPECT_TRUE(is_another([](Settings&) { SuperLog_SetDateFormat("DMY", 9); }));
  ResetSuperLog();
  EXPECT_FALSE(is_another([](Settings&) {})) << "the same again";
}

TEST_F(KeptCountsTest, HaveTheSameNameForAnyRangeAndPage) {
  const std::string name = NameOf();
  CopyText(settings_.start_date, "04012001");
  CopyText(settings_.end_date, "04302001");
  EXPECT_EQ(NameOf(), name);
  settings_.to_last = settings_.from_first = true;
  EXPECT_EQ(NameOf(), name);
  settings_.requests.top = 7;
  CopyText(settings_.title, "Another");
  EXPECT_EQ(NameOf(), name);
}

TEST_F(KeptCountsTest, AreCalledByTheirBlocksAndTheOrderOfThese) {
  const std::vector<std::vector<BlockName>> blocks = {
      {kFirst},           {kSecond},        {kThird},         {kFirst, kSecond},
      {kSecond, kFirst},  {kFirst, kFirst}, {kFirst, kThird}, {kFirst, kSecond, kThird},
      {BlockName{{2, 1}}}};
  std::set<std::string> names;
  for (const auto& some : blocks) {
    EXPECT_TRUE(names.insert(NameOf(some)).second);
  }
}

TEST_F(KeptCountsTest, NeedAFolderOfTheUser) {
  const Rules rules = ResolveRules(settings_, kModernCounting);
  KeptCounts kept{"", rules, {}, {}};
  Analysis analysis{};
  for (const char* const folder : {"", "/none/such"}) {
    EXPECT_FALSE(OpenKeptCounts(folder, rules, analysis, kept));
  }
  chmod(cache_.c_str(), 0777);
  EXPECT_FALSE(OpenKeptCounts(cache_.c_str(), rules, analysis, kept));
}

// ---- Files ----

TEST_F(KeptCountsTest, AreAddedAsTheyWereWritten) {
  KeepSome();
  EXPECT_EQ(Added(), kAdded);
  EXPECT_EQ(Added({kSecond}), "none");
  With([&](const KeptCounts& kept, const Analysis&) {
    EXPECT_TRUE(AreKept(kept, NamesOfCounts(kept, std::span(&kFirst, 1)).back()));
    EXPECT_FALSE(AreKept(kept, NamesOfCounts(kept, std::span(&kSecond, 1)).back()));
  });
}

TEST_F(KeptCountsTest, AreForTheUserAlone) {
  const mode_t before = umask(0);
  KeepSome();
  struct stat info;
  ASSERT_EQ(stat(File().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600u);
  chmod(File().c_str(), 0644);
  KeepSome();
  umask(before);
  ASSERT_EQ(stat(File().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600u);
}

TEST_F(KeptCountsTest, AreUsedNowWhenTheyAreAdded) {
  KeepSome();
  const timespec times[2] = {{1000, 0}, {1000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, File().c_str(), times, 0), 0);
  EXPECT_EQ(Added(), kAdded);
  struct stat info;
  ASSERT_EQ(stat(File().c_str(), &info), 0);
  EXPECT_GT(info.st_mtime, 1000000000);
}

TEST_F(KeptCountsTest, CutOrDamagedAreNeverAddedAndRemoved) {
  KeepSome();
  const std::string path = File();
  const std::string whole = ReadFile(path);
  for (size_t size = 0; size < whole.size(); ++size) {
    std::ofstream(path, std::ios::binary) << whole.substr(0, size);
    chmod(path.c_str(), 0600);
    ASSERT_EQ(Added(), "none") << size;
    ASSERT_EQ(Files().size(), 0U);
  }
  for (size_t bit = 0; bit < 8 * whole.size(); bit += 3) {
    std::string other = whole;
    other[bit / 8] ^= static_cast<char>(1 << bit % 8);
    std::ofstream(path, std::ios::binary) << other;
    ASSERT_EQ(Added(), "none") << bit;
  }
  std::ofstream(path, std::ios::binary) << whole;
  EXPECT_EQ(Added(), kAdded);
}

TEST_F(KeptCountsTest, OfOtherBlocksOrOtherCountingAreNeverAdded) {
  const auto name_of = [&](const std::vector<BlockName>& blocks) {
    return cache_ + "/" + NameOf(blocks) + ".counts";
  };
  KeepSome({kFirst});
  KeepSome({kFirst, kSecond});
  std::filesystem::copy(name_of({kFirst}), name_of({kThird}));
  std::filesystem::copy(name_of({kFirst, kSecond}), name_of({kSecond, kFirst}));
  EXPECT_EQ(Added({kThird}), "none");
  EXPECT_EQ(Added({kSecond, kFirst}), "none");
  const std::string before = name_of({kFirst});
  settings_.find_casesensitive = 1;
  std::filesystem::copy(before, name_of({kFirst}));
  EXPECT_EQ(Added(), "none");
  settings_.find_casesensitive = 0;
  EXPECT_EQ(Added(), kAdded);
  EXPECT_EQ(Added({kFirst, kSecond}), kAdded);
}

TEST_F(KeptCountsTest, ThatOthersMayHaveWrittenAreNeverAdded) {
  KeepSome();
  const std::string path = File();
  const std::string whole = ReadFile(path);
  const auto restore = [&] {
    std::filesystem::remove_all(path);
    std::ofstream(path, std::ios::binary) << whole;
    chmod(path.c_str(), 0600);
  };
  for (const mode_t mode : {0620, 0602}) {
    restore();
    chmod(path.c_str(), mode);
    EXPECT_EQ(Added(), "none") << std::oct << mode;
  }
  restore();
  std::filesystem::rename(path, cache_ + "/other");
  ASSERT_EQ(symlink((cache_ + "/other").c_str(), path.c_str()), 0);
  EXPECT_EQ(Added(), "none") << "a link";
  EXPECT_EQ(ReadFile(cache_ + "/other"), whole);
  ASSERT_EQ(link((cache_ + "/other").c_str(), path.c_str()), 0);
  EXPECT_EQ(Added(), "none") << "a file of two names";
  std::filesystem::remove(path);
  ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
  EXPECT_EQ(Added(), "none") << "a folder";
  std::filesystem::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  alarm(20);  // for who waits
  EXPECT_EQ(Added(), "none") << "a pipe";
  alarm(0);
  if (geteuid() == 0) {
    restore();
    ASSERT_EQ(chown(path.c_str(), 65534, 65534), 0);
    EXPECT_EQ(Added(), "none") << "somebody else's";
  }
  restore();
  EXPECT_EQ(Added(), kAdded);
}

// ---- How much there is ----

std::string Called(char letter) {
  return std::string(32, letter) + ".counts";
}

TEST_F(KeptCountsTest, ThatWereUsedLongestAgoGoFirst) {
  Put(Called('a'), 100, 2000);
  Put(Called('b'), 100, 1000, 2);
  Put(Called('c'), 100, 3000);
  Put(Called('d'), 100, 1000, 1);
  BoundKeptCounts(cache_.c_str(), 400);
  EXPECT_EQ(Files().size(), 4U);
  BoundKeptCounts(cache_.c_str(), 399);
  EXPECT_EQ(Files(), (std::set<std::string>{Called('a'), Called('b'), Called('c')}));
  BoundKeptCounts(cache_.c_str(), 100);
  EXPECT_EQ(Files(), (std::set<std::string>{Called('c')}));
  BoundKeptCounts(cache_.c_str(), 0);
  EXPECT_EQ(Files().size(), 0U);
  BoundKeptCounts((cache_ + "/missing").c_str(), 0);
}

TEST_F(KeptCountsTest, LeaveFilesOfOtherNames) {
  const std::vector<std::string> others = {std::string(32, 'a'),
                                           std::string(31, 'a') + ".counts",
                                           std::string(33, 'a') + ".counts",
                                           std::string(32, 'A') + ".counts",
                                           std::string(31, 'a') + "g.counts",
                                           Called('a') + "x",
                                           Called('a') + ".new",
                                           "." + std::string(31, 'a') + ".counts.new",
                                           "." + std::string(31, 'a') + "z.counts.new",
                                           "_" + Called('a') + ".new"};
  for (const std::string& name : others) {
    Put(name, 100, 1000);
  }
  mkdir((cache_ + "/" + Called('b')).c_str(), 0700);
  ASSERT_EQ(symlink("nowhere", (cache_ + "/" + Called('c')).c_str()), 0);
  BoundKeptCounts(cache_.c_str(), 0);
  EXPECT_EQ(Files().size(), others.size() + 2);
}

TEST_F(KeptCountsTest, OfARunThatWasKilledGoWhenNobodyWritesThemAnyMore) {
  constexpr time_t kNow = 1700000000;
  SetCurrentTimeForTest(kNow);
  Put("." + Called('a') + ".new", 100, kNow - 3601);
  Put("." + Called('b') + ".new", 100, kNow - 3599);
  Put(Called('c'), 100, kNow - 3601);
  BoundKeptCounts(cache_.c_str(), 100);
  EXPECT_EQ(Files(), (std::set<std::string>{"." + Called('b') + ".new", Called('c')}));
}

}  // namespace
