#include "analysis/counting_table.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <utility>

#include "analysis/item_key.h"
#include "analysis/paired_tables.h"
#include "support/part_text.h"

class CountingTableTest : public testing::Test {
 protected:
  void SetUp() override {
    ResetMemory();
    InitMemory(MemorySettings(100, 1000, 0));
    init_list(list_, info_, "Pages", SubLists::kAny);
  }
  void TearDown() override {
    mpAllocate = malloc;
    mpAllocateZeroed = calloc;
    mpTakeRoom = TakeRoom;
    destroy(list_);
    destroyListInfo();
  }

  void Add(const std::string& key, int times = 1, bool ignore_case = false) {
    for (int i = 0; i < times; ++i) {
      add_item(list_, info_, key, {}, nullptr, ignore_case);
    }
  }
  void AddWith(const std::string& key, std::string_view subkey) {
    add_item(list_, info_, key, subkey, nullptr, false);
  }
  // A text that stays where it is to the end of the test.
  std::string_view Kept(std::string_view text) { return texts_.emplace_back(text); }
  ListItem* Record(std::string_view key) {
    ListItem* item = KeyOrder(list_);
    while (item != nullptr && item->key() != key) {
      item = item->next;
    }
    return item;
  }
  static std::string Text(const ListItem* item) {
    std::string text;
    for (; item != nullptr; item = item->next) {
      text.append(item->key()).append("(").append(std::to_string(item->count)).append(") ");
    }
    return text;
  }

  List list_;
  ListInfo* info_;
  std::deque<WithRoom> texts_;
};

TEST_F(CountingTableTest, InitListAppendsItsDescriptor) {
  List other;
  ListInfo* other_info = nullptr;
  init_list(other, other_info, "Others");
  EXPECT_EQ(gListInfo.first, info_);
  EXPECT_EQ(gListInfo.last, other_info);
  EXPECT_EQ(info_->next, other_info);
  EXPECT_EQ(other_info->next, nullptr);
  EXPECT_EQ(other_info->head, &other);
  EXPECT_STREQ(other_info->name, "Others");
  EXPECT_EQ(other_info->entries, 0);
  EXPECT_EQ(other_info->reclaimed, 0);
}

TEST_F(CountingTableTest, CountsInKeyOrderAndDisplaysByCount) {
  Add("b");
  Add("a");
  Add("b");
  EXPECT_EQ(Text(KeyOrder(list_)), "a(1) b(2) ");
  EXPECT_EQ(Text(SortList(list_)), "b(2) a(1) ");
}

TEST_F(CountingTableTest, TiesAreDisplayedInFallingKeyOrder) {
  Add("x");
  Add("y");
  Add("z");
  EXPECT_EQ(Text(SortList(list_)), "z(1) y(1) x(1) ");
}

TEST_F(CountingTableTest, IgnoringCaseKeepsTheFirstSpelling) {
  Add("Index.html", 1, true);
  Add("index.HTML", 1, true);
  EXPECT_EQ(Text(KeyOrder(list_)), "Index.html(2) ");
}

TEST_F(CountingTableTest, CaseCountsOtherwise) {
  Add("Index.html");
  Add("index.HTML");
  EXPECT_EQ(Text(KeyOrder(list_)), "Index.html(1) index.HTML(1) ");
}

TEST_F(CountingTableTest, BytesOrderUnsigned) {
  Add("\xe9");
  Add("z");
  Add("Z", 1);
  EXPECT_EQ(Text(KeyOrder(list_)), "Z(1) z(1) \xe9(1) ");
}

TEST_F(CountingTableTest, AbsentAndEmptyKeysDoNothing) {
  Add("");
  add_item(list_, info_, {}, "referrer", nullptr, false);
  queue_item(list_, info_, {}, "referrer", false);
  EXPECT_EQ(list_length(list_), 0U);
  EXPECT_EQ(info_->entries, 0);
}

TEST_F(CountingTableTest, EmptySubkeyAddsTheKeyAlone) {
  AddWith("/gone", "");
  AddWith("/gone", {});
  EXPECT_EQ(Text(KeyOrder(list_)), "/gone(2) ");
  EXPECT_EQ(list_.first->sublist(), nullptr);
}

TEST_F(CountingTableTest, SubkeyOfAKnownKeyRaisesBothCounts) {
  AddWith("/gone", "http://www.example.com/");
  AddWith("/gone", "http://www.example.com/");
  AddWith("/gone", "http://www.example.org/");
  ASSERT_EQ(Text(KeyOrder(list_)), "/gone(3) ");
  EXPECT_EQ(Text(SortList(*list_.first->sublist())),
            "http://www.example.com/(2) http://www.example.org/(1) ");
  EXPECT_EQ(info_->entries, 1) << "records of sub-lists are not counted";
  EXPECT_EQ(gSM_TotalBytesAllocated, 3 * 256);
}

TEST_F(CountingTableTest, SubkeysIgnoreCaseAsTheirListDoes) {
  add_item(list_, info_, "/Gone", "http://A/", nullptr, true);
  add_item(list_, info_, "/gone", "http://a/", nullptr, true);
  EXPECT_EQ(Text(list_.first->sublist()->first), "http://A/(2) ");
}

TEST_F(CountingTableTest, KeysAreCutTo243Characters) {
  Add(std::string(243, 'k'));
  Add(std::string(243, 'k') + "l");
  AddWith(std::string(300, 'k'), std::string(244, 's'));
  AddWith("k", std::string(243, 's'));
  ASSERT_EQ(list_length(list_), 2U);
  const ListItem* const cut = Record(std::string(243, 'k'));
  ASSERT_NE(cut, nullptr);
  EXPECT_EQ(cut->count, 3);
  EXPECT_EQ(cut->name[243], '\0');
  EXPECT_EQ(cut->sublist()->first->key(), std::string(243, 's'));
  queue_item(list_, info_, Kept(std::string(300, 'k')), Kept(std::string(300, 's')), false);
  count_queued();
  EXPECT_EQ(cut->count, 4);
  EXPECT_EQ(cut->sublist()->first->count, 2);
}

TEST_F(CountingTableTest, ModernKeysAreCutTo2048Characters) {
  SetCountingLimits(kModernLimits);
  const std::string longest(2048, 'k');
  for (const size_t length : {243u, 244u, 255u, 256u, 2047u, 2048u, 2049u, 9000u}) {
    const std::string key(length, 'k');
    AddWith(key, key);
    queue_item(list_, info_, Kept(key), Kept(key), false);
  }
  EXPECT_EQ(list_length(list_), 6U);
  const ListItem* const cut = Record(longest);
  ASSERT_NE(cut, nullptr);
  EXPECT_EQ(cut->count, 6);
  EXPECT_EQ(cut->name[2048], '\0');
  EXPECT_EQ(cut->sublist()->first->key(), longest);
  EXPECT_EQ(cut->sublist()->first->count, 6);
  EXPECT_EQ(Record(std::string(256, 'k'))->count, 2);
}

TEST_F(CountingTableTest, ModernLongSubkeyOfAShortKeyIsWhole) {
  SetCountingLimits(kModernLimits);
  const std::string from(1000, 'r');
  queue_item(list_, info_, Kept("/gone"), Kept(from), false);
  EXPECT_EQ(list_length(list_), 1U);
  EXPECT_EQ(Record("/gone")->sublist()->first->key(), from);
}

TEST_F(CountingTableTest, ModernLongKeysOfEitherCaseAreOne) {
  SetCountingLimits(kModernLimits);
  const std::string tail(1000, 'x');
  queue_item(list_, info_, Kept("a" + tail), {}, true);
  queue_item(list_, info_, Kept("Index.html"), {}, true);
  queue_item(list_, info_, Kept("A" + tail), {}, true);
  queue_item(list_, info_, Kept("INDEX.HTML"), {}, true);
  EXPECT_EQ(Text(KeyOrder(list_)), "A" + tail + "(2) INDEX.HTML(2) ");
}

TEST_F(CountingTableTest, WithoutSubListsSubkeysAreNotCounted) {
  List other;
  ListInfo* other_info = nullptr;
  init_list(other, other_info, "Others");
  add_item(other, other_info, "/gone", "http://www.example.com/", nullptr, false);
  EXPECT_EQ(Text(KeyOrder(other)), "/gone(1) ");
  EXPECT_EQ(other.first->sublist(), nullptr);
  destroy(other);
}

TEST_F(CountingTableTest, ModernCountsHave64Bits) {
  SetCountingLimits(kModernLimits);
  Add("a");
  Add("b", 2);
  Add("c");
  Record("a")->count = INT32_MAX;
  Record("b")->count = UINT32_MAX;
  Add("a");
  Add("b");
  EXPECT_EQ(Text(SortList(list_)), "b(4294967296) a(2147483648) c(1) ");
  EXPECT_EQ(Text(SortList(list_, 1)).substr(0, 15), "b(4294967296) a");
  EXPECT_EQ(TotalList(list_), 4294967296 + 2147483648 + 1);
}

TEST_F(CountingTableTest, NarrowCountsWrapForWhoeverComparesThem) {
  for (const char* key : {"a", "b", "c"}) {
    Add(key);
  }
  Record("a")->count = UINT32_MAX;
  Record("b")->count = UINT32_MAX - 4;
  Add("a", 3);  // 2
  Add("b", 2);  // -3, behind the others
  EXPECT_EQ(TotalList(list_), 2 - 3 + 1);
  EXPECT_EQ(Text(SortList(list_)), "a(2) c(1) b(-3) ");
  Record("c")->count = (int64_t{1} << 32) + 9;
  EXPECT_EQ(Text(KeyOrder(list_)), "a(2) b(-3) c(9) ");
}

TEST_F(CountingTableTest, ReclaimsTakeNarrowCountsAsWrapped) {
  InitMemory(MemorySettings(2, 0, 0));
  for (const char* key : {"a", "b", "c"}) {
    Add(key, 5);
  }
  Record("b")->count = (int64_t{1} << 32) + 1;
  InitMemory(MemorySettings(2, 1, 0));
  smart_free(nullptr);
  EXPECT_EQ(Text(KeyOrder(list_)), "a(5) c(5) ");
}

TEST_F(CountingTableTest, ReclaimsSpareWideCounts) {
  SetCountingLimits(kModernLimits);
  for (const char* key : {"a", "b", "c"}) {
    Add(key, 5);
  }
  Record("a")->count = (int64_t{1} << 40) + 2;
  Record("b")->count = (int64_t{1} << 32) + 1;
  Record("c")->count = (int64_t{1} << 40) + 1;
  InitMemory(MemorySettings(2, 1, 0));
  smart_free(nullptr);
  EXPECT_EQ(Text(KeyOrder(list_)), "a(1099511627778) c(1099511627777) ");
}

TEST_F(CountingTableTest, LengthAndTotal) {
  EXPECT_EQ(list_length(list_), 0U);
  EXPECT_EQ(TotalList(list_), 0);
  Add("a", 3);
  Add("b", 4);
  EXPECT_EQ(list_length(list_), 2U);
  EXPECT_EQ(TotalList(list_), 7);
}

TEST_F(CountingTableTest, EmptyListHasNoFirstRecord) {
  EXPECT_EQ(KeyOrder(list_), nullptr);
  EXPECT_EQ(SortList(list_), nullptr);
  EXPECT_EQ(SortList(list_, 0), nullptr);
}

TEST_F(CountingTableTest, CountsAboveTheSortLimitStayBehindDeliberately) {
  for (const char* key : {"a", "b", "c", "d", "e", "f", "g"}) {
    Add(key);
  }
  Record("a")->count = 1000000;
  Record("b")->count = 999999;
  Record("c")->count = -3;
  Record("d")->count = 0;
  Record("e")->count = INT32_MAX;
  Record("f")->count = 5;
  EXPECT_EQ(Text(SortList(list_)), "b(999999) f(5) g(1) d(0) a(1000000) c(-3) e(2147483647) ");
}

TEST_F(CountingTableTest, CountsWrapAt32Bits) {
  Add("a");
  list_.first->count = INT32_MAX;
  Add("a");
  EXPECT_EQ(TotalList(list_), INT32_MIN);
  EXPECT_EQ(SortList(list_)->count, INT32_MIN);
}

TEST_F(CountingTableTest, CountingGoesOnAfterSorting) {
  for (int i = 0; i < 50; ++i) {
    Add(Numbered("key", i));
  }
  SortList(list_, 5);
  Add("key7");
  Add("another");
  EXPECT_EQ(list_length(list_), 51U);
  EXPECT_EQ(SortList(list_)->key(), "key7");
  smart_free(nullptr);
  EXPECT_EQ(list_length(list_), 51U) << "below the kept minimum";
}

TEST_F(CountingTableTest, DestroyLeavesTheStatistics) {
  AddWith("/gone", "http://www.example.com/");
  destroy(list_);
  EXPECT_EQ(list_length(list_), 0U);
  EXPECT_EQ(list_.first, nullptr);
  EXPECT_EQ(gSM_CurrentBytesAllocated, 2 * 256);
  EXPECT_EQ(gSM_TotalBytesFreed, 0);
}

TEST_F(CountingTableTest, DestroyListInfoEmptiesTheChain) {
  destroyListInfo();
  EXPECT_EQ(gListInfo.first, nullptr);
  EXPECT_EQ(gListInfo.last, nullptr);
}

TEST_F(CountingTableTest, OccurrencesAreCountedByKind) {
  static int classified = 0;
  classified = 0;
  info_->classify = [](std::string_view key) {
    ++classified;
    return static_cast<uint8_t>(key.starts_with("/cgi-bin/") ? 3 : 1);
  };
  Add("/a", 2);
  Add("/cgi-bin/b", 4);
  EXPECT_EQ(classified, 2) << "once for each record";
  ListItem* const gone = list_.first;
  list_.first = gone->next;
  ReleaseItem(list_, gone);
  Add("/cgi-bin/b", 1);
  EXPECT_EQ(info_->kinds[0], 0);
  EXPECT_EQ(info_->kinds[1], 2);
  EXPECT_EQ(info_->kinds[3], 5) << "the kinds of records that are gone stay counted";
}

TEST_F(CountingTableTest, QueuedKeysCountInTheOrderOfTheCalls) {
  queue_item(list_, info_, Kept("Index.html"), {}, true);
  add_item(list_, info_, "index.html", {}, nullptr, true);
  queue_item(list_, info_, Kept("INDEX.HTML"), {}, true);
  EXPECT_EQ(Text(SortList(list_)), "Index.html(3) ");
}

TEST_F(CountingTableTest, QueuedCopiesMayBeOverwritten) {
  char key[] = "first";
  queue_copy(list_, info_, {key, 5}, false);
  memcpy(key, "other", 5);
  EXPECT_EQ(Text(KeyOrder(list_)), "first(1) ");
}

TEST_F(CountingTableTest, QueuedCopiesMayBeMoreThanThereIsRoomFor) {
  for (const Limits& limits : {kClassicLimits, kModernLimits}) {
    SetCountingLimits(limits);
    for (int i = 0; i < 100; ++i) {
      queue_copy(list_, info_, std::string(5000, static_cast<char>('a' + i % 3)), false);
      queue_copy(list_, info_, "", false);
    }
    ASSERT_EQ(list_length(list_), 3U);
    EXPECT_EQ(Record(std::string(limits.item, 'a'))->count, 34);
    EXPECT_EQ(Record(std::string(limits.item, 'c'))->count, 33);
    destroy(list_);
  }
}

// Sub-keys wait beside their keys, wherever groups end.
TEST_F(CountingTableTest, QueuedSubkeysAreThoseOfTheirKeys) {
  const WithRoom gone("/gone"), other("/other"), from("http://a/");
  for (int before = 0; before < 200; ++before) {
    for (int i = 0; i < before; ++i) {
      queue_item(list_, info_, other, false);
    }
    queue_item(list_, info_, gone, from, false);
    count_queued();
  }
  EXPECT_EQ(Text(KeyOrder(list_)), "/gone(200) /other(19900) ");
  EXPECT_EQ(Text(Record("/gone")->sublist()->first), "http://a/(200) ");
  EXPECT_EQ(Record("/other")->sublist(), nullptr);
}

TEST_F(CountingTableTest, AskingForAListCountsWhatWaits) {
  queue_item(list_, info_, Kept("a"), {}, false);
  EXPECT_EQ(list_length(list_), 1U);
  queue_item(list_, info_, Kept("a"), {}, false);
  EXPECT_EQ(TotalList(list_), 2);
  queue_item(list_, info_, Kept("b"), {}, false);
  EXPECT_EQ(Text(KeyOrder(list_)), "a(2) b(1) ");
  queue_item(list_, info_, Kept("b"), {}, false);
  count_queued();
  EXPECT_EQ(list_.first->next->count, 2);
}

// ---- Against the plain form ----

class PairedDisplayTest : public testing::Test {
 protected:
  void SetUp() override {
    ResetMemory();
    InitMemory(MemorySettings(100, 1000, 0));
  }
};

static std::string RandomName(Random& random, uint32_t keys) {
  const char* const prefix = random.Below(2) == 0 ? "/a/Page" : "/a/pAGE";
  return Numbered(prefix, random.Below(random.Below(2) == 0 ? keys : keys / 4 + 1));
}

TEST_F(PairedDisplayTest, OrderEqualsThePlainSelectionSort) {
  Random random(4);
  for (int round = 0; round < 120; ++round) {
    SCOPED_TRACE(round);
    const bool ignore_case = round % 2 == 1;
    PairedTable table(ignore_case);
    const uint32_t keys = 1 + random.Below(80);
    for (uint32_t i = random.Below(300); i > 0; --i) {
      table.Add(RandomName(random, keys), random.Below(5) == 0 ? RandomName(random, 12) : "");
    }
    ASSERT_NO_FATAL_FAILURE(table.ExpectSame());
    static const int32_t kCounts[] = {-5, 0, 1, 1, 2, 999999, 1000000, 1000001};
    plain::Item* plain_item = table.plain_list;
    for (ListItem* item = KeyOrder(table.list); item != nullptr; item = item->next) {
      ASSERT_EQ(item->key(), plain_item->name);
      if (random.Below(4) == 0) {
        item->count = plain_item->count = kCounts[random.Below(8)];
      }
      plain_item = plain_item->next;
    }
    ASSERT_NO_FATAL_FAILURE(table.ExpectSameDisplay(round % 3 == 0 ? SIZE_MAX : random.Below(keys + 2)));
  }
}

TEST_F(PairedDisplayTest, OrderEqualsThePlainSelectionSortInModernLimits) {
  SetLimits(kModernLimits);
  Random random(14);
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    PairedTable table(round % 2 == 1);
    const std::string tail(random.Below(3) * 1000, 't');
    const uint32_t keys = 1 + random.Below(40);
    for (uint32_t i = random.Below(150); i > 0; --i) {
      const std::string key =
          random.Below(2) == 0 ? tail + RandomName(random, keys) : RandomName(random, keys);
      random.Below(2) == 0 ? table.Add(key, key) : table.Queue(key, random.Below(3) == 0 ? key : "");
    }
    count_queued();
    ASSERT_NO_FATAL_FAILURE(table.ExpectSame());
    static const int64_t kCounts[] = {0, 1, 999999, 1000000, INT32_MAX, int64_t{1} << 31, int64_t{1} << 40};
    plain::Item* plain_item = table.plain_list;
    for (ListItem* item = KeyOrder(table.list); item != nullptr; item = item->next) {
      ASSERT_EQ(item->key(), plain_item->name);
      if (random.Below(3) == 0) {
        item->count = plain_item->count = kCounts[random.Below(7)];
      }
      plain_item = plain_item->next;
    }
    ASSERT_NO_FATAL_FAILURE(table.ExpectSameDisplay(round % 3 == 0 ? SIZE_MAX : random.Below(keys + 2)));
  }
}

TEST_F(PairedDisplayTest, RefusedMemoryForASelectionPutsAllInOrder) {
  Random random(5);
  PairedTable table(false);
  for (int i = 0; i < 500; ++i) {
    table.Add(RandomName(random, 100));
  }
  mpAllocate = [](size_t) -> void* { return nullptr; };
  table.ExpectSameDisplay(SIZE_MAX);
  const std::vector<Row> all = Rows(table.list.first, false);
  EXPECT_EQ(Rows(SortList(table.list, 3), false), all);
  mpAllocate = malloc;
}

TEST_F(PairedDisplayTest, ManyKeysInEveryOrderOfArrival) {
  constexpr int kKeys = 3000;
  for (const char* order : {"rising", "falling", "shuffled"}) {
    SCOPED_TRACE(order);
    PairedTable table(false);
    for (int i = 0; i < kKeys; ++i) {
      const int number = order[0] == 'r' ? i : order[0] == 'f' ? kKeys - i : i * 1237 % kKeys;
      table.Add(Numbered("/", 10000 + number));
    }
    ASSERT_NO_FATAL_FAILURE(table.ExpectSame());
    table.ExpectSameDisplay(10);
  }
}

// ---- Keys that are watched ----

static std::vector<std::string> mTold;
static List mFound;
static ListInfo* mpFoundInfo;

static void Note(std::string_view key) {
  mTold.emplace_back(key);
  count_now(mFound, mpFoundInfo, key.substr(1), false);
}

class WatchedKeys : public CountingTableTest {
 protected:
  void SetUp() override {
    CountingTableTest::SetUp();
    init_list(mFound, mpFoundInfo, "Found");
    mTold.clear();
    info_->classify = [](std::string_view key) { return key.starts_with('?') ? kWatchedKind : uint8_t{1}; };
    info_->watcher = Note;
  }
  void TearDown() override {
    destroy(mFound);
    CountingTableTest::TearDown();
  }
  void QueueAll(std::initializer_list<const char*> keys) {
    for (const char* key : keys) {
      queue_item(list_, info_, Kept(key), true);
    }
    count_queued();
  }
};

TEST_F(WatchedKeys, AreToldEachTimeAndOthersOnce) {
  QueueAll({"a", "?b"});
  EXPECT_EQ(mTold, (std::vector<std::string>{"a", "?b"}));
  mTold.clear();
  QueueAll({"a", "?b", "a", "?b", "a"});
  EXPECT_EQ(mTold, (std::vector<std::string>{"?b", "?b"}));
  EXPECT_EQ(Text(KeyOrder(mFound)), "b(3) ");
  EXPECT_EQ(Text(KeyOrder(list_)), "?b(3) a(4) ");
}

TEST_F(WatchedKeys, AreToldInEverySpelling) {
  QueueAll({"?b"});
  QueueAll({"?B", "?b"});
  EXPECT_EQ(mTold, (std::vector<std::string>{"?b", "?B", "?b"}));
  EXPECT_EQ(Text(KeyOrder(mFound)), "B(1) b(2) ");
  EXPECT_EQ(Text(KeyOrder(list_)), "?b(3) ");
}

TEST_F(WatchedKeys, AreToldBeforeTheyAreCounted) {
  info_->watcher = [](std::string_view key) { count_now(mFound, mpFoundInfo, key, false); };
  SetCountingLimits(kClassicLimits);
  QueueAll({"?new"});
  EXPECT_EQ(gSM_TotalBytesAllocated, 2 * 256);
  info_->watcher = [](std::string_view) { mTold.emplace_back(std::to_string(gSM_TotalBytesAllocated)); };
  QueueAll({"?other"});
  EXPECT_EQ(mTold.back(), std::to_string(2 * 256)) << "and no record made of them";
}

TEST_F(WatchedKeys, KeysCountedMeanwhileAreCutAndEmptyOnesDoNothing) {
  info_->watcher = [](std::string_view) {
    count_now(mFound, mpFoundInfo, std::string(300, 'x'), false);
    count_now(mFound, mpFoundInfo, "", false);
  };
  QueueAll({"?"});
  EXPECT_EQ(Text(KeyOrder(mFound)), std::string(243, 'x') + "(1) ");
}

// ---- Parts of keys ----

static std::string_view LastLabel(std::string_view key) {
  return key.substr(key.rfind('.') + 1);
}

class PartsOfKeys : public CountingTableTest {
 protected:
  void SetUp() override {
    CountingTableTest::SetUp();
    init_list(types_, types_info_, "Types");
    count_parts_too(*info_, *types_info_, LastLabel);
  }
  void TearDown() override {
    destroy(types_);
    CountingTableTest::TearDown();
  }

  List types_;
  ListInfo* types_info_;
};

TEST_F(PartsOfKeys, AreCountedAsOftenAsTheKeys) {
  for (const char* key : {"a.com", "b.com", "a.com", "c.", "d.net", "c.", "a.com"}) {
    queue_item(list_, info_, Kept(key), false);
  }
  Add("b.com", 2);
  count_parts(*info_);
  EXPECT_EQ(Text(KeyOrder(types_)), "com(6) net(1) ");
  EXPECT_EQ(types_info_->kinds[0], 7);
  count_parts(*info_);
  EXPECT_EQ(Text(KeyOrder(types_)), "com(6) net(1) ") << "once";
}

// As if each part had been queued behind its key, whatever is reclaimed when.
static void ExpectPlainParts() {
  for (const uint32_t names : {60U, 900U, 4000U}) {
    ResetMemory();
    InitMemory(MemorySettings(3, 20, BudgetOfRecords(2000)));
    Random random(names);
    PairedTable keys(false);
    PairedTable parts(false);
    PairedTable others(false);
    count_parts_too(*keys.info, *parts.info, LastLabel);
    std::deque<WithRoom> texts;
    for (int step = 0; step < 20000; ++step) {
      const std::string part = RandomName(random, names);
      const std::string key = Numbered("host", random.Below(1 + names / 8)).append(".").append(part);
      queue_item(keys.list, keys.info, texts.emplace_back(key), false);
      plain::add_item(keys.plain_list, keys.plain_info, key, "", nullptr, false);
      plain::add_item(parts.plain_list, parts.plain_info, std::string(LastLabel(key)), "", nullptr, false);
      if (random.Below(3) == 0) {
        others.Queue(RandomName(random, names), "");
      }
    }
    count_parts(*keys.info);
    EXPECT_EQ(keys.info->reclaimed > 0, names > 60);
    ASSERT_NO_FATAL_FAILURE(ExpectSameStatistics());
    ASSERT_NO_FATAL_FAILURE(keys.ExpectSame());
    ASSERT_NO_FATAL_FAILURE(parts.ExpectSame());
    ASSERT_NO_FATAL_FAILURE(others.ExpectSame());
  }
}

TEST_F(CountingTableTest, PartsOfKeysGiveThePlainResultUnderABudget) {
  destroyListInfo();
  ExpectPlainParts();
}

// ---- Keys that collide ----

static constexpr uint32_t kWeakHash = 7;

static size_t CountKnownPlainly(const WaitingKey* keys, size_t count) {
  return kPlainForm.count_known(keys, count);
}

static const KeyForm kWeakForm = {[](std::string_view, bool, const KeySeed&) { return kWeakHash; },
                                  [](WaitingKey* keys, size_t count, const KeySeed&) {
                                    std::for_each(keys, keys + count,
                                                  [](WaitingKey& key) { key.hash = kWeakHash; });
                                  },
                                  CountKnownPlainly};

class CollidingKeys : public CountingTableTest {
 protected:
  void SetUp() override {
    CountingTableTest::SetUp();
    mpKeyForm = &kWeakForm;
  }
  void TearDown() override {
    CountingTableTest::TearDown();
    mpKeyForm = &mKeyFormHere;
  }
};

TEST_F(CollidingKeys, AreHashedSafelyOnceSearchesGetLong) {
  int keys = 0;
  for (; !list_.attacked; ++keys) {
    ASSERT_LT(keys, 1000) << "no search goes through more";
    Add(Numbered("key", keys));
  }
  EXPECT_GT(keys, 500);
  std::set<uint32_t> hashes;
  for (const ListItem* item = list_.first; item != nullptr; item = item->next) {
    hashes.insert(item->hash);
  }
  EXPECT_EQ(hashes.size(), list_.length);
}

TEST_F(CollidingKeys, GiveThePlainResult) {
  destroyListInfo();
  for (const bool ignore_case : {false, true}) {
    ResetMemory();
    InitMemory(MemorySettings(3, 20, BudgetOfRecords(2000)));
    Random random(21);
    PairedTable table(ignore_case);
    for (int step = 0; step < 6000; ++step) {
      const std::string key = RandomName(random, 1500);
      const std::string from =
          random.Below(3) == 0 ? RandomName(random, random.Below(2) == 0 ? 2000 : 2) : "";
      random.Below(3) == 0 ? table.Add("/a/Page1", from) : table.Queue(key, from);
    }
    count_queued();
    EXPECT_TRUE(table.list.attacked);
    EXPECT_GT(table.info->reclaimed, 0);
    ASSERT_NO_FATAL_FAILURE(ExpectSameStatistics());
    ASSERT_NO_FATAL_FAILURE(table.ExpectSame());
    ASSERT_NO_FATAL_FAILURE(table.ExpectSameDisplay(40));
  }
}

TEST_F(CollidingKeys, GiveThePlainPartsUnderABudget) {
  destroyListInfo();
  ExpectPlainParts();
}

TEST_F(CountingTableTest, KeysThatDoNotCollideAreNotTakenForSuch) {
  for (int i = 0; i < 200000; ++i) {
    Add(Numbered("/page", i));
  }
  EXPECT_FALSE(list_.attacked);
}

// ---- Refused memory ----

static void* RefuseBlock(size_t) {
  return nullptr;
}

static void* RefuseZeroed(size_t, size_t) {
  return nullptr;
}

static int mRefusedZeroed;

static void* RefuseTwoZeroed(size_t count, size_t size) {
  return ++mRefusedZeroed <= 2 ? nullptr : calloc(count, size);
}

TEST_F(CountingTableTest, RefusedIndexLeavesTheListWalked) {
  mpAllocateZeroed = RefuseZeroed;
  for (int i = 0; i < 120; ++i) {
    Add(Numbered("key", i % 60));
  }
  EXPECT_EQ(list_.lines, nullptr);
  EXPECT_EQ(list_length(list_), 60U);
  EXPECT_EQ(TotalList(list_), 120);
  mpAllocateZeroed = calloc;
  Add("key60");
  EXPECT_NE(list_.lines, nullptr) << "the next record makes up for it";
  Add("key0");
  EXPECT_EQ(Record("key0")->count, 3);
  EXPECT_EQ(Record("key60")->count, 1);
}

// Walking a long list for each record would take time without end.
TEST_F(CountingTableTest, ListWithoutIndexReclaimsFromItsSixtyFifthRecordOn) {
  InitMemory(MemorySettings(10, 1, 0));
  mpAllocateZeroed = RefuseZeroed;
  for (int i = 0; i < 64; ++i) {
    Add(Numbered("key", 10 + i));
  }
  EXPECT_EQ(info_->reclaimed, 0);
  Add("key9");
  EXPECT_EQ(info_->reclaimed, 4);
  EXPECT_EQ(list_length(list_), 61U);
  EXPECT_EQ(Record("key13"), nullptr);
  EXPECT_NE(Record("key14"), nullptr);
}

TEST_F(CountingTableTest, ListWithoutIndexEndsTheProcessWhereNothingCanGo) {
  mpAllocateZeroed = RefuseZeroed;
  for (int i = 0; i < 64; ++i) {
    Add(Numbered("key", 10 + i));
  }
  EXPECT_EXIT(Add("key9"), testing::ExitedWithCode(1), "^$");
}

TEST_F(CountingTableTest, IndexesShrinkWhereTheyAreAQuarterFull) {
  for (int i = 0; i < 200; ++i) {
    Add(Numbered("key", 100 + i));
  }
  ASSERT_EQ(list_.capacity(), 512U);
  InitMemory(MemorySettings(129, 1000, 0));
  smart_free(nullptr);
  ShrinkIndexes();
  EXPECT_EQ(list_.capacity(), 512U);
  InitMemory(MemorySettings(128, 1000, 0));
  smart_free(nullptr);
  ShrinkIndexes();
  EXPECT_EQ(list_.capacity(), 256U);
  ShrinkIndexes();
  EXPECT_EQ(list_.capacity(), 256U);
  for (int i = 0; i < 200; ++i) {
    Add(Numbered("key", 100 + i));
  }
  EXPECT_EQ(list_length(list_), 200U);
  EXPECT_EQ(Record("key171")->count, 1);
  EXPECT_EQ(Record("key172")->count, 2);
  EXPECT_EQ(Record("key299")->count, 2);
}

TEST_F(CountingTableTest, IndexesShrinkDownToThirtyTwoPlaces) {
  for (int i = 0; i < 100; ++i) {
    Add(Numbered("key", i));
  }
  InitMemory(MemorySettings(1, 1000, 0));
  smart_free(nullptr);
  ASSERT_EQ(list_length(list_), 1U);
  ASSERT_EQ(list_.capacity(), 256U);
  ShrinkIndexes();
  EXPECT_EQ(list_.capacity(), 32U);
  EXPECT_EQ(Record("key99")->count, 1);
}

static const List* mHeldBack;

static void* RefuseUntilShrunk(size_t count, size_t size) {
  return mHeldBack->capacity() > 64 ? nullptr : calloc(count, size);
}

// A small table would else take all others down to its own length.
TEST_F(CountingTableTest, RefusedIndexGetsItsRoomFromALongerOne) {
  InitMemory(MemorySettings(2, 1, 0));
  List longer;
  ListInfo* longer_info = nullptr;
  init_list(longer, longer_info, "Longer");
  for (int i = 0; i < 190; ++i) {
    add_item(longer, longer_info, Numbered("l", 100 + i), {}, nullptr, false);
  }
  ASSERT_EQ(longer.capacity(), 256U);
  for (int i = 0; i < 9; ++i) {
    Add(Numbered("k", 10 + i));
  }
  ASSERT_EQ(list_.capacity(), 32U);
  mHeldBack = &longer;
  mpAllocateZeroed = RefuseUntilShrunk;
  for (int i = 9; i < 31; ++i) {
    Add(Numbered("k", 10 + i));
  }
  EXPECT_EQ(list_.capacity(), 64U);
  EXPECT_EQ(list_length(list_), 31U);
  EXPECT_EQ(longer.capacity(), 64U);
  EXPECT_EQ(list_length(longer), 30U);
  EXPECT_EQ(info_->reclaimed, 0);
  destroy(longer);
}

TEST_F(CountingTableTest, IndexThatCannotGrowFillsUpAndThenReclaims) {
  InitMemory(MemorySettings(10, 1, 0));
  for (int i = 0; i < 9; ++i) {
    Add(Numbered("k", 10 + i));
  }
  ASSERT_EQ(list_.capacity(), 32U);
  mpAllocateZeroed = RefuseZeroed;
  for (int i = 9; i < 30; ++i) {
    Add(Numbered("k", 10 + i));
  }
  EXPECT_EQ(list_length(list_), 30U);
  EXPECT_EQ(info_->reclaimed, 0);
  Add("k40");
  EXPECT_EQ(list_length(list_), 27U);
  EXPECT_EQ(info_->reclaimed, 4);
  EXPECT_EQ(gSM_MaximumBytesAllocated, 30 * 256);
  EXPECT_EQ(Record("k13"), nullptr);
  EXPECT_NE(Record("k14"), nullptr);
}

TEST_F(CountingTableTest, FullIndexReclaimsFromLongerTablesFirst) {
  InitMemory(MemorySettings(10, 1, 0));
  for (int i = 0; i < 9; ++i) {
    Add(Numbered("k", 10 + i));
  }
  List longer;
  ListInfo* longer_info = nullptr;
  init_list(longer, longer_info, "Longer");
  for (int i = 0; i < 39; ++i) {
    add_item(longer, longer_info, Numbered("l", 10 + i), {}, nullptr, false);
  }
  mpAllocateZeroed = RefuseZeroed;
  for (int i = 9; i < 31; ++i) {
    Add(Numbered("k", 10 + i));
  }
  EXPECT_EQ(longer_info->reclaimed, 12) << "three reclaims, of which the last begins at 31 records";
  EXPECT_EQ(info_->reclaimed, 4);
  EXPECT_EQ(list_length(list_), 30U - 4 + 1);
  EXPECT_NE(Record("k40"), nullptr);
  destroy(longer);
}

TEST_F(CountingTableTest, RefusedSublistReclaimsAroundItsParent) {
  InitMemory(MemorySettings(1, 1, 0));
  for (int i = 0; i < 8; ++i) {
    Add(Numbered("k", i), 2);
  }
  mpAllocateZeroed = RefuseZeroed;
  EXPECT_EXIT(AddWith("k0", "sub"), testing::ExitedWithCode(1), "^$");
  mRefusedZeroed = 0;
  mpAllocateZeroed = RefuseTwoZeroed;
  AddWith("k0", "sub");
  EXPECT_EQ(info_->reclaimed, 7) << "two reclaims, of four and of all others but the parent";
  EXPECT_EQ(Text(Record("k0")), "k0(3) ");
}

TEST_F(CountingTableTest, RefusedRecordEndsTheProcessWithStatus1) {
  mpTakeRoom = RefuseBlock;
  EXPECT_EXIT(Add("a"), testing::ExitedWithCode(1), "^$");
}

TEST_F(CountingTableTest, RefusedSublistEndsTheProcessWithStatus1) {
  mpAllocateZeroed = RefuseZeroed;
  EXPECT_EXIT(AddWith("a", "b"), testing::ExitedWithCode(1), "^$");
}

TEST_F(CountingTableTest, RefusedDescriptorEndsTheProcessWithStatus1) {
  mpAllocateZeroed = RefuseZeroed;
  List other;
  ListInfo* other_info = nullptr;
  EXPECT_EXIT(init_list(other, other_info, "Others"), testing::ExitedWithCode(1), "^$");
}

// ---- Many at once, and records that leave ----

TEST_F(CountingTableTest, AddItemsCountsManyAtOnce) {
  Add("b", 2);
  add_items(list_, info_, "b", {5});
  add_items(list_, info_, "a", {3});
  add_items(list_, info_, "", {3});
  EXPECT_EQ(Text(SortList(list_)), "b(7) a(3) ");
  EXPECT_EQ(info_->kinds[0], 10);
}

TEST_F(CountingTableTest, AddSubitemsLeavesTheKeysCount) {
  List with;
  ListInfo* with_info = nullptr;
  init_list(with, with_info, "With", SubLists::kAny);
  add_items(with, with_info, "b", {5});
  add_subitems(with, with_info, "b", "x", 3);
  add_subitems(with, with_info, "b", "x", 1);
  add_subitems(with, with_info, "b", "", 1);
  add_subitems(with, with_info, "none", "x", 1);
  ASSERT_NE(with.first->sublist(), nullptr);
  EXPECT_EQ(with.first->count, 5);
  EXPECT_EQ(Text(SortList(*with.first->sublist())), "x(4) ");
  Add("b", 2);
  add_subitems(list_, info_, "b", "x", 3);
  EXPECT_EQ(Text(SortList(list_)), "b(2) ");
  destroy(with);
}

// ---- Times ----

static std::string SpansIn(List& list) {
  std::string text;
  for (const ListItem* item = KeyOrder(list); item != nullptr; item = item->next) {
    const TimeSpan span = SpanOf(*item);
    text += std::string(item->key()) + "=" + std::to_string(item->count) + ":" +
            std::to_string(AmountOf(*item)) + "@" + std::to_string(span.first) + "," +
            std::to_string(span.last) + " ";
  }
  return text;
}

class SpansTest : public CountingTableTest {
 protected:
  void SetUp() override {
    CountingTableTest::SetUp();
    init_list(spans_, spans_info_, "Spans", SubLists::kNone, Amounts::kSummed, Spans::kKept);
  }
  void TearDown() override {
    destroy(spans_);
    CountingTableTest::TearDown();
  }

  void AddAt(const char* key, int64_t time, int64_t amount) {
    count_amounts(amount);
    queue_item_at(spans_, spans_info_, Kept(key), time, false);
    count_amounts(0);
  }
  bool AddPart(const std::string& bytes, List& list, ListInfo* info) {
    const PartText text(bytes);
    PartReader part = text.reader();
    return AddSavedList(part, list, info, false);
  }

  List spans_;
  ListInfo* spans_info_ = nullptr;
};

// Whatever the order, with amounts, and however the keys' groups are filled.
TEST_F(SpansTest, TimesAreTheLeastAndTheGreatest) {
  static char keys[200][4];
  for (int i = 0; i < 200; ++i) {
    snprintf(keys[i], sizeof keys[i], "%d", i % 7);
    AddAt(keys[i], (i * 37) % 200 - 100, 2);
    queue_item(list_, info_, Kept(keys[i]), false);
  }
  AddAt("", 5, 1);
  count_queued();
  std::string want;
  for (int key = 0; key < 7; ++key) {
    int64_t first = INT64_MAX;
    int64_t last = INT64_MIN;
    int64_t count = 0;
    for (int i = key; i < 200; i += 7, ++count) {
      first = std::min<int64_t>(first, (i * 37) % 200 - 100);
      last = std::max<int64_t>(last, (i * 37) % 200 - 100);
    }
    want += std::to_string(key) + "=" + std::to_string(count) + ":" + std::to_string(2 * count) + "@" +
            std::to_string(first) + "," + std::to_string(last) + " ";
  }
  EXPECT_EQ(SpansIn(spans_), want);
  EXPECT_EQ(TotalList(list_), 200);
}

TEST_F(SpansTest, TimesAreWrittenDownAndAdded) {
  AddAt("a", 100, 1);
  AddAt("a", -7, 2);
  AddAt("b", 5, 3);
  count_queued();
  const std::string bytes = WrittenPart([this](PartWriter& part) { SaveList(part, spans_); });
  AddAt("a", 2000, 4);
  EXPECT_TRUE(AddPart(bytes, spans_, spans_info_));
  EXPECT_EQ(SpansIn(spans_), "a=5:10@-7,2000 b=2:6@5,5 ");
  EXPECT_TRUE(AddPart(bytes, list_, info_)) << "times that nobody keeps";
  EXPECT_EQ(Text(SortList(list_)), "a(2) b(1) ");
  const PartText text(bytes);
  PartReader part = text.reader();
  EXPECT_TRUE(PassSavedList(part));
  EXPECT_EQ(part.next, part.end);
}

TEST_F(SpansTest, ListsWithoutTimesOrWithSuchAsNoLogHasAreDamaged) {
  using namespace std::string_literals;
  EXPECT_FALSE(AddPart("\1\0\1a\1"s, spans_, spans_info_));
  EXPECT_TRUE(AddPart("\1\4\1b\1\2\3"s, spans_, spans_info_));
  EXPECT_FALSE(AddPart("\1\4\1b\1\xff\xff\xff\xff\xff\xff\xff\1\3"s, spans_, spans_info_));
  EXPECT_FALSE(AddPart("\1\4\1b\1\2\xff\xff\xff\xff\xff\xff\xff\1"s, spans_, spans_info_));
  EXPECT_EQ(SpanOf(*spans_.first).first, 1);
  EXPECT_EQ(SpanOf(*spans_.first).last, 4);
}

// What goes and comes again begins anew.
TEST_F(SpansTest, ReclaimedKeysBeginAnew) {
  AddAt("a", 100, 1);
  count_queued();
  char key[4];
  KeyCount found{};
  EXPECT_TRUE(take_first(spans_, *spans_info_, key, sizeof key, found));
  AddAt("a", 200, 1);
  count_queued();
  EXPECT_EQ(SpansIn(spans_), "a=1:1@200,200 ");
}

TEST_F(CountingTableTest, TakeFirstEmptiesTheListInItsOrder) {
  Add("a", 1);
  Add("b", 3);
  Add("longer", 2);
  SortList(list_);
  char key[4];
  KeyCount found{};
  std::string taken;
  while (take_first(list_, *info_, key, sizeof key, found)) {
    taken += std::string(key) + "(" + std::to_string(found.count) + ") ";
  }
  EXPECT_EQ(taken, "b(3) lon(2) a(1) ");
  EXPECT_EQ(list_.length, 0U);
  EXPECT_EQ(info_->entries, 0);
  EXPECT_EQ(gSM_CurrentBytesAllocated, 0);
  Add("b", 1);
  EXPECT_EQ(Text(SortList(list_)), "b(1) ");
}

// A reclaim in between leaves pivots, one of which may be the first record.
TEST_F(CountingTableTest, TakeFirstGoesOnBehindReclaims) {
  InitMemory(MemorySettings(10, 1, 0));
  for (int i = 0; i < 2000; ++i) {
    Add(std::to_string(i), i % 7 + 1);
  }
  char key[16];
  KeyCount found{};
  std::set<std::string> taken;
  for (int i = 0; i < 1500 && take_first(list_, *info_, key, sizeof key, found); ++i) {
    EXPECT_TRUE(taken.insert(key).second) << key;
    EXPECT_EQ(found.count, atoi(key) % 7 + 1);
    if (i % 100 == 0) {
      smart_free(nullptr);
    }
  }
  EXPECT_EQ(taken.size(), 1500U);
  EXPECT_EQ(list_.length + taken.size() + static_cast<size_t>(info_->reclaimed), 2000U);
}

// ---- Amounts ----

class AmountsTest : public CountingTableTest {
 protected:
  void Begin(SubLists sublists = SubLists::kNone) {
    list_ = {};
    destroyListInfo();
    init_list(list_, info_, "Sums", sublists, Amounts::kSummed);
  }

  void Queue(const std::string& key, int64_t amount) {
    count_amounts(amount);
    queue_item(list_, info_, Kept(key), false);
  }

  std::string Sums(ListItem* first) {
    std::string text;
    for (const ListItem* item = first; item != nullptr; item = item->next) {
      text += std::string(item->key()) + "(" + std::to_string(item->count) + ", " +
              std::to_string(item->amount()) + ") ";
    }
    return text;
  }
};

TEST_F(AmountsTest, AreThoseOfTheirKeysWhereverTheseWait) {
  Begin();
  std::map<std::string, std::pair<int64_t, int64_t>> expected;
  for (int64_t i = 0; i < 3000; ++i) {
    const std::string key = std::to_string(i * i % 97 * (i % 3));
    Queue(key, i);
    ++expected[key].first;
    expected[key].second += i;
  }
  count_queued();
  EXPECT_EQ(list_.length, expected.size());
  for (const ListItem* item = list_.first; item != nullptr; item = item->next) {
    EXPECT_EQ(std::pair(item->count, item->amount()), expected[std::string(item->key())]) << item->key();
  }
}

TEST_F(AmountsTest, NothingIsAddedUpInOtherLists) {
  Add("a", 2);
  EXPECT_FALSE(list_.first->has_amount);
  EXPECT_EQ(AmountOf(*list_.first), 0);
}

TEST_F(AmountsTest, StandBehindSublists) {
  Begin(SubLists::kAny);
  count_amounts(7);
  add_item(list_, info_, "key", "sub", nullptr, false);
  add_item(list_, info_, "key", "other", nullptr, false);
  const ListItem& item = *list_.first;
  EXPECT_EQ(item.amount(), 14);
  EXPECT_EQ(item.sublist()->length, 2U);
  EXPECT_FALSE(item.sublist()->first->has_amount);
}

TEST_F(AmountsTest, RankWhereTheyAreAskedToAndCountsDecideBetweenEqualOnes) {
  Begin();
  add_items(list_, info_, "often", {9, 10});
  add_items(list_, info_, "large", {1, 500});
  add_items(list_, info_, "a", {2, 10});
  add_items(list_, info_, "b", {2, 10});
  EXPECT_EQ(Sums(SortList(list_)), "often(9, 10) b(2, 10) a(2, 10) large(1, 500) ");
  EXPECT_EQ(Sums(SortList(list_, SIZE_MAX, RankedBy::kAmount)),
            "large(1, 500) often(9, 10) b(2, 10) a(2, 10) ");
  for (int i = 0; i < 100; ++i) {
    add_items(list_, info_, "rare" + std::to_string(i), {1, i % 9});
  }
  EXPECT_EQ(Sums(SortList(list_, 2, RankedBy::kAmount)).substr(0, 27), "large(1, 500) often(9, 10) ");
}

TEST_F(AmountsTest, AreTakenWithTheirRecords) {
  Begin();
  add_items(list_, info_, "a", {3, 1000});
  char key[4];
  KeyCount found{};
  EXPECT_TRUE(take_first(list_, *info_, key, sizeof key, found));
  EXPECT_EQ(std::pair(found.count, found.amount), std::pair(int64_t{3}, int64_t{1000}));
}

TEST_F(AmountsTest, GoWithReclaimedRecordsAndStayWithOthers) {
  Begin();
  InitMemory(MemorySettings(10, 1, 500));
  for (int i = 0; i < 5000; ++i) {
    Queue("often", 2);
    Queue(std::to_string(i), 1);
  }
  count_queued();
  EXPECT_GT(info_->reclaimed, 0);
  for (const ListItem* item = list_.first; item != nullptr; item = item->next) {
    EXPECT_EQ(item->amount(), item->key() == "often" ? 2 * item->count : item->count) << item->key();
  }
}

TEST_F(AmountsTest, AreWrittenDownAndAddedOrPassedOver) {
  Begin();
  add_items(list_, info_, "a", {3, 1000});
  add_items(list_, info_, "b", {1, INT64_MAX});
  const std::string bytes = WrittenPart([this](PartWriter& part) { SaveList(part, list_); });
  const auto with_part = [&bytes](auto take) {
    const PartText text(bytes);
    PartReader part = text.reader();
    return take(part) && part.next == part.end;
  };
  EXPECT_TRUE(with_part([&](PartReader& part) { return AddSavedList(part, list_, info_, false); }));
  EXPECT_EQ(Sums(SortList(list_)), "a(6, 2000) b(2, 9223372036854775807) ");
  EXPECT_TRUE(with_part([](PartReader& part) { return PassSavedList(part); }));
  List plain;
  ListInfo* plain_info = nullptr;
  init_list(plain, plain_info, "Plain");
  EXPECT_TRUE(with_part([&](PartReader& part) { return AddSavedList(part, plain, plain_info, false); }));
  EXPECT_EQ(Text(SortList(plain)), "a(3) b(1) ");
  destroy(plain);
}

// ---- Counts that were written down ----

class SavedListTest : public CountingTableTest {
 protected:
  // What the list holds, written down; behind it there is room.
  static std::string Saved(const List& list) {
    count_queued();
    std::string bytes;
    PartWriter part;
    part.sink = {&bytes, [](void* context, const char* text, size_t size) {
                   static_cast<std::string*>(context)->append(text, size);
                 }};
    SaveList(part, list);
    FlushPart(part);
    return bytes;
  }
  // Reads so many of the bytes.
  static bool AddSaved(const std::string& bytes, size_t size, List& list, ListInfo* info, bool ignore_case) {
    std::string room = bytes.substr(0, size) + std::string(kScanOverread, 'x');
    PartReader part{room.data(), room.data() + size};
    return AddSavedList(part, list, info, ignore_case) && part.next == part.end;
  }
  static bool AddComing(const std::string& bytes, List& list, ListInfo* info, bool ignore_case) {
    ComingPart coming(bytes);
    PartReader part = coming.reader();
    return AddSavedList(part, list, info, ignore_case) && part.next == part.end;
  }
  static std::string Everything(List& list) {
    std::string text;
    for (const ListItem* item = KeyOrder(list); item != nullptr; item = item->next) {
      text.append(item->key()).append("=").append(std::to_string(item->count));
      if (List* const sublist = item->sublist()) {
        text.append("[").append(Text(KeyOrder(*sublist))).append("]");
      }
      text.append(" ");
    }
    return text;
  }
  // Counts made-up keys, in which letters of both cases stand.
  void CountSome(List& list, ListInfo* info, unsigned from, unsigned to, bool ignore_case) {
    for (unsigned i = from; i < to; ++i) {
      const unsigned n = i * 2654435761U >> 7;
      std::string key = "/Page" + std::to_string(n % 700);
      key[1] = n % 3 == 0 ? 'p' : 'P';
      const std::string subkey = n % 5 == 0 ? "" : "From" + std::to_string(n % 11);
      add_item(list, info, key, subkey, nullptr, ignore_case);
    }
  }
};

TEST_F(SavedListTest, AddsUpToTheListOfOneRun) {
  for (const SubLists sublists : {SubLists::kAny, SubLists::kNone}) {
    for (const bool ignore_case : {false, true}) {
      List whole;
      List sum;
      ListInfo* whole_info = nullptr;
      ListInfo* sum_info = nullptr;
      init_list(whole, whole_info, "Whole", sublists);
      init_list(sum, sum_info, "Sum", sublists);
      CountSome(whole, whole_info, 0, 9000, ignore_case);
      for (const auto& [from, to] :
           {std::pair{0U, 1U}, {1U, 40U}, {40U, 40U}, {40U, 5000U}, {5000U, 9000U}}) {
        List piece;
        ListInfo* piece_info = nullptr;
        init_list(piece, piece_info, "Piece", sublists);
        CountSome(piece, piece_info, from, to, ignore_case);
        const std::string bytes = Saved(piece);
        ASSERT_TRUE(AddSaved(bytes, bytes.size(), sum, sum_info, ignore_case));
        destroy(piece);
      }
      EXPECT_EQ(Everything(sum), Everything(whole));
      EXPECT_EQ(sum_info->entries, whole_info->entries);
      EXPECT_EQ(sum_info->kinds[0], whole_info->kinds[0]);
      destroy(whole);
      destroy(sum);
    }
  }
}

TEST_F(SavedListTest, IsTheSameWhenItsBytesMove) {
  for (const SubLists sublists : {SubLists::kAny, SubLists::kNone}) {
    List list;
    List sum;
    ListInfo* info = nullptr;
    ListInfo* sum_info = nullptr;
    init_list(list, info, "List", sublists);
    init_list(sum, sum_info, "Sum", sublists);
    CountSome(list, info, 0, 5000, false);
    EXPECT_TRUE(AddComing(Saved(list), sum, sum_info, false));
    EXPECT_EQ(Everything(sum), Everything(list));
    destroy(list);
    destroy(sum);
  }
}

TEST_F(SavedListTest, TakesLittleMoreThanItsKeys) {
  size_t keys = 0;
  for (int i = 0; i < 1000; ++i) {
    const std::string key = "/folder/page" + std::to_string(i) + ".html";
    Add(key, 3);
    keys += key.size();
  }
  EXPECT_LE(Saved(list_).size(), keys * 13 / 10);
}

TEST_F(SavedListTest, CutAnywhereIsDamaged) {
  CountSome(list_, info_, 0, 300, false);
  const std::string bytes = Saved(list_);
  for (size_t size = 0; size < bytes.size(); size += 1 + size / 50) {
    List sum;
    ListInfo* info = nullptr;
    init_list(sum, info, "Sum", SubLists::kAny);
    ASSERT_FALSE(AddSaved(bytes, size, sum, info, false)) << size;
    destroy(sum);
  }
}

TEST_F(SavedListTest, OfWhatCouldNotHaveBeenSavedIsDamaged) {
  using namespace std::string_literals;
  for (const std::string& bytes :
       {"\1\0\1a\0"s, "\1\0\0\1"s, "\1\0\2a\0\1"s, "\1\2\1a\1"s, "\2\0\1a\1"s,
        "\1\0\1a\xff\xff\xff\xff\xff\xff\xff\xff\xff\1"s, "\1\0\xf4\1"s + std::string(244, 'k') + "\1"s,
        "\1\1\1a\1\1\0\1"s, "\xff\xff\xff\xff\x0f\0\1a\1"s}) {
    EXPECT_FALSE(AddSaved(bytes, bytes.size(), list_, info_, false)) << testing::PrintToString(bytes);
  }
  List flat;
  ListInfo* info = nullptr;
  init_list(flat, info, "Flat");
  const std::string with_sublist = "\1\1\1a\1\1\1b\1";
  EXPECT_TRUE(AddSaved("\1\1\1a\1\1\1b\1", with_sublist.size(), list_, info_, false));
  EXPECT_TRUE(AddSaved("\1\1\1a\1\1\1b\1", with_sublist.size(), flat, info, false));
  EXPECT_EQ(flat.first->sublist(), nullptr);
  EXPECT_FALSE(AddSaved("\1\1\1a\1\1\1b", with_sublist.size() - 1, flat, info, false));
  destroy(flat);
}

TEST_F(SavedListTest, CanBePassedOver) {
  for (const bool with_sublists : {false, true}) {
    for (int i = 0; i < 300; ++i) {
      const std::string key = "/" + std::to_string(i);
      add_item(list_, info_, key, with_sublists && i % 3 != 0 ? key + "/from" : "", nullptr, false);
    }
    const std::string bytes = Saved(list_) + "behind";
    PartReader part{bytes.data(), bytes.data() + bytes.size()};
    EXPECT_TRUE(PassSavedList(part));
    EXPECT_EQ(std::string(part.next, part.end), "behind");
    for (size_t size = 0; size < bytes.size() - 6; size += 1 + size / 50) {
      PartReader cut{bytes.data(), bytes.data() + size};
      EXPECT_FALSE(PassSavedList(cut)) << size;
    }
  }
}

TEST_F(CountingTableTest, DropsRecordsThatAreToGo) {
  std::map<std::string, int64_t> kept;
  int64_t gone = 0;
  for (int i = 0; i < 3000; ++i) {
    const std::string key = std::to_string(i % 700) + (i % 3 == 0 ? ".png" : "");
    Add(key);
    (i % 3 == 0 ? gone : kept[key])++;
  }
  const auto goes = [](std::string_view key) { return key.ends_with(".png"); };
  EXPECT_EQ(drop_items(list_, *info_, goes).count, gone);
  EXPECT_EQ(list_length(list_), kept.size());
  std::map<std::string, int64_t> left;
  for (const ListItem* item = SortList(list_); item != nullptr; item = item->next) {
    left[std::string(item->key())] = item->count;
  }
  EXPECT_EQ(left, kept);
  EXPECT_EQ(drop_items(list_, *info_, goes).count, 0);
  EXPECT_EQ(drop_items(list_, *info_, [](std::string_view) { return true; }).count, 3000 - gone);
  EXPECT_EQ(list_length(list_), 0u);
}

// Of two, one of which stands below a letter that both have in common, and of which one ends in another case.
TEST_F(CountingTableTest, ShowsTheLeastOfSpellingsInAnyOrder) {
  SetCountingLimits(kModernLimits);
  std::vector<std::string> spellings = {"http://Other.example/A", "http://other.example/a",
                                        "HTTP://other.example/A", "http://other.example/A",
                                        "http://other.EXAMPLE/a", "http://another.example/"};
  std::ranges::sort(spellings);
  do {
    destroy(list_);
    for (const std::string& spelling : spellings) {
      Add(spelling, 1, true);
    }
    ASSERT_EQ(Text(KeyOrder(list_)), "http://another.example/(1) HTTP://other.example/A(5) ");
  } while (std::ranges::next_permutation(spellings).found);
  SetCountingLimits(kClassicLimits);
}

TEST_F(CountingTableTest, ShowsTheFirstOfSpellingsInTheClassicEdition) {
  SetCountingLimits(kClassicLimits);
  Add("b", 1, true);
  Add("B", 2, true);
  EXPECT_EQ(Text(KeyOrder(list_)), "b(3) ");
}
