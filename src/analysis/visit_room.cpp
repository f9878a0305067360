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

static uint32_t PlaceOfLonger(VisitRoom& room, const Visit& visit) {
  ++room.longer_count;
  if (room.free_longer == 0) {
    Append(room.longer, visit);
    return static_cast<uint32_t>(room.longer.length);
  }
  Visit& free = room.longer[room.free_longer - 1];
  const uint32_t place = std::exchange(room.free_longer, free.entry);
  free = visit;
  return place;
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
  if (room.free == 0) {
    if (room.kept.length == UINT32_MAX) {
      EndWithoutMemory();  // of 64 GB
    }
    Append(room.kept, kept);
    return static_cast<uint32_t>(room.kept.length);
  }
  KeptVisit& free = room.kept[room.free - 1];
  const uint32_t place = std::exchange(room.free, free.before);
  free = kept;
  return place;
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
