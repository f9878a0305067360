#include "superlog/log_files.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "superlog/directory_scan.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"
#include "superlog/log_line.h"
#include "superlog/log_probe.h"
#include "superlog/summary_file.h"
#include "superlog/superlog.h"

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

static bool mFilesBegun = false;                   // SuperLog_NextLogFile was called
static const LogFile* mpNextLogSummary = nullptr;  // entry to look at next
static bool mLogsInReportRange = false;
static int64_t mLogsNotOpened = 0;

static void Forget(FoundLogs& logs) {
  FindClose(logs.scan);
  logs = {};
}

void ResetSuperLog() {
  SuperLog_Uninit();
  Forget(mFoundLogs);
  Forget(mFoundAccessLog);
  ResetLineReader();
  ResetLogLine();
  ResetLogFormat();
  ResetLogDates();
  mLogEvents = {};
  mLogLimits = kClassicLimits;
  mFilesBegun = false;
  mLogsInReportRange = false;
  mLogsNotOpened = 0;
}

void SuperLog_Uninit() {
  ClearLogList();
  mpNextLogSummary = nullptr;
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

// Where the log of that name is opened. The pattern's directory is used as it stands.
static void MakeLogPath(char (&path)[kPathSize], const char* pattern, const char* name) {
  char directory[kPathSize];
  MakeDirWithSlash(directory, sizeof directory, pattern);
  snprintf(path, sizeof path, "%s%s", directory, name);
}

// Adds the files of a pattern to the list; true when one of them was probed.
static bool AddLogsOfPattern(FoundLogs& logs, const char* pattern, bool trust_known_dates) {
  if (!logs.ahead) {
    StartScan(logs.scan, pattern);
  }
  bool probed = false;
  for (FoundFile found; FindNext(logs.scan, found);) {
    LogFile log = {};
    MakeLogPath(log.name, pattern, found.name);
    log.size = WrappedSize(mLogLimits, static_cast<uint64_t>(found.size));
    log.state = kSeenOnDisk;
    if (FileIsntDots(found.name) && (!trust_known_dates || FileShouldBeScanned(log))) {
      log.unopened = !GetLogFileDateRange(log, found.size) && found.file;
      mLogsNotOpened += log.unopened ? 1 : 0;
      LogsListAppend(log);
      probed = true;
    }
  }
  Forget(logs);
  return probed;
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
  char summary_path[kSummaryPathSize];
  MakeSummaryPath(summary_path, settings);
  paths.summary(paths.context, summary_path);
  TellLogs(mFoundLogs, settings.logs, paths);
  TellLogs(mFoundAccessLog, settings.AccessLog, paths);
}

void SuperLog_Init(Settings& settings, const Limits& limits, time_t range_first, time_t range_last,
                   const LogEvents& events) {
  SuperLog_Uninit();
  mLogEvents = events;
  mLogLimits = limits;
  mFilesBegun = false;
  mLogsInReportRange = false;
  mLogsNotOpened = 0;
  SuperLog_SetRange(range_first, range_last);
  CopyText(mLogSearchSpec, settings.logs);
  CopyText(mCurLogFileSpec, settings.AccessLog);
  InitLogDates();
  if (mLogLimits.layouts) {
    SuperLog_BeginLayout();
  }

  if (settings.summary[0] == '\0') {
    CreateDefaultSummaryName(settings.summary, sizeof settings.summary, settings.logs);
  }
  char summary_path[kSummaryPathSize];
  MakeSummaryPath(summary_path, settings);
  ReadSummaryFile(summary_path);
  const bool logs_probed = AddLogsOfPattern(mFoundLogs, mLogSearchSpec, true);
  // The current log grows while it is read: its known dates are never trusted.
  const bool current_log_probed = AddLogsOfPattern(mFoundAccessLog, mCurLogFileSpec, false);
  const bool logs_gone = DeleteOldEntries();
  if (logs_probed || current_log_probed || logs_gone) {
    WriteSummaryFile(summary_path, {settings.rules.own_links_only, settings.rules.forgets_unopened});
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

// The dates of what is a log are shifted.
static LogLook LookAt(const LogFile& file) {
  if (!IsLog(file)) {
    return {file.name, file.size, file.first, file.last, LogVerdict::kNoLog};
  }
  const time_t first = ShiftFromGmt(file.first);
  const time_t last = ShiftFromGmt(file.last);
  const bool in_range = last >= mAnalysisRangeFirst_t && first <= mAnalysisRangeLast_t;
  return {file.name, file.size, first, last, in_range ? LogVerdict::kInRange : LogVerdict::kOutOfRange};
}

bool SuperLog_TimesHeld(time_t& first, time_t& last) {
  bool any = false;
  for (const LogFile* file = mpLogsRoot; file != nullptr; file = file->next) {
    const LogLook log = LookAt(*file);
    if (log.verdict != LogVerdict::kNoLog) {
      const auto [earlier, later] = std::minmax(log.first, log.last);  // lines may stand in any order
      first = any ? std::min(first, earlier) : earlier;
      last = any ? std::max(last, later) : later;
      any = true;
    }
  }
  return any;
}

void SuperLog_SetRange(time_t range_first, time_t range_last) {
  mAnalysisRangeFirst_t = range_first;
  mAnalysisRangeLast_t = range_last;
}

static bool OpenIfInRange(const LogFile& log) {
  const LogLook look = LookAt(log);
  const LogVerdict verdict = look.verdict;
  if (mLogEvents.log_looked_at != nullptr) {
    mLogEvents.log_looked_at(look);
  }
  if (verdict != LogVerdict::kInRange) {
    return false;
  }
  mLogsInReportRange = true;
  const bool opened = OpenLog(log.name);
  mLogsNotOpened += opened ? 0 : 1;
  return opened;
}

static void BeginFiles() {
  mFilesBegun = true;
  mpNextLogSummary = mpLogsRoot;
  if (mLogEvents.search_done != nullptr) {
    mLogEvents.search_done({mAnalysisRangeFirst_t, mAnalysisRangeLast_t, mLogSearchSpec, mCurLogFileSpec,
                            SuperLog_LogFilesFound()});
  }
}

bool SuperLog_NextLogFile() {
  SuperLog_NextLogFile_Done();
  ResetFileFormat();
  if (!mFilesBegun) {
    BeginFiles();
  } else if (mLogEvents.log_read != nullptr) {
    mLogEvents.log_read();
  }
  while (mpNextLogSummary != nullptr) {
    const LogFile& log = *mpNextLogSummary;
    mpNextLogSummary = log.next;
    if (OpenIfInRange(log)) {
      return true;
    }
  }
  return false;
}

void SuperLog_NextLogFile_Done() {
  CloseLog();
}

bool SuperLog_LogsInRange() {
  return mLogsInReportRange;
}

int64_t SuperLog_GetLogsNotOpened() {
  return mLogsNotOpened;
}

SuperLong SuperLog_GetTotalLogBytesRead() {
  return TotalLogBytesRead();
}
