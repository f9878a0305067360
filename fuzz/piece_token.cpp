// Pieces that anybody may have named. The first line of the input is what piece= says without its checksum,
// behind a byte whose bit 0 is the edition; the rest is the log, whatever path is named. What is a piece is
// written as one that is read as the same, and its reading comes to what can be added.
#include "parts/piece_token.h"

#include "run/reset.h"
#include "superlog/byte_scan.h"
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

static void ReadPiece(const LogPiece& piece, bool modern) {
  const Settings settings = SettingsOf(modern);
  Begin(settings, modern);
  IsAsPlanned(piece);
  TakePiece(piece);
  SuperLog_ReadLogs();
  HashBeginnings();
  const std::string saved = Saved();
  Begin(settings, modern);
  RequireAdded(saved, modern);
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
  piece.path = piece.path.empty() ? "" : file.Fill(log);
  ReadPiece(piece, modern);
  ResetRun();
  return 0;
}
