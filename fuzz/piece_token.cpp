// Pieces that anybody may have named. The first line of the input is what piece= says without its checksum,
// behind a byte whose bit 0 is the edition; the rest is the log, whatever path is named. What is a piece is
// written as one that is read as the same, and its reading comes to what can be added; so does that of its
// bytes as a stream, and a part without it. Its pieces are the stretch that it was, and one plan, which stays
// the same when it is joined with none; they are read one behind the other, too. The lines of the log may be
// those of plans.
#include "parts/piece_token.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "parts/plan_join.h"
#include "run/reset.h"
#include "superlog/byte_scan.h"
#include "superlog/given_log.h"
#include "superlog/log_parts.h"
#include "superlog/superlog.h"
#include "support.h"

static Settings SettingsOf(bool modern) {
  Settings settings{};
  settings.rules.whole_logs = modern;
  return settings;
}

static void Begin(const Settings& settings, bool modern) {
  ResetRun();
  SuperLog_InitWithoutLogs(settings, modern ? kModernLimits : kClassicLimits, 0, 952300800);
}

static std::string Saved() {
  std::string bytes;
  PartWriter part;
  part.sink = {&bytes, [](void* context, const char* text, size_t size) {
                 static_cast<std::string*>(context)->append(text, size);
               }};
  SavePieces(part);
  SaveLogs(part);
  FlushPart(part);
  return bytes;
}

static void RequireAdded(const std::string& saved, bool modern) {
  const std::string bytes = saved + std::string(kScanOverread, '\0');
  PartReader part{bytes.data(), bytes.data() + saved.size()};
  REQUIRE(AddSavedPieces(part).added == PiecesAdded::kAll);
  const LogsAdded added = AddSavedLogs(part, modern).added;
  REQUIRE(added != LogsAdded::kAll || part.next == part.end);
}

// What was read or missed can be added.
static void RequireAdded(bool modern) {
  const std::string saved = Saved();
  Begin(SettingsOf(modern), modern);
  RequireAdded(saved, modern);
}

static void ReadPieces(const std::vector<LogPiece>& pieces, bool modern) {
  Begin(SettingsOf(modern), modern);
  IsAsPlanned(pieces.front());
  TakePieces(pieces);
  SuperLog_ReadLogs();
  HashBeginnings();
  RequireAdded(modern);
}

static void Miss(const std::vector<LogPiece>& pieces, bool modern) {
  Begin(SettingsOf(modern), modern);
  MissPieces(pieces);
  RequireAdded(modern);
}

static void ReadStream(const LogPiece& piece, std::string_view log) {
  std::string bytes(log);
  FILE* const stream = bytes.empty() ? nullptr : fmemopen(bytes.data(), bytes.size(), "r");
  if (stream == nullptr) {
    return;
  }
  Begin(SettingsOf(true), true);
  if (TakeGivenLog(stream, piece) == LogGiven::kAll) {
    IsAsPlanned(piece);
    TakePieces({piece});
    SuperLog_ReadLogs();
    EndGivenLog();
    CountGivenLines();
    RequireAdded(true);
  }
  ForgetGivenLog();
  fclose(stream);
}

// ---- Plans ----

// Lines that can be joined are a plan that can be joined, too, and is the same then.
static void RequireSamePlan(const std::vector<std::string>& lines) {
  PlanJoin join;
  for (const std::string& line : lines) {
    if (JoinLine(join, line) != LineJoined::kTaken) {
      return;
    }
  }
  if (FinishJoin(join) != PlansJoined::kAll) {
    return;
  }
  PlanJoin again;
  for (const LogPiece& piece : join.pieces) {
    REQUIRE(JoinLine(again, TokenOf(piece)) == LineJoined::kTaken);
  }
  REQUIRE(FinishJoin(again) == PlansJoined::kAll);
  REQUIRE(again.pieces.size() == join.pieces.size());
  for (size_t i = 0; i < again.pieces.size(); ++i) {
    REQUIRE(TokenOf(again.pieces[i]) == TokenOf(join.pieces[i]));
  }
}

static void CutFurther(const LogPiece& piece, bool modern, Cuts cuts) {
  Begin(SettingsOf(modern), modern);
  const std::vector<LogPiece> pieces = CutPiece(piece, 100, cuts);
  REQUIRE(pieces.front().from == piece.from && pieces.back().to == piece.to);
  std::vector<std::string> lines;
  for (size_t i = 0; i < pieces.size(); ++i) {
    LogPiece read;
    REQUIRE(i == 0 || IsNextPiece(pieces[i - 1], pieces[i]));
    lines.push_back(TokenOf(pieces[i]));
    REQUIRE(ReadToken(lines.back(), read));
  }
  RequireSamePlan(lines);
  ReadPieces({pieces.begin() + pieces.size() / 2, pieces.end()}, modern);
  Miss(pieces, modern);
}

// Joined behind the piece, with the checksums that no input would find.
static void JoinLines(const LogPiece& piece, std::string_view text) {
  std::vector<std::string> lines{TokenOf(piece)};
  while (!text.empty()) {
    const std::string_view line = TakePart(text);
    const bool copy = line.starts_with(kCopyLine);
    std::string token(line.substr(copy ? kCopyLine.size() : 0));
    AddCheck(token);
    lines.push_back((copy ? std::string(kCopyLine) : "") + token);
  }
  RequireSamePlan(lines);
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  std::string_view log = AsText(data, size);
  const bool modern = (TakeByte(log) & 1) != 0;
  LogPiece piece;
  std::string token(TakePart(log));
  ReadToken(token, piece);
  AddCheck(token);  // which no input would find
  if (!ReadToken(token, piece)) {
    return 0;
  }
  LogPiece again;
  REQUIRE(ReadToken(TokenOf(piece), again));
  REQUIRE(TokenOf(again) == TokenOf(piece));
  static MemoryFile file;
  JoinLines(piece, log);
  piece.path = piece.path.empty() ? "" : file.Fill(log);
  ReadPieces({piece}, modern);
  Miss({piece}, modern);
  CutFurther(piece, modern, Cuts::kProven);
  CutFurther(piece, modern, Cuts::kUntried);
  ReadStream(piece, log);
  ResetRun();
  return 0;
}
