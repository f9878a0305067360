#include "superlog/log_files.h"

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

static bool mFilesBegun = false;             // SuperLog_NextLogFile was called
static LogFile* mpNextLogSummary = nullptr;  // entry to look at next
static bool mLogsInReportRange = false;

void ResetSuperLog() {
  SuperLog_Uninit();
  ResetLineReader();
  ResetLogLine();
  ResetLogFormat();
  ResetLogDates();
  mLogEvents = {};
  mLogLimits = kClassicLimits;
  mFilesBegun = false;
  mLogsInReportRange = false;
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

// Adds the files of a pattern to the list; true when one of them was probed. The
// pattern's directory is used as it stands.
static bool AddLogsOfPattern(const char* pattern, bool trust_known_dates) {
  char directory[kPathSize];
  MakeDirWithSlash(directory, sizeof directory, pattern);
  DirectoryScan scan;
  FoundFile found;
  if (!FindFirst(scan, pattern, found)) {
    return false;
  }
  bool probed = false;
  do {
    LogFile log = {};
    snprintf(log.name, sizeof log.name, "%s%s", directory, found.name);
    log.size = WrappedSize(mLogLimits, static_cast<uint64_t>(found.size));
    log.state = kSeenOnDisk;
    if (FileIsntDots(found.name) && (!trust_known_dates || FileShouldBeScanned(log))) {
      GetLogFileDateRange(log, found.size);
      LogsListAppend(log);
      probed = true;
    }
  } while (FindNext(scan, found));
  FindClose(scan);
  return probed;
}

void SuperLog_Init(Settings& settings, const Limits& limits, time_t range_first, time_t range_last,
                   const LogEvents& events) {
  SuperLog_Uninit();
  mLogEvents = events;
  mLogLimits = limits;
  mFilesBegun = false;
  mLogsInReportRange = false;
  mAnalysisRangeFirst_t = range_first;
  mAnalysisRangeLast_t = range_last;
  CopyText(mLogSearchSpec, settings.logs);
  CopyText(mCurLogFileSpec, settings.AccessLog);
  InitLogDates();

  if (settings.summary[0] == '\0') {
    CreateDefaultSummaryName(settings.summary, sizeof settings.summary, settings.logs);
  }
  char summary_path[kSummaryPathSize];
  CreateSummaryFileName(summary_path, sizeof summary_path, settings.logs, settings.summary);
  ReadSummaryFile(summary_path);
  const bool logs_probed = AddLogsOfPattern(mLogSearchSpec, true);
  // The current log grows while it is read: its known dates are never trusted.
  const bool current_log_probed = AddLogsOfPattern(mCurLogFileSpec, false);
  const bool logs_gone = DeleteOldEntries();
  if (logs_probed || current_log_probed || logs_gone) {
    WriteSummaryFile(summary_path);
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

static bool IsInRange(const LogFile& log) {
  return log.last >= mAnalysisRangeFirst_t && log.first <= mAnalysisRangeLast_t;
}

// Shifts the dates of what is a log.
static LogVerdict Judge(LogFile& log) {
  if (log.size == 0 || log.first == 0 || log.last == 0) {
    return LogVerdict::kNoLog;
  }
  log.first = ShiftFromGmt(log.first);
  log.last = ShiftFromGmt(log.last);
  return IsInRange(log) ? LogVerdict::kInRange : LogVerdict::kOutOfRange;
}

static bool OpenIfInRange(LogFile& log) {
  const LogVerdict verdict = Judge(log);
  if (mLogEvents.log_looked_at != nullptr) {
    mLogEvents.log_looked_at({log.name, log.size, log.first, log.last, verdict});
  }
  if (verdict != LogVerdict::kInRange) {
    return false;
  }
  mLogsInReportRange = true;
  return OpenLog(log.name);
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
    LogFile& log = *mpNextLogSummary;
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

SuperLong SuperLog_GetTotalLogBytesRead() {
  return TotalLogBytesRead();
}
