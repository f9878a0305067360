#include "layouts/given_keys.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>

// Stands for a field where the words are written as a line.
static constexpr char kMark = '\x02';

// The words as a line would be. A blank stands for any number of them.
struct SampleLine {
  std::array<char, kLongestLiterals + kMostElements> text;
  size_t size = 0;
};

// False when the words hold what could be taken for a mark.
static bool WriteSample(const Pattern& words, SampleLine& sample) {
  for (size_t i = 0; i <= words.count; ++i) {
    const std::string_view literal = LiteralBefore(words, i);
    sample.size += literal.copy(sample.text.data() + sample.size, literal.size());
    sample.text[sample.size++] = kMark;
  }
  --sample.size;  // behind the last field there is none
  const auto marks = std::count(sample.text.begin(), sample.text.begin() + sample.size, kMark);
  return static_cast<size_t>(marks) == words.count;
}

// Literals have a character of their own for any number of blanks.
static bool IsBlank(char c) {
  return static_cast<unsigned char>(c) <= ' ' && c != kMark;
}

// What is left of the sample.
struct SampleReader {
  std::string_view rest;
  std::span<const PatternElement> fields;  // whose marks stand there

  bool Take(char c) {
    while (!rest.empty() && IsBlank(rest[0])) {
      rest.remove_prefix(1);
    }
    const bool there = rest.starts_with(c);
    rest.remove_prefix(there ? 1 : 0);
    return there;
  }

  std::string_view TakeSize(size_t size) {
    const std::string_view taken = rest.substr(0, size);
    rest.remove_prefix(taken.size());
    return taken;
  }

  // Takes the fields whose marks the text holds.
  std::span<const PatternElement> TakeFields(std::string_view text) {
    const auto marks = static_cast<size_t>(std::count(text.begin(), text.end(), kMark));
    const std::span<const PatternElement> taken = fields.first(marks);
    fields = fields.subspan(marks);
    return taken;
  }
};

// Up to the next quote that is not escaped, which is taken too; false when there is none.
static bool TakeText(SampleReader& reader, std::string_view& text) {
  size_t end = 0;
  while (end < reader.rest.size() && reader.rest[end] != '"') {
    end += reader.rest[end] == '\\' ? 2 : 1;
  }
  if (end >= reader.rest.size()) {
    return false;
  }
  text = reader.TakeSize(end);
  reader.TakeSize(1);
  return true;
}

static size_t CountTold(std::span<const PatternElement> fields) {
  return static_cast<size_t>(std::count_if(
      fields.begin(), fields.end(), [](const PatternElement& element) { return !IsMinor(element.field); }));
}

static std::string_view WithoutBrackets(std::string_view text) {
  return text.starts_with('[') && text.ends_with(']') ? text.substr(1, text.size() - 2) : text;
}

static bool IsDateAndTime(std::string_view text, std::span<const PatternElement> fields) {
  return fields.size() >= 2 && fields[0].field == Field::kDate && fields[1].field == Field::kTime &&
         (text.starts_with("\x02T\x02") || text.starts_with("\x02 \x02"));
}

// Behind a time, its fraction and its zone may stand.
static std::optional<Field> TimeOf(std::string_view text, std::span<const PatternElement> fields) {
  const size_t told = CountTold(fields);
  if (told == 2 && IsDateAndTime(text, fields)) {
    return Field::kMoment;
  }
  const bool time = fields[0].field == Field::kMoment || fields[0].field == Field::kTime;
  return time && told == 1 && text.starts_with(kMark) ? std::optional(fields[0].field) : std::nullopt;
}

// What a text with these fields means; nothing where they cannot be told apart by looking at it.
static std::optional<Field> MeaningOf(std::string_view text, std::span<const PatternElement> fields) {
  if (text.size() == 1 && !fields.empty()) {
    return fields[0].field;
  }
  if (CountTold(fields) == 0) {
    return Field::kIgnored;
  }
  const bool request = text == "\x02 \x02 \x02" && fields[1].field == Field::kUrl && CountTold(fields) == 1;
  return request ? Field::kRequest : TimeOf(WithoutBrackets(text), fields);
}

static bool IsNumber(Field field) {
  return field == Field::kStatus || field == Field::kBytes || field == Field::kMoment || IsMinor(field);
}

// An object or a list, behind its first bracket, with all that is in it.
static bool TakeNested(SampleReader& reader) {
  std::string_view text;
  size_t depth = 1;
  size_t told = 0;
  while (depth > 0 && !reader.rest.empty()) {
    const char c = reader.TakeSize(1)[0];
    if (c == '"' && !TakeText(reader, text)) {
      return false;
    }
    told += CountTold(reader.TakeFields(c == '"' ? text : std::string_view(&c, 1)));
    depth += c == '{' || c == '[' ? 1 : 0;
    depth -= c == '}' || c == ']' ? 1 : 0;
  }
  return depth == 0 && told == 0;
}

static std::optional<Field> TakeValue(SampleReader& reader) {
  std::string_view text;
  if (reader.Take('"')) {
    return TakeText(reader, text) ? MeaningOf(text, reader.TakeFields(text)) : std::nullopt;
  }
  if (reader.Take('{') || reader.Take('[')) {
    return TakeNested(reader) ? std::optional(Field::kIgnored) : std::nullopt;
  }
  const auto ends = [](char c) { return c == ',' || c == '}' || IsBlank(c); };
  const std::string_view rest = reader.rest;
  text = reader.TakeSize(static_cast<size_t>(std::find_if(rest.begin(), rest.end(), ends) - rest.begin()));
  const std::optional<Field> field = MeaningOf(text, reader.TakeFields(text));
  return field && IsNumber(*field) ? field : std::nullopt;
}

// Blanks of any number in a name are none of a line.
static bool AddKey(GivenKeys& given, std::string_view name, Field field) {
  const bool plain = std::all_of(name.begin(), name.end(), [](char c) { return c == ' ' || !IsBlank(c); });
  if (given.count == kMostGivenKeys || name.size() > kLongestGivenKey || !plain ||
      PlaceOfKey(given, name, 0) < given.count) {
    return false;
  }
  GivenKey& key = given.keys[given.count++];
  key.size = static_cast<uint8_t>(name.copy(key.name.data(), name.size()));
  key.field = field;
  return true;
}

static bool TakeMember(SampleReader& reader, GivenKeys& given) {
  std::string_view name;
  if (!reader.Take('"') || !TakeText(reader, name) || !reader.TakeFields(name).empty() || !reader.Take(':')) {
    return false;
  }
  const std::optional<Field> field = TakeValue(reader);
  return field && AddKey(given, name, *field);
}

// Nothing that counts may be left behind the object.
static bool TakeObject(SampleReader& reader, GivenKeys& given) {
  bool more = reader.Take('{');
  while (more && TakeMember(reader, given)) {
    more = reader.Take(',');
  }
  return !more && reader.Take('}') && CountTold(reader.fields) == 0;
}

void FindGivenKeys(const Pattern& words, GivenKeys& given) {
  SampleLine sample;
  given.count = 0;
  if (!WriteSample(words, sample)) {
    return;
  }
  SampleReader reader = {{sample.text.data(), sample.size}, {words.elements.data(), words.count}};
  if (!TakeObject(reader, given)) {
    given.count = 0;
  }
}

size_t PlaceOfKey(const GivenKeys& given, std::string_view name, size_t from) {
  for (size_t i = 0; i < given.count; ++i) {
    const size_t place = from + i < given.count ? from + i : from + i - given.count;
    const GivenKey& key = given.keys[place];
    if (key.size == name.size() && memcmp(key.name.data(), name.data(), name.size()) == 0) {
      return place;
    }
  }
  return given.count;
}
