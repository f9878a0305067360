#include "sections/cut_off.h"

CutOff CutOffOf(const RankedReport& report) {
  return {report.top, report.top_is_percent != 0, report.greater};
}

bool IsUnset(const CutOff& cut_off) {
  return cut_off.top == -1 && cut_off.greater == -1;
}

size_t RowsAllowed(const CutOff& cut_off, size_t distinct) {
  if (cut_off.top == 0) {
    return distinct;
  }
  if (cut_off.top < 0) {
    return 0;
  }
  const auto limit = static_cast<size_t>(cut_off.top);
  return cut_off.percent ? distinct * limit / 100 : limit;
}

bool AllShown(const CutOff& cut_off, int64_t distinct) {
  const bool has_cut_off = cut_off.top > 0 || cut_off.greater >= 2;
  const bool reaches_cut_off = distinct > cut_off.top || cut_off.percent;
  const bool cuts = !cut_off.percent || cut_off.top < 100;
  return !(has_cut_off && reaches_cut_off && cuts);
}

double Share(int64_t count, int64_t total) {
  return total == 0 ? 0.0 : static_cast<double>(count) / static_cast<double>(total);
}

// Where amounts rank the items, those of a smaller count are passed over, and any may follow.
ItemCursor OpenItems(List& list, const CutOff& cut_off, RankedBy by) {
  const size_t shown = RowsAllowed(cut_off, list_length(list));
  const bool by_count = by == RankedBy::kCount;
  const bool any = by_count || cut_off.greater <= 1;
  return {SortList(list, any ? shown : SIZE_MAX, by), shown, cut_off.greater, by_count};
}

ItemCursor OpenItemsByKey(List& list, const CutOff& cut_off) {
  ItemCursor ranked = OpenItems(list, cut_off);
  const bool all = ranked.left >= list_length(list);
  const ListItem* lowest = nullptr;
  for (size_t i = all ? ranked.left : 0; i < ranked.left; ++i) {
    lowest = i == 0 ? ranked.next : lowest->next;
  }
  return {KeyOrder(list), ranked.left, cut_off.greater, false, lowest};
}

// Of equal counts the greater key comes first.
static bool RanksBelow(const ListItem& item, const ListItem& other) {
  return item.count != other.count ? item.count < other.count : item.key() < other.key();
}

static bool CountsTooFew(const ListItem* item, const ItemCursor& cursor) {
  return item != nullptr &&
         (item->count < cursor.greater || (cursor.lowest != nullptr && RanksBelow(*item, *cursor.lowest)));
}

const ListItem* NextItem(ItemCursor& cursor) {
  const ListItem* item = cursor.next;
  while (!cursor.by_count && CountsTooFew(item, cursor)) {
    item = item->next;
  }
  if (item == nullptr || cursor.left == 0 || CountsTooFew(item, cursor)) {
    cursor.left = 0;
    return nullptr;
  }
  --cursor.left;
  cursor.next = item->next;
  return item;
}
