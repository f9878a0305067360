#include "superlog/log_files.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "dates/local_time.h"
#include "dates/zone.h"
#include "superlog/content_hash.h"
#include "superlog/directory_scan.h"
#include "superlog/given_log.h"
#include "superlog/line_reader.h"
#include "superlog/log_blocks.h"
#include "superlog/log_copies.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"
#include "superlog/log_line.h"
#include "superlog/log_parts.h"
#include "superlog/log_pieces.h"
#include "superlog/log_probe.h"
#include "superlog/log_shares.h"
#include "superlog/log_store.h"
#include "superlog/summary_file.h"
#include "superlog/superlog.h"
#include "unpack/unpacking.h"

LogEvents mLogEvents;

static char mLogSearchSpec[kPathSize];
static char mCurLogFileSpec[kPathSize];
static time_t mAnalysisRangeFirst_t = 0;
static time_t mAnalysisRangeLast_t = 0;

// A pattern's files, which may have been found before anybody asks for them.
struct FoundLogs {
  bool ahead;
  DirectoryScan scan;
};

static FoundLogs mFoundLogs;
static FoundLogs mFoundAccessLog;

static bool mWholeLogs = false;              // every log is read to its end
static bool mFilesBegun = false;             // SuperLog_NextLogFile was called
static LogFile* mpNextLogSummary = nullptr;  // entry to look at next
static const LogFile* mpLogAtHand = nullptr;
static LogFile* mpOpenLog = nullptr;  // where logs are read whole
static bool mBlockRead = false;       // a part of it was, behind which there may be others
static bool mLogsInReportRange = false;
static int64_t mRecordsRead = 0;

static void Forget(FoundLogs& logs) {
  FindClose(logs.scan);
  logs = {};
}

static void BeginRun(bool whole_logs) {
  mWholeLogs = whole_logs;
  mFilesBegun = false;
  mLogsInReportRange = false;
  mRecordsRead = 0;
}

void ResetSuperLog() {
  SuperLog_Uninit();
  Forget(mFoundLogs);
  Forget(mFoundAccessLog);
  ResetLineReader();
  ResetLogLine();
  ResetLogFormat();
  ResetLogDates();
  ForgetLogsNotOpened();
  ForgetGivenLog();
  mLogEvents = {};
  mLogLimits = kClassicLimits;
  BeginRun(false);
}

static void ForgetLogs() {
  ClearLogList();
  mpNextLogSummary = mpOpenLog = nullptr;
  mBlockRead = false;
}

void SuperLog_Uninit() {
  ForgetLogs();
  StopUnpacking();
}

// --- Finding the log files --------------------------------------------------

bool FileIsntDots(const char* name) {
  return *name != '\0' && strcmp(name, ".") != 0 && strcmp(name, "..") != 0;
}

bool FileShouldBeScanned(const LogFile& found) {
  LogFile* const known = FindLog(found.name);
  if (known == nullptr || known->size != found.size) {
    return true;
  }
  known->state = kSeenOnDisk;
  return false;
}

static void FindAhead(FoundLogs& logs, const char* pattern) {
  Forget(logs);
  StartScan(logs.scan, pattern);
  logs.ahead = true;
}

static void BeginScan(FoundLogs& logs, const char* pattern) {
  if (!logs.ahead) {
    StartScan(logs.scan, pattern);
  }
}

// Where the log of that name is opened. The pattern's directory is used as it stands.
static void MakeLogPath(char (&path)[kPathSize], const char* pattern, const char* name) {
  char directory[kPathSize];
  MakeDirWithSlash(directory, sizeof directory, pattern);
  snprintf(path, sizeof path, "%s%s", directory, name);
}

// Adds the files of a pattern to the list; true when one of them was probed.
static bool AddLogsOfPattern(FoundLogs& logs, const char* pattern, bool trust_known_dates) {
  BeginScan(logs, pattern);
  bool probed = false;
  for (FoundFile found; FindNext(logs.scan, found);) {
    LogFile log = {};
    MakeLogPath(log.name, pattern, found.name);
    log.size = WrappedSize(mLogLimits, static_cast<uint64_t>(found.size));
    log.state = kSeenOnDisk;
    if (FileIsntDots(found.name) && (!trust_known_dates || FileShouldBeScanned(log))) {
      GetLogFileDateRange(log, found.size);
      LogsListAppend(log);
      probed = true;
    }
  }
  Forget(logs);
  return probed;
}

// Adds the files of a pattern to the list without a look into them.
static void ListLogsOfPattern(FoundLogs& logs, const char* pattern) {
  BeginScan(logs, pattern);
  for (FoundFile found; FindNext(logs.scan, found);) {
    LogFile log = {};
    MakeLogPath(log.name, pattern, found.name);
    log.size = static_cast<uint64_t>(found.size);
    log.state = kSeenOnDisk;
    log.plain = found.file;
    if (FileIsntDots(found.name)) {
      LogsListAdd(log);
    }
  }
  Forget(logs);
}

// The name of the settings, or where there is none the default one.
static void MakeSummaryPath(char (&path)[kSummaryPathSize], const Settings& settings) {
  char name[kPathSize];
  CopyText(name, settings.summary);
  if (name[0] == '\0') {
    CreateDefaultSummaryName(name, sizeof name, settings.logs);
  }
  CreateSummaryFileName(path, sizeof path, settings.logs, name);
}

static void TellLogs(FoundLogs& logs, const char* pattern, const LogPaths& paths) {
  FindAhead(logs, pattern);
  for (FoundName found = NextName(logs.scan); found.name != nullptr; found = NextName(logs.scan)) {
    char path[kPathSize];
    MakeLogPath(path, pattern, found.name);
    paths.log(paths.context, path, found.plain_file);
  }
  RewindScan(logs.scan);
}

void SuperLog_FindAhead(const Settings& settings, const LogPaths& paths) {
  if (!settings.rules.whole_logs) {
    char summary_path[kSummaryPathSize];
    MakeSummaryPath(summary_path, settings);
    paths.summary(paths.context, summary_path);
  }
  TellLogs(mFoundLogs, settings.logs, paths);
  TellLogs(mFoundAccessLog, settings.AccessLog, paths);
}

// ---- What decides about the records of a log -----------------------------------

static constexpr uint64_t kReadingVersion = 6;  // of what makes a record of a line

static constexpr ContentKey kRulesKey = {
    {0x9216d5d98979fb1b, 0xd1310ba698dfb5ac, 0x2ffd72dbd01adfb7, 0xb8e1afed6a267e96}};  // digits of pi

// Of the zone of the run; 0 when it is not known for sure.
static uint64_t HashOfZone() {
  static char zone[16 * 1024];
  const size_t size = ReadZone(zone, sizeof zone);
  return size == 0 ? 0 : AddBlock(kRulesKey, {}, zone, size).low;
}

static uint64_t HashOfRules(uint64_t zone) {
  struct {
    uint64_t version, line, item, request, wide, ff, escapes, layouts, requests, addresses, zones, mark,
        whole, order, offset;
    uint64_t gmt, zone, layout;
    char program[16];
  } rules = {};
  rules.version = kReadingVersion;
  rules.line = mLogLimits.line;
  rules.item = mLogLimits.item;
  rules.request = mLogLimits.request;
  rules.wide = mLogLimits.wide_figures;
  rules.ff = mLogLimits.ff_ends_line;
  rules.escapes = mLogLimits.escapes;
  rules.layouts = mLogLimits.layouts;
  rules.requests = mLogLimits.all_requests;
  rules.addresses = mLogLimits.whole_addresses;
  rules.zones = mLogLimits.zones;
  rules.mark = mLogLimits.passes_mark;
  rules.whole = mLogLimits.whole_lines;
  rules.order = static_cast<uint64_t>(mDateFormat);
  rules.offset = static_cast<uint64_t>(mGmtOffset);
  rules.gmt = mFixGmt;
  rules.zone = zone;
  const std::string_view layout = OwnLayout();
  rules.layout = AddBlock(kRulesKey, {}, layout.data(), layout.size()).low;
  CopyText(rules.program, kVersion);
  return AddBlock(kRulesKey, {}, reinterpret_cast<const char*>(&rules), sizeof rules).low;
}

static void BeginStore(const char* folder) {
  const uint64_t zone = folder[0] == '\0' ? 0 : HashOfZone();
  OpenStore(zone == 0 ? "" : folder, zone == 0 ? 0 : HashOfRules(zone));
}

static void ListLogs() {
  ListLogsOfPattern(mFoundLogs, mLogSearchSpec);
  ListLogsOfPattern(mFoundAccessLog, mCurLogFileSpec);
  FindCopies();
}

static void ProbeLogs(const Settings& settings) {
  char summary_path[kSummaryPathSize];
  MakeSummaryPath(summary_path, settings);
  ReadSummaryFile(summary_path);
  const bool logs_probed = AddLogsOfPattern(mFoundLogs, mLogSearchSpec, true);
  // The current log grows while it is read: its known dates are never trusted.
  const bool current_log_probed = AddLogsOfPattern(mFoundAccessLog, mCurLogFileSpec, false);
  const bool logs_gone = DeleteOldEntries();
  if (logs_probed || current_log_probed || logs_gone) {
    WriteSummaryFile(summary_path);
  }
}

void SuperLog_InitWithoutLogs(const Settings& settings, const Limits& limits, time_t range_first,
                              time_t range_last, const LogEvents& events) {
  ForgetLogs();  // who unpacks was started before
  mLogEvents = events;
  mLogLimits = limits;
  BeginRun(settings.rules.whole_logs);
  ForgetShare();
  ForgetPieces();
  SetUnpacking(settings.rules.whole_logs && settings.rules.unpacks);
  mAnalysisRangeFirst_t = range_first;
  mAnalysisRangeLast_t = range_last;
  CopyText(mLogSearchSpec, settings.logs);
  CopyText(mCurLogFileSpec, settings.AccessLog);
  InitLogDates();
  if (mLogLimits.layouts) {
    SuperLog_BeginLayout();
  }
}

void SuperLog_Init(Settings& settings, const Limits& limits, time_t range_first, time_t range_last,
                   const LogEvents& events) {
  SuperLog_InitWithoutLogs(settings, limits, range_first, range_last, events);
  if (settings.summary[0] == '\0') {
    CreateDefaultSummaryName(settings.summary, sizeof settings.summary, settings.logs);
  }
  if (mWholeLogs) {
    BeginStore(settings.store);
    ListLogs();
  } else {
    ProbeLogs(settings);
  }
}

bool SuperLog_LogFilesFound() {
  return mpLogsRoot != nullptr;
}

// --- Opening them one after the other ---------------------------------------

// A damaged summary file may hold any number.
static time_t ShiftFromGmt(time_t when) {
  return static_cast<time_t>(static_cast<uint64_t>(when) + static_cast<uint64_t>(mGmtOffset));
}

static bool IsLog(const LogFile& file) {
  return file.size != 0 && file.first != 0 && file.last != 0;
}

LogLook LookAt(const LogFile& file) {
  if (!IsLog(file)) {
    return {file.name, file.size, file.first, file.last, LogVerdict::kNoLog};
  }
  const time_t first = ShiftFromGmt(file.first);
  const time_t last = ShiftFromGmt(file.last);
  const bool in_range = last >= mAnalysisRangeFirst_t && first <= mAnalysisRangeLast_t;
  return {file.name, file.size, first, last, in_range ? LogVerdict::kInRange : LogVerdict::kOutOfRange};
}

static void TellOfLook(const LogLook& look) {
  if (mLogEvents.log_looked_at != nullptr) {
    mLogEvents.log_looked_at(look);
  }
}

static void GoToStretchOf(const LogFile& log) {
  if (StretchOf(log).from > 0) {
    GoToStretch();
  }
}

static bool OpenIfInRange(const LogFile& log) {
  const LogLook look = LookAt(log);
  const LogVerdict verdict = look.verdict;
  TellOfLook(look);
  if (verdict != LogVerdict::kInRange) {
    return false;
  }
  mLogsInReportRange = true;
  mpLogAtHand = &log;
  if (!OpenLog(log.name)) {
    return false;
  }
  GoToStretchOf(log);
  StopLinesAt(StretchOf(log).to);
  return true;
}

LogVerdict VerdictOf(const LogRecords& records) {
  return records.in_range > 0 ? LogVerdict::kInRange
         : records.count > 0  ? LogVerdict::kOutOfRange
                              : LogVerdict::kNoLog;
}

bool AreLogsReadWhole() {
  return mWholeLogs;
}

bool IsToBeRead(const LogFile& log) {
  return mWholeLogs ? log.plain && log.original == nullptr : LookAt(log).verdict == LogVerdict::kInRange;
}

bool EndsItsLog(time_t record) {
  return !mWholeLogs && record > mAnalysisRangeLast_t;
}

bool MayEndItself(const LogFile& log) {
  return EndsItsLog(LookAt(log).last);
}

uint64_t BytesToBeRead(const LogFile& log) {
  return BytesToBeRead(log, mAnalysisRangeFirst_t, mAnalysisRangeLast_t);
}

static LogLook LookOfReading(const LogFile& log) {
  const LogRecords& records = log.reading->records;
  return {log.name, log.size, records.first, records.last, VerdictOf(records)};
}

static void TakeReading(LogFile& log) {
  LogReading& reading = ReadingOf(log);
  reading = ReadingOfBlocks();
  if (IsAllOneShare()) {  // otherwise others know more of it
    TellOfLook(LookOfReading(log));
  }
}

void ForgetLinesBefore() {
  tm winter = {};
  winter.tm_year = 100;
  winter.tm_mday = 1;
  winter.tm_isdst = -1;
  LocalToTime(winter);
}

static void CloseRead(LogFile& log) {
  EndBlocks();
  log.format = FormatOfLog();
  log.unpacked = CloseLog();
  mpOpenLog = nullptr;
}

static void EndLog(LogFile& log) {
  CloseRead(log);
  if (log.unpacked != UnpackEnd::kNoLibrary) {
    KeepBlocks(log.name, log.unpacked);
    TakeReading(log);
  }
}

// The next part of the open log that has to be read; false when the log ends.
static bool GoToBlock() {
  mBlockRead = false;
  if (NextBlock()) {
    return true;
  }
  EndLog(*mpOpenLog);
  return false;
}

// Then it is closed.
static bool IsUnpackedCopy(LogFile& log) {
  if (FormatOfLog() == PackFormat::kNone || !MayBeUnpackedCopy(log, BeginningOfLog())) {
    return false;
  }
  CloseLog();
  return FindUnpackedCopy(log) || !OpenLog(log.name);
}

void FindUnpackedCopies() {
  for (LogFile* log = mpLogsRoot; mWholeLogs && log != nullptr; log = log->next) {
    if (log->original == nullptr && OpenLog(log->name)) {
      IsUnpackedCopy(*log);
      CloseLog();
    }
  }
}

// Whether a log that need not be read must be opened to learn whether another one holds the same: what is
// said of the logs is the same where nothing is known of them.
static bool MayBeCopyOfKnown() {
  return AreBlocksPacked() && mpLogsRoot->next != nullptr;
}

static void PassKnown(LogFile& log) {
  PassAllBlocks();
  TakeReading(log);
}

static void CloseAndPass(LogFile& log) {
  log.format = FormatOfLog();
  CloseLog();
  PassKnown(log);
}

// False of what is read in another's place, need not be read, or cannot be.
static bool OpenWhole(LogFile& log) {
  if (log.original != nullptr) {
    return false;
  }
  mpLogAtHand = &log;
  const bool known =
      IsAllKnown(log.name, mAnalysisRangeFirst_t, mAnalysisRangeLast_t) && StretchOf(log).IsWhole();
  if (known && !MayBeCopyOfKnown()) {
    PassKnown(log);
    return false;
  }
  if (!OpenLog(log.name)) {
    log.unopened = log.plain;
    return false;
  }
  // Of pieces, whoever has made the plan has looked for copies.
  if (!ArePiecesOfAPlan() && IsUnpackedCopy(log)) {
    return false;
  }
  if (known) {
    CloseAndPass(log);
    return false;
  }
  mpOpenLog = &log;
  ForgetLinesBefore();
  BeginLinesOfLog();
  GoToStretchOf(log);
  BeginBlocks(StretchOf(log));
  return GoToBlock();
}

static bool OpenToBeRead(LogFile& log) {
  return mWholeLogs ? OpenWhole(log) : OpenIfInRange(log);
}

void SuperLog_LogRead(const LogRecords& records) {
  mRecordsRead += records.count;
  LogOfShareRead(*mpLogAtHand, EndsItsLog(records.last));
  if (mpOpenLog == nullptr) {
    return;
  }
  mBlockRead = BlockRead(records);
  if (!mBlockRead) {
    EndLog(*mpOpenLog);
  }
}

void SuperLog_ReadLogs() {
  SuperLog_AskFor({});
  while (SuperLog_NextLogFile()) {
    LogRecords records;
    for (SuperLogRecord record; SuperLog_ParseNextLine(record);) {
      AddTime(records, record.time);
    }
    SuperLog_LogRead(records);
  }
  SuperLog_NextLogFile_Done();
}

static const LogReading& KnownOf(const LogFile& log) {
  static constexpr LogReading kNothing{};
  return log.reading == nullptr ? kNothing : *log.reading;
}

// Where logs are read whole.
static LogRecords AllRecords() {
  LogRecords all;
  for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    const LogRecords& records = KnownOf(*log).records;
    all.count += records.count;
    all.in_range += records.in_range;
    all.first = std::min(all.first, records.first);
    all.last = std::max(all.last, records.last);
  }
  return all;
}

bool SuperLog_TimesHeld(time_t& first, time_t& last) {
  const LogRecords all = AllRecords();
  if (all.count > 0) {
    first = all.first;
    last = all.last;
  }
  return all.count > 0;
}

bool SuperLog_FindTimes(time_t& first, time_t& last) {
  const LogEvents events = std::exchange(mLogEvents, {});
  SuperLog_ReadLogs();
  mLogEvents = events;
  return SuperLog_TimesHeld(first, last);
}

void SuperLog_BeginAgain(time_t range_first, time_t range_last) {
  BeginRun(mWholeLogs);
  ForgetReadings();
  mAnalysisRangeFirst_t = range_first;
  mAnalysisRangeLast_t = range_last;
}

bool SuperLog_NextState(const void*& place, LogState& state) {
  const auto* const before = static_cast<const LogFile*>(place);
  const LogFile* const log = before == nullptr ? mpLogsRoot : before->next;
  if (log == nullptr) {
    return false;
  }
  place = log;
  const NotUnderstood& lines = KnownOf(*log).not_understood;
  const LogFile& read = log->original == nullptr ? *log : *log->original;
  state = {.path = log->name,
           .copy_of = log->original == nullptr ? nullptr : log->original->name,
           .unopened = log->unopened,
           .missing = log->missing,
           .missing_bytes = log->missing_bytes,
           .size = log->size,
           .format = log->format,
           .unpacked = log->unpacked,
           .records = KnownOf(read).records,
           .lines_not_understood = lines.lines,
           .first_not_understood = lines.first,
           .line = lines.line,
           .nearest = lines.nearest,
           .reasons = &lines.reasons};
  return true;
}

static void BeginFiles() {
  mFilesBegun = true;
  mpNextLogSummary = FirstLogOfShare();
  ShareBegins();
  if (mLogEvents.search_done != nullptr) {
    mLogEvents.search_done({mAnalysisRangeFirst_t, mAnalysisRangeLast_t, mLogSearchSpec, mCurLogFileSpec,
                            SuperLog_LogFilesFound()});
  }
}

bool SuperLog_NextLogFile() {
  if (mBlockRead && GoToBlock()) {
    return true;
  }
  SuperLog_NextLogFile_Done();
  ResetFileFormat();
  if (!mFilesBegun) {
    BeginFiles();
  } else if (mLogEvents.log_read != nullptr) {
    mLogEvents.log_read();
  }
  while (mpNextLogSummary != nullptr && IsInShare(*mpNextLogSummary)) {
    LogFile& log = *mpNextLogSummary;
    mpNextLogSummary = log.next;
    if (OpenToBeRead(log)) {
      return true;
    }
  }
  ShareEnds();
  return false;
}

void SuperLog_NextLogFile_Done() {
  CloseLog();
  mpOpenLog = nullptr;
  mBlockRead = false;
}

// ---- What the logs came to ----

// A report speaks of the logs that hold records in range, and of lines where there might have been some.
static SuperLong BytesOfLogs() {
  SuperLong bytes{};
  for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    const LogReading& reading = KnownOf(*log);
    if (reading.records.in_range > 0) {
      SuperLongAddWide(bytes, static_cast<int64_t>(reading.bytes));
    }
  }
  return bytes;
}

static int64_t LinesOfLogs() {
  int64_t lines = 0;
  for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    const LogReading& reading = KnownOf(*log);
    lines += VerdictOf(reading.records) == LogVerdict::kOutOfRange ? 0 : reading.not_understood.lines;
  }
  return lines;
}

bool SuperLog_LogsInRange() {
  return mWholeLogs ? AllRecords().in_range > 0 : mLogsInReportRange;
}

SuperLong SuperLog_GetTotalLogBytesRead() {
  return mWholeLogs ? BytesOfLogs() : TotalLogBytesRead();
}

int64_t SuperLog_GetLinesNotUnderstood() {
  return mWholeLogs ? LinesOfLogs() : LinesNotUnderstood();
}

int64_t SuperLog_GetRecordsRead() {
  return mWholeLogs ? AllRecords().count : mRecordsRead;
}
