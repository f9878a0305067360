// Parts that anybody may have written. Bit 1 of the first byte: the rest is a file of parts; otherwise it is
// the pieces, the logs and the counts of one, behind a fingerprint that fits, which are added by the rules of the edition
// in bit 0. What can be added makes well-formed outputs; saved and added again, it makes the same JSON.
#include "analysis/driver.h"
#include "dates/clock.h"
#include "output/json_output.h"
#include "output/modern_page.h"
#include "output/text_output.h"
#include "parts/counts.h"
#include "parts/part_file.h"
#include "report/report_page.h"
#include "run/reset.h"
#include "superlog/byte_scan.h"
#include "superlog/log_parts.h"
#include "superlog/log_pieces.h"
#include "superlog/superlog.h"
#include "well_formed.h"

static Settings AllSections(bool modern) {
  Settings settings{};
  for (RankedReport* const report :
       {&settings.requests, &settings.referrers, &settings.search, &settings.browsers, &settings.badurls,
        &settings.badreferrers, &settings.domains, &settings.domaintypes}) {
    report->on = 1;
  }
  settings.badurl_referrers = settings.dailytotals = settings.hitsperhour = 1;
  settings.hitsperdayofweek = settings.hoursofweek = 1;
  CopyText(settings.start_date, "03052000");
  CopyText(settings.end_date, "03112000");
  CopyText(settings.find, "/");
  settings.subdirs = settings.SmartMemoryEnabled = 1;
  settings.SmartMemoryMaxMemoryToAllocate = 8192;
  settings.rules.whole_logs = settings.rules.looks_up_together = modern;
  settings.dnslookupenabled = modern ? 1 : 0;  // and no time for it
  return settings;
}

// Ends the run that came before.
static void Begin(Settings& settings, bool modern, Analysis& analysis) {
  ResetRun();
  SetCurrentTimeForTest(952300800);
  settings = AllSections(modern);
  BeginAdding(settings, modern ? kModernCounting : kClassicCounting, analysis);
}

static bool Add(const std::string& body, const Settings& settings, Analysis& analysis) {
  const std::string bytes = body + std::string(kScanOverread, '\0');
  PartReader part{bytes.data(), bytes.data() + body.size()};
  unsigned missing = 0;
  return AddSavedPieces(part).added == PiecesAdded::kAll &&
         AddSavedLogs(part, settings.rules.whole_logs).added == LogsAdded::kAll &&
         AddSavedCounts(part, ResolveRules(settings, analysis.counting), analysis, missing) &&
         part.next == part.end;
}

static std::string Save(const Settings& settings, const Analysis& analysis) {
  std::string bytes;
  PartWriter part;
  part.sink = {&bytes, [](void* context, const char* text, size_t size) {
                 static_cast<std::string*>(context)->append(text, size);
               }};
  SavePieces(part);
  SaveLogs(part);
  SaveCounts(part, ResolveRules(settings, analysis.counting), analysis);
  FlushPart(part);
  return bytes;
}

static std::string Outputs(bool modern, Settings& settings, Analysis& analysis) {
  TellLogsAgain(kModernPage.told(settings).logs);
  CompleteCounts(settings, analysis);
  CloseRange(settings, analysis);
  if (!modern) {
    Captured([&] { FinishReport(settings, analysis); });
  }
  std::string json = Captured([&] { WriteJson(settings, analysis); });
  if (modern) {
    RequireJson(json);
    RequireHtml(Captured([&] { kModernPage.finish(settings, analysis); }));
  }
  return json;
}

static void CheckBody(const std::string& body, bool modern) {
  Settings settings;
  Analysis analysis{};
  Begin(settings, modern, analysis);
  if (Add(body, settings, analysis)) {
    const std::string saved = Save(settings, analysis);
    const std::string json = Outputs(modern, settings, analysis);
    EndAnalysis(analysis);
    Begin(settings, modern, analysis);
    REQUIRE(Add(saved, settings, analysis));
    REQUIRE(Outputs(modern, settings, analysis) == json);
  }
  EndAnalysis(analysis);
}

static void CheckFile(std::string_view content) {
  std::string bytes(content);
  bytes += '\0';
  FILE* const file = fmemopen(bytes.data(), content.empty() ? 1 : content.size(), "r");
  REQUIRE(file != nullptr);
  PartBytes part;
  PartRead read = PartRead::kPart;
  while (read == PartRead::kPart) {
    read = ReadPart(file, part);
    REQUIRE(part.size <= content.size());
  }
  ReleasePart(part);
  fclose(file);
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  setenv("SOURCE_DATE_EPOCH", "952300800", 1);
  std::string_view input = AsText(data, size);
  const uint8_t what = TakeByte(input);
  if ((what & 2) != 0) {
    CheckFile(input);
  } else {
    CheckBody(std::string(input), (what & 1) != 0);
  }
  ResetRun();
  return 0;
}
