#include "layouts/pattern.h"

#include <algorithm>
#include <cstring>

static constexpr char kBlanks = '\x01';  // any number of blanks, in a literal

std::string_view LiteralBefore(const Pattern& pattern, size_t field) {
  const PatternElement& element = pattern.elements[field];
  return {pattern.literals.data() + element.literal, element.literal_size};
}

// --- Building -------------------------------------------------------------------

static void BeginElement(Pattern& pattern) {
  pattern.elements[pattern.count] = {static_cast<uint16_t>(pattern.literals_size), 0, Field::kIgnored};
}

void ClearPattern(Pattern& pattern) {
  pattern.count = pattern.needed = pattern.literals_size = 0;
  pattern.client_port = false;
  BeginElement(pattern);
}

bool AddText(Pattern& pattern, std::string_view text) {
  PatternElement& element = pattern.elements[pattern.count];
  for (const char c : text) {
    char* const last = pattern.literals.data() + pattern.literals_size - 1;
    const bool again = c == ' ' && element.literal_size > 0 && (*last == ' ' || *last == kBlanks);
    if (again) {
      *last = kBlanks;
    } else if (pattern.literals_size == kLongestLiterals) {
      return false;
    } else {
      pattern.literals[pattern.literals_size++] = c;
      ++element.literal_size;
    }
  }
  return true;
}

bool AddField(Pattern& pattern, Field field) {
  const bool adjacent = pattern.count > 0 && pattern.elements[pattern.count].literal_size == 0;
  if (adjacent) {
    return true;
  }
  if (pattern.count + 1 == kMostElements) {
    return false;
  }
  pattern.elements[pattern.count++].field = field;
  BeginElement(pattern);
  return true;
}

bool HasField(const Pattern& pattern, Field field) {
  return std::any_of(pattern.elements.begin(), pattern.elements.begin() + pattern.count,
                     [field](const PatternElement& element) { return element.field == field; });
}

static bool IsNeeded(Field field) {
  return field == Field::kMoment || field == Field::kDate || field == Field::kTime ||
         field == Field::kRequest || field == Field::kUrl || field == Field::kStatus;
}

bool EndPattern(Pattern& pattern) {
  for (size_t i = 0; i < pattern.count; ++i) {
    pattern.needed = IsNeeded(pattern.elements[i].field) ? i + 1 : pattern.needed;
  }
  const bool dated = HasField(pattern, Field::kMoment) ||
                     (HasField(pattern, Field::kDate) && HasField(pattern, Field::kTime));
  return dated && (HasField(pattern, Field::kRequest) || HasField(pattern, Field::kUrl));
}

// --- Splitting ------------------------------------------------------------------

// How much of the text the literal takes at its front; npos when it does not stand there.
static size_t MatchLiteral(std::string_view literal, std::string_view text) {
  size_t at = 0;
  for (const char c : literal) {
    if (at == text.size() || text[at] != (c == kBlanks ? ' ' : c)) {
      return std::string_view::npos;
    }
    ++at;
    while (c == kBlanks && at < text.size() && text[at] == ' ') {
      ++at;
    }
  }
  return at;
}

// Where a field ends: what stands behind it.
struct Stop {
  std::string_view literal;
  bool last;  // of the line's fields: behind the literal a blank or a tab follows, or nothing
};

static bool EndsWord(std::string_view rest) {
  return rest.empty() || rest[0] == ' ' || rest[0] == '\t';
}

static bool StandsAt(const Stop& stop, std::string_view text) {
  const size_t size = MatchLiteral(stop.literal, text);
  return size != std::string_view::npos && (!stop.last || EndsWord(text.substr(size)));
}

static bool IsEscapedAt(std::string_view text, size_t at) {
  size_t backslashes = 0;
  while (backslashes < at && text[at - backslashes - 1] == '\\') {
    ++backslashes;
  }
  return backslashes % 2 != 0;
}

// The first quote that has the stop behind it, at skip characters: behind an own quote the stop is
// looked for, otherwise it begins with the quote.
static size_t FindQuote(std::string_view text, const Stop& stop, size_t skip) {
  size_t escaped = std::string_view::npos;
  for (size_t at = text.find('"'); at != std::string_view::npos; at = text.find('"', at + 1)) {
    if (!StandsAt(stop, text.substr(at + skip))) {
      continue;
    }
    if (!IsEscapedAt(text, at)) {
      return at;
    }
    escaped = std::min(escaped, at);
  }
  return escaped;
}

static size_t FindWordEnd(std::string_view text) {
  return std::min(text.find_first_of(" \t"), text.size());
}

// Whether servers write such a field between blanks with blanks in it.
static bool MayHoldBlanks(Field field) {
  return field == Field::kUser || field == Field::kMoment || field == Field::kRequest ||
         field == Field::kReferrer || field == Field::kAgent;
}

static size_t FindPlain(Field field, std::string_view text, const Stop& stop) {
  if (stop.literal.empty()) {
    return FindWordEnd(text);
  }
  const char first = stop.literal[0] == kBlanks ? ' ' : stop.literal[0];
  for (size_t at = text.find(first); at != std::string_view::npos; at = text.find(first, at + 1)) {
    // A list of upstream servers holds blanks behind its commas.
    const bool in_list = first == ' ' && at > 0 && text[at - 1] == ',';
    if (!in_list && StandsAt(stop, text.substr(at))) {
      return at;
    }
    if (!in_list && stop.literal[0] == ' ' && !MayHoldBlanks(field)) {
      break;
    }
  }
  return std::string_view::npos;
}

// That is not escaped; npos when there is none.
static size_t FindFirstQuote(std::string_view text) {
  size_t at = text.find('"');
  while (at != std::string_view::npos && IsEscapedAt(text, at)) {
    at = text.find('"', at + 1);
  }
  return at;
}

// The last place before the first quote where the stop, which ends with a bracket, stands.
static size_t FindAfterUser(std::string_view text, const Stop& stop) {
  const std::string_view before = text.substr(0, FindFirstQuote(text));
  for (size_t at = before.rfind('['); at != std::string_view::npos && at > 0;
       at = before.rfind('[', at - 1)) {
    const size_t from = at + 1 - std::min(at + 1, stop.literal.size());
    if (StandsAt(stop, text.substr(from))) {
      return from;
    }
  }
  return std::string_view::npos;
}

static size_t FindEnd(Field field, std::string_view text, const Stop& stop) {
  if (stop.literal.starts_with('"')) {
    return FindQuote(text, stop, 0);
  }
  if (field == Field::kUser && stop.literal.ends_with('[')) {
    const size_t bracketed = FindAfterUser(text, stop);
    // Lines of no such layout hold many blanks, and often no bracket.
    if (bracketed != std::string_view::npos || text.find('[') == std::string_view::npos) {
      return bracketed;
    }
  }
  return FindPlain(field, text, stop);
}

// Takes one field off the front of the line.
static std::string_view TakeValue(Field field, std::string_view& rest, const Stop& stop, bool may_end) {
  if (rest.starts_with('"') && !stop.literal.starts_with('"')) {
    const std::string_view inner = rest.substr(1);
    const size_t quote = FindQuote(inner, stop, 1);
    if (quote != std::string_view::npos) {
      rest = inner.substr(quote + 1);
      return inner.substr(0, quote);
    }
  }
  size_t end = FindEnd(field, rest, stop);
  const bool quoted = stop.literal.starts_with('"');
  if (end == std::string_view::npos && (!may_end || (!quoted && FindWordEnd(rest) != rest.size()))) {
    return {};
  }
  end = std::min(end, rest.size());
  const std::string_view value = rest.substr(0, end);
  rest.remove_prefix(end);
  return value;
}

bool SplitByPattern(const Pattern& pattern, std::string_view line, LineFields& fields, SplitStop& stop) {
  std::string_view rest = line;
  for (stop.fits = 0; stop.fits < pattern.count; ++stop.fits) {
    stop.at = rest.data();
    const size_t skip = MatchLiteral(LiteralBefore(pattern, stop.fits), rest);
    if (skip == std::string_view::npos) {
      return rest.empty() && stop.fits >= pattern.needed;
    }
    rest.remove_prefix(skip);
    stop.at = rest.data();
    const Stop end = {LiteralBefore(pattern, stop.fits + 1), stop.fits + 1 == pattern.count};
    const Field field = pattern.elements[stop.fits].field;
    const std::string_view value = TakeValue(field, rest, end, stop.fits + 1 >= pattern.needed);
    if (value.data() == nullptr) {
      return false;
    }
    if (field != Field::kIgnored && (fields[field].data() == nullptr || fields[field] == "-")) {
      fields[field] = value;
    }
  }
  stop.at = rest.data();
  const size_t end = MatchLiteral(LiteralBefore(pattern, stop.fits), rest);
  return rest.empty() || end != std::string_view::npos;
}
