// Cut-offs: how much of a counting table a section shows, and the way through it
// that ends there.
#pragma once

#include <cstddef>
#include <cstdint>

#include "analysis/counting_table.h"
#include "cgi/settings.h"

struct CutOff {
  int top;       // most rows shown, or a percentage of the distinct items; 0 shows all, a negative one none
  bool percent;  // what top is
  int greater;   // smallest count shown
};

// Shows everything, whatever its count.
inline constexpr CutOff kUncut{0, false, INT32_MIN};

CutOff CutOffOf(const RankedReport& report);

// Whether both numbers are -1: nobody asked for a cut-off.
bool IsUnset(const CutOff& cut_off);

// The most rows that top allows of so many distinct items.
size_t RowsAllowed(const CutOff& cut_off, size_t distinct);

// Whether the cut-off lets a section say that all of its items are shown.
// deliberate: it does as soon as top lets through more than there are, whatever
// greater hides.
bool AllShown(const CutOff& cut_off, int64_t distinct);

// A part of a whole, 1 for all of it; 0 of an empty whole.
double Share(int64_t count, int64_t total);

// The items of a list by rank, up to a cut-off.
struct ItemCursor {
  const ListItem* next;
  size_t left;
  int greater;
  bool by_count;                     // no item counts more than the one before it
  const ListItem* lowest = nullptr;  // of the items that stand in order of their keys, the last by rank that
                                     // is shown; null: all are, or they stand by rank
};

// Puts the list into display order, as far as it is shown. The list may not be
// sorted or counted in before the last item was taken.
ItemCursor OpenItems(List& list, const CutOff& cut_off, RankedBy by = RankedBy::kCount);

// The same items in ascending order of their keys, whose case counts.
ItemCursor OpenItemsByKey(List& list, const CutOff& cut_off);

// The next item; null behind the last.
const ListItem* NextItem(ItemCursor& cursor);
