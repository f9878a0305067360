// Counting tables: every ranked report counts its items in one.
//
// The contract is a singly linked list of item records in ascending key order
// (byte-wise unsigned, or ASCII case ignored). Counting neither walks nor keeps
// that list: each list has a hash index of its own, and the order is made when
// somebody needs it (a reclaim, or the end of the run).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

struct List;
struct ListInfo;

// What one record counts as in the memory statistics, whatever it really takes.
inline constexpr size_t kListItemSize = 256;

struct ListItem {
  ListItem* next;  // meaningful in the lists that KeyOrder and SortList return
  List* sublist;   // null when empty
  uint32_t hash;
  int32_t count;
  uint16_t length;
  char name[];  // NUL-terminated, at most kTextMax characters

  std::string_view key() const { return {name, length}; }
};

// One list, top-level or sub-list. Zero-initialised it is the empty list.
struct List {
  ListItem* first;  // head of the list last ordered
  size_t length;
};

// Descriptor of a top-level list, chained in creation order.
struct ListInfo {
  List* head;
  const char* name;   // display name; must outlive the run
  int32_t entries;    // top-level records in the list
  int32_t reclaimed;  // top-level records that memory reclaims removed
  ListInfo* next;
};

struct ListInfoChain {
  ListInfo* first;
  ListInfo* last;
};
extern ListInfoChain gListInfo;

// Empties the list and appends a descriptor for it to gListInfo. list and name
// must outlive the run's reclaims.
void init_list(List& list, ListInfo*& info, const char* name);

// Counts one occurrence of key (cut to 243 characters) and, when subkey is
// present, one of subkey in that record's sub-list. An absent or empty key does
// nothing; an empty subkey counts as absent. parent is null for a top-level
// list. A list is always given the same ignore_case; in one that ignores case
// the first spelling seen stays. When memory is refused even after a reclaim,
// the process exits at once with status 1.
void add_item(List& list, ListInfo* info, std::string_view key, std::string_view subkey, ListItem* parent,
              bool ignore_case);

// Records in the list.
size_t list_length(const List& list);

// Sum of the counts.
int64_t TotalList(const List& list);

// Links the records in ascending key order and returns the first.
ListItem* KeyOrder(List& list);

// Links the records in display order and returns the first: counts descending,
// ties in descending key order; counts above 999999, and below 0, stay behind
// all others in ascending key order. Only the first `shown` records need be in
// their places; those behind them are linked in no particular order.
ListItem* SortList(List& list, size_t shown = SIZE_MAX);

// Releases every record, sub-lists included; the memory statistics stay.
void destroy(List& list);

// Releases the descriptors and empties gListInfo.
void destroyListInfo();
