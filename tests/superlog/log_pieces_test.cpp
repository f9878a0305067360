#include "superlog/log_pieces.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "superlog/log_parts.h"
#include "superlog/march_logs.h"
#include "superlog/superlog.h"
#include "support/account_logs.h"
#include "support/part_text.h"
#include "unpack/packed.h"
#include "unpack/unpacking.h"

namespace {

constexpr time_t kBehind = kMarch + 300 * int64_t{86400};

std::string TabLines(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += "03/05/00\t10:00:00\thost.example.com\t/" + std::to_string(i) + "\n";
  }
  return text;
}

class LogPieces : public AccountLogs {
 protected:
  LogPieces() { settings_.rules.whole_logs = true; }
  ~LogPieces() override { ResetSuperLog(); }

  const Limits& limits() const { return settings_.rules.whole_logs ? kModernLimits : kClassicLimits; }
  bool whole() const { return settings_.rules.whole_logs; }
  std::string PathOf(const std::string& name) const { return folder_ + "/" + name; }

  void Begin() {
    ResetSuperLog();
    ResetLocalTime();
    CopyText(settings_.summary, std::to_string(++runs_));  // none knows of the logs of another
    SuperLog_Init(settings_, limits(), kMarch, kBehind - 1, {.log_not_opened = NoteLogNotOpened});
  }

  void BeginWithoutLogs() {
    ResetSuperLog();
    ResetLocalTime();
    SuperLog_InitWithoutLogs(settings_, limits(), kMarch, kBehind - 1, {.log_not_opened = NoteLogNotOpened});
  }

  std::vector<LogPiece> Plan(uint64_t size, Cuts cuts = Cuts::kProven) {
    Begin();
    return PlanPieces(size, cuts);
  }

  std::vector<LogPiece> Cut(const LogPiece& piece, uint64_t size, Cuts cuts) {
    BeginWithoutLogs();
    return CutPiece(piece, size, cuts);
  }

  // What a run of its own writes of pieces that come one behind the other.
  std::string Count(const std::vector<LogPiece>& pieces) {
    BeginWithoutLogs();
    TakePieces(pieces);
    records_ += ReadAllLogs(kMarch, kBehind);
    EXPECT_EQ(HashBeginnings(), nullptr);
    return WrittenPart([](PartWriter& part) {
      SavePieces(part);
      SaveLogs(part);
    });
  }

  // What a run writes of such that nobody can read.
  std::string Miss(const std::vector<LogPiece>& pieces) {
    BeginWithoutLogs();
    MissPieces(pieces);
    return WrittenPart([](PartWriter& part) {
      SavePieces(part);
      SaveLogs(part);
    });
  }

  // Of each so many pieces.
  std::vector<std::string> CountAll(const std::vector<LogPiece>& plan, size_t at_once = 1) {
    std::vector<std::string> parts;
    records_ = 0;
    for (size_t i = 0; i < plan.size(); i += at_once) {
      const auto begin = plan.begin() + static_cast<ptrdiff_t>(i);
      parts.push_back(Count({begin, begin + static_cast<ptrdiff_t>(std::min(at_once, plan.size() - i))}));
    }
    return parts;
  }

  AddedPieces Add(const std::string& bytes) const {
    const PartText text(bytes);
    PartReader part = text.reader();
    const AddedPieces pieces = AddSavedPieces(part);
    if (pieces.added == PiecesAdded::kAll) {
      EXPECT_EQ(AddSavedLogs(part, whole()).added, LogsAdded::kAll);
      EXPECT_EQ(part.next, part.end);
    }
    return pieces;
  }

  // How many of them could be added, in their order.
  size_t Merge(const std::vector<std::string>& parts) {
    BeginWithoutLogs();
    size_t added = 0;
    while (added < parts.size() && Add(parts[added]).added == PiecesAdded::kAll) {
      ++added;
    }
    OrderLogsOfPieces();
    return added;
  }

  // The pieces of a plan come to what one run comes to; how many there are.
  size_t ExpectSame(uint64_t size, Cuts cuts = Cuts::kProven) {
    Begin();
    const int64_t records = ReadAllLogs(kMarch, kBehind);
    const std::string states = whole() ? StatesOfLogs() : "";
    const std::vector<LogPiece> plan = Plan(size, cuts);
    for (const size_t at_once : {size_t{1}, size_t{3}, plan.size()}) {
      const std::vector<std::string> parts = CountAll(plan, at_once);
      EXPECT_EQ(records_, records) << size;
      EXPECT_EQ(Merge(parts), parts.size()) << size;
      AddedPieces missing{};
      EXPECT_FALSE(LacksPieces(missing));
      EXPECT_EQ(whole() ? StatesOfLogs() : "", states) << size;
    }
    return plan.size();
  }

  int runs_ = 0;
  int64_t records_ = 0;
};

// Each begins where the one before has ended, and says which one it is.
void ExpectAllOnce(const std::vector<LogPiece>& plan) {
  for (size_t i = 0; i < plan.size(); ++i) {
    const LogPiece& piece = plan[i];
    EXPECT_EQ(piece.number, i);
    EXPECT_EQ(piece.count, plan.size());
    EXPECT_EQ(piece.plan, plan[0].plan);
    const bool goes_on = i > 0 && plan[i - 1].to != kNoStop;
    EXPECT_EQ(piece.from, goes_on ? plan[i - 1].to : 0);
    EXPECT_TRUE(!goes_on || plan[i - 1].path == piece.path);
    EXPECT_TRUE(i + 1 < plan.size() || piece.to == kNoStop);
  }
}

// ---- The plan ----

TEST_F(LogPieces, CoverEverythingOnce) {
  AddLog("a.log", LinesOfMarch(300));
  AddLog("b.log", "");
  AddLog("c.log", LinesOfMarch(3));
  AddLog("d.log", LinesOfMarch(100, "\r\n") + LinesOfMarch(100) + "no line end");
  AddLog("e.log", LinesOfMarch(1, ""));
  AddLog("f.log", "\n\n\n");
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    for (const uint64_t size : {1U, 64U, 1000U, 5000U, 1U << 30}) {
      ExpectAllOnce(Plan(size));
      EXPECT_GE(ExpectSame(size), size > 5000 ? 4U : 5U);
    }
  }
}

TEST_F(LogPieces, AreSingleLinesWhereTheyAreAsSmall) {
  for (const std::string end : {"\n", "\r\n", "\n\n", "\n\r\n\n"}) {
    const std::string text = LinesOfMarch(50, end);
    AddLog("a.log", text);
    const std::vector<LogPiece> plan = Plan(1);
    EXPECT_EQ(plan.size(), 50U);
    for (const LogPiece& piece : plan) {
      const auto from = static_cast<size_t>(piece.from);
      EXPECT_TRUE(from == 0 || (text[from - 1] == end.back() && text[from] == 's')) << from;
      EXPECT_LE(piece.lead, piece.from);
    }
    EXPECT_EQ(ExpectSame(1), 50U);
  }
}

TEST_F(LogPieces, AreOfAboutTheSizeThatIsAsked) {
  const std::string text = LinesOfMarch(4000);
  AddLog("a.log", text);
  const std::vector<LogPiece> plan = Plan(text.size() / 8);
  ASSERT_EQ(plan.size(), 8U);
  for (size_t i = 1; i < plan.size(); ++i) {
    EXPECT_NEAR(static_cast<double>(plan[i].from), static_cast<double>(text.size() / 8 * i), 200.0);
  }
  EXPECT_EQ(Plan(text.size()).size(), 1U);
  EXPECT_EQ(Plan(UINT64_MAX).size(), 1U);
}

TEST_F(LogPieces, AreNotWithoutBound) {
  AddLog("a.log", LinesOfMarch(2000));
  const size_t most = Plan(1).size();
  EXPECT_GT(most, 200U);
  EXPECT_LE(most, 256U);
}

TEST_F(LogPieces, OfNothingAreOne) {
  settings_.rules.whole_logs = false;
  AddLog("a.log", "");
  const std::vector<LogPiece> plan = Plan(1000);
  ASSERT_EQ(plan.size(), 1U);
  EXPECT_EQ(plan[0].path, "");
  EXPECT_TRUE(IsAsPlanned(plan[0]));
  EXPECT_EQ(ExpectSame(1000), 1U);
}

TEST_F(LogPieces, OfOtherLogsAreOfAnotherPlan) {
  AddLog("a.log", LinesOfMarch(100));
  const uint64_t before = Plan(1000)[0].plan;
  EXPECT_EQ(Plan(1000)[0].plan, before);
  EXPECT_NE(Plan(2000)[0].plan, before);
  AddLog("a.log", LinesOfMarch(100, "\n", "05/Mar/2000:10:00:01"));
  EXPECT_NE(Plan(1000)[0].plan, before);
}

TEST_F(LogPieces, DivideNoCompressedLog) {
  CopyText(settings_.logs, folder_ + "/*");
  AddLog("a.log.gz", "\x1f\x8b\x08" + LinesOfMarch(100));
  AddLog("b.log", "\x1f\x8b\x08" + LinesOfMarch(200));
  AddLog("c.log", std::string("\x28\xb5\x2f\xfd", 4) + LinesOfMarch(100));
  EXPECT_EQ(Plan(64).size(), 3U);
}

TEST_F(LogPieces, DivideNoLogThatMayEndItself) {
  settings_.rules.whole_logs = false;
  AddLog("a.log", LinesOfMarch(100) + LinesOfMarch(1, "\n", "05/Apr/2001:10:00:00"));
  EXPECT_EQ(Plan(64).size(), 1U);
  settings_.rules.whole_logs = true;  // where no record ends a log
  EXPECT_GT(Plan(64).size(), 50U);
}

TEST_F(LogPieces, BeginNowhereBehindARecordThatEndsTheLog) {
  AddLog("a.log", LinesOfMarch(100) + LinesOfMarch(1, "\n", "05/Apr/2001:10:00:00") + LinesOfMarch(100));
  settings_.rules.whole_logs = false;
  const std::vector<LogPiece> plan = Plan(1000);
  EXPECT_GT(plan.size(), 5U);
  EXPECT_LE(plan.back().from, static_cast<int64_t>(LinesOfMarch(100).size()));
  EXPECT_EQ(ExpectSame(1000), plan.size());
}

// ---- Lines that decide how others are read ----

TEST_F(LogPieces, BeginNowhereBehindALineThatChangesHowTheNextOnesAreRead) {
  const std::string tabs = "!!LOG_FORMAT DATE TIME HOSTNAME URL\n" + TabLines(2000);
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    AddLog("a.log", LinesOfMarch(1000) + tabs);
    const std::vector<LogPiece> plan = Plan(1000);
    EXPECT_GT(plan.size(), 50U);
    EXPECT_LT(plan.back().from, static_cast<int64_t>(LinesOfMarch(1000).size()) + 6000);
    EXPECT_EQ(ExpectSame(1000), plan.size());
  }
}

TEST_F(LogPieces, BeginBehindHeaderLinesThatSayTheSame) {
  const std::string tabs = "!!LOG_FORMAT DATE TIME HOSTNAME URL\n" + TabLines(500);
  AddLog("a.log", tabs + tabs + tabs + tabs);
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    EXPECT_GT(ExpectSame(1000), 50U);
  }
}

TEST_F(LogPieces, BeginNowhereBehindALineOfAnotherLayout) {
  const std::string json =
      R"({"time":"2000-03-05T10:00:00Z","remote_addr":"192.0.2.1","request":"GET /j HTTP/1.1","status":200,)"
      R"("bytes_sent":5})"
      "\n";
  AddLog("a.log", LinesOfMarch(1000) + json + LinesOfMarch(1000));
  const size_t pieces = ExpectSame(1000);
  EXPECT_GT(pieces, 80U);
  EXPECT_LT(pieces, 130U);
}

// The log begins in winter: without the lines before it a repeated hour is one of winter, too.
TEST_F(LogPieces, BeginNowhereInARepeatedHour) {
  settings_.rules.whole_logs = false;
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  const auto autumn = [](const char* hour) {
    return LinesOfMarch(100, "\n", std::string("29/Oct/2000:") + hour + ":10:00");
  };
  AddLog("a.log", LinesOfMarch(100) + autumn("01") + autumn("02"));
  const size_t pieces = ExpectSame(1000);
  EXPECT_GT(pieces, 18U);
  EXPECT_LT(pieces, 28U);
}

TEST_F(LogPieces, BeginWithARepeatedHourAsTheLogBeforeHasEnded) {
  settings_.rules.whole_logs = false;
  for (const char* const before : {"29/Oct/2000:01:50:00", "29/Oct/2000:03:10:00", "05/Mar/2000:10:00:00"}) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    AddLog("a.log", LinesOfMarch(10, "\n", before));
    AddLog("b.log", LinesOfMarch(10, "\n", "29/Oct/2000:02:30:00"));
    AddLog("c.log", LinesOfMarch(10, "\n", "29/Oct/2000:02:40:00"));
    EXPECT_EQ(ExpectSame(1U << 20), 3U) << before;
  }
}

// Lines that are read by the wrong layout make times of any year, which say nothing of the next log.
TEST_F(LogPieces, FollowALogThatEndsWithOddTimes) {
  settings_.rules.whole_logs = false;
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  const std::string header =
      "#Software: Microsoft Internet Information Services 5.0\n#Fields: date time c-ip cs-uri-stem\n";
  AddLog("a.log", LinesOfMarch(50) + header + "1999-07-01 10:00:00 192.0.2.1\n" + LinesOfMarch(50));
  AddLog("b.log", LinesOfMarch(20));
  EXPECT_EQ(ExpectSame(1U << 20), 2U);
}

// ---- Plans that nobody has tried ----

TEST_F(LogPieces, AreTheSameWhereNothingChangesHowLinesAreRead) {
  AddLog("a.log", LinesOfMarch(3000));
  AddLog("b.log", LinesOfMarch(10, "\r\n"));
  AddLog("c.log", "");
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    for (const uint64_t size : {100U, 5000U, 20000U, 1U << 30}) {
      ExpectAllOnce(Plan(size, Cuts::kUntried));
      EXPECT_GE(ExpectSame(size, Cuts::kUntried), size < 30000 ? 10U : whole ? 3U : 2U);
    }
  }
}

TEST_F(LogPieces, AreCutShortlyBehindMultiplesWhenNobodyTries) {
  const std::string text = LinesOfMarch(8000);
  constexpr int64_t kSize = 100000;
  AddLog("a.log", text);
  const std::vector<LogPiece> plan = Plan(kSize, Cuts::kUntried);
  ASSERT_EQ(plan.size(), (text.size() - 1) / kSize + 1);
  for (size_t i = 1; i < plan.size(); ++i) {
    const int64_t wanted = static_cast<int64_t>(i) * kSize + 4096;
    EXPECT_EQ(plan[i].from, static_cast<int64_t>(text.find('\n', static_cast<size_t>(wanted)) + 1));
    EXPECT_GT(plan[i].lead, static_cast<int64_t>(i) * kSize);
    EXPECT_LT(plan[i].lead, wanted - 3900);
  }
}

// Someone far away has the beginning of a log, and some bytes behind each multiple of the size.
TEST_F(LogPieces, CanBeTakenFromALogWithHolesWhenNobodyTries) {
  const std::string text = LinesOfMarch(30000);
  constexpr size_t kSize = 512 << 10;
  ASSERT_GT(text.size(), 4 * kSize);
  AddLog("a.log", text);
  const std::vector<LogPiece> plan = Plan(kSize, Cuts::kUntried);
  std::string holes(text.size(), '\0');
  for (size_t at = 0; at < text.size(); at += kSize) {
    const size_t size = std::min<size_t>(at == 0 ? 64 << 10 : 128 << 10, text.size() - at);
    holes.replace(at, size, text, at, size);
  }
  AddLog("a.log", holes);
  const std::vector<LogPiece> other = Plan(kSize, Cuts::kUntried);
  ASSERT_EQ(other.size(), plan.size());
  for (size_t i = 0; i < plan.size(); ++i) {
    EXPECT_EQ(other[i].from, plan[i].from);
    EXPECT_EQ(other[i].lead, plan[i].lead);
    EXPECT_EQ(other[i].proof, plan[i].proof);
    EXPECT_EQ(other[i].plan, plan[i].plan);
  }
}

TEST_F(LogPieces, AreNotWithoutBoundWhenNobodyTries) {
  const std::string text = LinesOfMarch(2000);
  AddLog("a.log", text);
  const std::vector<LogPiece> plan = Plan(1, Cuts::kUntried);
  EXPECT_GT(plan.size(), 200U);
  EXPECT_LE(plan.size(), 257U);
  EXPECT_EQ(Plan(text.size(), Cuts::kUntried).size(), 1U);
  EXPECT_EQ(Plan(UINT64_MAX, Cuts::kUntried).size(), 1U);
}

TEST_F(LogPieces, CannotBeAddedWhereAnUntriedCutDoesNotHold) {
  AddLog("a.log", LinesOfMarch(1000) + "!!LOG_FORMAT DATE TIME HOSTNAME URL\n" + TabLines(2000));
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    const std::vector<LogPiece> plan = Plan(10000, Cuts::kUntried);
    const size_t added = Merge(CountAll(plan));
    EXPECT_GT(added, 5U);
    EXPECT_LT(added, plan.size());
  }
}

// ---- Pieces in pieces ----

void ExpectSameStretches(const std::vector<LogPiece>& pieces, const std::vector<LogPiece>& others) {
  ASSERT_EQ(pieces.size(), others.size());
  for (size_t i = 0; i < pieces.size(); ++i) {
    EXPECT_EQ(pieces[i].path, others[i].path);
    EXPECT_EQ(pieces[i].place, others[i].place);
    EXPECT_EQ(pieces[i].size, others[i].size);
    EXPECT_EQ(pieces[i].first, others[i].first);
    EXPECT_EQ(pieces[i].last, others[i].last);
    EXPECT_EQ(pieces[i].from, others[i].from);
    EXPECT_EQ(pieces[i].lead, others[i].lead);
    EXPECT_EQ(pieces[i].to, others[i].to);
    EXPECT_EQ(pieces[i].proof, others[i].proof);
  }
}

TEST_F(LogPieces, OfAWholeLogAreThoseOfItsPlan) {
  AddLog("a.log", LinesOfMarch(3000) + "!!LOG_FORMAT DATE TIME HOSTNAME URL\n" + TabLines(2000));
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    const std::vector<LogPiece> log = Plan(1U << 30);
    ASSERT_EQ(log.size(), 1U);
    for (const Cuts cuts : {Cuts::kProven, Cuts::kUntried}) {
      const std::vector<LogPiece> pieces = Cut(log[0], 10000, cuts);
      ExpectAllOnce(pieces);
      EXPECT_GT(pieces.size(), 10U);
      ExpectSameStretches(pieces, Plan(10000, cuts));
      EXPECT_EQ(pieces[1].of, log[0].plan);
    }
  }
}

TEST_F(LogPieces, OfOneWithinALogStayWithinIt) {
  AddLog("a.log", LinesOfMarch(3000));
  const std::vector<LogPiece> plan = Plan(80000);
  ASSERT_GT(plan.size(), 2U);
  const std::vector<LogPiece> pieces = Cut(plan[1], 10000, Cuts::kProven);
  ASSERT_GT(pieces.size(), 5U);
  EXPECT_EQ(pieces.front().from, plan[1].from);
  EXPECT_EQ(pieces.front().lead, plan[1].lead);
  EXPECT_EQ(pieces.back().to, plan[1].to);
  for (size_t i = 1; i < pieces.size(); ++i) {
    EXPECT_EQ(pieces[i].from, pieces[i - 1].to);
    EXPECT_GT(pieces[i].from, plan[1].from);
    EXPECT_LT(pieces[i].from, plan[1].to);
    EXPECT_TRUE(IsAsPlanned(pieces[i]));
  }
  const std::vector<LogPiece> again = Cut(pieces[2], 1000, Cuts::kProven);
  EXPECT_GT(again.size(), 2U);
  EXPECT_EQ(again[0].of, plan[0].plan);
}

TEST_F(LogPieces, TellOnceWhatTheirPieceTells) {
  AddLog("a.log", LinesOfMarch(3000));
  LogPiece piece = Plan(1U << 30)[0];
  piece.place = 7;
  piece.copies = {{9, "b.log"}};
  piece.unopened = {"c.log"};
  const std::vector<LogPiece> pieces = Cut(piece, 10000, Cuts::kUntried);
  ASSERT_GT(pieces.size(), 5U);
  ASSERT_EQ(pieces[0].copies.size(), 1U);
  EXPECT_EQ(pieces[0].copies[0].path, "b.log");
  EXPECT_EQ(pieces[0].unopened, piece.unopened);
  for (size_t i = 1; i < pieces.size(); ++i) {
    EXPECT_TRUE(pieces[i].copies.empty());
    EXPECT_TRUE(pieces[i].unopened.empty());
    EXPECT_EQ(pieces[i].place, 7U);
  }
}

TEST_F(LogPieces, OfNothingAndOfWhatIsGoneAreOne) {
  LogPiece piece;
  EXPECT_EQ(Cut(piece, 1, Cuts::kProven).size(), 1U);
  piece.path = PathOf("none.log");
  piece.size = 1U << 30;
  for (const Cuts cuts : {Cuts::kProven, Cuts::kUntried}) {
    EXPECT_EQ(Cut(piece, 1, cuts).size(), 1U);
  }
}

// ---- Logs that are other ones by now ----

TEST_F(LogPieces, AreAsPlannedWhileTheirLogsGrow) {
  const std::string text = LinesOfMarch(100);
  AddLog("a.log", text);
  const std::vector<LogPiece> plan = Plan(1000);
  ASSERT_GT(plan.size(), 5U);
  const auto as_planned = [&] {
    const bool first = IsAsPlanned(plan.front());
    EXPECT_EQ(IsAsPlanned(plan.back()), first);
    return first;
  };
  EXPECT_TRUE(as_planned());
  AddLog("a.log", text + "more\n");
  EXPECT_TRUE(as_planned());
  AddLog("a.log", text.substr(0, text.size() - 1));
  EXPECT_FALSE(as_planned());
  AddLog("a.log", "other lines\n" + text);
  EXPECT_FALSE(as_planned());
  unlink(PathOf("a.log").c_str());
  EXPECT_FALSE(as_planned());
}

TEST_F(LogPieces, OfLogsThatCouldNotBeReadAreAsPlanned) {
  LogPiece piece;
  piece.path = PathOf("none.log");
  EXPECT_TRUE(IsAsPlanned(piece));
}

TEST_F(LogPieces, DoNotFollowAChangeThatComesLater) {
  AddLog("a.log", LinesOfMarch(1000) + TabLines(1000));
  const std::vector<LogPiece> plan = Plan(4000);
  std::string changed = LinesOfMarch(1000) + TabLines(1000);
  const std::string header = "!!LOG_FORMAT DATE TIME HOSTNAME URL";
  AddLog("a.log", changed.replace(LinesOfMarch(900).size(), header.size(), header));
  EXPECT_TRUE(IsAsPlanned(plan.back()));
  EXPECT_LT(Merge(CountAll(plan)), plan.size());
}

// ---- Several at once ----

TEST_F(LogPieces, ThatAreReadAtOnceNeedNoCutThatHolds) {
  AddLog("a.log", LinesOfMarch(1000) + "!!LOG_FORMAT DATE TIME HOSTNAME URL\n" + TabLines(2000));
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    const std::vector<LogPiece> plan = Plan(10000, Cuts::kUntried);
    ASSERT_LT(Merge(CountAll(plan)), plan.size());
    EXPECT_EQ(Merge(CountAll(plan, plan.size())), 1U);
  }
}

TEST_F(LogPieces, ComeOneBehindTheOther) {
  AddLog("a.log", LinesOfMarch(100));
  AddLog("b.log", LinesOfMarch(100, "\n", "06/Mar/2000:10:00:00"));
  const std::vector<LogPiece> plan = Plan(1000);
  const size_t count = plan.size();
  ASSERT_GT(count, 6U);
  for (size_t i = 0; i < count; ++i) {
    for (size_t j = 0; j < count; ++j) {
      EXPECT_EQ(IsNextPiece(plan[i], plan[j]), j == i + 1) << i << " " << j;
    }
  }
  const size_t behind = static_cast<size_t>(
      std::find_if(plan.begin(), plan.end(), [](const LogPiece& piece) { return piece.to == kNoStop; }) -
      plan.begin());
  for (const size_t first : {size_t{0}, behind}) {  // within a log, and between two
    const LogPiece& next = plan[first + 1];
    for (const auto& change :
         {+[](LogPiece& piece) { ++piece.plan; }, +[](LogPiece& piece) { ++piece.count; },
          +[](LogPiece& piece) { ++piece.number; }, +[](LogPiece& piece) { ++piece.from; },
          +[](LogPiece& piece) { piece.path.clear(); }}) {
      LogPiece other = next;
      change(other);
      EXPECT_FALSE(IsNextPiece(plan[first], other));
    }
  }
}

// ---- Their counts ----

class AddedLogPieces : public LogPieces {
 protected:
  AddedLogPieces() {
    AddLog("a.log", LinesOfMarch(60));
    AddLog("b.log", LinesOfMarch(20));
    plan_ = Plan(1000);
    parts_ = CountAll(plan_);
    BeginWithoutLogs();
  }

  std::vector<LogPiece> plan_;
  std::vector<std::string> parts_;
};

TEST_F(AddedLogPieces, FollowEachOther) {
  ASSERT_GE(parts_.size(), 4U);
  EXPECT_EQ(Add(parts_[0]).added, PiecesAdded::kAll);
  EXPECT_FALSE(BeginWithinLog());
  const AddedPieces gap = Add(parts_[2]);
  EXPECT_EQ(gap.added, PiecesAdded::kNotNext);
  EXPECT_EQ(gap.number, 3U);
  EXPECT_EQ(gap.wanted, 2U);
  EXPECT_EQ(gap.count, parts_.size());
  EXPECT_EQ(Add(parts_[0]).added, PiecesAdded::kNotNext);
  EXPECT_EQ(Add(parts_[1]).added, PiecesAdded::kAll);
  EXPECT_TRUE(BeginWithinLog());
}

TEST_F(AddedLogPieces, MayBeLacked) {
  AddedPieces missing{};
  EXPECT_EQ(Add(parts_[1]).added, PiecesAdded::kAll);
  EXPECT_TRUE(LacksPieces(missing));
  EXPECT_EQ(missing.wanted, 1U);
  BeginWithoutLogs();
  EXPECT_EQ(Add(parts_[0]).added, PiecesAdded::kAll);
  EXPECT_TRUE(LacksPieces(missing));
  EXPECT_EQ(missing.wanted, 2U);
  EXPECT_EQ(missing.count, parts_.size());
}

TEST_F(AddedLogPieces, AreOfOnePlan) {
  AddLog("b.log", LinesOfMarch(21));
  const std::vector<LogPiece> other = Plan(1000);
  ASSERT_EQ(other.size(), plan_.size());
  const std::string part = Count({other[1]});
  BeginWithoutLogs();
  EXPECT_EQ(Add(parts_[0]).added, PiecesAdded::kAll);
  EXPECT_EQ(Add(part).added, PiecesAdded::kOtherPlan);
  BeginWithoutLogs();
  EXPECT_EQ(Add(WrittenPart([](PartWriter& none) {
              SavePieces(none);
              SaveLogs(none);
            })).added,
            PiecesAdded::kAll);
  EXPECT_FALSE(ArePiecesOfAPlan());
  EXPECT_EQ(Add(parts_[0]).added, PiecesAdded::kOtherPlan);
}

TEST_F(AddedLogPieces, MayBeSumsOfOthers) {
  const std::string states = (Merge(parts_), StatesOfLogs());
  const size_t half = parts_.size() / 2;
  std::vector<std::string> sums;
  for (const std::vector<std::string>& some : {std::vector(parts_.begin(), parts_.begin() + half),
                                               std::vector(parts_.begin() + half, parts_.end())}) {
    BeginWithoutLogs();
    for (const std::string& part : some) {
      EXPECT_EQ(Add(part).added, PiecesAdded::kAll);
    }
    sums.push_back(WrittenPart([](PartWriter& part) {
      SavePieces(part);
      SaveLogs(part);
    }));
  }
  EXPECT_EQ(Merge(sums), 2U);
  EXPECT_EQ(StatesOfLogs(), states);
}

TEST_F(AddedLogPieces, ThatAreCutAreNotAdded) {
  const std::string pieces = WrittenPart([&](PartWriter& part) {
    Add(parts_[0]);
    SavePieces(part);
  });
  for (size_t size = 0; size < pieces.size(); ++size) {
    BeginWithoutLogs();
    const PartText text(pieces, size);
    PartReader part = text.reader();
    EXPECT_EQ(AddSavedPieces(part).added, PiecesAdded::kDamaged) << size;
  }
}

// ---- Pieces that are missing ----

LogState StateOf(const std::string& path) {
  LogState state{};
  for (const void* place = nullptr; SuperLog_NextState(place, state) && path != state.path;) {
  }
  EXPECT_EQ(state.path, path);
  return state;
}

TEST_F(AddedLogPieces, MayBeMissing) {
  const std::string a = PathOf("a.log");
  const size_t last = plan_.size() - 1;  // b.log
  const uint64_t size = LinesOfMarch(60).size();
  for (size_t missing = 0; missing <= last; ++missing) {
    std::vector<std::string> parts = parts_;
    parts[missing] = Miss({plan_[missing]});
    EXPECT_EQ(Merge(parts), parts.size());
    const LogPiece& piece = plan_[missing];
    const uint64_t bytes = std::min<uint64_t>(piece.to, piece.size) - static_cast<uint64_t>(piece.from);
    const LogState state = StateOf(piece.path);
    EXPECT_TRUE(state.missing);
    EXPECT_EQ(state.missing_bytes, bytes);
    EXPECT_EQ(state.size, piece.size);
    if (missing < last) {
      const std::string lost = LinesOfMarch(60).substr(static_cast<size_t>(piece.from), bytes);
      EXPECT_EQ(state.records.count, 60 - std::count(lost.begin(), lost.end(), '\n'));
      EXPECT_FALSE(StateOf(PathOf("b.log")).missing);
    }
  }
  std::vector<std::string> none;
  for (const LogPiece& piece : plan_) {
    none.push_back(Miss({piece}));
  }
  for (const std::vector<std::string>& all : {none, {Miss(plan_)}}) {
    EXPECT_EQ(Merge(all), all.size());
    EXPECT_EQ(StateOf(a).missing_bytes, size);
    EXPECT_EQ(StateOf(a).records.count, 0);
    EXPECT_EQ(StateOf(PathOf("b.log")).missing_bytes, LinesOfMarch(20).size());
  }
}

TEST_F(LogPieces, FollowMissingOnesWhateverTheseHold) {
  AddLog("a.log", LinesOfMarch(1000) + "!!LOG_FORMAT DATE TIME HOSTNAME URL\n" + TabLines(2000));
  const std::vector<LogPiece> plan = Plan(10000, Cuts::kUntried);
  std::vector<std::string> parts = CountAll(plan);
  const size_t apart = Merge(parts);
  ASSERT_LT(apart, plan.size());
  parts[apart - 1] = Miss({plan[apart - 1]});
  EXPECT_GT(Merge(parts), apart);
  parts = CountAll(plan);
  parts[apart] = Miss({plan[apart]});
  EXPECT_GT(Merge(parts), apart);
}

TEST_F(LogPieces, ThatAreMissingNeedNoLog) {
  LogPiece piece;
  piece.path = PathOf("none.log");
  piece.count = 1;
  piece.size = 7;
  piece.from = 9;
  EXPECT_EQ(Merge({Miss({piece})}), 1U);
  EXPECT_TRUE(StateOf(piece.path).missing);
  EXPECT_EQ(StateOf(piece.path).missing_bytes, 0U);
  piece.path = "";
  EXPECT_EQ(Merge({Miss({piece})}), 1U);
  EXPECT_FALSE(SuperLog_LogFilesFound());
}

// ---- Copies ----

class PackedLogPieces : public LogPieces {
 protected:
  PackedLogPieces() {
    settings_.rules.unpacks = true;
    CopyText(settings_.logs, folder_ + "/*");
  }

  void SetUp() override {
    if (LibraryFor(PackFormat::kGzip) == nullptr || !HasTool(PackFormat::kGzip)) {
      GTEST_SKIP() << "built without gzip";
    }
    StartUnpacking();
  }
};

TEST_F(PackedLogPieces, TellOfCopies) {
  AddLog("a.log", LinesOfMarch(50));
  AddLog("b.log", LinesOfMarch(50));
  AddLog("c.log.gz", Pack(PackFormat::kGzip, LinesOfMarch(50)));
  AddLog("d.log.gz", Pack(PackFormat::kGzip, LinesOfMarch(60)));
  AddLog("e.log.gz", Pack(PackFormat::kGzip, LinesOfMarch(60), "-1"));
  const std::vector<LogPiece> plan = Plan(1U << 20);
  ASSERT_EQ(plan.size(), 2U);
  ASSERT_EQ(plan[0].copies.size(), 2U);
  EXPECT_EQ(plan[0].copies[0].path, PathOf("b.log"));
  EXPECT_EQ(plan[0].copies[1].path, PathOf("c.log.gz"));
  EXPECT_EQ(plan[0].copies[1].place, 2U);
  ASSERT_EQ(plan[1].copies.size(), 1U);
  EXPECT_EQ(ExpectSame(1U << 20), 2U);
}

// Whoever has made the plan has looked for copies; or has put together what others have planned.
TEST_F(PackedLogPieces, AreAllReadWhateverElseIsReadWithThem) {
  AddLog("a.log", LinesOfMarch(50));
  AddLog("b.log.gz", Pack(PackFormat::kGzip, LinesOfMarch(60)));
  std::vector<LogPiece> plan = Plan(1U << 20);
  ASSERT_EQ(plan.size(), 2U);
  AddLog("b.log.gz", Pack(PackFormat::kGzip, LinesOfMarch(50)));
  for (const size_t at_once : {1U, 2U}) {
    CountAll(plan, at_once);
    EXPECT_EQ(records_, 100);
  }
}

}  // namespace
