#include "analysis/visit_room.h"

#include <utility>

#include "base/memory_end.h"

// Of one page at the time of a request of the visit: a part may say anything.
static bool IsOfOnePage(const Visit& visit) {
  return visit.pages == 1 && visit.entry == visit.exit && visit.entry_time == visit.exit_time &&
         visit.entry_time >= visit.first && visit.entry_time <= visit.last;
}

static bool IsShort(const Visit& visit) {
  return visit.first >= 0 && visit.first <= UINT32_MAX && visit.last - visit.first <= kLongestShort &&
         (visit.pages == 0 || IsOfOnePage(visit));
}

// On a place that is nobody's, of which next_of tells the next one, or behind all others.
template <typename T, typename NextOf>
static uint32_t KeepOn(Growing<T>& items, uint32_t& free, const T& item, NextOf next_of) {
  if (free == 0) {
    if (items.length == UINT32_MAX) {
      EndWithoutMemory();  // of 64 GB or more
    }
    Append(items, item);
    return static_cast<uint32_t>(items.length);
  }
  T& taken = items[free - 1];
  const uint32_t place = std::exchange(free, next_of(taken));
  taken = item;
  return place;
}

static uint32_t PlaceOfLonger(VisitRoom& room, const Visit& visit) {
  ++room.longer_count;
  return KeepOn(room.longer, room.free_longer, visit, [](const Visit& free) { return free.entry; });
}

static void DropLonger(VisitRoom& room, uint32_t place) {
  room.longer[place - 1].entry = std::exchange(room.free_longer, place);
  --room.longer_count;
}

static KeptVisit KeptOf(VisitRoom& room, const Visit& visit) {
  if (!IsShort(visit)) {
    return {.first = 0,
            .length = kOfLonger,
            .pages_before = static_cast<uint32_t>(PagesBefore::kNone) & 3U,
            .page_at = kNoPage,
            .url = PlaceOfLonger(room, visit),
            .before = 0};
  }
  const bool page = visit.pages == 1;
  return {.first = static_cast<uint32_t>(visit.first),
          .length = static_cast<uint32_t>(visit.last - visit.first) & kOfLonger,
          .pages_before = static_cast<uint32_t>(PagesBefore::kNone) & 3U,
          .page_at = page ? static_cast<uint32_t>(visit.entry_time - visit.first) & kNoPage : kNoPage,
          .url = page ? visit.entry : 0,
          .before = 0};
}

static uint32_t Keep(VisitRoom& room, const KeptVisit& kept) {
  ++room.count;
  return KeepOn(room.kept, room.free, kept, [](const KeptVisit& free) { return free.before; });
}

uint32_t KeepVisit(VisitRoom& room, const Visit& visit) {
  return Keep(room, KeptOf(room, visit));
}

uint32_t KeepVisitBehind(VisitRoom& room, const Visit& visit, uint32_t before, PagesBefore pages_before) {
  KeptVisit kept = KeptOf(room, visit);
  kept.before = before;
  kept.pages_before = static_cast<uint32_t>(pages_before) & 3U;
  return Keep(room, kept);
}

void SetVisit(VisitRoom& room, uint32_t place, const Visit& visit) {
  KeptVisit& kept = room.kept[place - 1];
  if (kept.length == kOfLonger) {
    DropLonger(room, kept.url);
  }
  KeptVisit become = KeptOf(room, visit);
  become.before = kept.before;
  become.pages_before = kept.pages_before;
  kept = become;
}

uint32_t DropVisit(VisitRoom& room, uint32_t place) {
  KeptVisit& kept = room.kept[place - 1];
  if (kept.length == kOfLonger) {
    DropLonger(room, kept.url);
  }
  kept.length = kOfNobody;
  --room.count;
  return std::exchange(kept.before, std::exchange(room.free, place));
}
