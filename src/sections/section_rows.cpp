#include "sections/section_rows.h"

#include <algorithm>
#include <cstdio>

#include "base/text.h"
#include "dates/days.h"

static constexpr const char* kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                            "Thursday", "Friday", "Saturday"};

// ---- Opening -------------------------------------------------------------------------

static void OpenRankedRows(SectionRows& rows, const Settings& settings, Analysis& analysis) {
  rows.ranked = OpenRanked(settings, *rows.section, analysis);
  rows.distinct = rows.ranked.summary.distinct;
  rows.total = rows.ranked.summary.total;
  rows.bytes = rows.ranked.summary.bytes;
  rows.by_bytes = rows.ranked.summary.by_bytes;
  rows.served = rows.ranked.summary.served;
  rows.timed = rows.ranked.summary.times;
  rows.largest = rows.ranked.summary.largest;
}

static void OpenPhrases(SectionRows& rows, const Settings& settings, const Analysis& analysis) {
  rows.engines = OpenEngines(settings, analysis);
  rows.engine = {};
  rows.distinct = rows.engines.summary.distinct;
  rows.total = rows.engines.summary.total;
}

static void OpenTimes(SectionRows& rows, const Settings&, const Analysis& analysis) {
  rows.times = rows.section->times(analysis);
  rows.distinct = std::max<int64_t>(rows.times.end - rows.times.next, 0);
  rows.total = rows.times.total;
}

// ---- Rows ----------------------------------------------------------------------------

static SectionRow Row(const char* item, int64_t count, double share) {
  return {item, count, -1, -1, share, 0.0,   nullptr, nullptr, nullptr,
          {},   {},    {}, -1, -1,    false, -1,      kNoTimes};
}

// The largest count comes first.
static double BarOf(SectionRows& rows, int64_t count) {
  rows.largest = std::max(rows.largest, count);
  return std::clamp(Share(count, rows.largest), 0.0, 1.0);
}

// Of an item that is a day.
static void TellDay(SectionRow& row) {
  static constexpr int64_t kThursday = 4;  // the first day of all was one
  constexpr size_t kMonth = std::string_view("2026-").size();
  constexpr size_t kDay = std::string_view("2026-11-").size();
  if (std::string_view(row.item).size() > kDay) {
    row.date = {ToInt(row.item + kMonth), ToInt(row.item + kDay), ToInt(row.item)};
    row.weekday = static_cast<int>(((NumberOfDay(row.date) + kThursday) % 7 + 7) % 7);
  }
}

static bool NextRankedRow(SectionRows& rows, SectionRow& row) {
  RankedRow ranked;
  if (!NextRanked(rows.ranked, ranked)) {
    return false;
  }
  row = Row(ranked.item, ranked.count, ranked.share);
  row.bar = BarOf(rows, rows.timed ? ranked.times.sum : rows.by_bytes ? ranked.bytes : ranked.count);
  row.bytes = ranked.bytes;
  row.second = ranked.second;
  row.times = ranked.times;
  row.marked = ranked.marked;
  row.seen = ranked.seen;
  row.site = ranked.site;
  row.name = ranked.description;
  row.explained = rows.section->dimension != nullptr && !rows.section->dimension->name_is_read;
  row.referrers = ranked.referrers;
  if (rows.section->dimension != nullptr && rows.section->dimension->of_days) {
    TellDay(row);
  }
  return true;
}

static bool NextPhraseRow(SectionRows& rows, SectionRow& row) {
  PhraseRow phrase;
  while (!NextPhrase(rows.engine, phrase)) {
    if (!NextEngine(rows.engines, rows.engine)) {
      return false;
    }
    rows.largest = 0;
  }
  row = Row(phrase.phrase, phrase.count, Share(phrase.count, rows.total));
  row.bar = BarOf(rows, phrase.count);
  row.engine = rows.engine.name;
  return true;
}

static void NameTime(SectionRows& rows, const TimeRow& time) {
  if (time.hour >= 0 && time.weekday >= 0) {
    snprintf(rows.item, sizeof rows.item, "%s %02d", kWeekdays[time.weekday], time.hour);
  } else if (time.hour >= 0) {
    snprintf(rows.item, sizeof rows.item, "%02d", time.hour);
  } else if (time.date.month != 0) {
    snprintf(rows.item, sizeof rows.item, "%04d-%02d-%02d", time.date.year, time.date.month, time.date.day);
  } else {
    CopyText(rows.item, kWeekdays[time.weekday]);
  }
}

static bool NextTimeRow(SectionRows& rows, SectionRow& row) {
  TimeRow time;
  if (!NextTime(rows.times, time)) {
    return false;
  }
  NameTime(rows, time);
  row = Row(rows.item, time.count, time.share);
  row.bar = std::clamp(time.bar, 0.0, 1.0);
  row.date = time.date;
  row.weekday = time.weekday;
  row.hour = time.hour;
  row.before = time.before;
  return true;
}

// ---- By the kind of rows -------------------------------------------------------------

// Ranked rows change the analysis, whose tables they put in order; the others take it as it is.
template <auto kOpen>
static void Open(SectionRows& rows, const Settings& settings, Analysis& analysis) {
  kOpen(rows, settings, analysis);
}

static constexpr struct {
  void (*open)(SectionRows& rows, const Settings& settings, Analysis& analysis);
  bool (*next)(SectionRows& rows, SectionRow& row);
} kRowKinds[] = {
    {Open<OpenRankedRows>, NextRankedRow}, {Open<OpenPhrases>, NextPhraseRow}, {Open<OpenTimes>, NextTimeRow},
    {Open<OpenTimes>, NextTimeRow},        {Open<OpenTimes>, NextTimeRow},     {Open<OpenTimes>, NextTimeRow},
};

void OpenSection(SectionRows& rows, const Settings& settings, const Section& section, Analysis& analysis) {
  rows.section = &section;
  rows.largest = 0;
  rows.bytes = rows.by_bytes = rows.timed = false;
  rows.served = 0;
  rows.seen = section.dimension != nullptr && section.dimension->seen;
  kRowKinds[static_cast<size_t>(section.rows)].open(rows, settings, analysis);
}

bool NextRow(SectionRows& rows, SectionRow& row) {
  return kRowKinds[static_cast<size_t>(rows.section->rows)].next(rows, row);
}

bool NextReferrer(SectionRow& row, ReferrerRow& referrer) {
  const ListItem* const item = NextItem(row.referrers);
  if (item == nullptr) {
    return false;
  }
  referrer = {item->name, item->count};
  return true;
}
