#include "sections/log_notes.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "base/text.h"
#include "layouts/known_layouts.h"
#include "unpack/unpacking.h"

// ---- Tests ----

bool IsUnopened(const LogState& log) {
  return log.unopened;
}

bool IsMissing(const LogState& log) {
  return log.missing;
}

bool LacksLibrary(const LogState& log) {
  return log.unpacked == UnpackEnd::kNoLibrary;
}

bool IsDamaged(const LogState& log) {
  return log.unpacked != UnpackEnd::kWhole && !LacksLibrary(log);
}

bool IsNotUnderstood(const LogState& log) {
  return log.copy_of == nullptr && log.records.count == 0 && log.lines_not_understood > 0;
}

bool HoldsNotUnderstood(const LogState& log) {
  return log.copy_of == nullptr && log.records.in_range > 0 && log.lines_not_understood > 0;
}

bool IsCopyOfLogInRange(const LogState& log) {
  return log.copy_of != nullptr && log.records.in_range > 0;
}

// ---- Details ----

// A figure in groups of three digits.
struct Grouped {
  char text[32];

  explicit Grouped(int64_t figure) {
    char digits[24];
    const int length = snprintf(digits, sizeof digits, "%" PRId64, figure);
    size_t end = 0;
    for (int i = 0; i < length; ++i) {
      if (i > 0 && (length - i) % 3 == 0) {
        text[end++] = ',';
      }
      text[end++] = digits[i];
    }
    text[end] = '\0';
  }
};

void TellNothing(LogNotes& notes, const LogState&, bool) {
  notes.detail[0] = '\0';
}

void TellMissing(LogNotes& notes, const LogState& log, bool) {
  const auto bytes = static_cast<int64_t>(log.missing_bytes);
  if (log.missing_bytes >= log.size) {
    CopyText(notes.detail, " is missing");
  } else {
    snprintf(notes.detail, sizeof notes.detail, ": %s byte%s of it %s missing", Grouped(bytes).text,
             bytes == 1 ? "" : "s", bytes == 1 ? "is" : "are");
  }
}

void TellLibrary(LogNotes& notes, const LogState& log, bool) {
  const char* const library = LibraryFor(log.format);
  snprintf(notes.detail, sizeof notes.detail, " is compressed by %s, %s%s%s", NameOf(log.format),
           library == nullptr ? "which this build does not know" : "and ", library == nullptr ? "" : library,
           library == nullptr ? "" : " is not installed");
}

void TellDamage(LogNotes& notes, const LogState& log, bool) {
  CopyText(notes.detail, log.unpacked == UnpackEnd::kNoMemory
                             ? " needs more memory to be unpacked than it may have"
                             : " is cut or damaged");
}

static void NameLayout(char (&name)[96], const NearLayout& nearest) {
  if (nearest.given) {
    CopyText(name, "the layout that was told");
    return;
  }
  const KnownLayout& known = KnownLayouts()[nearest.miss.layout - size_t{1}];
  snprintf(name, sizeof name, "%.*s (%.*s)", static_cast<int>(known.name.size()), known.name.data(),
           static_cast<int>(known.title.size()), known.title.data());
}

// Adds which layout comes nearest to the first of the lines, which the sentence calls so.
template <size_t kSize>
static void AddNearest(char (&detail)[kSize], const NearLayout& nearest, const char* line) {
  const size_t size = strlen(detail);
  char* const end = detail + size;
  const size_t room = kSize - size;
  const NearMiss& miss = nearest.miss;
  char name[96];
  if (IsCutOff(nearest)) {
    snprintf(end, room, "%s is cut off", line);
    return;
  }
  if (miss.layout == 0) {
    return;
  }
  NameLayout(name, nearest);
  if (miss.field == Field::kIgnored && miss.character == 0) {
    snprintf(end, room, "%s is one of %s, as too few of the lines are", line, name);
  } else if (miss.character == 0) {
    snprintf(end, room, "%s comes nearest to %s, but for the %s", line, name, WordFor(miss.field));
  } else {
    snprintf(end, room, "%s comes nearest to %s, up to character %s, where the %s should stand", line, name,
             Grouped(miss.character).text, WordFor(miss.field));
  }
}

void TellLinesOfNone(LogNotes& notes, const LogState& log, bool) {
  const int64_t lines = log.lines_not_understood;
  snprintf(notes.detail, sizeof notes.detail, ": %s line%s, none understood", Grouped(lines).text,
           lines == 1 ? "" : "s");
  AddNearest(notes.detail, log.nearest, lines == 1 ? "; it" : "; the first");
}

// Where most lines are understood, single ones are what a server says besides.
void TellLines(LogNotes& notes, const LogState& log, bool) {
  constexpr int64_t kFew = 20;  // one line in so many
  const int64_t lines = log.lines_not_understood;
  const int64_t all = lines + log.records.count;
  const int size = snprintf(notes.detail, sizeof notes.detail, ": %s line%s of %s not understood",
                            Grouped(lines).text, lines == 1 ? "" : "s", Grouped(all).text);
  if (log.first_not_understood > 0) {
    snprintf(notes.detail + size, sizeof notes.detail - static_cast<size_t>(size), ", %s line %s",
             lines == 1 ? "in" : "the first in", Grouped(log.first_not_understood).text);
  }
  if (lines > all / kFew) {
    AddNearest(notes.detail, log.nearest, ", which");
  }
}

void TellOriginal(LogNotes& notes, const LogState& log, bool linked_names) {
  CopyText(notes.detail, " holds the same as ");
  NameLog(notes.other, log.copy_of, linked_names);
}

// ---- The way ----

static bool NextOf(const void*& place, LogTest* test, LogState& log) {
  while (SuperLog_NextState(place, log)) {
    if (test(log)) {
      return true;
    }
  }
  return false;
}

static int64_t CountRest(LogNotes& notes, LogTest* test) {
  int64_t count = 1;
  for (LogState log; NextOf(notes.place, test, log);) {
    ++count;
  }
  return count;
}

bool NextLogNote(LogNotes& notes, const LogKind& kind, bool linked_names) {
  LogState log;
  notes.other[0] = notes.detail[0] = '\0';
  if (notes.noted > kMostLogsNoted || !NextOf(notes.place, kind.test, log)) {
    return false;
  }
  if (++notes.noted > kMostLogsNoted) {
    const int64_t rest = CountRest(notes, kind.test);
    snprintf(notes.name, sizeof notes.name, "%s more log%s", Grouped(rest).text, rest == 1 ? "" : "s");
    CopyText(notes.detail, kind.rest);
    return true;
  }
  NameLog(notes.name, log.path, linked_names);
  kind.detail(notes, log, linked_names);
  return true;
}
