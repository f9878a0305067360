#include "sections/notes.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "sections/overview.h"
#include "unpack/unpacking.h"

static void PutNumber(char (&text)[24], int64_t logs) {
  if (logs > 0) {
    snprintf(text, sizeof text, "%" PRId64, logs);
  }
}

// "gzip (libz.so.1), xz (liblzma.so.5)"; a format without a name behind it is one that this build does not
// know.
static void ListLacking(const Analysis& analysis, char (&list)[160]) {
  for (size_t place = 0; place < kPackFormats; ++place) {
    if (analysis.logs.lacking[place]) {
      const auto format = static_cast<PackFormat>(place);
      const char* const library = LibraryFor(format);
      const size_t length = strlen(list);
      snprintf(list + length, sizeof list - length, "%s%s (%s)", length == 0 ? "" : ", ", NameOf(format),
               library == nullptr ? "not built in" : library);
    }
  }
}

Notes OpenNotes(const Settings& settings, const Analysis& analysis) {
  Notes notes{&settings, &analysis, 0, FirstThinnedTable(settings, analysis), "", "", ""};
  PutNumber(notes.not_opened, analysis.logs.not_opened);
  PutNumber(notes.damaged, analysis.logs.damaged);
  ListLacking(analysis, notes.lacking);
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
    case NoteCode::kLogsDamaged:
      return unless_empty(notes.damaged);
    case NoteCode::kNoLibrary:
      return unless_empty(notes.lacking);
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
