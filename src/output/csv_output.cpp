#include "output/csv_output.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

#include "analysis/rules.h"
#include "dates/clock.h"
#include "dates/zone.h"
#include "output/escape.h"
#include "output/moments.h"
#include "output/refusal_line.h"
#include "output/sink.h"
#include "report/answer_head.h"
#include "sections/section_list.h"
#include "sections/section_rows.h"
#include "sections/status_rows.h"
#include "sections/visit_rows.h"

static constexpr int kShareDigits = 6;

// ---- Tables ----------------------------------------------------------------------------

// A row of a table: that of a section, or of the pages that led to an item, or others below it.
struct CsvRow {
  int64_t rank;
  const char* item;
  int64_t count;
  double share;        // below 0: none
  const char* detail;  // engine, name, time zone or the item that was led to; empty: none
  int64_t bytes = -1;  // below 0: none
  int64_t second = -1;
  int64_t before = -1;  // the count of the day that it is compared with; below 0: none
  TimesTaken times = {};
  int marked = -1;
  TimeSpan seen = kNoTimes;
};

struct Cells {
  Sink& sink;
  bool guarded;
};

static void PutText(Cells& cells, const char* text) {
  PutCsv(cells.sink, text, cells.guarded);
}

static void PutFigures(Cells& cells, const CsvRow& row) {
  PutNumber(cells.sink, row.count);
  Put(cells.sink, ",");
  if (row.share >= 0) {
    PutDecimal(cells.sink, row.share, kShareDigits);
  }
}

static void PutRankAndItem(Cells& cells, const CsvRow& row) {
  PutNumber(cells.sink, row.rank);
  Put(cells.sink, ",");
  PutText(cells, row.item);
  Put(cells.sink, ",");
}

static void PutWithoutDetail(Cells& cells, const CsvRow& row) {
  PutRankAndItem(cells, row);
  PutFigures(cells, row);
}

static void PutWithDetail(Cells& cells, const CsvRow& row) {
  PutWithoutDetail(cells, row);
  Put(cells.sink, ",");
  PutText(cells, row.detail);
}

static void PutWithMark(Cells& cells, const CsvRow& row) {
  PutWithDetail(cells, row);
  Put(cells.sink, row.marked != 0 ? Literal(",yes") : Literal(",no"));
}

static void PutWithSeen(Cells& cells, const CsvRow& row) {
  PutWithoutDetail(cells, row);
  for (const int64_t time : {row.seen.first, row.seen.last}) {
    Put(cells.sink, ",");
    if (row.seen.first <= row.seen.last) {
      PutMoment(cells.sink, time);
    }
  }
}

// The second figure in place of a detail.
static void PutSecond(Cells& cells, const CsvRow& row) {
  Put(cells.sink, ",");
  PutNumber(cells.sink, row.second);
}

static void PutWithSecond(Cells& cells, const CsvRow& row) {
  PutWithoutDetail(cells, row);
  PutSecond(cells, row);
}

static void PutDayRow(Cells& cells, const CsvRow& row) {
  PutText(cells, row.item);
  Put(cells.sink, ",");
  PutFigures(cells, row);
  PutSecond(cells, row);
}

static void PutTotal(Cells& cells, const CsvRow& row) {
  PutText(cells, row.item);
  Put(cells.sink, ",");
  PutNumber(cells.sink, row.count);
}

// Of times, these are what there is to say besides.
static void PutWithTimes(Cells& cells, const CsvRow& row) {
  PutWithoutDetail(cells, row);
  for (const int64_t time : {row.times.median, row.times.of_95, row.times.of_99, row.times.sum}) {
    Put(cells.sink, ",");
    PutNumber(cells.sink, time);
  }
}

// The same in the one column that there is among other sections.
static void PutTimesAsDetail(Cells& cells, const CsvRow& row) {
  PutWithoutDetail(cells, row);
  Put(cells.sink, ",median_us ");
  PutNumber(cells.sink, row.times.median);
  Put(cells.sink, " p95_us ");
  PutNumber(cells.sink, row.times.of_95);
  Put(cells.sink, " p99_us ");
  PutNumber(cells.sink, row.times.of_99);
  Put(cells.sink, " sum_us ");
  PutNumber(cells.sink, row.times.sum);
}

// Of any table.
static void PutOfAny(Cells& cells, const CsvRow& row) {
  if (row.times.sum >= 0) {
    PutTimesAsDetail(cells, row);
  } else if (row.second >= 0) {
    PutWithSecond(cells, row);
  } else {
    PutWithDetail(cells, row);
  }
}

// Rows that stand in an order of their own have no rank.
static void PutTime(Cells& cells, const CsvRow& row) {
  PutText(cells, row.item);
  Put(cells.sink, ",");
  PutFigures(cells, row);
  Put(cells.sink, ",");
  PutText(cells, row.detail);
}

static void PutClass(Cells& cells, const CsvRow& row) {
  PutTime(cells, row);
}

static const char* DetailOf(const SectionRow& row, const char* of_all) {
  if (row.engine != nullptr) {
    return row.engine;
  }
  return row.name != nullptr ? row.name : of_all;
}

template <typename PutRow>
static void PutRows(SectionRows& rows, const char* detail_of_all, PutRow put) {
  int64_t rank = 0;
  for (SectionRow row; NextRow(rows, row);) {
    put(CsvRow{++rank, row.item, row.count, row.share, DetailOf(row, detail_of_all), row.bytes, row.second,
               row.before, row.times, row.marked, row.seen});
  }
}

// The shares of the pages are of the count of what they led to.
template <typename PutRow>
static void PutReferrerRows(SectionRows& rows, PutRow put) {
  for (SectionRow row; NextRow(rows, row);) {
    int64_t rank = 0;
    for (ReferrerRow page; NextReferrer(row, page);) {
      put(CsvRow{++rank, page.address, page.count, Share(page.count, row.count), row.item});
    }
  }
}

// A table that can be asked for by name, and its own columns.
struct Table {
  std::string_view name;
  SectionId section;
  bool referrers;  // the pages that led to the section's items
  Literal columns;
  void (*put)(Cells& cells, const CsvRow& row);
};

static constexpr Table kTables[] = {
    {"requests", SectionId::kUrls, false, "rank,url,count,share", PutWithoutDetail},
    {"referrers", SectionId::kReferrers, false, "rank,page,count,share", PutWithoutDetail},
    {"search", SectionId::kPhrases, false, "rank,phrase,count,share,engine", PutWithDetail},
    {"browsers", SectionId::kBrowsers, false, "rank,browser,count,share", PutWithoutDetail},
    {"badurls", SectionId::kBadUrls, false, "rank,url,count,share", PutWithoutDetail},
    {"badurls_referrers", SectionId::kBadUrls, true, "rank,page,count,share,url", PutWithDetail},
    {"badreferrers", SectionId::kBadReferrers, false, "rank,page,count,share", PutWithoutDetail},
    {"domains", SectionId::kDomains, false, "rank,domain,count,share", PutWithoutDetail},
    {"domaintypes", SectionId::kDomainTypes, false, "rank,domain,count,share,name", PutWithDetail},
    {"dailytotals", SectionId::kDays, false, "day,count,share,timezone", PutTime},
    {"hitsperdayofweek", SectionId::kWeekdays, false, "weekday,count,share,timezone", PutTime},
    {"hitsperhour", SectionId::kHours, false, "hour,count,share,timezone", PutTime},
    {"hoursofweek", SectionId::kHoursOfWeek, false, "hour,count,share,timezone", PutTime},
};

static constexpr size_t TablesOfSections() {
  return static_cast<size_t>(std::count_if(std::begin(kTables), std::end(kTables),
                                           [](const Table& table) { return !table.referrers; }));
}
static_assert(TablesOfSections() == kNamedSections);

static auto WriterOf(const Dimension& dimension) {
  if (dimension.timed) {
    return PutWithTimes;
  }
  if (!dimension.second.title.text().empty()) {
    return dimension.of_days ? PutDayRow : PutWithSecond;
  }
  if (!dimension.mark.title.text().empty()) {
    return PutWithMark;
  }
  if (dimension.seen) {
    return PutWithSeen;
  }
  return dimension.name_of != nullptr ? PutWithDetail : PutWithoutDetail;
}

static Table TableOf(const Section& section) {
  const Dimension& dimension = *section.dimension;
  return {dimension.parameter, section.id, false, dimension.columns, WriterOf(dimension)};
}

// The figures of all visits.
static Table TotalsTableOf(const Section& section) {
  return {"visitors_totals", section.id, false, "figure,count", PutTotal};
}

static Table ClassesTableOf(const Section& section) {
  return {"statuses_classes", section.id, false, "class,count,share,name", PutClass};
}

static bool HasReferrers(const Section& section) {
  return HasSubItems(*section.dimension);
}

static Table ReferrersTableOf(const Section& section) {
  return {section.dimension->below_table, section.id, true, section.dimension->below_columns, PutWithDetail};
}

// All of them, one after the other, until one is wanted; true then.
template <typename Wanted>
static bool AnyTable(Wanted wanted) {
  if (std::any_of(std::begin(kTables), std::end(kTables), wanted)) {
    return true;
  }
  return std::ranges::any_of(Sections().subspan(kNamedSections), [&](const Section& section) {
    return wanted(TableOf(section)) || (section.dimension->with_figures && wanted(TotalsTableOf(section))) ||
           (section.dimension->in_classes && wanted(ClassesTableOf(section))) ||
           (HasReferrers(section) && wanted(ReferrersTableOf(section)));
  });
}

static bool IsInReport(const Table& table, const Settings& settings) {
  const bool shown =
      !table.referrers || table.section != SectionId::kBadUrls || settings.badurl_referrers != 0;
  return shown && IsOn(SectionOf(table.section), settings);
}

static std::optional<Table> FindTable(const Settings& settings) {
  std::optional<Table> found;
  AnyTable([&](const Table& table) {
    if (EqualIgnoreCase(table.name, settings.section) && IsInReport(table, settings)) {
      found = table;
    }
    return found.has_value();
  });
  return found;
}

template <typename PutRow>
static void PutTotals(const Analysis& analysis, PutRow put) {
  int64_t rank = 0;
  for (const VisitTotal& total : VisitTotalsOf(analysis)) {
    put(CsvRow{++rank, total.name.text().data(), total.figure, -1, ""});
  }
}

template <typename PutRow>
static void PutClasses(const StatusClasses& classes, PutRow put) {
  for (size_t i = 0; i < classes.count; ++i) {
    const SectionRow& row = classes.rows[i];
    put(CsvRow{static_cast<int64_t>(i) + 1, row.item, row.count, row.share, row.name, row.bytes});
  }
}

template <typename PutRow>
static void PutTable(const Table& table, const Settings& settings, Analysis& analysis, PutRow put) {
  if (table.put == PutTotal) {
    PutTotals(analysis, put);
    return;
  }
  if (table.put == PutClass) {
    PutClasses(StatusClassesOf(settings, analysis), put);
    return;
  }
  SectionRows rows;
  OpenSection(rows, settings, SectionOf(table.section), analysis);
  if (table.referrers) {
    PutReferrerRows(rows, put);
  } else {
    const bool tells_times = table.put == PutTime;
    PutRows(rows, tells_times ? ZoneName(MomentMade(analysis.ReportStartTime)) : "", put);
  }
}

// The last column, where there is one.
struct LastColumn {
  Literal title = "\r\n";
  int64_t CsvRow::*figure = nullptr;
};
static constexpr LastColumn kBytes = {",bytes\r\n", &CsvRow::bytes};
static constexpr LastColumn kBefore = {",before\r\n", &CsvRow::before};

static void EndRow(Cells& cells, const CsvRow& row, const LastColumn& last) {
  if (last.figure != nullptr) {
    Put(cells.sink, ",");
    if (row.*last.figure >= 0) {
      PutNumber(cells.sink, row.*last.figure);
    }
  }
  Put(cells.sink, "\r\n");
}

static LastColumn LastColumnOf(const Table& table, const Settings& settings, const Analysis& analysis) {
  if (table.section == SectionId::kDays && analysis.comparison.asked) {
    return kBefore;
  }
  const Section& section = SectionOf(table.section);
  const bool of_requests = section.dimension == nullptr || IsOfRequests(*section.dimension);
  const bool bytes = section.rows == RowKind::kRanked && of_requests && !table.referrers &&
                     table.put != PutWithTimes && AmountsOf(settings) == Amounts::kSummed;
  return bytes ? kBytes : LastColumn{};
}

static void PutOne(Cells& cells, const Table& table, const Settings& settings, Analysis& analysis) {
  const LastColumn last = LastColumnOf(table, settings, analysis);
  Put(cells.sink, table.columns);
  Put(cells.sink, last.title);
  PutTable(table, settings, analysis, [&](const CsvRow& row) {
    table.put(cells, row);
    EndRow(cells, row, last);
  });
}

static void PutAll(Cells& cells, const Settings& settings, Analysis& analysis) {
  const LastColumn last = AmountsOf(settings) == Amounts::kSummed ? kBytes : LastColumn{};
  Put(cells.sink, "section,rank,item,count,share,detail");
  Put(cells.sink, last.title);
  AnyTable([&](const Table& table) {
    if (IsInReport(table, settings)) {
      PutTable(table, settings, analysis, [&](const CsvRow& row) {
        PutCsv(cells.sink, table.name, cells.guarded);
        Put(cells.sink, ",");
        PutOfAny(cells, row);
        EndRow(cells, row, last);
      });
    }
    return false;
  });
}

void WriteCsv(const Settings& settings, Analysis& analysis) {
  Sink sink;
  Cells cells{sink, settings.csv_formulas == 0};
  const std::optional<Table> table = FindTable(settings);
  if (table.has_value()) {
    PutOne(cells, *table, settings, analysis);
  } else {
    PutAll(cells, settings, analysis);
  }
  FlushSink(sink);
}

// ---- Answers ---------------------------------------------------------------------------

static Error CheckSection(const Settings& settings) {
  return settings.section[0] == '\0' || FindTable(settings).has_value() ? kNoError : kErrorSection;
}

static void AnswerReport(const Environment& env, const Settings& settings) {
  char disposition[kDispositionSize];
  NameFile(disposition, "attachment", "csv", settings);
  PrintAnswerHead(env, {.type = "text/csv; charset=utf-8; header=present", .disposition = disposition});
}

static AnalysisEvents ToldNothing(const Settings&) {
  return {};
}

const PageWriter kCsvOutput = {
    .announce = nullptr,
    .check = CheckSection,
    .begin = nullptr,
    .found = AnswerReport,
    .told = ToldNothing,
    .finish = WriteCsv,
    .tells_totals = true,
    .refuse = RefuseInOneLine,
    .ask = nullptr,
    .info = {},
};
