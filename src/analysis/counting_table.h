// Counting tables: every ranked report counts its items in one.
//
// The contract is a singly linked list of item records in ascending key order
// (byte-wise unsigned, or ASCII case ignored). Counting neither walks nor keeps
// that list: a record is found through its list's hash index, and as much order
// as somebody needs (a reclaim, or the end of the run) is made at that time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/limits.h"
#include "base/part_bytes.h"

struct List;
struct ListInfo;

// Names a record in 32 bits; 0: none.
using ItemRef = uint32_t;

// What one record counts as in the memory statistics, whatever it really takes.
inline constexpr size_t kListItemSize = 256;

// Seconds since 1970-01-01 of the first and of the last of some moments, in whatever order they come. Without
// any, first is behind last.
struct TimeSpan {
  int64_t first;
  int64_t last;
};
inline constexpr TimeSpan kNoTimes = {INT64_MAX, INT64_MIN};

// A record. A few words and the key, close together: see item_store.h.
struct ListItem {
  uint32_t hash;        // of the key; differs from run to run
  uint16_t length;      // at most kLongestItem
  uint8_t kind;         // what the list's classifier made of the key
  bool has_tail : 1;    // a pointer to a sub-list follows the padded name,
  bool has_amount : 1;  // a sum of amounts whatever stands there,
  bool has_span : 1;    // and the span of its times whatever stands there
  ListItem* next;
  int64_t rank;   // lower bound of count under which a reclaim has filed the record
  int64_t count;  // where figures are narrow, 32 bits of it count
  char name[];    // the key, padded with NULs to a multiple of eight characters, at least one

  std::string_view key() const { return {name, length}; }
  List* sublist() const { return has_tail ? *tail() : nullptr; }  // null when empty
  List** tail() const;
  int64_t& amount() const;  // where there is one
  TimeSpan& span() const;   // likewise
};
static_assert(sizeof(ListItem) == 32 && offsetof(ListItem, name) == 32);
static_assert(kLongestItem <= UINT16_MAX);

// A record's name is padded with NULs up to a whole word beyond its key.
inline constexpr size_t kKeyWord = 8;
inline size_t PaddedKeySize(size_t length) {
  return (length / kKeyWord + 1) * kKeyWord;
}

inline constexpr size_t kTailSize = sizeof(void*);
inline constexpr size_t kAmountSize = sizeof(int64_t);
inline constexpr size_t kSpanSize = sizeof(TimeSpan);

inline List** ListItem::tail() const {
  return reinterpret_cast<List**>(const_cast<char*>(name) + PaddedKeySize(length));
}

inline int64_t& ListItem::amount() const {
  return *reinterpret_cast<int64_t*>(const_cast<char*>(name) + PaddedKeySize(length) +
                                     (has_tail ? kTailSize : 0));
}

inline TimeSpan& ListItem::span() const {
  return *reinterpret_cast<TimeSpan*>(const_cast<char*>(name) + PaddedKeySize(length) +
                                      (has_tail ? kTailSize : 0) + (has_amount ? kAmountSize : 0));
}

// The times of a record; none where none are kept.
inline TimeSpan SpanOf(const ListItem& item) {
  return item.has_span ? item.span() : kNoTimes;
}

// The sum of amounts of a record; 0 where none are added up.
inline int64_t AmountOf(const ListItem& item) {
  return item.has_amount ? item.amount() : 0;
}

struct IndexLine;

// One list, top-level or sub-list. Zero-initialised it is the empty list.
struct List {
  ListItem* first;   // chain of all records, in no order that callers may rely on
  IndexLine* lines;  // open-addressing index by key; null while the list is short
  uint32_t length;
  uint8_t spare_bits;  // the index has a line for each value of a hash without these, its lowest
  uint8_t pivots;      // how many of the descriptor's pivots hold
  bool ignore_case;
  bool has_sublists : 1;  // perhaps
  bool attacked : 1;      // keys have collided as by chance they never do, and are hashed another way
  bool parts_behind : 1;  // parts of keys are counted with each key

  uint32_t mask() const { return UINT32_MAX >> spare_bits; }  // of the index's lines
  size_t capacity() const;                                    // records that the index has places for
};
static_assert(sizeof(List) == 24);  // there may be one for each record

// A reclaim keeps what it learns about the order of a list: pivots cut its chain
// into parts. Each is the first record of a part and precedes, in the order in
// which reclaims take records, all others of that part and of the parts behind
// it; records before the last pivot precede that one, or are not filed yet. The
// pivots stand in the chain in falling index.
inline constexpr size_t kMaxPivots = 128;

// Sorts keys into kinds, so that this is done once for each record and not for
// each occurrence. Nothing but the key decides.
inline constexpr size_t kKinds = 5;
inline constexpr uint8_t kWatchedKind = 4;
using KeyClassifier = uint8_t (*)(std::string_view key);

// Part of a key, or any text that depends on nothing but the key; not to be changed, and perhaps empty.
using KeyPart = std::string_view (*)(std::string_view key);

// Is told of queued keys right before they are counted: of every key of the watched kind, and of any others.
// It may count keys itself, by count_now.
using KeyWatcher = void (*)(std::string_view key);

// Descriptor of a top-level list, chained in creation order.
struct ListInfo {
  List* head;
  const char* name;   // display name; must outlive the run
  int32_t entries;    // top-level records in the list
  int32_t reclaimed;  // top-level records that memory reclaims removed
  ListInfo* next;
  bool sublists;           // top-level records may have sub-lists
  bool amounts;            // have sums of amounts
  bool spans;              // and the first and the last time of their occurrences
  KeyClassifier classify;  // null: all keys are of kind 0
  int64_t kinds[kKinds];   // occurrences of keys of each kind; as wide as a record's count
  KeyWatcher watcher;      // null: nobody is told of keys
  KeyPart part_of;         // null: parts of keys do not count
  ListInfo* parts;         // where they do
  ListItem* pivots[kMaxPivots];
};

struct ListInfoChain {
  ListInfo* first;
  ListInfo* last;
};
extern ListInfoChain gListInfo;

// How long keys may be and how wide counts, from now on; the classic limits until
// then. Called while no list holds records.
void SetCountingLimits(const Limits& limits);

// Empties the list and appends a descriptor for it to gListInfo. list and name
// must outlive the run's reclaims. Room for a sub-list, and for a sum of amounts, costs each record eight
// bytes, and that for times sixteen. When memory runs out, the process exits with status 1.
enum class SubLists { kNone, kAny };
enum class Amounts { kNone, kSummed };
enum class Spans { kNone, kKept };
void init_list(List& list, ListInfo*& info, const char* name, SubLists sublists = SubLists::kNone,
               Amounts amounts = Amounts::kNone, Spans spans = Spans::kNone);

// What each key that is queued from now on adds to the sum of its record, in lists that add amounts up, where
// it stays below 2^63. Not below 0, and 0 until this is called.
void count_amounts(int64_t amount);

// Has part_of each key that is counted in info's list from now on counted in the list of parts, too, right
// behind it. Neither list holds a record yet, nor ignores case, nor has sub-lists. What a key that is known
// already adds to its part is only there after count_parts: until then nobody reads the counts in the list of
// parts.
void count_parts_too(ListInfo& info, ListInfo& parts, KeyPart part_of);
void count_parts(ListInfo& info);

// Counts one occurrence of key (cut to the length of an item, without NULs) and,
// when subkey is present, one of subkey in that record's sub-list. An absent or empty
// key does nothing; an empty subkey counts as absent, as any does in a list without
// sub-lists. parent is null for a top-level list. A list is always given the same
// ignore_case; in one that ignores case the first spelling seen stays, or the least of all where the limits
// say so. When memory is
// refused even after reclaims, the process exits at once with status 1. Counts wrap at
// 32 bits where figures are narrow, which shows after the next KeyOrder, SortList or
// reclaim; TotalList takes them as wrapped.
// For other programs that link the library; tested, not used by orvellis.
void add_item(List& list, ListInfo* info, std::string_view key, std::string_view subkey, ListItem* parent,
              bool ignore_case);

// Counts as add_item does in a top-level list, but keys may wait in a short
// queue: most of what a key costs is waiting for memory, and they wait together.
// All are counted in the order of the calls, those of add_item included. The
// functions below count what waits first, but for forget_queued; whoever reads a
// record, a descriptor or the memory statistics by other ways calls count_queued
// before. Key and sub-key wait where they are: they must stay there, unchanged, until
// count_queued is called, and their buffers go on for kScanOverread bytes of
// superlog/byte_scan.h beyond them, which may change.
void queue_item(List& list, ListInfo* info, std::string_view key, bool ignore_case);
void queue_item(List& list, ListInfo* info, std::string_view key, std::string_view subkey, bool ignore_case);

// The same with the time of the occurrence, in a list that keeps times.
void queue_item_at(List& list, ListInfo* info, std::string_view key, int64_t time, bool ignore_case);

// The same for a key whose buffer is needed for something else; a sub-key stays where it is.
void queue_copy(List& list, ListInfo* info, std::string_view key, bool ignore_case);
void queue_copy(List& list, ListInfo* info, std::string_view key, std::string_view subkey, bool ignore_case);

// For watchers: counts the key before all that wait, and the one of which the watcher was told. It may be of
// any length, and its buffer may end with it.
void count_now(List& list, ListInfo* info, std::string_view key, bool ignore_case);

// What some occurrences of a key come to: 1 or more, and the sum of their amounts.
struct KeyCount {
  int64_t count;
  int64_t amount = 0;
};

// Counts so many occurrences at once, as add_item does. The buffer may end with the key.
void add_items(List& list, ListInfo* info, std::string_view key, const KeyCount& count);

// Counts so many occurrences of subkey in the sub-list of key; key itself counts no more than before. Does
// nothing where the list has no such key, or no sub-lists. The buffers may end with the texts.
void add_subitems(const List& list, ListInfo* info, std::string_view key, std::string_view subkey,
                  int64_t count);

// Takes the first record of the chain out of the list: copies its key, cut to the capacity, and tells what
// was counted. False when there is none. The memory budget has its room back.
bool take_first(List& list, ListInfo& info, char* key, size_t capacity, KeyCount& count);

// Takes all records out of the list that are to go, and tells what these counted together. The memory budget
// has their room back; as nothing tells any more which of the others would go first, it takes none of them.
KeyCount drop_items(List& list, ListInfo& info, bool (*goes)(std::string_view key));

// Counts all that wait.
void count_queued();

// Drops all that wait, uncounted: for a run that was given up.
void forget_queued();

// Records in the list.
size_t list_length(const List& list);

// Sum of the counts.
int64_t TotalList(const List& list);

// Links the records in ascending key order and returns the first, null of an
// empty list.
// For other programs that link the library; tested, not used by orvellis.
ListItem* KeyOrder(List& list);

// Links the records in display order and returns the first: counts descending,
// ties in descending key order; counts above the limits' `ranked` (999999 in the
// classic ones), and below 0, stay behind all others in ascending key order. Only the first `shown` records
// need be in their places; those behind them are linked in no particular order. Where memory for a selection
// is refused all are put in order. By amounts, their sums come first, and counts decide between equal ones.
enum class RankedBy : bool { kCount, kAmount };
ListItem* SortList(List& list, size_t shown = SIZE_MAX, RankedBy by = RankedBy::kCount);

// Releases every record, sub-lists included; the memory statistics stay. Their memory
// is free again when no list holds a record any more.
void destroy(List& list);

// The same of a list and of what its descriptor has counted, which stays for the keys that are counted next.
void empty_list(List& list, ListInfo& info);

// Writes down what a list has counted: keys, counts, sums of amounts, times, sub-lists. list_length of it
// comes first. Where times are kept, each of its keys has come with one.
void SaveList(PartWriter& part, const List& list);

// Adds what was written down, as if its keys had been counted as often behind all that were counted before;
// sub-lists, sums and times only where the list may have some. A list that keeps times takes none
// without them. The reader's bytes go on for kScanOverread bytes.
// False when the part is damaged, which may have added some of it.
bool AddSavedList(PartReader& part, List& list, ListInfo* info, bool ignore_case);

// Passes over it. False when the part ends before, or holds what was never written.
bool PassSavedList(PartReader& part);

// Takes all lists made so far out of gListInfo, so that no reclaim takes from
// them. Their descriptors stay, and count, until destroyListInfo.
void exempt_lists();

// Releases all descriptors, those of exempted lists too, and empties gListInfo.
void destroyListInfo();
