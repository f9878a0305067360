#include "run/plan_run.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "analysis/driver.h"
#include "base/byte_size.h"
#include "parts/piece_token.h"
#include "parts/plan_join.h"
#include "run/given_piece.h"
#include "run/part_sentences.h"
#include "superlog/log_pieces.h"

// ---- What plan= says ----

struct WantedPieces {
  uint64_t size;  // 0: it is none
  Cuts cuts;
};

static uint64_t SizeOf(std::string_view text) {
  const uint64_t size = ByteSize(text).value_or(0);
  return size <= INT64_MAX ? size : 0;
}

// "64M,quick"
static WantedPieces WantedBy(std::string_view text) {
  static constexpr std::string_view kQuick = ",quick";
  if (text.ends_with(kQuick)) {
    return {SizeOf(text.substr(0, text.size() - kQuick.size())), Cuts::kUntried};
  }
  return {SizeOf(text), Cuts::kProven};
}

bool JoinsPlans(const Settings& settings) {
  return settings.plan != nullptr && IsStandard(settings.plan);
}

// ---- Printing ----

static bool PrintPieces(const std::vector<LogPiece>& pieces) {
  for (const LogPiece& piece : pieces) {
    puts(TokenOf(piece).c_str());
  }
  return (fflush(stdout) == 0 && ferror(stdout) == 0) || Refuse("the plan could not be written");
}

static bool PlanLogs(const PartRun& run, const WantedPieces& wanted) {
  Analysis analysis{};
  if (!BeginAnalysis(run.settings, run.counting, analysis, kPartWriter.told(run.settings))) {
    SayRefusal({kErrorNoLogFiles}, run.env, run.settings);
    return false;
  }
  const bool printed = BeginAloneInTime() && PrintPieces(PlanPieces(wanted.size, wanted.cuts));
  EndAnalysis(analysis);
  return printed;
}

static bool PlanGivenPieces(const PartRun& run, const WantedPieces& wanted) {
  const std::vector<LogPiece>* const pieces = PiecesAsPlanned(run.settings);
  if (pieces == nullptr) {
    return false;
  }
  Analysis analysis{};
  BeginAdding(run.settings, run.counting, analysis, kPartWriter.told(run.settings));
  const bool printed = std::all_of(pieces->begin(), pieces->end(), [&](const LogPiece& piece) {
    return PrintPieces(CutPiece(piece, wanted.size, wanted.cuts));
  });
  EndAnalysis(analysis);
  return printed;
}

// ---- Joining ----

static bool ReadPlanLine(std::string& line) {
  static constexpr size_t kMost = kLongestPlanLine + 1;  // which is none
  line.clear();
  int c = getchar();
  for (; c != EOF && c != '\n'; c = getchar()) {
    if (line.size() < kMost) {
      line += static_cast<char>(c);
    }
  }
  return c != EOF || !line.empty();
}

static bool RefuseLine(uint64_t number, const char* why) {
  fprintf(stderr, "orvellis: line %" PRIu64 " of the plans %s\n", number, why);
  return false;
}

static bool JoinLine(PlanJoin& join, std::string_view line, uint64_t number) {
  switch (JoinLine(join, line)) {
    case LineJoined::kNoLine:
      return RefuseLine(number, "is no line of a plan");
    case LineJoined::kNotNext:
      return RefuseLine(number, "does not go on where the one before it has ended");
    case LineJoined::kTwice:
      return RefuseLine(number, "names a log that stands in one before it, too");
    case LineJoined::kNoCopy:
      return RefuseLine(number, "is the copy of no log before it");
    default:
      return true;
  }
}

static bool RefuseJoined(PlansJoined joined) {
  switch (joined) {
    case PlansJoined::kNone:
      return Refuse("standard input holds no plan");
    case PlansJoined::kCut:
      return Refuse("the plans end before their last log does");
    default:
      return Refuse("a log has more copies than a line of a plan can name");
  }
}

static bool JoinPlans() {
  PlanJoin join;
  std::string line;
  for (uint64_t number = 1; ReadPlanLine(line); ++number) {
    if (!JoinLine(join, line, number)) {
      return false;
    }
  }
  const PlansJoined joined = FinishJoin(join);
  return joined == PlansJoined::kAll ? PrintPieces(join.pieces) : RefuseJoined(joined);
}

bool PrintPlan(const PartRun& run) {
  if (JoinsPlans(run.settings) && run.settings.piece == nullptr) {
    return JoinPlans();
  }
  const WantedPieces wanted = WantedBy(run.settings.plan);
  if (wanted.size == 0) {
    return Refuse("plan= wants a size, such as 64M");
  }
  return run.settings.piece == nullptr ? PlanLogs(run, wanted) : PlanGivenPieces(run, wanted);
}
