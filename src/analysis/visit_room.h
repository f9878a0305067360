// Room for the visits of all visitors, each with the one of the same visitor before it.
//
// There are very many, and most are of one page at most and not long: such a one takes 16 bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "analysis/visit.h"
#include "base/growing.h"

// What is known of the visits before without a look at them, which is a wait for memory.
enum class PagesBefore : uint32_t {
  kUnknown,
  kNone,        // no visit before has pages
  kDaysBefore,  // one has, and all ended on earlier days
};

struct KeptVisit {
  uint32_t first;        // seconds since 1970-01-01
  uint32_t length : 14;  // seconds until its last request; or one of those below
  uint32_t pages_before : 2;
  uint32_t page_at : 16;  // seconds until its page; kNoPage: it has none
  uint32_t url;           // of the page; kOfLonger: where all of it stands among the longer ones, 1 more
  uint32_t before;        // the place of the one before; 0: none. kOfNobody: the next such place
};

inline constexpr uint32_t kOfLonger = 0x3fff;  // all of it stands elsewhere
inline constexpr uint32_t kOfNobody = 0x3ffe;  // the place is free
inline constexpr uint32_t kLongestShort = 0x3ffd;
inline constexpr uint32_t kNoPage = UINT16_MAX;

inline PagesBefore PagesBeforeOf(const KeptVisit& kept) {
  return static_cast<PagesBefore>(kept.pages_before);
}

// A place is the number of a visit, and 1 more, so that 0 is none.
struct VisitRoom {
  Growing<KeptVisit> kept;
  Growing<Visit> longer;
  uint32_t free = 0;         // the first place that is nobody's
  uint32_t free_longer = 0;  // likewise; the next one is where the entry's URL was
  int64_t count = 0;         // visits that are somebody's
  int64_t longer_count = 0;
  bool all_in_order = true;  // those of each visitor
};

inline const KeptVisit& KeptAt(const VisitRoom& room, uint32_t place) {
  return room.kept[place - 1];
}

inline Visit VisitOf(const VisitRoom& room, const KeptVisit& kept) {
  if (kept.length == kOfLonger) {
    return room.longer[kept.url - 1];
  }
  Visit visit = kept.page_at == kNoPage ? VisitOfNoPage(kept.first)
                                        : VisitOfPage(int64_t{kept.first} + kept.page_at, kept.url);
  visit.first = kept.first;
  visit.last = int64_t{kept.first} + kept.length;
  return visit;
}

inline Visit VisitAt(const VisitRoom& room, uint32_t place) {
  return VisitOf(room, KeptAt(room, place));
}

// Keeps the first visit of a visitor; or one behind that on the place before. Tells its place.
uint32_t KeepVisit(VisitRoom& room, const Visit& visit);
uint32_t KeepVisitBehind(VisitRoom& room, const Visit& visit, uint32_t before, PagesBefore pages_before);

// Replaces the visit of a place by what it has become, without coming closer to the one before.
void SetVisit(VisitRoom& room, uint32_t place, const Visit& visit);

// Leaves the place to others, and tells that of the visit before.
uint32_t DropVisit(VisitRoom& room, uint32_t place);

// Has what VisitAt will look at be brought to the processor.
inline void FetchVisit(const VisitRoom& room, uint32_t place) {
  __builtin_prefetch(&KeptAt(room, place));
}

// Calls use(url) for the number of each URL that a visit has, which it may change.
template <typename Use>
void ForEachUrl(VisitRoom& room, Use use) {
  for (size_t i = 0; i < room.kept.length; ++i) {
    KeptVisit& kept = room.kept[i];
    if (kept.length == kOfLonger) {
      Visit& visit = room.longer[kept.url - 1];
      if (visit.pages > 0) {
        use(visit.entry);
        use(visit.exit);
      }
    } else if (kept.length != kOfNobody && kept.page_at != kNoPage) {
      use(kept.url);
    }
  }
}
