#include "analysis/smart_memory.h"

#include <memory>

#include "analysis/item_key.h"
#include "analysis/paired_tables.h"

class SmartMemoryTest : public testing::Test {
 protected:
  void SetUp() override { ResetMemory(); }
  void TearDown() override {
    mpAllocate = malloc;
    mpTakeRoom = TakeRoom;
    mpAllocateZeroed = calloc;
  }

  static std::string Key(int number) { return Numbered("/page", 100000 + number); }
  static void AddMany(PairedTable& table, int first, int last) {
    for (int i = first; i <= last; ++i) {
      table.Add(Key(i));
    }
  }
};

// ---- Settings ----

TEST_F(SmartMemoryTest, BudgetOf499KilobytesIsNoBudgetDeliberately) {
  InitMemory(MemorySettings(0, 1000, 499));
  PairedTable table(false);
  AddMany(table, 1, 2100);
  EXPECT_EQ(table.info->reclaimed, 0);
  EXPECT_EQ(gSM_CurrentBytesAllocated, 2100 * 256);
}

TEST_F(SmartMemoryTest, BudgetOf500KilobytesHolds2000Records) {
  InitMemory(MemorySettings(0, 1, 500));
  PairedTable table(false);
  AddMany(table, 1, 2000);
  EXPECT_EQ(table.info->reclaimed, 0);
  EXPECT_EQ(gSM_MaximumBytesAllocated, 0) << "recorded by reclaims only";
  table.Add(Key(2001));
  EXPECT_EQ(table.info->reclaimed, 4);
  EXPECT_EQ(gSM_MaximumBytesAllocated, 2000 * 256);
  EXPECT_EQ(gSM_CurrentBytesAllocated, 1997 * 256);
  EXPECT_EQ(gSM_TotalBytesAllocated, 2001 * 256);
  EXPECT_EQ(gSM_TotalBytesFreed, 4 * 256);
}

TEST_F(SmartMemoryTest, KilobytesWrapAt32Bits) {
  InitMemory(MemorySettings(0, 4194304 + 1, BudgetOfRecords(8)));
  PairedTable table(false);
  AddMany(table, 1, 9);
  EXPECT_EQ(table.info->reclaimed, 4);
  smart_memory_init(MemorySettings(0, 4194304, BudgetOfRecords(0)));
  add_item(table.list, table.info, "one more", {}, nullptr, false);
  EXPECT_EQ(table.info->reclaimed, 4) << "0 is no budget";
  smart_memory_init(MemorySettings(0, 2097152, 2097152));
  add_item(table.list, table.info, "yet another", {}, nullptr, false);
  EXPECT_EQ(table.info->reclaimed, 4) << "always over a negative budget; a negative size frees nothing";
  EXPECT_EQ(gSM_MaximumBytesAllocated, 8 * 256);
}

TEST_F(SmartMemoryTest, KilobytesAreWholeWhereFiguresAreWide) {
  SetLimits(kModernLimits);
  InitMemory(MemorySettings(0, 1, 2097152));
  PairedTable table(false);
  AddMany(table, 1, 9);
  EXPECT_EQ(table.info->reclaimed, 0) << "2 GiB are far";
  InitMemory(MemorySettings(100, 4194304, 500));
  AddMany(table, 10, 2001);
  EXPECT_EQ(table.info->reclaimed, 1900) << "4 GiB are all but the kept minimum";
}

TEST_F(SmartMemoryTest, FiguresWrapAt32BitsInClassicOnly) {
  for (const Limits& limits : {kClassicLimits, kModernLimits}) {
    SetCountingLimits(limits);
    smart_memory_init(MemorySettings(0, 1, 0));
    gSM_TotalBytesAllocated = gSM_CurrentBytesAllocated = INT32_MAX - 255;
    gSM_TotalBytesFreed = INT32_MAX - 1;
    List list;
    ListInfo* info;
    init_list(list, info, "a table");
    add_item(list, info, "a", {}, nullptr, false);
    const bool wide = limits.wide_figures;
    EXPECT_EQ(gSM_TotalBytesAllocated, wide ? int64_t{1} << 31 : INT32_MIN);
    EXPECT_EQ(gSM_CurrentBytesAllocated, wide ? int64_t{1} << 31 : INT32_MIN);
    EXPECT_EQ(smart_free(nullptr), 256);
    EXPECT_EQ(gSM_CurrentBytesAllocated, INT32_MAX - 255);
    EXPECT_EQ(gSM_TotalBytesFreed, wide ? int64_t{INT32_MAX} + 255 : INT32_MIN + 254);
    destroy(list);
    destroyListInfo();
  }
}

TEST_F(SmartMemoryTest, DisabledItNeitherCountsNorReclaims) {
  Settings settings = MemorySettings(0, 1000, 500);
  settings.SmartMemoryEnabled = 0;
  InitMemory(settings);
  PairedTable table(false);
  AddMany(table, 1, 2100);
  EXPECT_EQ(table.info->reclaimed, 0);
  EXPECT_EQ(table.info->entries, 0) << "deliberate: nothing is counted";
  EXPECT_EQ(list_length(table.list), 2100U);
  EXPECT_EQ(gSM_TotalBytesAllocated, 0);
  EXPECT_EQ(gSM_CurrentBytesAllocated, 0);
  EXPECT_EQ(gSM_MaximumBytesAllocated, 0);
  EXPECT_EQ(gSM_TotalBytesFreed, 0);
}

TEST_F(SmartMemoryTest, FormParameterDisablesItWhateverTheKeySays) {
  Settings settings = MemorySettings(0, 1000, 500);
  settings.smartmemorydisabled = 1;
  smart_memory_init(settings);
  PairedTable table(false);
  add_item(table.list, table.info, "a", {}, nullptr, false);
  EXPECT_EQ(table.info->entries, 0);
}

// ---- Reclaims ----

TEST_F(SmartMemoryTest, ReclaimSize0FreesNothingAndStillAllocates) {
  InitMemory(MemorySettings(0, 0, BudgetOfRecords(4)));
  PairedTable table(false);
  AddMany(table, 1, 20);
  EXPECT_EQ(table.info->reclaimed, 0);
  EXPECT_EQ(table.info->entries, 20);
  EXPECT_EQ(gSM_MaximumBytesAllocated, 19 * 256);
}

TEST_F(SmartMemoryTest, TableAtTheKeptMinimumIsNeverThinned) {
  InitMemory(MemorySettings(10, 1000, 0));
  PairedTable table(false);
  AddMany(table, 1, 10);
  smart_free(nullptr);
  EXPECT_EQ(table.info->entries, 10);
  EXPECT_EQ(gSM_TotalBytesFreed, 0);
}

TEST_F(SmartMemoryTest, OneEntryMoreThanTheMinimumLosesOne) {
  InitMemory(MemorySettings(10, 1000, 0));
  PairedTable table(false);
  AddMany(table, 1, 11);
  smart_free(nullptr);
  plain::smart_free(nullptr);
  EXPECT_EQ(table.info->entries, 10);
  EXPECT_EQ(table.info->reclaimed, 1);
  EXPECT_EQ(gSM_TotalBytesFreed, 256);
  table.ExpectSame();
}

TEST_F(SmartMemoryTest, RarestGoFirstAndThenByKey) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable table(false);
  for (const char* key : {"f", "e", "d", "c", "b", "a", "e", "c", "b", "b"}) {
    table.Add(key);
  }
  smart_free(nullptr);  // a, d, f of count 1, then c of count 2
  const std::vector<Row> left = {{"b", 3, {}}, {"e", 2, {}}};
  EXPECT_EQ(RowsInKeyOrder(table.list), left);
}

TEST_F(SmartMemoryTest, LongestTableIsTheVictimAndTheFirstOfTies) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable first(false);
  PairedTable second(false);
  PairedTable third(false);
  AddMany(first, 1, 5);
  AddMany(second, 1, 8);
  AddMany(third, 1, 8);
  smart_free(nullptr);
  EXPECT_EQ(first.info->entries, 5);
  EXPECT_EQ(second.info->entries, 4);
  EXPECT_EQ(third.info->entries, 8);
}

TEST_F(SmartMemoryTest, VictimAtItsMinimumGivesWayOnlyToALongerTable) {
  InitMemory(MemorySettings(6, 1, 0));
  PairedTable first(false);
  PairedTable second(false);
  AddMany(first, 1, 6);
  AddMany(second, 1, 8);
  smart_free(nullptr);
  EXPECT_EQ(first.info->entries, 6);
  EXPECT_EQ(second.info->entries, 6);
  EXPECT_EQ(gSM_TotalBytesFreed, 2 * 256);
}

TEST_F(SmartMemoryTest, SublistsAreReleasedWithTheirRecord) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable table(false);
  for (int i = 0; i < 9; ++i) {
    table.Add("a", Numbered("http://example.com/", i));
  }
  for (const char* key : {"b", "c", "d"}) {
    table.Add(key, "http://example.com/");
  }
  smart_free(nullptr);
  plain::smart_free(nullptr);
  EXPECT_EQ(table.info->reclaimed, 2);
  EXPECT_EQ(gSM_TotalBytesFreed, 4 * 256);
  EXPECT_EQ(table.info->entries, 2);
  table.ExpectSame();
  smart_free(nullptr);  // d takes 2, then a goes with all its 10
  plain::smart_free(nullptr);
  EXPECT_EQ(gSM_TotalBytesFreed, 16 * 256);
  EXPECT_EQ(gSM_CurrentBytesAllocated, 0);
  table.ExpectSame();
}

TEST_F(SmartMemoryTest, ReferrerOfABadUrlNeverCostsThatUrl) {
  InitMemory(MemorySettings(0, 1000, BudgetOfRecords(4)));
  PairedTable table(false);
  table.Add("/gone", "http://example.com/1");
  table.Add("/gone", "http://example.com/2");
  table.Add("/other");
  table.Add("/gone", "http://example.com/3");
  const std::vector<Row> left = {
      {"/gone",
       3,
       {{"http://example.com/1", 1, {}}, {"http://example.com/2", 1, {}}, {"http://example.com/3", 1, {}}}}};
  EXPECT_EQ(RowsInKeyOrder(table.list), left);
  EXPECT_EQ(table.info->reclaimed, 1);
  table.ExpectSame();
}

TEST_F(SmartMemoryTest, ReclaimThatMeetsOnlyTheSparedRecordStops) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable first(false);
  PairedTable second(false);
  first.Add("a");
  second.Add("b");
  smart_free(first.list.first);
  EXPECT_EQ(first.info->entries, 1);
  EXPECT_EQ(second.info->entries, 1);
  smart_memory_init(MemorySettings(-5, 1, 0));
  smart_free(nullptr);
  EXPECT_EQ(gSM_TotalBytesFreed, 256) << "an empty table stops it as well";
  EXPECT_EQ(first.info->entries, 0);
}

TEST_F(SmartMemoryTest, ReclaimWithoutTablesStops) {
  InitMemory(MemorySettings(-1, 1, 0));
  smart_free(nullptr);
  EXPECT_EQ(gSM_TotalBytesFreed, 0);
}

TEST_F(SmartMemoryTest, TablesOutsideTheChainAreNeverReclaimed) {
  InitMemory(MemorySettings(0, 1000, 0));
  PairedTable outside(false);
  gListInfo = {};
  AddMany(outside, 1, 20);
  smart_free(nullptr);
  EXPECT_EQ(outside.info->entries, 20);
}

TEST_F(SmartMemoryTest, ReclaimedKeyStartsAgainAtOne) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable table(false);
  AddMany(table, 1, 5);
  smart_free(nullptr);
  plain::smart_free(nullptr);
  table.Add(Key(1));
  EXPECT_EQ(table.list.first->count, 1);
  table.ExpectSame();
}

// ---- smart_alloc and smart_strdup ----

TEST_F(SmartMemoryTest, AllocCountsEntriesOfTopLevelRecordsOnly) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable table(false);
  EXPECT_NE(smart_alloc(100, *table.info, nullptr), nullptr);
  EXPECT_EQ(table.info->entries, 1);
  table.Add("parent");
  EXPECT_NE(smart_alloc(100, *table.info, table.list.first), nullptr);
  EXPECT_EQ(table.info->entries, 2);
  EXPECT_EQ(gSM_TotalBytesAllocated, 3 * 256);
  LeaveRooms(2);
}

static long gAllocations;
static long gRefuseAt;
static long gRefusals;

static void* RefuseNth(size_t size) {
  return ++gAllocations >= gRefuseAt && gAllocations < gRefuseAt + gRefusals ? nullptr : malloc(size);
}

static void* RefuseNthRecord(size_t size) {
  return ++gAllocations >= gRefuseAt && gAllocations < gRefuseAt + gRefusals ? nullptr : TakeRoom(size);
}

static void* RefuseNthZeroed(size_t count, size_t size) {
  return ++gAllocations >= gRefuseAt && gAllocations < gRefuseAt + gRefusals ? nullptr : calloc(count, size);
}

static void StartRefusing(long at, long times) {
  gAllocations = 0;
  gRefuseAt = at;
  gRefusals = times;
}

// Records that were given up may be too short for the one that is wanted.
TEST_F(SmartMemoryTest, AllocReclaimsUntilATrySucceeds) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable table(false);
  AddMany(table, 1, 10);
  mpTakeRoom = RefuseNthRecord;
  StartRefusing(1, 2);
  void* const block = smart_alloc(100, *table.info, nullptr);
  EXPECT_NE(block, nullptr);
  LeaveRooms(1);
  EXPECT_EQ(gAllocations, 3);
  EXPECT_EQ(table.info->reclaimed, 8);
  EXPECT_EQ(table.info->entries, 3);
  EXPECT_EQ(gSM_TotalBytesAllocated, 11 * 256);
  EXPECT_EQ(gSM_MaximumBytesAllocated, 10 * 256);
}

TEST_F(SmartMemoryTest, AllocReturnsNullWhenAReclaimFreedNothing) {
  InitMemory(MemorySettings(2, 1, 0));
  PairedTable table(false);
  AddMany(table, 1, 10);
  mpTakeRoom = RefuseNthRecord;
  StartRefusing(1, 1000);
  EXPECT_EQ(smart_alloc(100, *table.info, nullptr), nullptr);
  EXPECT_EQ(gAllocations, 1 + 3) << "after four records, after four more, and after none";
  EXPECT_EQ(table.info->entries, 2);
  EXPECT_EQ(gSM_TotalBytesAllocated, 10 * 256);
  EXPECT_EQ(gSM_MaximumBytesAllocated, 10 * 256);
}

TEST_F(SmartMemoryTest, AllocIsTriedOnceMoreWhenNothingCanGo) {
  InitMemory(MemorySettings(10, 1, 0));
  PairedTable table(false);
  AddMany(table, 1, 10);
  mpTakeRoom = RefuseNthRecord;
  StartRefusing(1, 1);
  void* const block = smart_alloc(100, *table.info, nullptr);
  EXPECT_NE(block, nullptr);
  LeaveRooms(1);
  EXPECT_EQ(table.info->reclaimed, 0);
}

TEST_F(SmartMemoryTest, StrdupCopiesAndStaysOutOfTheStatistics) {
  InitMemory(MemorySettings(0, 1, 0));
  EXPECT_EQ(smart_strdup(nullptr), nullptr);
  const std::unique_ptr<char, void (*)(void*)> copy(smart_strdup("192.0.2.1"), free);
  EXPECT_STREQ(copy.get(), "192.0.2.1");
  EXPECT_EQ(gSM_TotalBytesAllocated, 0);
  EXPECT_EQ(gSM_CurrentBytesAllocated, 0);
}

TEST_F(SmartMemoryTest, RefusedStrdupReclaimsAndTriesAgain) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable table(false);
  AddMany(table, 1, 10);
  mpAllocate = RefuseNth;
  StartRefusing(1, 1);
  const std::unique_ptr<char, void (*)(void*)> copy(smart_strdup("host.example.com"), free);
  EXPECT_STREQ(copy.get(), "host.example.com");
  EXPECT_EQ(table.info->reclaimed, 4);
  EXPECT_EQ(gSM_MaximumBytesAllocated, 10 * 256);
  StartRefusing(1, 1000);
  EXPECT_EQ(smart_strdup("host.example.com"), nullptr);
  EXPECT_EQ(gAllocations, 1 + 3) << "after four records, after the last two, and after none";
  EXPECT_EQ(table.info->reclaimed, 10);
}

TEST_F(SmartMemoryTest, RefusedStrdupReclaimsFromWhatWaitsToo) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable table(false);
  for (int i = 1; i <= 10; ++i) {
    table.Queue(Key(i), "");
  }
  mpAllocate = RefuseNth;
  StartRefusing(1, 1);
  const std::unique_ptr<char, void (*)(void*)> copy(smart_strdup("host.example.com"), free);
  EXPECT_STREQ(copy.get(), "host.example.com");
  EXPECT_EQ(table.info->entries, 6);
  EXPECT_EQ(gSM_MaximumBytesAllocated, 10 * 256);
}

TEST_F(SmartMemoryTest, RefusedStrdupReclaimsNothingWhenDisabled) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable table(false);
  AddMany(table, 1, 10);
  Settings disabled = MemorySettings(0, 1, 0);
  disabled.SmartMemoryEnabled = 0;
  smart_memory_init(disabled);
  mpAllocate = RefuseNth;
  StartRefusing(1, 1);
  EXPECT_EQ(smart_strdup("host.example.com"), nullptr);
  EXPECT_EQ(gAllocations, 1);
  EXPECT_EQ(table.info->entries, 10);
  EXPECT_EQ(gSM_MaximumBytesAllocated, 0);
}

// ---- Against the plain form ----

// Three tables as in a run: one that ignores case, one with sub-lists, one small.
struct PairedRun {
  PairedTable urls{true};
  PairedTable badurls{false};
  PairedTable types{false};

  void Step(Random& random, uint32_t keys, bool queued) {
    char key[60];
    char subkey[40];
    const uint32_t kind = random.Below(8);
    // Some keys are far more common than others.
    const uint32_t number = random.Below(1 + random.Below(keys));
    snprintf(key, sizeof key, kind % 2 == 0 ? "/docs/%u/Page.html" : "/docs/%u/page.HTML", number);
    snprintf(subkey, sizeof subkey, "http://example.com/%u", random.Below(random.Below(3) == 0 ? 40 : 4));
    PairedTable& table = kind < 4 ? urls : kind < 7 ? badurls : types;
    const std::string sub = &table == &badurls && random.Below(4) != 0 ? subkey : "";
    queued ? table.Queue(key, sub) : table.Add(key, sub);
  }

  void ExpectSame() const {
    ASSERT_NO_FATAL_FAILURE(urls.ExpectSame());
    ASSERT_NO_FATAL_FAILURE(badurls.ExpectSame());
    ASSERT_NO_FATAL_FAILURE(types.ExpectSame());
    ASSERT_NO_FATAL_FAILURE(ExpectSameStatistics());
  }

  void ExpectSameDisplay(Random& random) {
    ASSERT_NO_FATAL_FAILURE(urls.ExpectSameDisplay(random.Below(40)));
    ASSERT_NO_FATAL_FAILURE(badurls.ExpectSameDisplay(SIZE_MAX));
    ASSERT_NO_FATAL_FAILURE(types.ExpectSameDisplay(random.Below(10)));
  }
};

TEST_F(SmartMemoryTest, SmallBudgetsGiveThePlainResultAfterEveryStep) {
  Random random(6);
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    ResetMemory();
    const int keep = static_cast<int>(random.Below(10)) - 1;
    const int reclaim = 1 + static_cast<int>(random.Below(random.Below(2) == 0 ? 2 : 12));
    InitMemory(MemorySettings(keep, reclaim, BudgetOfRecords(4 + static_cast<int>(random.Below(120)))));
    PairedRun run;
    const uint32_t keys = 5 + random.Below(150);
    for (int step = 0; step < 300; ++step) {
      run.Step(random, keys, false);
      ASSERT_NO_FATAL_FAILURE(run.ExpectSame()) << step;
    }
    ASSERT_NO_FATAL_FAILURE(run.ExpectSameDisplay(random));
  }
}

TEST_F(SmartMemoryTest, QueuedKeysGiveThePlainResult) {
  Random random(7);
  for (int round = 0; round < 30; ++round) {
    SCOPED_TRACE(round);
    ResetMemory();
    mpKeyForm = round % 3 == 0 ? &kPlainForm : &mKeyFormHere;
    InitMemory(MemorySettings(3, 2, BudgetOfRecords(60)));
    PairedRun run;
    for (int step = 0; step < 1000; ++step) {
      run.Step(random, 150, random.Below(20) != 0);
      if (round % 2 == 1 && random.Below(30) == 0) {
        mpAllocate = RefuseNth;
        StartRefusing(1, 1);
        free(smart_strdup("host.example.com"));
        mpAllocate = malloc;
        plain::ReclaimAfterRefusal(nullptr);
      }
    }
    count_queued();
    ASSERT_NO_FATAL_FAILURE(run.ExpectSame());
    ASSERT_NO_FATAL_FAILURE(run.ExpectSameDisplay(random));
  }
  mpKeyForm = &mKeyFormHere;
}

TEST_F(SmartMemoryTest, LargerBudgetGivesThePlainResult) {
  Random random(8);
  InitMemory(MemorySettings(100, 30, 500));
  PairedRun run;
  for (int step = 0; step < 12000; ++step) {
    run.Step(random, 4000, false);
    if (step % 100 == 0) {
      ASSERT_NO_FATAL_FAILURE(run.ExpectSame()) << step;
    }
  }
  EXPECT_GT(run.urls.info->reclaimed, 0);
  EXPECT_GT(run.badurls.info->reclaimed, 0);
  ASSERT_NO_FATAL_FAILURE(run.ExpectSame());
  ASSERT_NO_FATAL_FAILURE(run.ExpectSameDisplay(random));
}

TEST_F(SmartMemoryTest, SmallReclaimsOfFallingKeysGiveThePlainResult) {
  InitMemory(MemorySettings(0, 1, 0));
  PairedTable table(false);
  Random random(9);
  size_t pivots = 0;
  for (int i = 0; i < 4000; ++i) {
    table.Add(Key(4000 - i));
    table.Add(Key(4000 - static_cast<int>(random.Below(static_cast<uint32_t>(i) + 1))));
    if (i % 100 == 99) {
      smart_free(nullptr);
      plain::smart_free(nullptr);
      ASSERT_NO_FATAL_FAILURE(table.ExpectSame()) << i;
      pivots = std::max<size_t>(pivots, table.list.pivots);
    }
  }
  EXPECT_GT(pivots, kMaxPivots - kMaxPivots / 4) << "the table of pivots must have been full at times";
  while (table.info->entries > 0) {
    smart_free(nullptr);
    plain::smart_free(nullptr);
    ASSERT_NO_FATAL_FAILURE(table.ExpectSame());
  }
}

TEST_F(SmartMemoryTest, ReclaimAfterAnOrderWasMadeGivesThePlainResult) {
  Random random(10);
  InitMemory(MemorySettings(2, 1, BudgetOfRecords(40)));
  PairedTable table(false);
  for (int step = 0; step < 2000; ++step) {
    table.Add(Key(static_cast<int>(random.Below(100))));
    if (random.Below(10) == 0) {
      KeyOrder(table.list);
    }
    if (random.Below(10) == 0) {
      SortList(table.list, random.Below(20));
    }
    ASSERT_NO_FATAL_FAILURE(table.ExpectSame()) << step;
  }
}

// The record that the n-th allocation would have made, in both forms.
TEST_F(SmartMemoryTest, RecordRefusedAtEachPlaceGivesThePlainResult) {
  for (long refused = 1; refused <= 130; ++refused) {
    SCOPED_TRACE(refused);
    ResetMemory();
    // At the budget a record has one try only, and its refusal ends the process.
    const bool bounded = refused % 2 == 0 && refused <= 50;
    InitMemory(MemorySettings(2, 2, bounded ? BudgetOfRecords(60) : 0));
    PairedRun run;
    mpTakeRoom = RefuseNthRecord;
    StartRefusing(refused, 1);
    plain::memory.refuse_at = refused;
    Random random(11);
    for (int step = 0; step < 200; ++step) {
      run.Step(random, 100, false);
    }
    ASSERT_EQ(gAllocations, plain::memory.allocations);
    ASSERT_GE(gAllocations, refused);
    ASSERT_TRUE(gSM_TotalBytesFreed > 0 || refused < 10) << "above the kept minimum";
    ASSERT_NO_FATAL_FAILURE(run.ExpectSame());
    mpTakeRoom = TakeRoom;
    ASSERT_NO_FATAL_FAILURE(run.ExpectSameDisplay(random));
  }
}

TEST_F(SmartMemoryTest, RecordRefusedAfterAllReclaimsEndsTheProcessWithStatus1) {
  InitMemory(MemorySettings(2, 1, BudgetOfRecords(8)));
  const WithRoom key(Key(9));  // waits to the end
  PairedTable table(false);
  AddMany(table, 1, 8);
  mpTakeRoom = RefuseNthRecord;
  StartRefusing(1, 1000);
  EXPECT_EXIT(table.Add(Key(9)), testing::ExitedWithCode(1), "^$");
  queue_item(table.list, table.info, key, {}, false);
  EXPECT_EXIT(count_queued(), testing::ExitedWithCode(1), "^$");
  mpTakeRoom = TakeRoom;
}

TEST_F(SmartMemoryTest, IndexRefusedAtEachPlaceChangesNothing) {
  for (long refused = 1; refused <= 6; ++refused) {
    SCOPED_TRACE(refused);
    ResetMemory();
    InitMemory(MemorySettings(2, 2, 0));
    PairedTable table(true);
    mpAllocateZeroed = RefuseNthZeroed;
    StartRefusing(refused, 3);
    Random random(12);
    for (int step = 0; step < 1200; ++step) {
      table.Add(Key(static_cast<int>(random.Below(700))));
    }
    ASSERT_GE(gAllocations, refused);
    ASSERT_EQ(gSM_TotalBytesFreed, 0);
    ASSERT_NO_FATAL_FAILURE(table.ExpectSame());
    mpAllocateZeroed = calloc;
    ASSERT_NO_FATAL_FAILURE(table.ExpectSameDisplay(50));
  }
}

static void* RefuseOneSublist(size_t count, size_t size) {
  const bool refused = size == sizeof(List) && ++gAllocations == gRefuseAt;
  if (refused) {
    plain::memory.refuse_at = plain::memory.allocations + 1;  // the plain form has no more than the record
  }
  return refused ? nullptr : calloc(count, size);
}

TEST_F(SmartMemoryTest, SublistRefusedAtEachPlaceCountsAsItsFirstRecordRefused) {
  for (long refused = 1; refused <= 25; ++refused) {
    SCOPED_TRACE(refused);
    ResetMemory();
    InitMemory(MemorySettings(2, 2, 0));
    PairedTable table(false);
    mpAllocateZeroed = RefuseOneSublist;
    StartRefusing(refused, 1);
    Random random(13);
    for (int step = 0; step < 200; ++step) {
      const std::string key = Key(static_cast<int>(random.Below(40)));
      const std::string subkey = Key(static_cast<int>(random.Below(10)));
      add_item(table.list, table.info, key, {}, nullptr, false);
      plain::add_item(table.plain_list, table.plain_info, key, "", nullptr, false);
      add_item(table.list, table.info, key, subkey, nullptr, false);
      plain::add_item(table.plain_list, table.plain_info, key, subkey, nullptr, false);
    }
    ASSERT_TRUE(gSM_TotalBytesFreed > 0 || refused < 10) << "above the kept minimum";
    ASSERT_NO_FATAL_FAILURE(table.ExpectSame());
    ASSERT_NO_FATAL_FAILURE(ExpectSameStatistics());
    mpAllocateZeroed = calloc;
  }
}
