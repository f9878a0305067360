#include "analysis/visits.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "analysis/smart_memory.h"
#include "cgi/settings.h"
#include "support/part_text.h"

namespace {

constexpr int64_t kMonday = 983750400;  // 2001-03-05, 00:00 in UTC
constexpr int64_t kDay = 86400;
constexpr int64_t kNumberOfMonday = 11386;

struct RequestOf {
  std::string host = "192.0.2.1";
  std::string agent = "Lynx/2.8";
  int64_t time = kMonday;
  std::string url = "/";
  int64_t status = 200;
};

struct Release {
  void operator()(VisitCounts* visits) const { ReleaseVisits(visits); }
};
using Counts = std::unique_ptr<VisitCounts, Release>;

Counts NewCounts() {
  return Counts(NewVisits());
}

void HandIn(VisitCounts& visits, const RequestOf& request) {
  SuperLogRecord record{};
  record.host = request.host;
  record.agent = request.agent;
  record.time = request.time;
  record.status = request.status;
  CountVisitOf(visits, record, request.url);
}

void CountIn(VisitCounts& visits, const RequestOf& request) {
  HandIn(visits, request);
  CountWaitingVisits(visits);
}

Counts CountsOf(const std::vector<RequestOf>& requests) {
  Counts visits = NewCounts();
  for (const RequestOf& request : requests) {
    HandIn(*visits, request);
  }
  CountWaitingVisits(*visits);
  return visits;
}

// All figures, pages by URL.
using AllFigures = std::tuple<std::vector<int64_t>, std::vector<std::vector<int64_t>>,
                              std::map<std::string, std::vector<int64_t>>>;

AllFigures FiguresOf(VisitCounts& visits) {
  const VisitSums sums = SumUpVisits(visits);
  const VisitFigures& all = sums.figures;
  AllFigures figures{
      {all.visitors, all.visits, all.pages, all.single_page, all.seconds, all.one_in, all.kept}, {}, {}};
  for (const DayVisits& day : sums.days) {
    std::get<1>(figures).push_back({day.day, day.visitors, day.visits});
  }
  for (const PageVisits& page : sums.pages) {
    if (page.entries + page.exits > 0) {
      std::get<2>(figures)[std::string(page.url)] = {page.entries, page.single_page, page.exits};
    }
  }
  return figures;
}

std::string SavedPart(VisitCounts& visits) {
  return WrittenPart([&](PartWriter& part) { SaveVisits(part, visits); });
}

bool AddPart(const std::string& bytes, VisitCounts& visits) {
  const PartText text(bytes);
  PartReader part = text.reader();
  return AddSavedVisits(part, visits) && part.next == part.end;
}

std::vector<RequestOf> SomeRequests(std::mt19937& random, size_t count) {
  const std::vector<std::string> agents = {"", "Lynx/2.8", "Mozilla/5.0", "Googlebot/2.1"};
  const std::vector<std::string> urls = {"/", "/a", "/b", "/c.png"};
  std::vector<RequestOf> requests;
  for (; count > 0; --count) {
    requests.push_back({.host = "10.0.0." + std::to_string(random() % 5),
                        .agent = agents[random() % agents.size()],
                        .time = kMonday + static_cast<int64_t>(random() % (3 * kDay)),
                        .url = urls[random() % urls.size()],
                        .status = random() % 5 == 0 ? 404 : 200});
  }
  return requests;
}

void BeginWithBudget(int kilobytes) {
  Settings settings{};
  settings.SmartMemoryEnabled = 1;
  settings.SmartMemoryMaxMemoryToAllocate = kilobytes;
  smart_memory_init(settings);
}

RequestOf OfVisitor(int number) {
  return {.host = "host" + std::to_string(number) + ".example", .time = kMonday + number};
}

[[noreturn]] void EndWith3() {
  exit(3);
}

}  // namespace

TEST(Visits, AreOfHostAndAgentTogether) {
  const Counts visits = CountsOf({{},
                                  {.agent = "w3m/0.5"},
                                  {.host = "192.0.2.2"},
                                  {.time = kMonday + 60, .url = "/a"},
                                  {.time = kMonday + 4000}});
  EXPECT_EQ(
      FiguresOf(*visits),
      (AllFigures{{3, 4, 5, 3, 60, 1, 3}, {{kNumberOfMonday, 3, 4}}, {{"/", {4, 3, 3}}, {"/a", {0, 0, 1}}}}));
}

TEST(Visits, AreNotThoseOfRobotsNorWithoutHostOrPage) {
  const Counts visits = CountsOf({{.agent = "Mozilla/5.0 (compatible; Googlebot/2.1)"},
                                  {.agent = "curl/8.5"},
                                  {.host = ""},
                                  {.url = "/a.png"},
                                  {.url = "/gone", .status = 404}});
  EXPECT_EQ(FiguresOf(*visits), (AllFigures{{0, 0, 0, 0, 0, 1, 0}, {}, {}}));
}

TEST(Visits, CountOnTheDayOnWhichTheyBeginAndVisitorsOnAll) {
  std::vector<RequestOf> requests;
  for (int64_t time = kMonday + 80000; time < kMonday + 2 * kDay + 100; time += 1000) {
    requests.push_back({.time = time});
  }
  requests.push_back({.time = kMonday + 2 * kDay + 5000});
  requests.push_back({.time = kMonday + 9 * kDay});
  const Counts visits = CountsOf(requests);
  EXPECT_EQ(std::get<1>(FiguresOf(*visits)),
            (std::vector<std::vector<int64_t>>{{kNumberOfMonday, 1, 1},
                                               {kNumberOfMonday + 1, 1, 0},
                                               {kNumberOfMonday + 2, 1, 1},
                                               {kNumberOfMonday + 9, 1, 1}}));
}

TEST(Visits, AddUpInAnyDivision) {
  std::mt19937 random(3);
  for (int round = 0; round < 60; ++round) {
    std::vector<RequestOf> requests = SomeRequests(random, 1 + random() % 400);
    const Counts whole = CountsOf(requests);
    const AllFigures figures = FiguresOf(*whole);
    std::ranges::shuffle(requests, random);
    const Counts sum = NewCounts();
    for (size_t begin = 0; begin < requests.size();) {
      const size_t end = std::min(requests.size(), begin + 1 + random() % 200);
      const Counts some = CountsOf(
          {requests.begin() + static_cast<ptrdiff_t>(begin), requests.begin() + static_cast<ptrdiff_t>(end)});
      ASSERT_TRUE(AddPart(SavedPart(*some), *sum));
      begin = end;
    }
    ASSERT_EQ(FiguresOf(*sum), figures);
    const Counts again = NewCounts();
    ASSERT_TRUE(AddPart(SavedPart(*sum), *again));
    ASSERT_EQ(FiguresOf(*again), figures);
  }
}

TEST(Visits, OfManyDaysAreOneAfterTheyWereSaved) {
  std::vector<RequestOf> requests;
  for (int64_t time = kMonday; time <= kMonday + 10 * kDay; time += 1500) {
    requests.push_back({.time = time, .url = time % 7 == 0 ? "/" : "/b.png"});
  }
  requests.push_back({.time = kMonday + 12 * kDay});
  const Counts visits = CountsOf(requests);
  const AllFigures figures = FiguresOf(*visits);
  EXPECT_EQ(std::get<0>(figures)[1], 2);
  EXPECT_EQ(std::get<1>(figures).size(), 12u);
  const Counts again = NewCounts();
  ASSERT_TRUE(AddPart(SavedPart(*visits), *again));
  EXPECT_EQ(FiguresOf(*again), figures);
}

TEST(Visits, ArePassedOverAsTheyAreAdded) {
  std::mt19937 random(4);
  const Counts visits = CountsOf(SomeRequests(random, 300));
  const PartText text(SavedPart(*visits) + "more");
  PartReader part = text.reader();
  EXPECT_TRUE(PassSavedVisits(part));
  EXPECT_EQ(std::string(part.next, part.end), "more");
}

TEST(Visits, OfDamagedPartsAreNotTaken) {
  std::mt19937 random(5);
  const Counts visits = CountsOf(SomeRequests(random, 60));
  const std::string part = SavedPart(*visits);
  for (size_t size = 0; size < part.size(); ++size) {
    const PartText text(part, size);
    PartReader added = text.reader();
    PartReader passed = text.reader();
    const Counts sum = NewCounts();
    EXPECT_FALSE(AddSavedVisits(added, *sum));
    EXPECT_FALSE(PassSavedVisits(passed));
    FiguresOf(*sum);
  }
  // Nothing but what was read takes memory, whatever is said of what follows.
  const Counts sum = NewCounts();
  EXPECT_FALSE(AddPart("\xff\xff\xff\xff\xff\xff\xff\xff\x01", *sum));
  EXPECT_FALSE(AddPart("\x01\x08" + std::string(8, 'h') + "\xff\xff\xff\xff\x0f", *sum));
  EXPECT_FALSE(AddPart("\x01\x07" + std::string(7, 'h') + std::string(4, '\1'), *sum)) << "a hash too short";
  EXPECT_FALSE(AddPart("\x01\x08" + std::string(8, 'h') + std::string(1, '\0'), *sum)) << "no visits";
}

TEST(Visits, AreForgotten) {
  const Counts visits = CountsOf({{}});
  EmptyVisits(*visits);
  EXPECT_EQ(FiguresOf(*visits), (AllFigures{{0, 0, 0, 0, 0, 1, 0}, {}, {}}));
}

TEST(Visits, LeaveTheTextsOfTheirSums) {
  const Counts visits = CountsOf({{.url = "/entry"}});
  const VisitSums sums = SumUpVisits(*visits);
  ForgetVisitors(*visits);
  ASSERT_EQ(sums.pages.size(), 1u);
  EXPECT_EQ(sums.pages[0].url, "/entry");
  EXPECT_EQ(SumUpVisits(*visits).figures.visitors, 0);
}

// ---- Within a memory budget ----

TEST(Visits, OfASampleAreScaledUp) {
  BeginWithBudget(500);
  constexpr int kVisitors = 20000;
  const Counts visits = NewCounts();
  for (int i = 0; i < kVisitors; ++i) {
    CountIn(*visits, OfVisitor(i));
  }
  const VisitFigures figures = SumUpVisits(*visits).figures;
  // A visitor takes 48 bytes, and a visit 16, and all may take half of the budget, of which a quarter stays
  // free.
  EXPECT_EQ(figures.one_in, 8);
  EXPECT_LE(figures.kept, 500 * 1000 / 2 / (48 + 16));
  EXPECT_EQ(figures.visitors, figures.kept * figures.one_in);
  EXPECT_EQ(figures.visits, figures.visitors);
  EXPECT_NEAR(static_cast<double>(figures.visitors), kVisitors, kVisitors * 0.1);
  EXPECT_GT(gSM_TotalBytesFreed, 0);
}

TEST(Visits, OfASampleAreThoseOfTheSameVisitorsInAnyOrder) {
  BeginWithBudget(500);
  const Counts forwards = NewCounts();
  const Counts backwards = NewCounts();
  for (int i = 0; i < 9000; ++i) {
    CountIn(*forwards, OfVisitor(i));
    CountIn(*backwards, OfVisitor(8999 - i));
  }
  EXPECT_EQ(FiguresOf(*forwards), FiguresOf(*backwards));
}

// Each comes again on the next day, and on the one after, to pages of his own.
TEST(Visits, OfASampleStayTheirs) {
  BeginWithBudget(500);
  const Counts visits = NewCounts();
  for (int day = 0; day < 3; ++day) {
    for (int i = 0; i < 4000; ++i) {
      RequestOf request = OfVisitor(i);
      request.time += day * kDay;
      request.url = "/" + std::to_string(i) + "/" + std::to_string(day);
      CountIn(*visits, request);
    }
  }
  const VisitSums sums = SumUpVisits(*visits);
  EXPECT_GT(sums.figures.one_in, 1);
  EXPECT_EQ(sums.figures.visits, 3 * sums.figures.visitors);
  EXPECT_EQ(sums.figures.single_page, sums.figures.visits);
  ASSERT_EQ(sums.days.size(), 3u);
  for (const DayVisits& day : sums.days) {
    EXPECT_EQ(day.visits, sums.figures.visitors);
    EXPECT_EQ(day.visitors, sums.figures.visitors);
  }
}

TEST(Visits, ThatWouldBeASampleEndARunThatMayNotHaveOne) {
  BeginWithBudget(500);
  EndInsteadOfReclaims(EndWith3);
  const Counts visits = NewCounts();
  const auto count = [&] {
    for (int i = 0; i < 6000; ++i) {
      CountIn(*visits, OfVisitor(i));
    }
  };
  EXPECT_EXIT(count(), testing::ExitedWithCode(3), "");
}

TEST(Visits, AreAllKeptWithoutABudget) {
  BeginWithBudget(0);
  const Counts visits = NewCounts();
  for (int i = 0; i < 20000; ++i) {
    CountIn(*visits, OfVisitor(i));
  }
  EXPECT_EQ(SumUpVisits(*visits).figures.visitors, 20000);
}
