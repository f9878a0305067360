#include "sections/notes.h"

#include <cinttypes>
#include <cstdio>
#include <string_view>

#include "sections/overview.h"

Notes OpenNotes(const Settings& settings, const Analysis& analysis) {
  Notes notes{&settings, &analysis, 0, FirstThinnedTable(settings, analysis), ""};
  if (analysis.logs.not_opened > 0) {
    snprintf(notes.not_opened, sizeof notes.not_opened, "%" PRId64, analysis.logs.not_opened);
  }
  return notes;
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
    case NoteCode::kLogsNotOpened:
      return unless_empty(notes.not_opened);
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

bool NextNote(Notes& notes, Note& note) {
  while (notes.next < static_cast<size_t>(NoteCode::kThinned)) {
    const auto code = static_cast<NoteCode>(notes.next++);
    const char* const subject = SubjectOf(code, notes);
    if (subject != nullptr) {
      note = {code, subject};
      return true;
    }
  }
  return NextThinned(notes, note);
}
