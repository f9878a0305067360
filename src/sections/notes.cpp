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
static const char* SubjectOf(NoteCode code, const Settings& settings, const Analysis& analysis) {
  const auto unless_empty = [](const char* text) { return text[0] == '\0' ? nullptr : text; };
  switch (code) {
    case NoteCode::kNoLogInRange:
      return analysis.logs.in_range ? nullptr : "";
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

bool NextNote(Notes& notes, Note& note) {
  while (notes.next < static_cast<size_t>(NoteCode::kThinned)) {
    const auto code = static_cast<NoteCode>(notes.next++);
    const char* const subject = SubjectOf(code, *notes.settings, *notes.analysis);
    if (subject != nullptr) {
      note = {code, subject};
      return true;
    }
  }
  return NextThinned(notes, note);
}
