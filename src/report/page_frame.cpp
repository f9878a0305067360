#include "report/page_frame.h"

#include <cstdio>
#include <ctime>
#include <iterator>

#include "analysis/counting_table.h"
#include "analysis/driver.h"
#include "base/text.h"
#include "dates/clock.h"
#include "dates/local_time.h"
#include "report/number_format.h"
#include "report/site.h"
#include "superlog/superlog.h"

// ---- Head ----

void PrintHead(const Settings& settings) {
  printf("<html>\n<head>\n<title>%s</title>\n</head>\n\n\n\n\n", settings.title);
  printf("<body bgcolor=\"#FFFFFF\" text=\"#000000\">\n");
  if (settings.RemoteDebugEnabled != 0 && settings.page != kPageRemoteDebug) {
    printf("<b><blink>Warning!  Remote debugging is enabled!</blink></b><br>");
    printf(
        "Please remember to edit the Orvellis configuration file to disable remote debugging when it is no "
        "longer needed.<p>");
  }
}

void OutputBaseTag(const Settings& settings, const Environment& env) {
  if (settings.base[0] != '\0') {
    printf("<base href=\"%s\">\n", settings.base);
  } else if (env.SERVER_NAME[0] != '\0' && env.SCRIPT_NAME[0] != '\0') {
    printf("<base href=\"http://%s%s\">\n", env.SERVER_NAME, env.SCRIPT_NAME);
  }
}

// ---- Header table ----

// Where the characters of an MMDDYYYY date go, by log date format (1 to 6): a
// digit is a position in the date, 'Y' the whole year as far as it goes.
static const char* const kDateLayouts[] = {
    "23/01/Y", "23/4567/01", "01/23/Y", "01/4567/23", "4567/23/01", "4567/01/23",
};

static const char* DateLayout(int date_format) {
  const bool known = date_format >= 1 && date_format <= static_cast<int>(std::size(kDateLayouts));
  return known ? kDateLayouts[date_format - 1] : "";
}

using DateText = char[sizeof Settings::start_date];

// Lays date out; both texts are padded with NULs. A date too short for its
// layout ends where its text ends.
static void FormatDate(char (&out)[32], const char* layout, const DateText& date, const DateText& start) {
  char text[sizeof out] = {};
  size_t used = 0;
  for (const char* p = layout; *p != '\0'; ++p) {
    if (*p == 'Y') {
      CopyText(text + used, sizeof text - used, date + 4);
      break;
    }
    // deliberate: where the year is taken apart, its last two digits are always those of the start date
    const DateText& source = *p == '6' || *p == '7' ? start : date;
    text[used++] = *p == '/' ? '/' : source[*p - '0'];
  }
  CopyText(out, text);
}

static void PrintReportDate() {
  tm local{};
  TimeToLocal(ReportStartTime, local);
  char date[100];
  const size_t length = SuperLog_GetDateFormat() == 3
                            ? strftime(date, sizeof date, "%B %d, %Y at %I:%M %p", &local)
                            : strftime(date, sizeof date, "%d %B %Y at %H:%M (%I:%M %p)", &local);
  printf("<tr>\n<td width=\"50%%\"><b>Date of Report:</b></td><td width=\"50%%\">%s</td>\n</tr>\n",
         length == 0 ? "" : date);
}

static void PrintDateRange(const Settings& settings) {
  DateText start = {};
  DateText end = {};
  CopyText(start, settings.start_date);
  CopyText(end, settings.end_date);
  const char* layout = DateLayout(SuperLog_GetDateFormat());
  char start_text[32];
  char end_text[32];
  FormatDate(start_text, layout, start, start);
  FormatDate(end_text, layout, end, start);
  printf("<tr>\n<td width=\"50%%\"><b>Date Range Analyzed:</b></td><td width=\"50%%\">%s - %s</td>\n</tr>\n",
         start_text, end_text);
}

static void PrintWhenSet(const char* label, const char* text) {
  if (text[0] != '\0') {
    printf("<tr>\n<td width=\"50%%\"><b>%s:</b></td><td width=\"50%%\">%s</td></tr>\n", label, text);
  }
}

static void PrintScope(const Settings& settings) {
  printf("<tr>\n<td width=\"50%%\"><b>URL Analyzed:</b></td><td width=\"50%%\">%s</td>\n</tr>\n",
         settings.find);
  PrintDateRange(settings);
  PrintWhenSet("For Authenticated Realm", settings.authrealm);
  PrintWhenSet("For Authenticated User", settings.authuser);
  PrintWhenSet("Ignore Requests from Domains", settings.filter_domains);
  PrintWhenSet("Omit Requests for Files with Extensions", settings.filter_filetypes);
  PrintReportDate();
}

static void PrintByteRow(const char* label, SuperLong bytes) {
  char figure[kFigureSize];
  FormatWithCommas(figure, sizeof figure, 0, bytes.billions, bytes.units);
  printf("<tr>\n<td width=\"50%%\"><b>%s:</b></td><td width=\"50%%\">%s", label, figure);
  PrintMbGbSuffix(bytes.billions, bytes.units);
  printf("</td>\n</tr>\n");
}

static void PrintTotals(int64_t hits, SuperLong bytes) {
  char figure[kFigureSize];
  FormatWithCommas(figure, sizeof figure, static_cast<uint32_t>(hits), 0, 0);
  printf("<tr>\n<td width=\"50%%\"><b>HTTP Requests:</b></td><td width=\"50%%\">%s</td>\n</tr>\n", figure);
  PrintByteRow("HTTP Bytes Served", bytes);
  PrintByteRow("Log Bytes Read", SuperLog_GetTotalLogBytesRead());
}

static bool AnyTableReclaimed() {
  for (const ListInfo* info = gListInfo.first; info != nullptr; info = info->next) {
    if (info->reclaimed != 0) {
      return true;
    }
  }
  return false;
}

static void PrintMemoryWarning() {
  printf(
      "<tr><td colspan=2><hr></td></tr><tr>\n"
      "<td width=\"50%%\" valign=\"top\"><font color=red><b>Warning:</b></font> Processing this report "
      "required more memory than was available. The results for the following reports may not be accurate "
      "after the top few results.</td>\n"
      "<td width=\"50%%\">");
  for (const ListInfo* info = gListInfo.first; info != nullptr; info = info->next) {
    if (info->reclaimed != 0) {
      printf("%s<br>\n", info->name);
    }
  }
  printf("</td>\n</tr>\n");
}

static void PrintTitleRow(const Settings& settings) {
  printf("<tr>\n<td width=\"50%%\" bgcolor=\"#CCCCCC\" align=\"center\" valign=\"center\">");
  printf("<img src=\"%s/or15-reg.gif\" width=\"278\" height=\"75\" border=0 alt=\"%s\">",
         settings.OrvellisPath, "Orvellis Logo");
  printf(
      "</td>\n<td width=\"50%%\" bgcolor=\"#CCCCCC\"><center>"
      "<font color=\"#000000\" size=\"+2\"><i>%s</i></font>\n",
      kProductName);
  printf(" <font color=\"#000000\"><sup>TM</sup></font>");
  printf("<br>\n<font color=\"#000000\" size=\"+2\">%s</font><br>\n", settings.title);
  printf("<font color=\"#000000\" size=\"+1\">%s</font></td>\n</tr>\n", settings.url);
}

static void PrintHeaderRows(const Settings& settings, int64_t hits, SuperLong bytes) {
  PrintScope(settings);
  if (!SuperLog_LogsInRange()) {
    printf(
        "<tr>\n<td colspan=2><hr><font color=red><b>No log files found containing date range specified. "
        "Please go back to the Report Request Form and try a different date range.</b></font>\n"
        "</td>\n</tr>\n");
    return;
  }
  PrintTotals(hits, bytes);
  if (settings.SmartMemoryEnabled != 0 && AnyTableReclaimed()) {
    PrintMemoryWarning();
  }
}

void DisplayHeader(const Settings& settings, int64_t hits, SuperLong bytes) {
  if (settings.extra_header != nullptr) {
    printf("<!-- Begin extra header -->\n%s\n<!-- End extra header -->\n", settings.extra_header);
  }
  printf("\n\n<center><table border=1 cellspacing=0 cellpadding=4>\n");
  PrintTitleRow(settings);
  printf("<tr>\n<td colspan=2>\n<table width=\"100%%\" border=0>\n");
  PrintHeaderRows(settings, hits, bytes);
  printf("</table>\n</td>\n</tr>\n</table>\n</center><p>\n");
  if (settings.flushtoserver != 0) {
    fflush(stdout);
  }
}

// ---- Jump bar ----

namespace {
struct JumpLink {
  int on;
  const char* html;
};
}  // namespace

void OutputJumpBar(const Settings& settings) {
  const JumpLink links[] = {
      {settings.requests.on, "<a href=\"#urls\">URLs</a> "},
      {settings.referrers.on, "<a href=\"#referrers\">Referrers</a>\n"},
      {settings.search.on, "<a href=\"#search\">Search Phrases</a>\n"},
      {settings.browsers.on, "<a href=\"#browsers\">Browsers</a>\n"},
      {settings.badurls.on, "<a href=\"#badurls\">Bad URLs</a>\n"},
      {settings.badreferrers.on, "<a href=\"#badreferrers\">Bad Referrers</a>\n"},
      {settings.domains.on, "<a href=\"#domains\">Domains</a>\n"},
      {settings.domaintypes.on, "<a href=\"#networks\">Domain Types</a>\n"},
      {settings.dailytotals, "<a href=\"#daily\">Daily Totals</a>\n"},
      {settings.hitsperdayofweek, "<a href=\"#weekly\">Hits Per Day of Week</a>\n"},
      {settings.hitsperhour, "<a href=\"#hourly\">Hits Per Hour</a>\n"},
  };
  int left = 0;
  for (const JumpLink& link : links) {
    left += link.on != 0 ? 1 : 0;
  }
  if (left < 2) {
    return;
  }
  printf("<center>\n<font face=\"Arial,Helv\" size=\"-1\"><b>");
  for (const JumpLink& link : links) {
    if (link.on != 0) {
      // deliberate: the separator is one byte, the bullet of Windows-1252
      printf("%s%s", link.html, --left > 0 ? " \x95 " : "");
    }
  }
  printf("</b></font></center><p>");
}

// ---- Footer ----

// deliberate: the seconds are broken down as if they were a local time, so only
// the minutes and seconds within the hour show, shifted by the minutes of a zone
// that does not lie a whole number of hours from Greenwich.
static void PrintTimeRequired() {
  tm elapsed{};
  TimeToLocal(CurrentTime() - ReportStartTime, elapsed);
  char line[100];
  if (strftime(line, sizeof line, "Time required to generate report = %M:%S (minutes:seconds).<br>\n",
               &elapsed) != 0) {
    fputs(line, stdout);
  }
}

void PrintFooter(const Settings& settings) {
  printf("\n\n<p><hr noshade><p>\n\n<font size=\"-1\">");
  PrintTimeRequired();
  printf(kCreditLine, kProductPage, kProductName, kVersion, kPlatform);
  printf("<p>\n</font>\n");
  if (settings.extra_footer != nullptr) {
    printf("<!-- Begin extra footer -->\n%s\n<!-- End extra footer -->\n", settings.extra_footer);
  }
  printf("\n</body>\n\n</html>\n");
}
