// Counting tables and smart memory in their plain form: one linked list in key
// order for each table, walked from its first record for everything. The tests
// hold the fast form against it.
#pragma once

#include <strings.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/limits.h"
#include "base/text.h"

namespace plain {

inline constexpr int32_t kItemSize = 256;

struct Item {
  char name[kLongestItem + 1];
  int64_t count;
  Item* next;
  Item* sublist;
};

struct Info {
  Item** head;
  int32_t entries;
  int32_t reclaimed;
  Info* next;
};

struct Memory {
  Limits limits = kClassicLimits;
  bool enabled = true;
  int32_t keep = 100;
  int32_t reclaim_kilobytes = 1000;
  int64_t max_bytes = 0;
  int64_t total = 0;
  int64_t current = 0;
  int64_t maximum = 0;
  int64_t freed = 0;
  long refuse_at = 0;  // number of the allocation that is refused, from 1; 0: none
  long allocations = 0;
  Info* first = nullptr;
  Info* last = nullptr;
};

inline Memory memory;

inline void init_list(Item*& list, Info& info) {
  list = nullptr;
  info = {&list, 0, 0, nullptr};
  (memory.first == nullptr ? memory.first : memory.last->next) = &info;
  memory.last = &info;
}

inline void release(Item* item) {
  while (item != nullptr) {
    Item* const gone = item;
    item = item->next;
    release(gone->sublist);
    delete gone;
  }
}

inline bool AnyBut(const Item* item, const Item* spared) {
  return item != nullptr && (item != spared || item->next != nullptr);
}

inline void RemoveAt(Item** link, Info& info, int64_t& freed) {
  Item* const item = *link;
  for (Item* sub = item->sublist; sub != nullptr; sub = sub->next) {
    freed += kItemSize;
    memory.current -= kItemSize;
  }
  release(item->sublist);
  *link = item->next;
  delete item;
  freed += kItemSize;
  memory.current -= kItemSize;
  --info.entries;
  ++info.reclaimed;
}

inline int64_t Bytes(int32_t kilobytes) {
  const int64_t bytes = int64_t{kilobytes} * 1024;
  return memory.limits.wide_figures ? bytes : static_cast<int32_t>(bytes);
}

inline void smart_free(const Item* spared) {
  const int64_t target = Bytes(memory.reclaim_kilobytes);
  int64_t freed = 0;
  Info* victim = nullptr;
  bool stuck = false;
  while (!stuck && freed < target) {
    for (Info* info = memory.first; info != nullptr; info = info->next) {
      if (victim == nullptr || info->entries > victim->entries) {
        victim = info;
      }
    }
    if (victim == nullptr || victim->entries <= memory.keep) {
      break;
    }
    for (int64_t threshold = 1; freed < target && victim->entries > memory.keep && !stuck; ++threshold) {
      for (Item** link = victim->head; *link != nullptr && freed < target && victim->entries > memory.keep;) {
        if ((*link)->count <= threshold && *link != spared) {
          RemoveAt(link, *victim, freed);
        } else {
          link = &(*link)->next;
        }
      }
      stuck = freed < target && victim->entries > memory.keep && !AnyBut(*victim->head, spared);
    }
  }
  memory.freed += freed;
}

inline void ReclaimAfterRefusal(const Item* spared) {
  memory.maximum = memory.current > memory.maximum ? memory.current : memory.maximum;
  smart_free(spared);
}

inline Item* Allocate() {
  return ++memory.allocations == memory.refuse_at ? nullptr : new Item{};
}

inline Item* smart_alloc(Info& info, const Item* parent) {
  if (!memory.enabled) {
    return Allocate();
  }
  Item* item = nullptr;
  if (memory.max_bytes == 0 || memory.current < memory.max_bytes) {
    item = Allocate();
  }
  if (item == nullptr) {
    ReclaimAfterRefusal(parent);
    item = Allocate();
  }
  if (item != nullptr) {
    info.entries += parent == nullptr ? 1 : 0;
    memory.total += kItemSize;
    memory.current += kItemSize;
  }
  return item;
}

using Compare = int (*)(const char*, const char*);

inline Item** PlaceOf(Item*& list, const char* key, Compare compare) {
  Item** link = &list;
  while (*link != nullptr && compare((*link)->name, key) < 0) {
    link = &(*link)->next;
  }
  return link;
}

inline void add_item(Item*& list, Info& info, const std::string& key, const std::string& subkey, Item* parent,
                     bool ignore_case) {
  if (key.empty()) {
    return;
  }
  const std::string kept = key.substr(0, memory.limits.item);
  const Compare compare = ignore_case ? strcasecmp : strcmp;
  Item* item = *PlaceOf(list, kept.c_str(), compare);
  if (item != nullptr && compare(item->name, kept.c_str()) == 0) {
    item->count = Wrapped(memory.limits, item->count + 1);
    if (memory.limits.least_spelling && strcmp(kept.c_str(), item->name) < 0) {
      CopyText(item->name, kept);
    }
  } else {
    item = smart_alloc(info, parent);
    if (item == nullptr) {
      abort();
    }
    CopyText(item->name, kept);
    item->count = 1;
    Item** const link = PlaceOf(list, kept.c_str(), compare);  // a reclaim may have thinned the list
    item->next = *link;
    *link = item;
  }
  if (!subkey.empty()) {
    add_item(item->sublist, info, subkey, "", item, ignore_case);
  }
}

inline Item** LinkTo(Item*& list, const char* name) {
  Item** link = &list;
  while (strcmp((*link)->name, name) != 0) {
    link = &(*link)->next;
  }
  return link;
}

inline Item* MoveItem(Item* list, const char* key, const char* behind) {
  if (strcmp(list->name, key) == 0) {
    return list;
  }
  Item** const from = LinkTo(list, key);
  Item* const moved = *from;
  *from = moved->next;
  Item** const to = behind[0] == '\0' ? &list : &(*LinkTo(list, behind))->next;
  moved->next = *to;
  *to = moved;
  return list;
}

inline Item* SortList(Item* list) {
  int64_t limit = memory.limits.ranked;
  char previous[kLongestItem + 1] = "";
  for (;;) {
    int64_t best = 0;
    const Item* chosen = nullptr;
    const Item* item = previous[0] == '\0' ? list : *LinkTo(list, previous);
    for (; item != nullptr; item = item->next) {
      if (strcmp(item->name, previous) != 0 && item->count >= best && item->count <= limit) {
        best = item->count;
        chosen = item;
      }
    }
    if (chosen == nullptr) {
      return list;
    }
    limit = chosen->count;
    char name[kLongestItem + 1];
    CopyText(name, chosen->name);
    list = MoveItem(list, name, previous);
    CopyText(previous, name);
  }
}

}  // namespace plain
