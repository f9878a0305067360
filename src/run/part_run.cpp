#include "run/part_run.h"

#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "analysis/driver.h"
#include "analysis/resolve_item.h"
#include "analysis/rules.h"
#include "analysis/smart_memory.h"
#include "analysis/wildcard.h"
#include "base/memory_end.h"
#include "base/path.h"
#include "base/text_file.h"
#include "parts/counts.h"
#include "parts/fingerprint.h"
#include "parts/part_file.h"
#include "parts/workers.h"
#include "report/report_page.h"
#include "run/given_piece.h"
#include "run/part_sentences.h"
#include "run/plan_run.h"
#include "superlog/directory_scan.h"
#include "superlog/log_parts.h"
#include "superlog/log_pieces.h"
#include "superlog/superlog.h"

const char* LastWord(int argc, char* const* argv, std::string_view name) {
  for (int i = argc - 1; i > 0; --i) {
    const std::string_view word = argv[i];
    if (word.size() > name.size() && word[name.size()] == '=' && BeginsWithIgnoreCase(word, name)) {
      return argv[i] + name.size() + 1;
    }
  }
  return nullptr;
}

// ---- The answer to such a run ----

static AnalysisEvents NoteEvents(const Settings&) {
  return {.logs = {.log_not_opened = NoteLogNotOpened}};
}

const PageWriter kPartWriter = {
    .announce = nullptr,
    .check = nullptr,
    .begin = nullptr,
    .found = nullptr,
    .told = NoteEvents,
    .finish = nullptr,
    .tells_totals = false,
    .refuse = SayRefusal,
    .ask = nullptr,
    .info = {},
};

// ---- What cannot be parts ----

// Whether records would be counted by more than what they and the settings say.
static bool CanBeDivided(const Settings& settings, const Limits& limits) {
  if (settings.debug != 0) {
    return Refuse("the counts of a run with debug cannot be added to others");
  }
  const DnsMode dns = ResolveDnsMode(settings, limits);
  if (dns != DnsMode::kOff && dns != DnsMode::kAfterwards) {
    return Refuse(
        "the counts of a run that looks up names while it counts (dnslookupenabled) cannot be added to "
        "others");
  }
  if (settings.first_alone) {
    return Refuse("from=first alone is a day that only all logs together tell: name it");
  }
  if (settings.find_pattern != 0 && RemembersMatches(settings.find)) {
    return Refuse(
        "a pattern whose brackets do not match remembers what it has met: its counts cannot be added to "
        "others");
  }
  return true;
}

// What a budget or the system has taken depends on all that was counted before.
static bool AllIsThere() {
  return gSM_TotalBytesFreed == 0 || Refuse(
                                         "the counts take more memory than they may have: what is left of "
                                         "them cannot be added to others");
}

// ---- Writing ----

struct PartToWrite {
  const PartRun& run;
  const Rules& rules;
  const Analysis& analysis;
};

static void WriteAll(void* context, PartWriter& part) {
  const PartToWrite& counted = *static_cast<PartToWrite*>(context);
  SaveFingerprint(part, FingerprintOf(counted.run.edition, counted.rules, counted.analysis));
  SavePieces(part);
  SaveLogs(part);
  SaveCounts(part, counted.rules, counted.analysis);
}

static bool WritePart(const PartRun& run, const Rules& rules, const Analysis& analysis) {
  const char* const path = run.settings.part;
  PartToWrite counted{run, rules, analysis};
  if (WritePartFile(path, stdout, &counted, WriteAll)) {
    return true;
  }
  char name[kPathSize];
  CopyText(name, IsStandard(path) ? "standard output" : path);
  const int error = errno;
  MakePrintable(name);
  fprintf(stderr, "orvellis: the part could not be written to %s: %s\n", name, strerror(error));
  return false;
}

static bool CanStandBehindOthers() {
  if (!BeginAloneInTime()) {
    return false;
  }
  const char* const gone = HashBeginnings();
  return gone == nullptr || RefusePart({gone, 1}, "has gone while the logs were read");
}

// ---- Pieces ----

static bool CountPieces(const PartRun& run) {
  const bool missing = run.settings.missing;
  const std::vector<LogPiece>* const pieces =
      missing ? KnownPieces(run.settings) : PiecesAsPlanned(run.settings);
  if (pieces == nullptr) {
    return false;
  }
  if (run.settings.part == nullptr) {
    return Refuse("piece= wants part=, a file for its counts");
  }
  Analysis analysis{};
  BeginAdding(run.settings, run.counting, analysis, NoteEvents(run.settings));
  bool read = true;
  if (missing) {
    MissPieces(*pieces);
    CollectLogFigures(run.settings, analysis);
  } else {
    TakePieces(*pieces);
    CountRecords(run.settings, analysis);
    read = AllBytesCame(pieces->front());
    CountGivenLines();
  }
  const bool made =
      read && AllIsThere() && WritePart(run, ResolveRules(run.settings, run.counting), analysis);
  EndAnalysis(analysis);
  return made;
}

// ---- Counting ----

static bool CountPart(const PartRun& run) {
  Analysis analysis{};
  if (!BeginAnalysis(run.settings, run.counting, analysis, NoteEvents(run.settings))) {
    SayRefusal({kErrorNoLogFiles}, run.env, run.settings);
    return false;
  }
  CountByWorkers(run.settings, analysis);
  const bool made = AllIsThere() && CanStandBehindOthers() &&
                    WritePart(run, ResolveRules(run.settings, run.counting), analysis);
  EndAnalysis(analysis);
  return made;
}

// ---- Adding ----

struct Sum {
  const PartRun& run;
  Analysis& analysis;
  Rules rules;
  Fingerprint fingerprint;
  PartBytes bytes = {};
  int64_t parts = 0;
};

// Values that can be told apart are told: what is not printable may be all that differs.
static bool RefuseFingerprint(const PartName& name, const FingerprintCheck& check) {
  if (check.other_name) {
    return RefusePart(name, "was counted by another version of the program");
  }
  char wanted[kTextSize];
  CopyText(wanted, check.other->value);
  MakePrintable(wanted);
  if (strcmp(wanted, check.found) == 0) {
    fprintf(stderr, "orvellis: %s was counted with another %s, of characters that are not shown\n", name.text,
            check.other->name);
    return false;
  }
  fprintf(stderr, "orvellis: %s was counted with another %s: \"%s\", and not \"%s\"\n", name.text,
          check.other->name, check.found, wanted);
  return false;
}

static bool AddPiecesOf(const PartName& name, PartReader& part) {
  const AddedPieces pieces = AddSavedPieces(part);
  switch (pieces.added) {
    case PiecesAdded::kOtherPlan:
      return RefusePart(name, "is of another plan than what was added before");
    case PiecesAdded::kNotNext:
      fprintf(stderr,
              "orvellis: %s begins with piece %" PRIu64 " of %" PRIu64 ", and piece %" PRIu64 " comes next\n",
              name.text, pieces.number, pieces.count, pieces.wanted);
      return false;
    case PiecesAdded::kApart:
      return RefusePart(name, "does not go on as the piece before it has ended: a log has changed since");
    case PiecesAdded::kDamaged:
      return RefusePart(name, "is no part that this program has written");
    default:
      return true;
  }
}

static bool AllPiecesAreThere() {
  AddedPieces missing{};
  if (!LacksPieces(missing)) {
    return true;
  }
  fprintf(stderr, "orvellis: piece %" PRIu64 " of %" PRIu64 " is missing\n", missing.wanted, missing.count);
  return false;
}

static bool AddLogsOf(const PartName& name, PartReader& part, const Sum& sum) {
  const AddedLogs logs = AddSavedLogs(part, sum.run.settings.rules.whole_logs);
  switch (logs.added) {
    case LogsAdded::kTwice:
      fprintf(stderr, "orvellis: %s covers the log %s, which a part before it covers, too\n", name.text,
              logs.log);
      return false;
    case LogsAdded::kCopy:
      fprintf(stderr, "orvellis: %s covers the log %s, which seems to be a copy of one in a part before it\n",
              name.text, logs.log);
      return false;
    case LogsAdded::kDamaged:
      return RefusePart(name, "is no part that this program has written");
    default:
      return true;
  }
}

static bool AddCountsOf(const PartName& name, PartReader& part, Sum& sum) {
  unsigned missing = 0;
  const bool added = AddSavedCounts(part, sum.rules, sum.analysis, missing);
  if (missing != kCountKinds) {
    fprintf(stderr, "orvellis: %s holds no counts for %s\n", name.text,
            NameOf(static_cast<CountKind>(missing)));
    return false;
  }
  return (added && part.next == part.end) || RefusePart(name, "is no part that this program has written");
}

static bool AddPart(const PartName& name, Sum& sum) {
  PartReader part{sum.bytes.bytes, sum.bytes.bytes + sum.bytes.size};
  const FingerprintCheck check = CompareFingerprint(part, sum.fingerprint);
  if (check.other != nullptr) {
    return RefuseFingerprint(name, check);
  }
  return AddPiecesOf(name, part) && AddLogsOf(name, part, sum) && AddCountsOf(name, part, sum) &&
         AllIsThere();
}

static bool RefuseRead(const PartName& name, PartRead read) {
  switch (read) {
    case PartRead::kOtherVersion:
      return RefusePart(name, "is a part of another version of the format");
    case PartRead::kCut:
      return RefusePart(name, "is cut");
    case PartRead::kDamaged:
      return RefusePart(name, "is damaged");
    default:
      return RefusePart(name, "is no part");
  }
}

// All parts of a file, of which there must be one.
static bool AddPartsOf(FILE* file, const char* path, Sum& sum) {
  int64_t number = 1;
  PartRead read = ReadPart(file, sum.bytes);
  for (; read == PartRead::kPart; read = ReadPart(file, sum.bytes)) {
    if (!AddPart({path, number}, sum)) {
      return false;
    }
    ++number;
  }
  sum.parts += number - 1;
  return (read == PartRead::kNoMore && number > 1) || RefuseRead({path, number}, read);
}

static bool AddFile(const char* path, Sum& sum) {
  const OpenedFile opened = OpenToRead(path);
  if (opened.file < 0) {
    fprintf(stderr, "orvellis: %s could not be opened: %s\n", PartName(path, 1).text, strerror(errno));
    return false;
  }
  FILE* const file = opened.kind == FileKind::kRegular ? fdopen(opened.file, "r") : nullptr;
  if (file == nullptr) {
    close(opened.file);
    return RefuseRead({path, 1}, PartRead::kNoPart);
  }
  char room[65536];
  setvbuf(file, room, _IOFBF, sizeof room);
  const bool added = AddPartsOf(file, path, sum);
  fclose(file);
  return added;
}

// The files that merge= names, from the first time that they are asked for: a run that has given up its
// rights could not look for them.
static DirectoryScan mPartFiles;
static bool mPartFilesFound = false;

static void ForgetPartFiles() {
  FindClose(mPartFiles);
  mPartFilesFound = false;
}

// The pattern's directory is used as it stands.
void FindParts(const Settings& settings, void* context, void (*found)(void* context, const char* path)) {
  if (strlen(settings.merge) >= kPathSize) {
    return;
  }
  if (!mPartFilesFound) {
    StartScan(mPartFiles, settings.merge);
    mPartFilesFound = true;
  }
  RewindScan(mPartFiles);
  const std::string_view pattern = settings.merge;
  for (FoundName match = NextName(mPartFiles); match.name != nullptr; match = NextName(mPartFiles)) {
    char path[2 * kPathSize];
    const auto folder = static_cast<int>(FolderLength(pattern));
    snprintf(path, sizeof path, "%.*s%s", folder, settings.merge, match.name);
    found(context, path);
  }
}

struct Adding {
  Sum& sum;
  bool all_added;
};

static void AddIfAllWere(void* context, const char* path) {
  Adding& adding = *static_cast<Adding*>(context);
  adding.all_added = adding.all_added && AddFile(path, adding.sum);
}

static bool AddAll(Sum& sum) {
  const char* const pattern = sum.run.settings.merge;
  if (IsStandard(pattern)) {
    return AddPartsOf(stdin, pattern, sum);
  }
  Adding adding{sum, true};
  FindParts(sum.run.settings, &adding, AddIfAllWere);
  ForgetPartFiles();
  return adding.all_added && (sum.parts > 0 || RefusePart({pattern, 1}, "names no part that is there"));
}

// ---- The page of what was added ----

// What a run tells while it reads logs, in the order in which it does.
static void TellAgain(const AnalysisEvents& told, const Analysis& analysis) {
  TellLogsAgain(told.logs);
  for (int64_t record = 0; told.line_read != nullptr && record < analysis.logs.records; ++record) {
    told.line_read();
  }
}

static void PrintPage(const PartRun& run, Analysis& analysis) {
  const PageWriter& page = run.page;
  if (page.begin != nullptr) {
    page.begin(run.env, run.settings);
  }
  OrderLogsOfPieces();
  const AnalysisEvents told = page.told(run.settings);
  if (page.found != nullptr) {
    page.found(run.env, run.settings);
  }
  TellAgain(told, analysis);
  CompleteCounts(run.settings, analysis);
  FinishPageOf(run.settings, analysis, page);
}

static bool MergeParts(const PartRun& run) {
  Analysis analysis{};
  BeginAdding(run.settings, run.counting, analysis);
  if (run.settings.domaintypes.on != 0) {
    ReadNamesOnce(run.settings.Networks);  // before the tables take what memory there is
  }
  const Rules rules = ResolveRules(run.settings, run.counting);
  Sum sum{run, analysis, rules, FingerprintOf(run.edition, rules, analysis)};
  bool made = AddAll(sum);
  ReleasePart(sum.bytes);
  CollectLogFigures(run.settings, analysis);
  if (made && run.settings.part != nullptr) {
    made = WritePart(run, rules, analysis);
  } else if (made && (made = AllPiecesAreThere())) {
    PrintPage(run, analysis);
  }
  EndAnalysis(analysis);
  return made;
}

// Where logs are read whole a piece may be planned itself.
static bool IsOneTask(const Settings& settings) {
  const bool cut = settings.plan != nullptr && settings.piece != nullptr && settings.rules.whole_logs;
  const int tasks = (settings.plan != nullptr) + (settings.piece != nullptr) + (settings.merge != nullptr);
  const bool one = tasks - cut <= 1 && (settings.plan == nullptr || settings.part == nullptr);
  return one || Refuse("of plan=, piece= and merge= a run takes one, and plan= takes no part=");
}

// The page has to tell of what is missing, and what comes by a stream is read but once.
static bool MayLackItsLog(const Settings& settings) {
  const bool lacks = settings.missing || settings.stream != nullptr;
  const bool may = settings.piece != nullptr && settings.plan == nullptr && settings.rules.whole_logs &&
                   (settings.stream == nullptr || (IsStandard(settings.stream) && !settings.missing));
  return !lacks || may || Refuse("missing=1 or stream=- are for a piece= that the modern edition counts");
}

bool MakePartOrPage(const PartRun& run) {
  std::set_new_handler(EndWithoutMemory);
  if (!IsOneTask(run.settings) || !MayLackItsLog(run.settings) ||
      !CanBeDivided(run.settings, run.counting.limits)) {
    return false;
  }
  const Settings& settings = run.settings;
  return settings.merge != nullptr   ? MergeParts(run)
         : settings.plan != nullptr  ? PrintPlan(run)
         : settings.piece != nullptr ? CountPieces(run)
                                     : CountPart(run);
}
