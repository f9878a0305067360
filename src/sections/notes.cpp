#include "sections/notes.h"

#include <cinttypes>
#include <cstdio>
#include <string_view>

#include "analysis/rules.h"
#include "sections/overview.h"
#include "sections/visit_rows.h"

template <size_t N>
static void WriteUnlessNone(char (&text)[N], int64_t figure) {
  if (figure > 0) {
    snprintf(text, N, "%" PRId64, figure);
  }
}

template <size_t N>
static void WritePart(char (&text)[N], int64_t figure, int64_t whole) {
  if (figure > 0) {
    snprintf(text, N, "%" PRId64 " of %" PRId64, figure, whole);
  }
}

static void WriteLookUps(Notes& notes) {
  const LookUpFigures& figures = notes.analysis->look_ups;
  WritePart(notes.not_looked_up, figures.left_out, figures.addresses);
  WritePart(notes.no_name_server, figures.unanswered, figures.addresses);
  snprintf(notes.time_limit, sizeof notes.time_limit,
           " addresses were not looked up: the time limit of %d s was reached",
           notes.settings->DNSLookupSeconds);
}

static void WriteSample(Notes& notes) {
  const VisitFigures& figures = notes.analysis->visit_figures;
  if (figures.one_in > 1) {
    WriteUnlessNone(notes.one_visitor_in, figures.one_in);
    snprintf(notes.visitors_error, sizeof notes.visitors_error,
             ": the number of visitors with an error of about %" PRId64 " %%", ErrorOfVisitors(figures));
  }
}

Notes OpenNotes(const Settings& settings, const Analysis& analysis) {
  Notes notes{&settings, &analysis, 0, FirstThinnedTable(settings, analysis)};
  WriteUnlessNone(notes.without_url, analysis.without_url);
  WriteUnlessNone(notes.own_referrers, analysis.own_referrers);
  WriteUnlessNone(notes.parts_of_pages, analysis.parts_of_pages);
  WriteLookUps(notes);
  WriteSample(notes);
  notes.filters = ActiveFiltersOf(settings);
  return notes;
}

// What the note is about; null when there is no reason for it.
static const char* SubjectOf(NoteCode code, const Notes& notes) {
  const Settings& settings = *notes.settings;
  const auto unless_empty = [](const char* text) { return text[0] == '\0' ? nullptr : text; };
  switch (code) {
    case NoteCode::kNoLogInRange:
      return notes.analysis->logs.in_range ? nullptr : "";
    case NoteCode::kPath:
      return FindsAll(settings) ? nullptr : settings.find;
    case NoteCode::kRealm:
      return unless_empty(settings.authrealm);
    case NoteCode::kUser:
      return unless_empty(settings.authuser);
    case NoteCode::kHostsLeftOut:
      return unless_empty(settings.filter_domains);
    case NoteCode::kTypesLeftOut:
      return unless_empty(settings.filter_filetypes);
    case NoteCode::kWithoutUrl:
      return unless_empty(notes.without_url);
    case NoteCode::kNotLookedUp:
      return unless_empty(notes.not_looked_up);
    case NoteCode::kNoNameServer:
      return unless_empty(notes.no_name_server);
    case NoteCode::kAnonymised:
      return settings.anonymise != 0 ? "" : nullptr;
    case NoteCode::kNoCountries:
      return settings.countries_left_out ? "" : nullptr;
    case NoteCode::kOwnReferrers:
      return unless_empty(notes.own_referrers);
    case NoteCode::kPartsOfPages:
      return unless_empty(notes.parts_of_pages);
    case NoteCode::kNotCompared:
      return IsComparison(settings.compare) && !notes.analysis->comparison.asked ? "" : nullptr;
    case NoteCode::kVisitorsSampled:
      return unless_empty(notes.one_visitor_in);
    default:
      return nullptr;
  }
}

// What stands behind the subject.
static const char* DetailOf(NoteCode code, const Notes& notes) {
  switch (code) {
    case NoteCode::kNotLookedUp:
      return notes.time_limit;
    case NoteCode::kVisitorsSampled:
      return notes.visitors_error;
    default:
      return "";
  }
}

static bool NextThinned(Notes& notes, Note& note) {
  if (notes.table == nullptr) {
    return false;
  }
  note = {NoteCode::kThinned, notes.table->name,
          notes.table->spans ? ", and there the times at which items were first seen too late" : ""};
  notes.table = NextThinnedTable(*notes.table);
  return true;
}

// The codes of which each log has a note of its own.
static constexpr struct {
  NoteCode code;
  LogKind logs;
} kLogKinds[] = {
    {NoteCode::kLogsNotOpened, {IsUnopened, TellNothing, ""}},
    {NoteCode::kLogsMissing, {IsMissing, TellMissing, ", missing too, as a whole or in part"}},
    {NoteCode::kNoLibrary, {LacksLibrary, TellLibrary, ", compressed too"}},
    {NoteCode::kLogsDamaged, {IsDamaged, TellDamage, ", cut or damaged too"}},
    {NoteCode::kLogsNotUnderstood, {IsNotUnderstood, TellLinesOfNone, ": no line understood"}},
    {NoteCode::kLinesNotUnderstood, {HoldsNotUnderstood, TellLines, ": lines not understood"}},
    {NoteCode::kLogCopies, {IsCopyOfLogInRange, TellOriginal, ", the same as others"}},
};

static bool NextOfLogs(Notes& notes, NoteCode code, Note& note) {
  for (const auto& kind : kLogKinds) {
    if (kind.code == code && NextLogNote(notes.logs, kind.logs, notes.settings->linked_names != 0)) {
      note = {code, notes.logs.name, notes.logs.detail, notes.logs.other};
      return true;
    }
  }
  notes.logs = {};
  return false;
}

// Each filter that is given has a note of its own.
static bool NextOfFilters(Notes& notes, NoteCode code, Note& note) {
  const bool only = code == NoteCode::kOnlyThese;
  if (!only && code != NoteCode::kTheseLeftOut) {
    return false;
  }
  for (; notes.next_filter < notes.filters.count; ++notes.next_filter) {
    const ActiveFilter& active = notes.filters.filters[notes.next_filter];
    if (active.only == only) {
      const bool all = active.list == "1" || EqualIgnoreCase(active.list, "all");  // robots of any purpose
      note = {code, active.filter->name, all ? "" : ": ", all ? "" : active.list.data()};
      ++notes.next_filter;
      return true;
    }
  }
  notes.next_filter = 0;
  return false;
}

bool NextNote(Notes& notes, Note& note) {
  for (; notes.next < static_cast<size_t>(NoteCode::kThinned); ++notes.next) {
    const auto code = static_cast<NoteCode>(notes.next);
    if (NextOfLogs(notes, code, note) || NextOfFilters(notes, code, note)) {
      return true;
    }
    const char* const subject = SubjectOf(code, notes);
    if (subject != nullptr) {
      note = {code, subject, DetailOf(code, notes)};
      ++notes.next;
      return true;
    }
  }
  return NextThinned(notes, note);
}
