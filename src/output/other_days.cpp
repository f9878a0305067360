#include "output/other_days.h"

#include <algorithm>

#include "output/escape.h"
#include "output/moments.h"
#include "report/asked_fields.h"

// ---- Which days ----------------------------------------------------------------------

static bool IsWithin(const DayRange& days, const DayRange& wider) {
  return NumberOfDay(days.first) >= NumberOfDay(wider.first) &&
         NumberOfDay(days.last) <= NumberOfDay(wider.last);
}

// The days of both; without any, the range ends before it begins.
static DayRange Common(const DayRange& a, const DayRange& b) {
  return {DayOfNumber(std::max(NumberOfDay(a.first), NumberOfDay(b.first))),
          DayOfNumber(std::min(NumberOfDay(a.last), NumberOfDay(b.last)))};
}

static std::optional<DayRange>& At(DayLinks& links, DayLinkKind kind) {
  return links[static_cast<size_t>(kind)];
}

static void Add(DayLinks& links, DayLinkKind kind, const DayRange& days, const DayRange& held) {
  const DayRange there_are = Common(days, held);
  const bool known = std::find(links.begin(), links.end(), there_are) != links.end();
  if (CountDays(there_are) > 0 && !known) {
    At(links, kind) = there_are;
  }
}

static DayRange DaysFrom(const CalendarDate& first, int64_t days) {
  return {first, DayOfNumber(NumberOfDay(first) + days - 1)};
}

static DayRange DaysUpTo(const CalendarDate& last, int64_t days) {
  return {DayOfNumber(NumberOfDay(last) - days + 1), last};
}

static CalendarDate DayBehind(const CalendarDate& day, int64_t days) {
  return DayOfNumber(NumberOfDay(day) + days);
}

static bool IsWholeMonth(const DayRange& days) {
  return days == MonthOf(days.first);
}

// What neighbours are called; far outside, they are the nearest days that there are.
struct NeighbourKinds {
  DayLinkKind days;
  DayLinkKind month;
};

static constexpr NeighbourKinds kBefore{DayLinkKind::kPrevious, DayLinkKind::kPreviousMonth};
static constexpr NeighbourKinds kFarBefore{DayLinkKind::kLatestDays, DayLinkKind::kLatestMonth};
static constexpr NeighbourKinds kBehind{DayLinkKind::kNext, DayLinkKind::kNextMonth};
static constexpr NeighbourKinds kFarBehind{DayLinkKind::kFirstDays, DayLinkKind::kFirstMonth};

static void AddDaysBefore(DayLinks& links, const DayRange& shown, const DayRange& held) {
  const CalendarDate day_before = DayBehind(shown.first, -1);
  const CalendarDate last = Common({held.first, day_before}, held).last;
  const NeighbourKinds& kinds = last == day_before ? kBefore : kFarBefore;
  if (IsWholeMonth(shown)) {
    Add(links, kinds.month, MonthOf(last), held);
  } else {
    Add(links, kinds.days, DaysUpTo(last, CountDays(shown)), held);
  }
}

static void AddDaysBehind(DayLinks& links, const DayRange& shown, const DayRange& held) {
  const CalendarDate day_behind = DayBehind(shown.last, 1);
  const CalendarDate first = Common({day_behind, held.last}, held).first;
  const NeighbourKinds& kinds = first == day_behind ? kBehind : kFarBehind;
  if (IsWholeMonth(shown)) {
    Add(links, kinds.month, MonthOf(first), held);
  } else {
    Add(links, kinds.days, DaysFrom(first, CountDays(shown)), held);
  }
}

// A wider range that the shown one is a part of.
static void AddAround(DayLinks& links, DayLinkKind kind, DayRange (*around)(const CalendarDate&),
                      const DayRange& shown, const DayRange& held) {
  const DayRange wider = around(shown.first);
  if (IsWithin(shown, wider) && Common(wider, held) != Common(shown, held)) {
    Add(links, kind, wider, held);
  }
}

// What leads to all days is called so, whatever else they are.
DayLinks LinksFrom(const DayRange& shown, const DayRange& held) {
  DayLinks links;
  At(links, DayLinkKind::kSame) = shown;
  if (Common(shown, held) != held) {
    Add(links, DayLinkKind::kAll, held, held);
  }
  AddDaysBefore(links, shown, held);
  AddDaysBehind(links, shown, held);
  AddAround(links, DayLinkKind::kWeek, WeekOf, shown, held);
  AddAround(links, DayLinkKind::kMonth, MonthOf, shown, held);
  AddAround(links, DayLinkKind::kYear, YearOf, shown, held);
  return links;
}

DayLinks LinksInto(const DayRange& held) {
  DayLinks links;
  Add(links, DayLinkKind::kAll, held, held);
  Add(links, DayLinkKind::kLatestDay, DaysUpTo(held.last, 1), held);
  Add(links, DayLinkKind::kLatestDays, DaysUpTo(held.last, 7), held);
  Add(links, DayLinkKind::kLatestMonth, MonthOf(held.last), held);
  return links;
}

// ---- Addresses -----------------------------------------------------------------------

// Names and values are what a visitor has typed, and go out as nothing but letters, digits and "%".
static void PutField(Sink& sink, const AskedField& field) {
  PutAddressPart(sink, field.name);
  Put(sink, "=");
  PutAddressPart(sink, field.value);
}

static void PutAddressAsAsked(Sink& sink, const AskedFields& asked) {
  Put(sink, "?");
  size_t place = 0;
  for (AskedField field; NextField(asked, place, field);) {
    PutField(sink, field);
    if (place < asked.length) {
      Put(sink, "&amp;");
    }
  }
}

static void PutAddressOf(Sink& sink, const AskedFields& asked, const DayRange& days) {
  Put(sink, "?");
  size_t place = 0;
  for (AskedField field; NextField(asked, place, field);) {
    if (!SaysDays(field)) {
      PutField(sink, field);
      Put(sink, "&amp;");
    }
  }
  Put(sink, "from=");
  PutDay(sink, days.first);
  Put(sink, "&amp;to=");
  PutDay(sink, days.last);
}

// ---- Words ---------------------------------------------------------------------------

static void PutCountOfDays(Sink& sink, const Literal& which, const DayRange& days) {
  const int64_t count = CountDays(days);
  Put(sink, which);
  if (count == 1) {
    Put(sink, " day");
    return;
  }
  Put(sink, " ");
  PutGrouped(sink, count);
  Put(sink, " days");
}

static void PutName(Sink& sink, DayLinkKind kind, const DayRange& days) {
  switch (kind) {
    case DayLinkKind::kPrevious:
      return PutCountOfDays(sink, "Previous", days);
    case DayLinkKind::kPreviousMonth:
      return Put(sink, "Previous month");
    case DayLinkKind::kNext:
      return PutCountOfDays(sink, "Next", days);
    case DayLinkKind::kNextMonth:
      return Put(sink, "Next month");
    case DayLinkKind::kWeek:
      return Put(sink, "The week");
    case DayLinkKind::kMonth:
      return Put(sink, "The month");
    case DayLinkKind::kYear:
      return Put(sink, "The year");
    case DayLinkKind::kFirstDays:
      return PutCountOfDays(sink, "First", days);
    case DayLinkKind::kFirstMonth:
      return Put(sink, "First month");
    case DayLinkKind::kLatestDay:
    case DayLinkKind::kLatestDays:
      return PutCountOfDays(sink, "Latest", days);
    case DayLinkKind::kLatestMonth:
      return Put(sink, "Latest month");
    case DayLinkKind::kAll:
      return Put(sink, "All days");
    default:
      return Put(sink, "Link to these days");
  }
}

void PutDays(Sink& sink, const DayRange& days) {
  Put(sink, "<time>");
  PutDay(sink, days.first);
  if (days.first != days.last) {
    Put(sink, "</time> to <time>");
    PutDay(sink, days.last);
  }
  Put(sink, "</time>");
}

static void PutLink(Sink& sink, const AskedFields& asked, DayLinkKind kind, const DayRange& days) {
  Put(sink, "<li><a rel=\"nofollow\" href=\"");
  PutAddressOf(sink, asked, days);
  Put(sink, "\">");
  PutName(sink, kind, days);
  Put(sink, "</a>");
  if (kind != DayLinkKind::kSame) {
    Put(sink, " <small>");
    PutDays(sink, days);
    Put(sink, "</small>");
  }
  Put(sink, "</li>\n");
}

// "7d" is "last 7 days", "this-month" is "this month". A report has been made of them, so that they are some.
static void PutSpan(Sink& sink, std::string_view days) {
  const bool counted = IsDigitAscii(days.front());
  if (counted) {
    Put(sink, "last ");
    days.remove_suffix(1);
  }
  const size_t dash = std::min(days.find('-'), days.size());
  PutHtml(sink, days.substr(0, dash));
  if (dash < days.size()) {
    Put(sink, " ");
    PutHtml(sink, days.substr(dash + 1));
  }
  if (counted || EqualIgnoreCase(days, "all")) {
    Put(sink, days == "1" ? Literal(" day") : Literal(" days"));
  }
}

// Days in words are other ones on another day.
static void PutBookmark(Sink& sink, const Settings& settings, const DayLinks& links) {
  if (settings.days[0] == '\0' || !links[static_cast<size_t>(DayLinkKind::kSame)].has_value()) {
    return;
  }
  Put(sink, "<li><a rel=\"nofollow\" href=\"");
  PutAddressAsAsked(sink, settings.asked);
  Put(sink, "\">Bookmark</a> <small>");
  PutSpan(sink, settings.days);
  Put(sink, ", whenever it is opened</small></li>\n");
}

void PutDayLinks(Sink& sink, const Settings& settings, const DayLinks& links) {
  if (!CanAskAgain(settings.asked) || settings.fixed_days) {
    return;
  }
  Put(sink, "<nav class=\"other\" aria-label=\"Other days\">\n<ul>\n");
  for (size_t kind = 0; kind < links.size(); ++kind) {
    if (links[kind].has_value()) {
      PutLink(sink, settings.asked, static_cast<DayLinkKind>(kind), *links[kind]);
    }
  }
  PutBookmark(sink, settings, links);
  Put(sink, "</ul>\n</nav>\n");
}
