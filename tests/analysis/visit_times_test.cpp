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

VisitTimes TimesOf(const std::vector<Asking>& askings, UrlTable& urls) {
  VisitTimes times{.latest = AsVisit(askings.front(), urls), .others = {}};
  for (size_t i = 1; i < askings.size(); ++i) {
    AddVisit(times, AsVisit(askings[i], urls), urls);
  }
  return times;
}

// First, last, pages, entry and exit.
using Told = std::tuple<int64_t, int64_t, uint64_t, std::string, std::string>;

std::vector<Told> VisitsToldBy(VisitTimes times, const UrlTable& urls) {
  JoinVisits(times, urls);
  times.others.push_back(times.latest);
  std::vector<Told> told;
  for (const Visit& visit : times.others) {
    const bool pages = visit.pages > 0;
    told.emplace_back(visit.first, visit.last, visit.pages, pages ? UrlOf(urls, visit.entry) : "",
                      pages ? UrlOf(urls, visit.exit) : "");
  }
  return told;
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
  UrlTable urls;
  EXPECT_EQ(VisitsToldBy(TimesOf({{0, "/a"}, {1799, "/b"}, {3599, "/c"}}, urls), urls),
            (std::vector<Told>{{0, 1799, 2, "/a", "/b"}, {3599, 3599, 1, "/c", "/c"}}));
}

TEST(VisitTimes, AreProlongedByWhatIsNoPage) {
  UrlTable urls;
  EXPECT_EQ(VisitsToldBy(TimesOf({{0, "/a"}, {1000, ""}, {2500, "/b"}, {4000, ""}}, urls), urls),
            (std::vector<Told>{{0, 4000, 2, "/a", "/b"}}));
}

TEST(VisitTimes, AreJoinedByWhatComesLate) {
  UrlTable urls;
  EXPECT_EQ(VisitsToldBy(TimesOf({{0, "/a"}, {3000, "/c"}, {1500, "/b"}}, urls), urls),
            (std::vector<Told>{{0, 3000, 3, "/a", "/c"}}));
}

TEST(VisitTimes, OfOneSecondBeginWithTheLeastUrlAndEndWithTheGreatest) {
  UrlTable urls;
  EXPECT_EQ(VisitsToldBy(TimesOf({{7, "/b"}, {7, "/c"}, {7, "/a"}, {7, "/b"}}, urls), urls),
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
    UrlTable urls;
    ASSERT_EQ(VisitsToldBy(TimesOf(askings, urls), urls), plain);
    std::ranges::reverse(askings);
    ASSERT_EQ(VisitsToldBy(TimesOf(askings, urls), urls), plain);
    // Two parts, of which one is added to the other, whole or not.
    const size_t half = 1 + random() % askings.size();
    VisitTimes sum = TimesOf({askings.begin(), askings.begin() + static_cast<ptrdiff_t>(half)}, urls);
    if (half < askings.size()) {
      VisitTimes more = TimesOf({askings.begin() + static_cast<ptrdiff_t>(half), askings.end()}, urls);
      if (round % 2 == 0) {
        JoinVisits(more, urls);
      }
      for (const Visit& visit : more.others) {
        AddVisit(sum, visit, urls);
      }
      AddVisit(sum, more.latest, urls);
    }
    ASSERT_EQ(VisitsToldBy(sum, urls), plain);
  }
}

TEST(VisitTimes, TellHowManyOthersThereAre) {
  std::mt19937 random(2);
  UrlTable urls;
  VisitTimes times{.latest = AsVisit({0, "/"}, urls), .others = {}};
  int64_t others = 0;
  for (int i = 0; i < 5000; ++i) {
    others += AddVisit(times, AsVisit({static_cast<int64_t>(random() % 2000000), "/"}, urls), urls);
    ASSERT_EQ(others, static_cast<int64_t>(times.others.size()));
  }
  others += JoinVisits(times, urls);
  EXPECT_EQ(others, static_cast<int64_t>(times.others.size()));
}

// So rarely that all of it takes the time of a few additions each.
TEST(VisitTimes, AreLookedForOnesThatAreOneAfterTwiceAsManyCame) {
  UrlTable urls;
  VisitTimes times{.latest = AsVisit({0, "/"}, urls), .others = {}};
  size_t joins = 0;
  for (int i = 1; i < 100000; ++i) {
    const size_t most = times.most_others;
    AddVisit(times, AsVisit({i * -3600, "/"}, urls), urls);
    joins += times.most_others != most ? 1 : 0;
  }
  EXPECT_EQ(times.others.size(), 99999u);
  EXPECT_LE(joins, 14u);
}

// What is kept is never much more than the visits that there are.
TEST(VisitTimes, TakeNoMoreRoomInAHostileOrder) {
  UrlTable urls;
  VisitTimes times{.latest = AsVisit({0, "/"}, urls), .others = {}};
  for (int i = 0; i < 100000; ++i) {
    AddVisit(times, AsVisit({i % 2 == 0 ? 0 : 10000, "/"}, urls), urls);
    ASSERT_LE(times.others.size(), 8u);
  }
  EXPECT_EQ(VisitsToldBy(times, urls).size(), 2u);
}
