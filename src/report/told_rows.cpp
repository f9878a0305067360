#include "report/told_rows.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <ctime>

static void PrintNotOpened(const char* path) {
  printf("ERROR: couldn't open log file %s.<p>\n", path);
}

// ---- The debugging table ------------------------------------------------------

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

static void PrintSearch(const LogSearch& search) {
  fputs("<tr><td colspan=6>", stdout);
  PrintUserAndGroup("", getuid(), getgid());
  if (geteuid() != getuid()) {
    PrintUserAndGroup("Effective ", geteuid(), getegid());
  }
  printf("<b>Range start:</b> %s<br>", TextOfTime(search.range_first));
  printf("<b>Range end:</b>   %s<br>", TextOfTime(search.range_last));
  printf("<b>Log File Pattern:</b> %s<br>", search.logs);
  if (search.access_log[0] != '\0') {
    printf("<b>AccessLog File Pattern:</b> %s<br>", search.access_log);
  }
  fputs("</td></tr>\n", stdout);
}

static void PrintTableHead(bool any_found) {
  if (!any_found) {
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

static void OpenDebugTable(const LogSearch& search) {
  fputs(
      "<center><table border=1 cellspacing=0>\n"
      "<tr><td colspan=6 align=center><font size=\"+1\"><b>Debugging Information</b></font></td></tr>\n",
      stdout);
  PrintSearch(search);
  PrintTableHead(search.any_found);
}

// The row stays open for the formats' names. deliberate: nothing closes that of a
// log that is not read
static void PrintLog(const LogLook& look) {
  printf("<tr><td>%s</td><td align=right>%" PRIu64 "</td>", look.path, look.size);
  if (look.verdict == LogVerdict::kNoLog) {
    fputs("<td colspan=2 align=center>invalid size or dates. probably not a log file</td><td>", stdout);
    return;
  }
  printf("<td>%s</td>", TextOfTime(look.first));
  printf("<td>%s</td>", TextOfTime(look.last));
  printf("<td align=center>%s</td><td>\n", look.verdict == LogVerdict::kInRange ? "YES" : "No");
}

static void PrintFormat(const char* label) {
  printf("%s<br>", label);
}

static void CloseRow() {
  fputs("</td></tr>\n", stdout);
}

static constexpr LogEvents kErrorLines = {.log_not_opened = PrintNotOpened};
static constexpr LogEvents kDebugTable = {
    .log_not_opened = PrintNotOpened,
    .search_done = OpenDebugTable,
    .log_looked_at = PrintLog,
    .format_recognised = PrintFormat,
    .log_read = CloseRow,
};

// ---- Signs of life ------------------------------------------------------------

static int mSilentLines = 0;  // since the server last got a sign of life

// Web servers cut a connection that stays silent for long.
static void KeepServerAwake() {
  if (++mSilentLines > 1000) {
    putchar(' ');
    fflush(stdout);
    mSilentLines = 0;
  }
}

void (*SignsOfLife(const Settings& settings))() {
  mSilentLines = 0;
  return settings.flushtoserver != 0 ? KeepServerAwake : nullptr;
}

AnalysisEvents PageEvents(const Settings& settings) {
  return {
      .logs = settings.debug != 0 ? kDebugTable : kErrorLines,
      .line_read = SignsOfLife(settings),
  };
}
