#include "output/report_summary.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "output/characters.h"
#include "output/day_bars.h"
#include "output/escape.h"
#include "output/moments.h"
#include "output/page_frame.h"
#include "output/svg.h"
#include "sections/overview.h"

// As many steps as a spark has.
static constexpr size_t kMostSteps = 60;

// Characters of a title or an address, in which each that cannot be seen has become several.
static constexpr size_t kMostOfText = 8 * kTextSize;

static constexpr Literal kReport = "<meta name=\"orvellis-report\" content=\"from=";
static constexpr Literal kTo = " to=";
static constexpr Literal kRequests = " requests=";
static constexpr Literal kBytes = " bytes=";
static constexpr Literal kSpark = " spark=";
static constexpr Literal kTitle = "<meta name=\"orvellis-title\" content=\"";
static constexpr Literal kSite = "<meta name=\"orvellis-site\" content=\"";
static constexpr Literal kEnd = "\">\n";
static constexpr Literal kIndex = "<meta name=\"orvellis-index\" content=\"1\">\n";

// ---- What a report has to say ---------------------------------------------------------

static std::chrono::year_month_day InCalendar(const CalendarDate& date) {
  return std::chrono::year(date.year) / date.month / date.day;
}

static int64_t NumberOf(const CalendarDate& date) {
  return std::chrono::sys_days(InCalendar(date)).time_since_epoch().count();
}

static void TakeDays(const Analysis& analysis, std::vector<int64_t>& spark) {
  const DayBars days = CollectDays(analysis, kMostSteps);
  for (const Bar& bar : days.All()) {
    spark.push_back(std::max<int64_t>(bar.count, 0));
  }
}

static void TakeSpark(const Analysis& analysis, ReportSummary& summary) {
  const bool one_day = summary.first_day == summary.last_day;
  if (one_day && analysis.hours.total > 0) {
    summary.spark.assign(std::begin(analysis.hours.counts), std::end(analysis.hours.counts));
  } else if (!one_day && analysis.dates.total > 0) {
    TakeDays(analysis, summary.spark);
  }
}

ReportSummary SummaryOf(const Settings& settings, const Analysis& analysis) {
  const Overview overview = OverviewOf(settings, analysis);
  ReportSummary summary{
      .first_day = NumberOf(DayOf(analysis.range_first)),
      .last_day = NumberOf(DayOf(analysis.range_last)),
      .requests = std::max<int64_t>(overview.requests, 0),
      .bytes = static_cast<int64_t>(overview.bytes_served),
      .spark = {},
      .title = overview.title,
      .site = overview.url,
  };
  TakeSpark(analysis, summary);
  return summary;
}

// ---- Writing --------------------------------------------------------------------------

static void PutSpark(Sink& sink, const std::vector<int64_t>& counts) {
  for (size_t i = 0; i < counts.size(); ++i) {
    Put(sink, i == 0 ? kSpark : Literal(","));
    PutNumber(sink, counts[i]);
  }
}

static void PutText(Sink& sink, const Literal& name, std::string_view text) {
  Put(sink, name);
  PutAttribute(sink, text);
  Put(sink, kEnd);
}

void PutSummary(Sink& sink, const ReportSummary& summary) {
  Put(sink, kReport);
  PutDay(sink, DateOfDay(summary.first_day));
  Put(sink, kTo);
  PutDay(sink, DateOfDay(summary.last_day));
  Put(sink, kRequests);
  PutNumber(sink, summary.requests);
  Put(sink, kBytes);
  PutNumber(sink, summary.bytes);
  PutSpark(sink, summary.spark);
  Put(sink, kEnd);
  PutText(sink, kTitle, summary.title);
  PutText(sink, kSite, summary.site);
}

void PutIndexMark(Sink& sink) {
  Put(sink, kIndex);
}

// ---- Reading --------------------------------------------------------------------------

static bool Take(std::string_view& rest, const Literal& expected) {
  const bool there = rest.starts_with(expected.text());
  rest.remove_prefix(there ? expected.text().size() : 0);
  return there;
}

// A whole number that is not below 0, as PutNumber writes one.
static bool TakeNumber(std::string_view& rest, int64_t& number) {
  if (rest.empty() || rest[0] < '0' || rest[0] > '9') {
    return false;
  }
  const auto [end, failure] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  const auto length = static_cast<size_t>(end - rest.data());
  const bool padded = rest[0] == '0' && length > 1;
  rest.remove_prefix(length);
  return failure == std::errc() && !padded;
}

static bool TakeDigits(std::string_view& rest, size_t digits, int& number) {
  number = 0;
  for (const char c : rest.substr(0, digits)) {
    if (c < '0' || c > '9') {
      return false;
    }
    number = number * 10 + (c - '0');
  }
  const bool all = rest.size() >= digits;
  rest.remove_prefix(all ? digits : 0);
  return all;
}

static bool TakeDay(std::string_view& rest, int64_t& day) {
  int year;
  int month;
  int of_month;
  if (!TakeDigits(rest, 4, year) || !Take(rest, "-") || !TakeDigits(rest, 2, month) || !Take(rest, "-") ||
      !TakeDigits(rest, 2, of_month)) {
    return false;
  }
  const CalendarDate date{month, of_month, year};
  if (!InCalendar(date).ok()) {
    return false;
  }
  day = NumberOf(date);
  return true;
}

static bool TakeSteps(std::string_view& rest, std::vector<int64_t>& counts) {
  counts.clear();
  if (!Take(rest, kSpark)) {
    return true;
  }
  do {
    int64_t count;
    if (counts.size() == kMostSteps || !TakeNumber(rest, count)) {
      return false;
    }
    counts.push_back(count);
  } while (Take(rest, ","));
  return true;
}

// What PutAttribute makes of the characters that may not stand there.
static char TakeEntity(std::string_view& rest) {
  static constexpr struct {
    Literal entity;
    char character;
  } kEntities[] = {{"&amp;", '&'},  {"&lt;", '<'},   {"&gt;", '>'},
                   {"&quot;", '"'}, {"&#39;", '\''}, {"&#96;", '`'}};
  for (const auto& row : kEntities) {
    if (Take(rest, row.entity)) {
      return row.character;
    }
  }
  return '\0';
}

static bool StandsForItself(const Character& character) {
  constexpr std::string_view kMarkup = "<>'`&\"";
  const bool markup =
      character.code < 0x80 && std::ranges::count(kMarkup, static_cast<char>(character.code)) > 0;
  return character.valid && !markup && IsVisible(character.code);
}

static bool TakeCharacter(std::string_view& rest, std::string& text) {
  if (const char c = TakeEntity(rest); c != '\0') {
    text.push_back(c);
    return true;
  }
  const Character character = FirstCharacter(rest);
  text.append(rest.substr(0, character.size));
  rest.remove_prefix(character.size);
  return StandsForItself(character);
}

// Up to the quote that ends it.
static bool TakeText(std::string_view& rest, std::string& text) {
  text.clear();
  while (!rest.empty() && rest[0] != '"') {
    if (text.size() >= kMostOfText || !TakeCharacter(rest, text)) {
      return false;
    }
  }
  return true;
}

static bool TakeLine(std::string_view& rest, const Literal& name, std::string& text) {
  return Take(rest, name) && TakeText(rest, text) && Take(rest, kEnd);
}

bool ReadSummary(std::string_view page, ReportSummary& summary) {
  return Take(page, kPageTop) && Take(page, kReport) && TakeDay(page, summary.first_day) && Take(page, kTo) &&
         TakeDay(page, summary.last_day) && summary.first_day <= summary.last_day && Take(page, kRequests) &&
         TakeNumber(page, summary.requests) && Take(page, kBytes) && TakeNumber(page, summary.bytes) &&
         TakeSteps(page, summary.spark) && Take(page, kEnd) && TakeLine(page, kTitle, summary.title) &&
         TakeLine(page, kSite, summary.site);
}

bool IsIndexPage(std::string_view page) {
  return Take(page, kPageTop) && Take(page, kIndex);
}
