#include "superlog/log_files.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "superlog/directory_scan.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/log_probe.h"
#include "superlog/summary_file.h"
#include "superlog/superlog.h"

static bool mDebug = false;
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
  ResetLogFormat();
  ResetLogDates();
  mDebug = false;
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
    log.size = static_cast<uint32_t>(found.size);
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

void SuperLog_Init(Settings& settings, const Limits& /*limits*/, time_t range_first, time_t range_last) {
  SuperLog_Uninit();
  mFilesBegun = false;
  mLogsInReportRange = false;
  mAnalysisRangeFirst_t = range_first;
  mAnalysisRangeLast_t = range_last;
  CopyText(mLogSearchSpec, settings.logs);
  CopyText(mCurLogFileSpec, settings.AccessLog);
  mDebug = settings.debug != 0;
  SetFormatDebug(mDebug);
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

// --- Debug rows -------------------------------------------------------------

// printf in debug runs only.
[[gnu::format(printf, 1, 2)]] static void DebugPrint(const char* format, ...) {
  if (mDebug) {
    va_list arguments;
    va_start(arguments, format);
    vprintf(format, arguments);
    va_end(arguments);
  }
}

// As ctime, its line end included.
static const char* TextOfTime(time_t when) {
  const char* const text = ctime(&when);
  return text == nullptr ? "" : text;
}

static void PrintUserAndGroup(const char* kind, uid_t user, gid_t group) {
  const passwd* const user_entry = getpwuid(user);
  printf("<b>%sUser:</b> %s / ", kind, user_entry == nullptr ? "unknown" : user_entry->pw_name);
  const struct group* const group_entry = getgrgid(group);
  printf("<b>%sGroup:</b> %s<br>", kind, group_entry == nullptr ? "unknown" : group_entry->gr_name);
}

static void PrintRunInformation() {
  fputs("<tr><td colspan=6>", stdout);
  PrintUserAndGroup("", getuid(), getgid());
  if (geteuid() != getuid()) {
    PrintUserAndGroup("Effective ", geteuid(), getegid());
  }
  printf("<b>Range start:</b> %s<br>", TextOfTime(mAnalysisRangeFirst_t));
  printf("<b>Range end:</b>   %s<br>", TextOfTime(mAnalysisRangeLast_t));
  printf("<b>Log File Pattern:</b> %s<br>", mLogSearchSpec);
  if (mCurLogFileSpec[0] != '\0') {
    printf("<b>AccessLog File Pattern:</b> %s<br>", mCurLogFileSpec);
  }
  fputs("</td></tr>\n", stdout);
}

static void PrintTableHead() {
  if (mpLogsRoot == nullptr) {
    fputs("<tr><td colspan=6 align=center><b>No Files Found!</b>", stdout);
    return;
  }
  fputs(
      "<tr><td colspan=6 align=center><b>Log Files Found</b></td></tr>\n"
      "<tr><td align=center><b>Filename</b></td><td align=center><b>Size</b></td>"
      "<td align=center><b>start</b></td>"
      "<td align=center><b>end</b></td>"
      "<td align=center><b>In Range</b></td>"
      "<td align=center><b>Format</b></td></tr>\n",
      stdout);
}

// --- Opening them one after the other ---------------------------------------

// A damaged summary file may hold any number.
static time_t ShiftFromGmt(time_t when) {
  return static_cast<time_t>(static_cast<uint64_t>(when) + static_cast<uint64_t>(mGmtOffset));
}

static bool IsInRange(const LogFile& log) {
  return log.last >= mAnalysisRangeFirst_t && log.first <= mAnalysisRangeLast_t;
}

// Opens the file when it reaches into the range. Its debug row stays open for
// the format's name.
static bool OpenIfInRange(LogFile& log) {
  DebugPrint("<tr><td>%s</td><td align=right>%u</td>", log.name, log.size);
  if (log.size == 0 || log.first == 0 || log.last == 0) {
    DebugPrint("<td colspan=2 align=center>invalid size or dates. probably not a log file</td><td>");
    return false;
  }
  log.first = ShiftFromGmt(log.first);
  log.last = ShiftFromGmt(log.last);
  if (mDebug) {
    printf("<td>%s</td>", TextOfTime(log.first));
    printf("<td>%s</td>", TextOfTime(log.last));
  }
  if (!IsInRange(log)) {
    DebugPrint("<td align=center>No</td><td>\n");
    return false;
  }
  DebugPrint("<td align=center>YES</td><td>\n");
  mLogsInReportRange = true;
  return OpenLog(log.name);
}

static void BeginFiles() {
  mFilesBegun = true;
  mpNextLogSummary = mpLogsRoot;
  if (mDebug) {
    PrintRunInformation();
    PrintTableHead();
  }
}

bool SuperLog_NextLogFile() {
  SuperLog_NextLogFile_Done();
  ResetFileFormat();
  if (mFilesBegun) {
    DebugPrint("</td></tr>\n");
  } else {
    BeginFiles();
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
