#include "parts/plan_join.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// The log of that place in a plan, as a whole.
LogPiece Log(uint64_t place, const std::string& path, uint64_t size = 1000) {
  LogPiece piece;
  piece.place = place;
  piece.path = path;
  piece.size = size;
  piece.proof = size + 1;
  return piece;
}

// The same in two pieces.
std::vector<LogPiece> Halves(const LogPiece& log) {
  std::vector<LogPiece> halves{log, log};
  halves[0].to = halves[1].from = 500;
  halves[1].lead = 400;
  halves[1].proof = log.proof + 1000;
  halves[1].copies.clear();
  halves[1].unopened.clear();
  return halves;
}

std::vector<LogPiece> Plan(std::vector<LogPiece> pieces) {
  NumberPieces(pieces);
  return pieces;
}

std::vector<std::string> Lines(const std::vector<LogPiece>& pieces) {
  std::vector<std::string> lines;
  for (const LogPiece& piece : pieces) {
    lines.push_back(TokenOf(piece));
  }
  return lines;
}

class PlanJoinTest : public testing::Test {
 protected:
  void Take(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
      EXPECT_EQ(JoinLine(join_, line), LineJoined::kTaken) << line;
    }
  }

  void Take(const std::vector<LogPiece>& plan) { Take(Lines(plan)); }

  const std::vector<LogPiece>& Joined() {
    EXPECT_EQ(FinishJoin(join_), PlansJoined::kAll);
    return join_.pieces;
  }

  PlanJoin join_;
};

TEST_F(PlanJoinTest, OfOnePlanIsThatPlan) {
  LogPiece first = Log(1, "a");
  first.first = 3;
  first.last = 5;
  first.copies = {{0, "b"}, {7, "c"}};
  first.unopened = {"x", "y"};
  std::vector<LogPiece> pieces = Halves(first);
  LogPiece second = Log(2, "d");
  second.before = 5;
  second.last = 9;
  pieces.push_back(second);
  const std::vector<LogPiece> plan = Plan(pieces);
  Take(plan);
  EXPECT_EQ(Lines(Joined()), Lines(plan));
}

TEST_F(PlanJoinTest, NumbersTheirPiecesThrough) {
  Take(Plan(Halves(Log(0, "a"))));
  Take(Plan({Log(0, "b"), Log(1, "c")}));
  Take(Plan({Log(0, "d")}));
  const std::vector<LogPiece>& pieces = Joined();
  ASSERT_EQ(pieces.size(), 5U);
  const std::string paths[] = {"a", "a", "b", "c", "d"};
  const uint64_t places[] = {0, 0, 1, 2, 3};
  for (size_t i = 0; i < pieces.size(); ++i) {
    EXPECT_EQ(pieces[i].number, i);
    EXPECT_EQ(pieces[i].count, 5U);
    EXPECT_EQ(pieces[i].plan, pieces[0].plan);
    EXPECT_EQ(pieces[i].path, paths[i]);
    EXPECT_EQ(pieces[i].place, places[i]);
  }
  PlanJoin other;
  EXPECT_EQ(JoinLine(other, Lines(Plan({Log(0, "a")}))[0]), LineJoined::kTaken);
  EXPECT_EQ(FinishJoin(other), PlansJoined::kAll);
  EXPECT_NE(other.pieces[0].plan, pieces[0].plan);
}

TEST_F(PlanJoinTest, KeepsThePlacesOfAPlanWhoseLogsAreCut) {
  LogPiece first = Log(0, "a");
  first.copies = {{4, "x"}};
  LogPiece second = Log(2, "b");
  second.copies = {{3, "y"}};
  const std::vector<LogPiece> plan = Plan({first, second, Log(5, "c")});
  for (const size_t i : {0U, 1U}) {
    std::vector<LogPiece> halves = Halves(plan[i]);
    halves[0].of = halves[1].of = plan[i].plan;
    Take(Plan(halves));
  }
  Take({TokenOf(plan[2])});
  Take(Plan({Log(0, "d")}));
  const std::vector<LogPiece>& pieces = Joined();
  ASSERT_EQ(pieces.size(), 6U);
  EXPECT_EQ(pieces[0].place, 0U);
  EXPECT_EQ(pieces[0].copies[0].place, 4U);
  EXPECT_EQ(pieces[2].place, 2U);
  EXPECT_EQ(pieces[2].copies[0].place, 3U);
  EXPECT_EQ(pieces[4].place, 5U);
  EXPECT_EQ(pieces[5].place, 6U);
  for (const LogPiece& piece : pieces) {
    EXPECT_EQ(piece.of, 0U);
  }
}

TEST_F(PlanJoinTest, TellsTheTimeBeforeEachLog) {
  LogPiece a = Log(0, "a");
  LogPiece b = Log(0, "b");
  LogPiece c = Log(1, "c");
  a.last = 7;
  b.last = c.before = 9;
  Take(Plan(Halves(a)));
  Take(Plan({b, c}));
  const std::vector<LogPiece>& pieces = Joined();
  EXPECT_EQ(pieces[0].before, 0);
  EXPECT_EQ(pieces[1].before, 0);
  EXPECT_EQ(pieces[2].before, 7);
  EXPECT_EQ(pieces[3].before, 9);
}

TEST_F(PlanJoinTest, PutsCopiesToTheFirstLogThatIsTheSame) {
  LogPiece copy = Log(1, "c");
  copy.copies = {{2, "d"}};
  copy.unopened = {"x"};
  Take(Plan(Halves(Log(0, "a"))));
  Take(Plan({Log(0, "b", 2000)}));
  const std::vector<LogPiece> other = Plan(Halves(copy));
  Take({"copy " + TokenOf(other[0])});
  Take(Plan({Log(0, "e", 3000)}));
  const std::vector<LogPiece>& pieces = Joined();
  ASSERT_EQ(pieces.size(), 4U);
  ASSERT_EQ(pieces[0].copies.size(), 2U);
  EXPECT_EQ(pieces[0].copies[0].path, "c");
  EXPECT_EQ(pieces[0].copies[0].place, 3U);
  EXPECT_EQ(pieces[0].copies[1].path, "d");
  EXPECT_EQ(pieces[0].copies[1].place, 4U);
  EXPECT_EQ(pieces[0].unopened, std::vector<std::string>{"x"});
  EXPECT_EQ(pieces[3].place, 5U);
}

TEST_F(PlanJoinTest, KnowsNoCopyOfWhatIsNotThere) {
  const LogPiece same = Log(0, "b");
  LogPiece unread = Log(1, "z");
  unread.proof = 0;
  Take(Plan({Log(0, "a"), unread}));
  LogPiece unproven = same;
  LogPiece within = same;
  LogPiece nothing = same;
  unproven.proof = 0;
  within.from = 5;
  nothing.path = "";
  for (const LogPiece& copy : {Log(0, "b", 2000), unproven, within, nothing}) {
    PlanJoin join = join_;
    EXPECT_EQ(JoinLine(join, "copy " + Lines(Plan({copy}))[0]), LineJoined::kNoCopy);
  }
  EXPECT_EQ(JoinLine(join_, "copy " + Lines(Plan({same}))[0]), LineJoined::kTaken);
  PlanJoin empty;
  EXPECT_EQ(JoinLine(empty, "copy " + Lines(Plan({same}))[0]), LineJoined::kNoCopy);
}

TEST_F(PlanJoinTest, WantsWholeLogs) {
  const std::vector<std::string> a = Lines(Plan(Halves(Log(0, "a"))));
  const std::vector<std::string> b = Lines(Plan(Halves(Log(0, "b"))));
  EXPECT_EQ(JoinLine(join_, a[1]), LineJoined::kNotNext);
  Take({a[0]});
  for (const std::string& line : {a[0], b[0], b[1], "copy " + a[0], Lines(Plan({LogPiece{}}))[0]}) {
    PlanJoin join = join_;
    EXPECT_EQ(JoinLine(join, line), LineJoined::kNotNext) << line;
  }
  PlanJoin cut = join_;
  EXPECT_EQ(FinishJoin(cut), PlansJoined::kCut);
  Take({a[1]});
  EXPECT_EQ(Joined().size(), 2U);
}

TEST_F(PlanJoinTest, WantsTheLinesOfALogAsTheyWere) {
  const std::vector<LogPiece> plan = Plan(Halves(Log(0, "a")));
  Take({TokenOf(plan[0])});
  for (int i = 0; i < 9; ++i) {
    LogPiece next = plan[1];
    switch (i) {
      case 0:
        next.plan += 1;
        break;
      case 1:
        next.of = 1;
        break;
      case 2:
        next.number += 1, next.count += 1;
        break;
      case 3:
        next.place += 1;
        break;
      case 4:
        next.path = "b";
        break;
      case 5:
        next.size += 1;
        break;
      case 6:
        next.from += 1;
        break;
      case 7:
        next.copies = {{1, "c"}};
        break;
      default:
        next.unopened = {"c"};
        break;
    }
    PlanJoin join = join_;
    EXPECT_EQ(JoinLine(join, TokenOf(next)), LineJoined::kNotNext) << i;
  }
}

TEST_F(PlanJoinTest, KnowsEachPathOnce) {
  LogPiece first = Log(0, "a");
  first.copies = {{1, "b"}};
  Take(Plan({first}));
  LogPiece copy_twice = Log(0, "c");
  copy_twice.copies = {{1, "b"}};
  LogPiece itself = Log(0, "d");
  itself.copies = {{1, "d"}};
  for (const LogPiece& log : {Log(0, "a"), Log(0, "b"), copy_twice, itself}) {
    PlanJoin join = join_;
    const std::string line = Lines(Plan({log}))[0];
    EXPECT_EQ(JoinLine(join, line), LineJoined::kTwice) << line;
    join = join_;
    EXPECT_EQ(JoinLine(join, "copy " + line), LineJoined::kTwice) << line;
  }
}

TEST_F(PlanJoinTest, TakesNoOtherLine) {
  const std::string line = Lines(Plan({Log(0, "a")}))[0];
  LogPiece far = Log(uint64_t{1} << 40, "a");
  LogPiece far_copy = Log(0, "a");
  far_copy.copies = {{UINT64_MAX, "b"}};
  for (const std::string& wrong :
       {std::string(), std::string("copy "), " " + line, line + " ", "Copy " + line, "copy  " + line,
        "copy copy " + line, line.substr(1), std::string(kLongestPlanLine + 1, 'a'), Lines(Plan({far}))[0],
        Lines(Plan({far_copy}))[0]}) {
    EXPECT_EQ(JoinLine(join_, wrong), LineJoined::kNoLine) << wrong.substr(0, 100);
  }
  EXPECT_EQ(FinishJoin(join_), PlansJoined::kNone);
  Take(Plan({Log((uint64_t{1} << 40) - 1, "a")}));
  EXPECT_EQ(JoinLine(join_, Lines(Plan({Log(0, "b")}))[0]), LineJoined::kNoLine);
}

TEST_F(PlanJoinTest, PassesPlansOfNothing) {
  LogPiece nothing;
  nothing.unopened = {"x"};
  Take(Plan({nothing}));
  {
    PlanJoin alone = join_;
    EXPECT_EQ(FinishJoin(alone), PlansJoined::kAll);
    EXPECT_EQ(Lines(alone.pieces), Lines(Plan({nothing})));
  }
  Take(Plan({Log(0, "a")}));
  Take(Plan({LogPiece{}}));
  ASSERT_EQ(Joined().size(), 1U);
  EXPECT_EQ(join_.pieces[0].path, "a");
  EXPECT_EQ(join_.pieces[0].unopened, std::vector<std::string>{"x"});
}

TEST_F(PlanJoinTest, NamesNoMoreCopiesThanALineHolds) {
  Take(Plan({Log(0, "a")}));
  const std::string name(200, 'b');
  for (size_t i = 0; i * name.size() < kLongestToken; ++i) {
    Take({"copy " + Lines(Plan({Log(0, name + std::to_string(i))}))[0]});
  }
  EXPECT_EQ(FinishJoin(join_), PlansJoined::kTooLong);
}

}  // namespace
