#include "analysis/visit_times.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace {

struct Asking {
  int64_t time;
  std::string page;  // empty: no page
};

Visit AsVisit(const Asking& asking, UrlTable& urls) {
  return asking.page.empty() ? VisitOfNoPage(asking.time)
                             : VisitOfPage(asking.time, NumberOfUrl(urls, asking.page));
}

VisitTimes TimesOf(const std::vector<Asking>& askings, VisitRoom& room, UrlTable& urls) {
  VisitTimes times = FirstVisit(room, AsVisit(askings.front(), urls));
  for (size_t i = 1; i < askings.size(); ++i) {
    AddVisit(times, room, AsVisit(askings[i], urls), urls);
  }
  return times;
}

// First, last, pages, entry and exit.
using Told = std::tuple<int64_t, int64_t, uint64_t, std::string, std::string>;

std::vector<Visit> AllOf(const VisitTimes& times, const VisitRoom& room) {
  std::vector<Visit> all;
  for (uint32_t place = times.latest; place != 0; place = KeptAt(room, place).before) {
    all.push_back(VisitAt(room, place));
  }
  return all;
}

std::vector<Told> VisitsToldBy(const VisitTimes& times, const VisitRoom& room, const UrlTable& urls) {
  std::vector<Visit> all = AllOf(times, room);
  MakeWhole(all, urls);
  std::vector<Told> told;
  for (const Visit& visit : all) {
    const bool pages = visit.pages > 0;
    told.emplace_back(visit.first, visit.last, visit.pages, pages ? UrlOf(urls, visit.entry) : "",
                      pages ? UrlOf(urls, visit.exit) : "");
  }
  return told;
}

std::vector<Told> VisitsOf(const std::vector<Asking>& askings) {
  UrlTable urls;
  VisitRoom room;
  VisitTimes times = TimesOf(askings, room, urls);
  return VisitsToldBy(times, room, urls);
}

// The plain way: all of them in order, divided where half an hour passes.
std::vector<Told> PlainVisits(std::vector<Asking> askings) {
  std::ranges::sort(askings, {}, [](const Asking& asking) { return std::tie(asking.time, asking.page); });
  std::vector<Told> visits;
  for (const auto& [time, page] : askings) {
    if (visits.empty() || time - std::get<1>(visits.back()) >= 1800) {
      visits.emplace_back(time, time, 0, "", "");
    }
    auto& [first, last, pages, entry, exit] = visits.back();
    last = time;
    if (!page.empty()) {
      ++pages;
      entry = entry.empty() ? page : entry;
      exit = page;
    }
  }
  return visits;
}

}  // namespace

TEST(VisitTimes, EndWhereHalfAnHourPasses) {
  EXPECT_EQ(VisitsOf({{0, "/a"}, {1799, "/b"}, {3599, "/c"}}),
            (std::vector<Told>{{0, 1799, 2, "/a", "/b"}, {3599, 3599, 1, "/c", "/c"}}));
}

TEST(VisitTimes, AreProlongedByWhatIsNoPage) {
  EXPECT_EQ(VisitsOf({{0, "/a"}, {1000, ""}, {2500, "/b"}, {4000, ""}}),
            (std::vector<Told>{{0, 4000, 2, "/a", "/b"}}));
}

TEST(VisitTimes, AreJoinedByWhatComesLate) {
  EXPECT_EQ(VisitsOf({{0, "/a"}, {3000, "/c"}, {1500, "/b"}}), (std::vector<Told>{{0, 3000, 3, "/a", "/c"}}));
}

TEST(VisitTimes, OfOneSecondBeginWithTheLeastUrlAndEndWithTheGreatest) {
  EXPECT_EQ(VisitsOf({{7, "/b"}, {7, "/c"}, {7, "/a"}, {7, "/b"}}),
            (std::vector<Told>{{7, 7, 4, "/a", "/c"}}));
}

TEST(VisitTimes, AreTheSameInAnyOrderAndInAnyParts) {
  std::mt19937 random(1);
  const std::vector<int64_t> gaps = {0, 0, 1, 900, 1799, 1800, 1801, 9000};
  const std::vector<std::string> pages = {"", "", "/", "/a", "/b", "/c"};
  for (int round = 0; round < 400; ++round) {
    std::vector<Asking> askings;
    int64_t time = -5000;
    for (size_t left = 1 + random() % 60; left > 0; --left) {
      time += gaps[random() % gaps.size()];
      askings.push_back({time, pages[random() % pages.size()]});
    }
    const std::vector<Told> plain = PlainVisits(askings);
    std::ranges::shuffle(askings, random);
    ASSERT_EQ(VisitsOf(askings), plain);
    std::ranges::reverse(askings);
    ASSERT_EQ(VisitsOf(askings), plain);
    // Two parts, of which one is added to the other, whole or not.
    UrlTable urls;
    VisitRoom room;
    const size_t half = 1 + random() % askings.size();
    VisitTimes sum = TimesOf({askings.begin(), askings.begin() + static_cast<ptrdiff_t>(half)}, room, urls);
    if (half < askings.size()) {
      VisitTimes more = TimesOf({askings.begin() + static_cast<ptrdiff_t>(half), askings.end()}, room, urls);
      if (round % 2 == 0) {
        JoinVisits(more, room, urls);
      }
      const std::vector<Visit> added = AllOf(more, room);
      DropVisits(more, room);
      for (const Visit& visit : added) {
        AddVisit(sum, room, visit, urls);
      }
    }
    ASSERT_EQ(VisitsToldBy(sum, room, urls), plain);
    JoinVisits(sum, room, urls);
    ASSERT_TRUE(std::ranges::is_sorted(AllOf(sum, room), std::ranges::greater{}, &Visit::first));
  }
}

// Whatever is said of the latest visit in place of a look at it, and whenever it was.
TEST(VisitTimes, AreTheSameFarFromToday) {
  for (const int64_t begin : {int64_t{0}, int64_t{-3600}, int64_t{1} << 32, (int64_t{1} << 32) - 3600,
                              -(int64_t{1} << 40), (int64_t{1} << 40) - 90000}) {
    const std::vector<Asking> askings = {{begin, "/a"},         {begin + 1, ""},      {begin + 1800, "/b"},
                                         {begin + 3601, "/c"},  {begin + 5401, "/d"}, {begin + 7200, "/e"},
                                         {begin + 80000, "/f"}, {begin + 81799, "/g"}};
    EXPECT_EQ(VisitsOf(askings), PlainVisits(askings)) << begin;
  }
}

// Of visits in order; of others nothing is known until they are joined.
TEST(VisitTimes, KnowWhetherPagesWereSeenBefore) {
  constexpr int64_t kDay = 86400;
  using Known = std::vector<PagesBefore>;
  const auto known_of = [](const std::vector<Asking>& askings) {
    UrlTable urls;
    VisitRoom room;
    VisitTimes times = TimesOf(askings, room, urls);
    JoinVisits(times, room, urls);
    Known known;
    for (uint32_t place = times.latest; place != 0; place = KeptAt(room, place).before) {
      known.insert(known.begin(), PagesBeforeOf(KeptAt(room, place)));
    }
    return known;
  };
  constexpr auto kNone = PagesBefore::kNone, kDays = PagesBefore::kDaysBefore,
                 kUnknown = PagesBefore::kUnknown;
  EXPECT_EQ(known_of({{0, "/"}, {3 * kDay, ""}, {6 * kDay, "/"}}), (Known{kNone, kDays, kDays}));
  EXPECT_EQ(known_of({{6 * kDay, "/"}, {3 * kDay, ""}, {0, "/"}}), (Known{kNone, kDays, kDays}));
  EXPECT_EQ(known_of({{0, ""}, {1799, "/"}, {kDay, "/"}, {4 * kDay, "/"}}), (Known{kNone, kUnknown, kDays}));
  EXPECT_EQ(known_of({{0, ""}, {2 * kDay, ""}, {2 * kDay + 1800, "/"}, {2 * kDay + 3600, "/"}}),
            (Known{kNone, kNone, kNone, kUnknown}));
  // A day may be there twice, and ends are known to four seconds.
  EXPECT_EQ(known_of({{1, "/"}, {49 * 3600, "/"}, {99 * 3600 + 4, "/"}}), (Known{kNone, kUnknown, kDays}));
}

// Of many visitors who share one room.
TEST(VisitTimes, LeaveRoomToOthers) {
  std::mt19937 random(2);
  UrlTable urls;
  VisitRoom room;
  std::vector<std::vector<Asking>> askings(20);
  std::vector<VisitTimes> times;
  for (std::vector<Asking>& asked : askings) {
    asked.push_back({static_cast<int64_t>(random() % 200000), "/"});
    times.push_back(FirstVisit(room, AsVisit(asked.front(), urls)));
  }
  for (int i = 0; i < 5000; ++i) {
    const size_t who = random() % askings.size();
    askings[who].push_back({static_cast<int64_t>(random() % 200000), "/"});
    AddVisit(times[who], room, AsVisit(askings[who].back(), urls), urls);
  }
  size_t visits = 0;
  for (size_t who = 0; who < askings.size(); ++who) {
    const std::vector<Told> plain = PlainVisits(askings[who]);
    JoinVisits(times[who], room, urls);
    ASSERT_EQ(VisitsToldBy(times[who], room, urls), plain);
    visits += plain.size();
  }
  EXPECT_EQ(room.count, static_cast<int64_t>(visits));
  const size_t length = room.kept.length;
  for (VisitTimes& of_one : times) {
    DropVisits(of_one, room);
    EXPECT_EQ(of_one.latest, 0u);
  }
  EXPECT_EQ(room.count, 0);
  VisitTimes again = FirstVisit(room, AsVisit({0, "/"}, urls));
  for (size_t i = 1; i < length; ++i) {
    AddVisit(again, room, AsVisit({static_cast<int64_t>(i) * 3600, "/"}, urls), urls);
  }
  EXPECT_EQ(room.kept.length, length);
}

// So rarely that all of it takes the time of a few additions each.
TEST(VisitTimes, AreLookedForOnesThatAreOneAfterTwiceAsManyCame) {
  UrlTable urls;
  VisitRoom room;
  VisitTimes times = FirstVisit(room, AsVisit({0, "/"}, urls));
  size_t joins = 0;
  for (int i = 1; i < 100000; ++i) {
    const uint32_t left = times.in_order != 0 ? 0 : times.end;
    AddVisit(times, room, AsVisit({i * -3600, "/"}, urls), urls);
    joins += left != 0 && times.end > left ? 1 : 0;
  }
  EXPECT_EQ(room.count, 100000);
  EXPECT_LE(joins, 14u);
}

// What is kept is never much more than the visits that there are.
TEST(VisitTimes, TakeNoMoreRoomInAHostileOrder) {
  UrlTable urls;
  VisitRoom room;
  VisitTimes times = FirstVisit(room, AsVisit({0, "/"}, urls));
  for (int i = 0; i < 100000; ++i) {
    AddVisit(times, room, AsVisit({i % 2 == 0 ? 0 : 10000, "/"}, urls), urls);
    ASSERT_LE(room.count, 10);
    ASSERT_LE(room.kept.length, 11u);
  }
  EXPECT_EQ(VisitsToldBy(times, room, urls).size(), 2u);
}
