#include "report/page_frame.h"

#include <cstdio>
#include <ctime>

#include "analysis/analysis.h"
#include "base/text.h"
#include "dates/clock.h"
#include "dates/local_time.h"
#include "report/number_format.h"
#include "report/section_look.h"
#include "report/site.h"
#include "sections/overview.h"
#include "sections/section_list.h"
#include "superlog/superlog.h"

// ---- Head ----

void PrintHead(const Settings& settings) {
  printf("<html>\n<head>\n<title>%s</title>\n</head>\n\n\n\n\n", settings.title);
  printf("<body bgcolor=\"#FFFFFF\" text=\"#000000\">\n");
  if (settings.RemoteDebugEnabled != 0 && !settings.no_remote_debug && settings.page != kPageRemoteDebug) {
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

// Where the characters of an MMDDYYYY date go: a digit is a position in the date,
// 'Y' the whole year as far as it goes.
static constexpr struct {
  DateOrder order;
  const char* layout;
} kDateLayouts[] = {
    {kOrderDmy, "23/01/Y"},    {kOrderDym, "23/4567/01"}, {kOrderMdy, "01/23/Y"},
    {kOrderMyd, "01/4567/23"}, {kOrderYdm, "4567/23/01"}, {kOrderYmd, "4567/01/23"},
};

static const char* DateLayout(DateOrder order) {
  for (const auto& row : kDateLayouts) {
    if (row.order == order) {
      return row.layout;
    }
  }
  return "";
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

static void PrintReportDate(time_t made) {
  tm local{};
  TimeToLocal(made, local);
  char date[100];
  const size_t length = SuperLog_GetDateFormat() == kOrderMdy
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

static void PrintScope(const Settings& settings, const Overview& overview) {
  printf("<tr>\n<td width=\"50%%\"><b>URL Analyzed:</b></td><td width=\"50%%\">%s</td>\n</tr>\n",
         overview.find);
  PrintDateRange(settings);
  PrintWhenSet("For Authenticated Realm", settings.authrealm);
  PrintWhenSet("For Authenticated User", settings.authuser);
  PrintWhenSet("Ignore Requests from Domains", settings.filter_domains);
  PrintWhenSet("Omit Requests for Files with Extensions", settings.filter_filetypes);
  PrintReportDate(overview.made);
}

static void PrintByteRow(const char* label, SuperLong bytes, bool whole) {
  char figure[kFigureSize];
  FormatWithCommas(figure, sizeof figure, whole ? SuperLongToBytes(bytes) : 0, bytes.billions, bytes.units);
  printf("<tr>\n<td width=\"50%%\"><b>%s:</b></td><td width=\"50%%\">%s", label, figure);
  PrintMbGbSuffix(bytes.billions, bytes.units);
  printf("</td>\n</tr>\n");
}

// deliberate: where figures wrap, requests show their last 32 bits, and bytes the two parts of their counter
static void PrintTotals(const Overview& overview, const Analysis& analysis) {
  const bool whole = analysis.counting.limits.wide_figures;
  char figure[kFigureSize];
  const auto requests = static_cast<uint64_t>(overview.requests);
  FormatWithCommas(figure, sizeof figure, whole ? requests : static_cast<uint32_t>(requests), 0, 0);
  printf("<tr>\n<td width=\"50%%\"><b>HTTP Requests:</b></td><td width=\"50%%\">%s</td>\n</tr>\n", figure);
  PrintByteRow("HTTP Bytes Served", analysis.bytes, whole);
  PrintByteRow("Log Bytes Read", analysis.logs.bytes_read, whole);
}

static void PrintMemoryWarning(const ListInfo& first) {
  printf(
      "<tr><td colspan=2><hr></td></tr><tr>\n"
      "<td width=\"50%%\" valign=\"top\"><font color=red><b>Warning:</b></font> Processing this report "
      "required more memory than was available. The results for the following reports may not be accurate "
      "after the top few results.</td>\n"
      "<td width=\"50%%\">");
  for (const ListInfo* table = &first; table != nullptr; table = NextThinnedTable(*table)) {
    printf("%s<br>\n", table->name);
  }
  printf("</td>\n</tr>\n");
}

static void PrintTitleRow(const Settings& settings, const Overview& overview) {
  printf("<tr>\n<td width=\"50%%\" bgcolor=\"#CCCCCC\" align=\"center\" valign=\"center\">");
  printf("<img src=\"%s/or15-reg.gif\" width=\"278\" height=\"75\" border=0 alt=\"%s\">",
         settings.OrvellisPath, "Orvellis Logo");
  printf(
      "</td>\n<td width=\"50%%\" bgcolor=\"#CCCCCC\"><center>"
      "<font color=\"#000000\" size=\"+2\"><i>%s</i></font>\n",
      kProductName);
  printf(" <font color=\"#000000\"><sup>TM</sup></font>");
  printf("<br>\n<font color=\"#000000\" size=\"+2\">%s</font><br>\n", overview.title);
  printf("<font color=\"#000000\" size=\"+1\">%s</font></td>\n</tr>\n", overview.url);
}

static void PrintHeaderRows(const Settings& settings, const Analysis& analysis, const Overview& overview) {
  PrintScope(settings, overview);
  if (!overview.logs_in_range) {
    printf(
        "<tr>\n<td colspan=2><hr><font color=red><b>No log files found containing date range specified. "
        "Please go back to the Report Request Form and try a different date range.</b></font>\n"
        "</td>\n</tr>\n");
    return;
  }
  PrintTotals(overview, analysis);
  const ListInfo* const thinned = FirstThinnedTable(settings, analysis);
  if (thinned != nullptr) {
    PrintMemoryWarning(*thinned);
  }
}

void DisplayHeader(const Settings& settings, const Analysis& analysis) {
  const Overview overview = OverviewOf(settings, analysis);
  if (settings.extra_header != nullptr) {
    printf("<!-- Begin extra header -->\n%s\n<!-- End extra header -->\n", settings.extra_header);
  }
  printf("\n\n<center><table border=1 cellspacing=0 cellpadding=4>\n");
  PrintTitleRow(settings, overview);
  printf("<tr>\n<td colspan=2>\n<table width=\"100%%\" border=0>\n");
  PrintHeaderRows(settings, analysis, overview);
  printf("</table>\n</td>\n</tr>\n</table>\n</center><p>\n");
  if (settings.flushtoserver != 0) {
    fflush(stdout);
  }
}

// ---- Jump bar ----

static int CountSectionsOn(const Settings& settings) {
  int on = 0;
  for (const Section& section : Sections()) {
    on += IsShown(section, settings) ? 1 : 0;
  }
  return on;
}

// deliberate: the first section's link ends with a space, the others with a line
// break; the separator is one byte, the bullet of Windows-1252
static void PrintJumpLink(const Section& section, bool last) {
  const SectionLook& look = LookOf(section);
  printf("<a href=\"#%s\">%s</a>%c%s", look.anchor, look.jump, section.id == SectionId::kUrls ? ' ' : '\n',
         last ? "" : " \x95 ");
}

void OutputJumpBar(const Settings& settings) {
  int left = CountSectionsOn(settings);
  if (left < 2) {
    return;
  }
  printf("<center>\n<font face=\"Arial,Helv\" size=\"-1\"><b>");
  for (const Section& section : Sections()) {
    if (IsShown(section, settings)) {
      PrintJumpLink(section, --left == 0);
    }
  }
  printf("</b></font></center><p>");
}

// ---- Footer ----

// deliberate: the seconds are broken down as if they were a local time, so only
// the minutes and seconds within the hour show, shifted by the minutes of a zone
// that does not lie a whole number of hours from Greenwich.
static void PrintTimeRequired(time_t begun) {
  tm elapsed{};
  TimeToLocal(CurrentTime() - begun, elapsed);
  char line[100];
  if (strftime(line, sizeof line, "Time required to generate report = %M:%S (minutes:seconds).<br>\n",
               &elapsed) != 0) {
    fputs(line, stdout);
  }
}

void PrintFooter(const Settings& settings, const Analysis& analysis) {
  printf("\n\n<p><hr noshade><p>\n\n<font size=\"-1\">");
  PrintTimeRequired(analysis.ReportStartTime);
  printf(kCreditLine, kProductPage, kProductName, kVersion, kPlatform);
  printf("<p>\n</font>\n");
  if (settings.extra_footer != nullptr) {
    printf("<!-- Begin extra footer -->\n%s\n<!-- End extra footer -->\n", settings.extra_footer);
  }
  printf("\n</body>\n\n</html>\n");
}
