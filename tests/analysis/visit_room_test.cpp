#include "analysis/visit_room.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>
#include <vector>

namespace {

constexpr int64_t kSomeDay = 983750400;  // 2001-03-05, 00:00 in UTC

// All that means something of it.
using VisitFields = std::tuple<int64_t, int64_t, uint64_t, int64_t, int64_t, uint32_t, uint32_t>;
VisitFields FieldsOfVisit(const Visit& visit) {
  if (visit.pages == 0) {
    return {visit.first, visit.last, 0, 0, 0, 0, 0};
  }
  return {visit.first, visit.last, visit.pages, visit.entry_time, visit.exit_time, visit.entry, visit.exit};
}

Visit LongVisit() {
  return {.first = kSomeDay,
          .last = kSomeDay + 100,
          .pages = 2,
          .entry_time = kSomeDay,
          .exit_time = kSomeDay + 7,
          .entry = 1,
          .exit = 2};
}

Visit Lasting(Visit visit, int64_t seconds) {
  visit.last += seconds;
  return visit;
}

Visit ExitingAt(Visit visit, int64_t time, uint32_t url) {
  visit.exit_time = time;
  visit.exit = url;
  return visit;
}

// On either side of all that a short one may have, and what only a part says.
std::vector<Visit> OddVisits() {
  std::vector<Visit> visits = {
      LongVisit(),
      VisitOfPage(0, 0),
      VisitOfPage(-1, 1),
      VisitOfPage(UINT32_MAX, UINT32_MAX),
      VisitOfPage(int64_t{UINT32_MAX} + 1, 1),
      VisitOfNoPage(int64_t{1} << 40),
      VisitOfNoPage(-(int64_t{1} << 40)),
      ExitingAt(VisitOfPage(kSomeDay, 1), kSomeDay, 2),
      ExitingAt(Lasting(VisitOfPage(kSomeDay, 1), 10), kSomeDay + 10, 1),
  };
  for (const int64_t length : {16384 * 2, 65533, 65534, 65535, 65536}) {
    visits.push_back(Lasting(VisitOfPage(kSomeDay, 1), length));
  }
  for (int64_t length = 16376; length < 16386; ++length) {
    visits.push_back(Lasting(VisitOfPage(kSomeDay, 1), length));
    visits.push_back(Lasting(VisitOfNoPage(kSomeDay), length));
    Visit late = VisitOfPage(kSomeDay + length, 1);
    late.first = kSomeDay;
    visits.push_back(late);
  }
  Visit outside = VisitOfPage(kSomeDay, 1);
  outside.entry_time = outside.exit_time = kSomeDay - 1;
  visits.push_back(outside);
  outside.entry_time = outside.exit_time = kSomeDay + 1;
  visits.push_back(outside);
  return visits;
}

}  // namespace

TEST(VisitRoom, KeepsAllOfAVisit) {
  VisitRoom room;
  uint32_t before = 0;
  for (const Visit& visit : OddVisits()) {
    const uint32_t place =
        before == 0 ? KeepVisit(room, visit) : KeepVisitBehind(room, visit, before, PagesBefore::kUnknown);
    EXPECT_EQ(KeptAt(room, place).before, before);
    EXPECT_NE(KeptAt(room, place).length, kOfNobody);
    EXPECT_EQ(FieldsOfVisit(VisitAt(room, place)), FieldsOfVisit(visit));
    before = place;
  }
}

TEST(VisitRoom, TakesSixteenBytesForOneOfOnePage) {
  VisitRoom room;
  for (const Visit& visit : {VisitOfPage(kSomeDay, 1), VisitOfNoPage(kSomeDay),
                             Lasting(VisitOfPage(kSomeDay, 1), 3600), Lasting(VisitOfPage(0, 1), 16381)}) {
    KeepVisit(room, visit);
    EXPECT_EQ(room.longer_count, 0);
  }
  KeepVisit(room, LongVisit());
  EXPECT_EQ(room.longer_count, 1);
  EXPECT_EQ(room.count, 5);
  static_assert(sizeof(KeptVisit) == 16);
}

TEST(VisitRoom, ReplacesAnyVisitByAnyOther) {
  const std::vector<Visit> visits = OddVisits();
  std::mt19937 random(1);
  VisitRoom room;
  std::vector<Visit> kept(20);
  for (Visit& visit : kept) {
    visit = visits[random() % visits.size()];
    KeepVisitBehind(room, visit, 7, PagesBefore::kDaysBefore);
  }
  for (int i = 0; i < 2000; ++i) {
    const size_t number = random() % kept.size();
    kept[number] = visits[random() % visits.size()];
    SetVisit(room, static_cast<uint32_t>(number) + 1, kept[number]);
  }
  for (uint32_t place = 1; place <= kept.size(); ++place) {
    EXPECT_EQ(FieldsOfVisit(VisitAt(room, place)), FieldsOfVisit(kept[place - 1]));
    EXPECT_EQ(KeptAt(room, place).before, 7u);
    EXPECT_EQ(PagesBeforeOf(KeptAt(room, place)), PagesBefore::kDaysBefore);
  }
  EXPECT_LE(room.longer.length, kept.size());
}

TEST(VisitRoom, IsUsedAgain) {
  const std::vector<Visit> visits = OddVisits();
  VisitRoom room;
  std::vector<uint32_t> places;
  for (int round = 0; round < 3; ++round) {
    for (const Visit& visit : visits) {
      places.push_back(KeepVisitBehind(room, visit, 9, PagesBefore::kDaysBefore));
    }
    EXPECT_EQ(room.count, static_cast<int64_t>(visits.size()));
    for (const uint32_t place : places) {
      EXPECT_EQ(DropVisit(room, place), 9u);
      EXPECT_EQ(KeptAt(room, place).length, kOfNobody);
    }
    places.clear();
    EXPECT_EQ(room.count, 0);
    EXPECT_EQ(room.longer_count, 0);
  }
  EXPECT_EQ(room.kept.length, visits.size());
  EXPECT_LE(room.longer.length, visits.size());
}

TEST(VisitRoom, TellsTheUrlsOfAllVisits) {
  VisitRoom room;
  KeepVisit(room, VisitOfPage(kSomeDay, 5));
  KeepVisit(room, VisitOfNoPage(kSomeDay));
  KeepVisit(room, LongVisit());
  KeepVisit(room, VisitOfNoPage(-1));
  DropVisit(room, KeepVisit(room, VisitOfPage(kSomeDay, 6)));
  std::vector<uint32_t> urls;
  ForEachUrl(room, [&](uint32_t& url) {
    urls.push_back(url);
    url += 10;
  });
  EXPECT_EQ(urls, (std::vector<uint32_t>{5, 1, 2}));
  EXPECT_EQ(VisitAt(room, 1).entry, 15u);
  EXPECT_EQ(VisitAt(room, 3).exit, 12u);
}
