#include "sections/notes.h"

#include <string_view>

#include "sections/overview.h"

Notes OpenNotes(const Settings& settings, const Analysis& analysis) {
  return {&settings, &analysis, 0, FirstThinnedTable(settings, analysis)};
}

static bool SelectsAll(const Settings& settings) {
  const std::string_view find = settings.find;
  return settings.find_pattern != 0 ? find == "*" || find == "/*" : find == "/" && settings.subdirs != 0;
}

// What the note is about; null when there is no reason for it.
static const char* SubjectOf(NoteCode code, const Notes& notes) {
  const Settings& settings = *notes.settings;
  const auto unless_empty = [](const char* text) { return text[0] == '\0' ? nullptr : text; };
  switch (code) {
    case NoteCode::kNoLogInRange:
      return notes.analysis->logs.in_range ? nullptr : "";
    case NoteCode::kPath:
      return SelectsAll(settings) ? nullptr : settings.find;
    case NoteCode::kRealm:
      return unless_empty(settings.authrealm);
    case NoteCode::kUser:
      return unless_empty(settings.authuser);
    case NoteCode::kHostsLeftOut:
      return unless_empty(settings.filter_domains);
    case NoteCode::kTypesLeftOut:
      return unless_empty(settings.filter_filetypes);
    default:
      return nullptr;
  }
}

static bool NextThinned(Notes& notes, Note& note) {
  if (notes.table == nullptr) {
    return false;
  }
  note = {NoteCode::kThinned, notes.table->name};
  notes.table = NextThinnedTable(*notes.table);
  return true;
}

// The codes of which each log has a note of its own.
static constexpr struct {
  NoteCode code;
  LogKind logs;
} kLogKinds[] = {
    {NoteCode::kLogsNotOpened, {IsUnopened, TellNothing, ""}},
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

bool NextNote(Notes& notes, Note& note) {
  for (; notes.next < static_cast<size_t>(NoteCode::kThinned); ++notes.next) {
    const auto code = static_cast<NoteCode>(notes.next);
    if (NextOfLogs(notes, code, note)) {
      return true;
    }
    const char* const subject = SubjectOf(code, notes);
    if (subject != nullptr) {
      note = {code, subject};
      ++notes.next;
      return true;
    }
  }
  return NextThinned(notes, note);
}
