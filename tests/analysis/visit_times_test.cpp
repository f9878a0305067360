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
  if (asking.page.empty()) {
    return {.first = asking.time,
            .last = asking.time,
            .pages = 0,
            .entry_time = 0,
            .exit_time = 0,
            .entry = 0,
            .exit = 0};
  }
  const uint32_t url = NumberOfUrl(urls, asking.page);
  return {.first = asking.time,
          .last = asking.time,
          .pages = 1,
          .entry_time = asking.time,
          .exit_time = asking.time,
          .entry = url,
          .exit = url};
}

VisitTimes TimesOf(const std::vector<Asking>& askings, OtherVisits& others, UrlTable& urls) {
  VisitTimes times = FirstVisit(AsVisit(askings.front(), urls));
  for (size_t i = 1; i < askings.size(); ++i) {
    AddVisit(times, others, 0, AsVisit(askings[i], urls), urls);
  }
  return times;
}

// First, last, pages, entry and exit.
using Told = std::tuple<int64_t, int64_t, uint64_t, std::string, std::string>;

std::vector<Visit> AllOf(const VisitTimes& times, const OtherVisits& others) {
  std::vector<Visit> all = {times.latest};
  for (uint32_t other = times.others; other != 0; other = others.visits[other - 1].next) {
    all.push_back(others.visits[other - 1].visit);
  }
  return all;
}

std::vector<Told> VisitsToldBy(const VisitTimes& times, const OtherVisits& others, const UrlTable& urls) {
  std::vector<Visit> all = AllOf(times, others);
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
  OtherVisits others;
  VisitTimes times = TimesOf(askings, others, urls);
  return VisitsToldBy(times, others, urls);
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
    OtherVisits others;
    const size_t half = 1 + random() % askings.size();
    VisitTimes sum = TimesOf({askings.begin(), askings.begin() + static_cast<ptrdiff_t>(half)}, others, urls);
    if (half < askings.size()) {
      VisitTimes more =
          TimesOf({askings.begin() + static_cast<ptrdiff_t>(half), askings.end()}, others, urls);
      if (round % 2 == 0) {
        JoinVisits(more, others, 1, urls);
      }
      const std::vector<Visit> added = AllOf(more, others);
      DropOthers(more, others);
      for (const Visit& visit : added) {
        AddVisit(sum, others, 0, visit, urls);
      }
    }
    ASSERT_EQ(VisitsToldBy(sum, others, urls), plain);
  }
}

// Of many visitors who share one room.
TEST(VisitTimes, LeaveRoomToOthers) {
  std::mt19937 random(2);
  UrlTable urls;
  OtherVisits others;
  std::vector<std::vector<Asking>> askings(20);
  std::vector<VisitTimes> times;
  for (std::vector<Asking>& asked : askings) {
    asked.push_back({static_cast<int64_t>(random() % 200000), "/"});
    times.push_back(FirstVisit(AsVisit(asked.front(), urls)));
  }
  for (int i = 0; i < 5000; ++i) {
    const size_t who = random() % askings.size();
    askings[who].push_back({static_cast<int64_t>(random() % 200000), "/"});
    AddVisit(times[who], others, static_cast<uint32_t>(who), AsVisit(askings[who].back(), urls), urls);
  }
  size_t visits = 0;
  for (size_t who = 0; who < askings.size(); ++who) {
    const std::vector<Told> plain = PlainVisits(askings[who]);
    JoinVisits(times[who], others, static_cast<uint32_t>(who), urls);
    ASSERT_EQ(VisitsToldBy(times[who], others, urls), plain);
    visits += plain.size() - 1;
  }
  EXPECT_EQ(others.count, static_cast<int64_t>(visits));
  const size_t room = others.visits.length;
  for (VisitTimes& of_one : times) {
    DropOthers(of_one, others);
  }
  EXPECT_EQ(others.count, 0);
  for (size_t i = 0; i <= room; ++i) {
    AddVisit(times[0], others, 0, AsVisit({static_cast<int64_t>(i) * 3600, "/"}, urls), urls);
  }
  EXPECT_LE(others.visits.length, room + 1);
}

// So rarely that all of it takes the time of a few additions each.
TEST(VisitTimes, AreLookedForOnesThatAreOneAfterTwiceAsManyCame) {
  UrlTable urls;
  OtherVisits others;
  VisitTimes times = FirstVisit(AsVisit({0, "/"}, urls));
  size_t joins = 0;
  for (int i = 1; i < 100000; ++i) {
    const uint32_t left = times.until_joined;
    AddVisit(times, others, 0, AsVisit({i * -3600, "/"}, urls), urls);
    joins += left != 0 && times.until_joined > left ? 1 : 0;
  }
  EXPECT_EQ(others.count, 99999);
  EXPECT_LE(joins, 14u);
}

// What is kept is never much more than the visits that there are.
TEST(VisitTimes, TakeNoMoreRoomInAHostileOrder) {
  UrlTable urls;
  OtherVisits others;
  VisitTimes times = FirstVisit(AsVisit({0, "/"}, urls));
  for (int i = 0; i < 100000; ++i) {
    AddVisit(times, others, 0, AsVisit({i % 2 == 0 ? 0 : 10000, "/"}, urls), urls);
    ASSERT_LE(others.count, 9);
    ASSERT_LE(others.visits.length, 10u);
  }
  EXPECT_EQ(VisitsToldBy(times, others, urls).size(), 2u);
}
