#include "index/index_page.h"

#include <algorithm>
#include <span>

#include "index/site_groups.h"
#include "output/charts.h"
#include "output/escape.h"
#include "output/moments.h"
#include "output/page_cells.h"
#include "output/page_frame.h"
#include "output/report_summary.h"
#include "output/svg.h"
#include "report/site.h"

// Of so many sites the newest month stands open.
static constexpr size_t kMostOpen = 12;

// What a report is called, or its site is, when nobody has said so.
static constexpr std::string_view kNoTitle = "Web Site Analysis";
static constexpr std::string_view kNoSite = "http://localhost";

// ---- Words ----------------------------------------------------------------------------

static void PutDate(Sink& sink, int64_t day) {
  Put(sink, "<time>");
  PutDay(sink, DateOfDay(day));
  Put(sink, "</time>");
}

static void PutDates(Sink& sink, int64_t first, int64_t last) {
  PutDate(sink, first);
  if (first != last) {
    Put(sink, " to ");
    PutDate(sink, last);
  }
}

// From the earliest to the latest day of any report, of which there is one.
static void PutSpan(Sink& sink, std::span<const FoundReport> reports) {
  int64_t first = reports[0].summary.first_day;
  int64_t last = reports[0].summary.last_day;
  for (const FoundReport& report : reports) {
    first = std::min(first, report.summary.first_day);
    last = std::max(last, report.summary.last_day);
  }
  PutDates(sink, first, last);
}

static void PutMonth(Sink& sink, const FoundReport& report) {
  static constexpr Literal kMonths[] = {"January",   "February", "March",    "April",
                                        "May",       "June",     "July",     "August",
                                        "September", "October",  "November", "December"};
  const CalendarDate date = DateOfDay(report.summary.last_day);
  Put(sink, kMonths[date.month - 1]);
  Put(sink, " ");
  PutPadded(sink, date.year, 4);
}

static bool HasAddress(const SiteGroup& site) {
  return !site.newest().summary.site.empty() && site.newest().summary.site != kNoSite;
}

static bool IsCalledByTitle(const SiteGroup& site) {
  return site.one_title && !site.newest().summary.title.empty() && site.newest().summary.title != kNoTitle;
}

// The title of all its reports, or its folder, or its address.
static std::string_view NameOf(const SiteGroup& site) {
  if (IsCalledByTitle(site)) {
    return site.newest().summary.title;
  }
  if (!site.newest().folder.empty()) {
    return site.newest().folder;
  }
  return HasAddress(site) ? site.newest().summary.site : std::string_view("Web site");
}

// Characters of a name that headings and links show.
static constexpr size_t kShownOfName = 90;

static void PutName(Sink& sink, std::string_view name) {
  const Shortened shortened = WithoutMiddle(name, kShownOfName);
  Put(sink, "<bdi>");
  PutHtml(sink, shortened.begin);
  if (!shortened.end.empty()) {
    Put(sink, "\u2026");
    PutHtml(sink, shortened.end);
  }
  Put(sink, "</bdi>");
}

// ---- A row ----------------------------------------------------------------------------

static void PutLink(Sink& sink, const FoundReport& report) {
  Put(sink, "<a href=\"");
  if (!report.folder.empty()) {
    PutAddressPart(sink, report.folder);
    Put(sink, "/");
  }
  PutAddressPart(sink, report.file);
  Put(sink, "\">");
  PutDates(sink, report.summary.first_day, report.summary.last_day);
  Put(sink, "</a>");
}

static void PutSmall(Sink& sink, std::string_view text) {
  Put(sink, "<small>");
  PutName(sink, text);
  Put(sink, "</small>");
}

// What a row says beside its days, so that it can be told from others.
struct RowWords {
  bool title;
  bool file;
};

static void PutReport(Sink& sink, const FoundReport& report, const RowWords& words) {
  Put(sink, "<tr><th scope=\"row\">");
  PutLink(sink, report);
  if (IsOneDay(report)) {
    Put(sink, " <small>");
    Put(sink, NameOfWeekday(WeekdayOfDay(report.summary.last_day)));
    Put(sink, "</small>");
  }
  if (words.title) {
    Put(sink, "<br>");
    PutSmall(sink, report.summary.title);
  }
  if (words.file) {
    Put(sink, "<br>");
    PutSmall(sink, report.file);
  }
  Put(sink, "</th><td class=\"c\">");
  PutGrouped(sink, report.summary.requests);
  Put(sink, "</td><td class=\"c\">");
  PutByteSize(sink, static_cast<uint64_t>(report.summary.bytes));
  Put(sink, "</td><td class=\"k\">");
  if (!report.summary.spark.empty()) {
    DrawSpark(sink, report.summary.spark);
  }
  Put(sink, "</td></tr>\n");
}

// Days between those of two reports over one day each.
static void PutGap(Sink& sink, const FoundReport& newer, const FoundReport& older) {
  const int64_t first = older.summary.last_day + 1;
  const int64_t last = newer.summary.first_day - 1;
  if (first <= last) {
    Put(sink, "<tr><td class=\"gap\" colspan=\"4\">No daily report: ");
    PutDates(sink, first, last);
    Put(sink, "</td></tr>\n");
  }
}

// ---- A site ---------------------------------------------------------------------------

static bool HasTwin(std::span<const FoundReport> reports, size_t i) {
  return (i > 0 && AreSameDays(reports[i], reports[i - 1])) ||
         (i + 1 < reports.size() && AreSameDays(reports[i], reports[i + 1]));
}

// newer: the report over a single day before those of the month, or null.
static void PutRows(Sink& sink, const MonthGroup& month, bool one_title, const FoundReport*& newer) {
  Put(sink,
      "<table>\n<thead><tr><th scope=\"col\">Days</th><th scope=\"col\" class=\"c\">Requests</th>"
      "<th scope=\"col\" class=\"c\">Data served</th><th scope=\"col\" class=\"k\">Course</th></tr></thead>\n"
      "<tbody>\n");
  for (size_t i = 0; i < month.reports.size(); ++i) {
    const FoundReport& report = month.reports[i];
    if (IsOneDay(report)) {
      if (newer != nullptr && one_title) {
        PutGap(sink, *newer, report);
      }
      newer = &report;
    }
    PutReport(sink, report, {.title = !one_title, .file = HasTwin(month.reports, i)});
  }
  Put(sink, "</tbody>\n</table>\n");
}

// Sums are of one thing only where all reports have one title.
static void PutMonthWords(Sink& sink, const MonthGroup& month, bool one_title) {
  PutMonth(sink, month.reports[0]);
  Put(sink, " <small>");
  if (one_title && month.days > 0) {
    PutCounted(sink, month.days, "day", "days");
    Put(sink, ": ");
    PutCounted(sink, month.requests, "request", "requests");
    Put(sink, ", ");
    PutByteSize(sink, static_cast<uint64_t>(month.bytes));
  } else {
    PutCounted(sink, static_cast<int64_t>(month.reports.size()), "report", "reports");
  }
  Put(sink, "</small>");
}

static void PutMonths(Sink& sink, const SiteGroup& site, std::span<const FoundReport> rest, bool open) {
  const FoundReport* newer = nullptr;
  while (!rest.empty()) {
    const MonthGroup month = TakeMonth(rest);
    Put(sink,
        open ? Literal("<details class=\"fold month\" open>") : Literal("<details class=\"fold month\">"));
    Put(sink, "<summary>");
    PutMonthWords(sink, month, site.one_title);
    Put(sink, "</summary>\n");
    PutRows(sink, month, site.one_title, newer);
    Put(sink, "</details>\n");
    open = false;
  }
}

// What came on each of the last days.
static void PutTrend(Sink& sink, const SiteGroup& site) {
  const std::vector<int64_t> days = RecentDays(site);
  if (!days.empty()) {
    Put(sink, "<p class=\"words\">Requests of the last ");
    PutCounted(sink, static_cast<int64_t>(days.size()), "day", "days");
    Put(sink, ": ");
    DrawSpark(sink, days);
    Put(sink, "</p>\n");
  }
}

static void PutSiteWords(Sink& sink, const SiteGroup& site) {
  Put(sink, "<p class=\"words\">");
  if (HasAddress(site)) {
    PutItemText(sink, site.newest().summary.site.c_str(), "");
    Put(sink, ": ");
  }
  PutCounted(sink, static_cast<int64_t>(site.reports.size()), "report", "reports");
  Put(sink, ", ");
  PutSpan(sink, site.reports);
  Put(sink, "</p>\n");
}

struct Shown {
  size_t sites;
  size_t rows;  // of each site
};

static void PutSite(Sink& sink, const SiteGroup& site, size_t number, const Shown& shown) {
  const size_t rows = std::min(site.reports.size(), shown.rows);
  Put(sink, "<section id=\"site-");
  PutSize(sink, number);
  Put(sink, "\" aria-labelledby=\"site-");
  PutSize(sink, number);
  Put(sink, "-title\">\n<h2 id=\"site-");
  PutSize(sink, number);
  Put(sink, "-title\">");
  PutName(sink, NameOf(site));
  Put(sink, "</h2>\n");
  PutSiteWords(sink, site);
  PutTrend(sink, site);
  Put(sink, "<div class=\"months\">\n");
  PutMonths(sink, site, site.reports.first(rows), shown.sites <= kMostOpen);
  Put(sink, "</div>\n");
  if (rows < site.reports.size()) {
    Put(sink, "<p class=\"words\">");
    PutCounted(sink, static_cast<int64_t>(site.reports.size() - rows), "older report is",
               "older reports are");
    Put(sink, " left out here, but in the folder.</p>\n");
  }
  Put(sink, "</section>\n");
}

// ---- The page -------------------------------------------------------------------------

static void PutHead(Sink& sink, const FoundReports& found, size_t sites, time_t made) {
  Put(sink, "<header>\n<h1>Reports</h1>\n");
  if (!found.reports.empty()) {
    Put(sink, "<p class=\"days\">");
    PutSpan(sink, found.reports);
    Put(sink, "</p>\n");
  }
  Put(sink, "<dl class=\"facts\">\n<div><dt>Made</dt> <dd><time datetime=\"");
  PutMoment(sink, made);
  Put(sink, "\">");
  PutDay(sink, DayOf(made));
  Put(sink, " ");
  PutClock(sink, made);
  Put(sink, "</time></dd></div>\n<div><dt>Over</dt> <dd>");
  PutCounted(sink, static_cast<int64_t>(found.reports.size()), "report", "reports");
  if (sites > 1) {
    Put(sink, " of ");
    PutGrouped(sink, static_cast<int64_t>(sites));
    Put(sink, " sites");
  }
  Put(sink, "</dd></div>\n</dl>\n</header>\n");
}

static void PutContents(Sink& sink, std::span<const SiteGroup> sites) {
  Put(sink, "<nav aria-labelledby=\"contents\">\n<h2 id=\"contents\">Sites</h2>\n<ul>\n");
  for (size_t i = 0; i < sites.size(); ++i) {
    Put(sink, "<li><a href=\"#site-");
    PutSize(sink, i + 1);
    Put(sink, "\">");
    PutName(sink, NameOf(sites[i]));
    Put(sink, "</a></li>\n");
  }
  Put(sink, "</ul>\n</nav>\n");
}

static void PutNote(Sink& sink, int64_t count, const Literal& one, const Literal& many) {
  if (count > 0) {
    Put(sink, "<li>");
    PutCounted(sink, count, one, many);
    Put(sink, "</li>\n");
  }
}

static void PutNotes(Sink& sink, const FoundReports& found, size_t sites_left_out) {
  if (found.others == 0 && found.closed_folders == 0 && !found.too_many && sites_left_out == 0) {
    return;
  }
  Put(sink, "<ul class=\"notes\" aria-label=\"Notes\">\n");
  PutNote(sink, found.others, "page in the folder is no report of the modern edition, and is left out.",
          "pages in the folder are no reports of the modern edition, and are left out.");
  PutNote(sink, found.closed_folders, "folder could not be read.", "folders could not be read.");
  PutNote(sink, static_cast<int64_t>(sites_left_out), "more site is left out.", "more sites are left out.");
  if (found.too_many) {
    Put(sink, "<li>There are more than ");
    PutGrouped(sink, kMostReports);
    Put(sink, " reports: some are left out.</li>\n");
  }
  Put(sink, "</ul>\n");
}

static void PutSites(Sink& sink, std::span<const SiteGroup> sites) {
  const Shown shown{sites.size(), std::max<size_t>(kMostRows / std::max<size_t>(sites.size(), 1), 1)};
  for (size_t i = 0; i < sites.size(); ++i) {
    PutSite(sink, sites[i], i + 1, shown);
  }
}

static void PutBody(Sink& sink, FoundReports& found, time_t made) {
  const std::vector<SiteGroup> all = GroupBySite(found.reports);
  const std::span<const SiteGroup> sites = std::span(all).first(std::min(all.size(), kMostSites));
  PutHead(sink, found, all.size(), made);
  const bool with_contents = sites.size() > 1;
  if (with_contents) {
    Put(sink, "<div class=\"body\">\n");
    PutContents(sink, sites);
  }
  Put(sink, "<main>\n");
  PutSites(sink, sites);
  if (sites.empty()) {
    Put(sink, "<section><p>There is no report in this folder yet.</p></section>\n");
  }
  PutNotes(sink, found, all.size() - sites.size());
  Put(sink, with_contents ? Literal("</main>\n</div>\n") : Literal("</main>\n"));
  Put(sink, "<footer>\n<p>Made by Orvellis ");
  PutHtml(sink, kVersion);
  Put(sink, ".</p>\n</footer>\n");
}

void PutIndexPage(Sink& sink, FoundReports& found, time_t made) {
  Put(sink, kPageTop);
  PutIndexMark(sink);
  Put(sink, "<title>Reports");
  PutPageHead(sink, false);
  PutBody(sink, found, made);
  PutPageEnd(sink, false);
  FlushSink(sink);
}
