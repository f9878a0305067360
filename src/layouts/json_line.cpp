#include "layouts/json_line.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"
#include "layouts/moment.h"

// What is left of the line.
struct JsonReader {
  const char* next;
  const char* end;
};

static bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

static char SkipBlanks(JsonReader& reader) {
  while (reader.next != reader.end && IsBlank(*reader.next)) {
    ++reader.next;
  }
  return reader.next == reader.end ? '\0' : *reader.next;
}

static const char* FindQuote(const char* from, const char* end) {
  const auto* const found = static_cast<const char*>(memchr(from, '"', static_cast<size_t>(end - from)));
  return found == nullptr ? end : found;
}

static bool IsEscapedQuote(const char* start, const char* quote) {
  const char* first = quote;
  while (first != start && first[-1] == '\\') {
    --first;
  }
  return (quote - first) % 2 != 0;
}

// Reads the text that begins behind the quote at the reader; to the end of the line when it has none.
static std::string_view TakeText(JsonReader& reader) {
  const char* const start = reader.next + 1;
  const char* quote = FindQuote(start, reader.end);
  while (quote != reader.end && quote[-1] == '\\' && IsEscapedQuote(start, quote)) {
    quote = FindQuote(quote + 1, reader.end);
  }
  reader.next = quote == reader.end ? quote : quote + 1;
  return {start, static_cast<size_t>(quote - start)};
}

// A number or a word.
static std::string_view TakeWord(JsonReader& reader) {
  const char* const start = reader.next;
  while (reader.next != reader.end && *reader.next != ',' && *reader.next != '}' && *reader.next != ']' &&
         !IsBlank(*reader.next)) {
    ++reader.next;
  }
  return {start, static_cast<size_t>(reader.next - start)};
}

// Passes over an object or a list with all that is in it.
static void SkipNested(JsonReader& reader) {
  size_t depth = 0;
  while (reader.next != reader.end) {
    const char c = *reader.next;
    if (c == '"') {
      TakeText(reader);
      continue;
    }
    ++reader.next;
    depth += c == '{' || c == '[';
    if ((c == '}' || c == ']') && --depth == 0) {
      return;
    }
  }
}

[[gnu::always_inline]] static inline KeyMeaning RecallMeaning(std::string_view key, size_t place,
                                                              KeyMemory& memory) {
  if (place >= KeyMemory::kPlaces) {
    return MeaningOfKey(key);
  }
  KeyMemory::Place& last = memory.places[place];
  if (last.size == key.size() && memcmp(last.key.data(), key.data(), key.size()) == 0) {
    return last.meaning;
  }
  last.meaning = MeaningOfKey(key);
  last.size =
      key.size() <= last.key.size() ? static_cast<uint8_t>(key.copy(last.key.data(), key.size())) : 255;
  return last.meaning;
}

struct JsonFields {
  LineFields& fields;
  std::array<uint16_t, kFieldCount> ranks;
};

// Durations are called as times are: a time is as long as one, and begins with a digit. Schemes are called as
// protocols are, which have a version.
static bool MayBe(Field field, std::string_view value) {
  switch (field) {
    case Field::kMoment:
      return value.size() >= 9 && IsDigitAscii(value[0]);
    case Field::kProtocol:
      return value.find_first_of("0123456789") != std::string_view::npos;
    default:
      return true;
  }
}

// What a request may have nothing of and be one all the same.
static bool MayBeNothing(Field field) {
  return field == Field::kRequest || field == Field::kUrl || field == Field::kStatus;
}

// Apache's "%t" brings its brackets.
static std::string_view WithoutBrackets(std::string_view time) {
  return time.starts_with('[') && time.ends_with(']') ? time.substr(1, time.size() - 2) : time;
}

// Some write every number with a fraction, though it is none: "200.0".
static std::string_view WithoutFraction(std::string_view number) {
  const size_t point = number.find('.');
  const bool none = point != 0 && point < number.size() - 1 &&
                    number.find_first_not_of('0', point + 1) == std::string_view::npos;
  return none ? number.substr(0, point) : number;
}

static std::string_view Trimmed(Field field, std::string_view value) {
  switch (field) {
    case Field::kMoment:
      return WithoutBrackets(value);
    case Field::kStatus:
    case Field::kBytes:
      return WithoutFraction(value);
    default:
      return value;
  }
}

// A request that the server could not read, or that it did not answer, is there all the same.
static void TakeNothing(JsonFields& taken, Field field, std::string_view value) {
  if (MayBeNothing(field) && taken.fields[field].data() == nullptr) {
    taken.fields[field] = value.substr(0, 0);
  }
}

// Seconds since 1970 have nine digits and more before the point.
static bool IsBrief(Field field, std::string_view value) {
  const size_t digits = std::min(value.find_first_not_of("0123456789"), value.size());
  const bool ends = digits == value.size() || value[digits] == '.';
  return field == Field::kTakenByForm ? digits == value.size() : ends && digits < 9;
}

static Field FieldOf(const KeyMeaning& meaning, std::string_view value) {
  return meaning.brief != Field::kIgnored && IsBrief(meaning.field, value) ? meaning.brief : meaning.field;
}

static void Take(JsonFields& taken, const KeyMeaning& meaning, std::string_view value, bool escaped) {
  if (value.empty() || value == "-") {
    TakeNothing(taken, meaning.field, value);
    return;
  }
  const Field meant = FieldOf(meaning, value);
  const auto field = static_cast<size_t>(meant);
  value = Trimmed(meant, value);
  if (meant == Field::kIgnored || meaning.rank >= taken.ranks[field] || !MayBe(meant, value)) {
    return;
  }
  taken.ranks[field] = meaning.rank;
  taken.fields.texts[field] = value;
  taken.fields.escaped[field] = escaped;
}

static bool HasBackslash(std::string_view text) {
  return memchr(text.data(), '\\', text.size()) != nullptr;
}

static void TakeJsonText(JsonReader& reader, const KeyMeaning& meaning, JsonFields& taken) {
  const std::string_view text = TakeText(reader);
  if (meaning.field != Field::kIgnored) {
    Take(taken, meaning, text, HasBackslash(text));
  }
}

static void TakeJsonWord(JsonReader& reader, const KeyMeaning& meaning, JsonFields& taken) {
  const std::string_view word = TakeWord(reader);
  if (word != "true" && word != "false") {
    Take(taken, meaning, word == "null" ? word.substr(0, 0) : word, false);
  }
}

// Takes the first text of a list and passes over the rest.
static void TakeList(JsonReader& reader, const KeyMeaning& meaning, JsonFields& taken) {
  JsonReader inside = {reader.next + 1, reader.end};
  if (meaning.field != Field::kIgnored && SkipBlanks(inside) == '"') {
    TakeJsonText(inside, meaning, taken);
  }
  SkipNested(reader);
}

// Where among the objects of a line a reader is: how deep, and at what depth each of these began; 0: it is in
// none.
struct Nest {
  size_t depth = 1;
  size_t request = 0;
  size_t response = 0;
  size_t headers = 0;
  size_t tls = 0;
};

// The headers of a response, and what a visitor has sent, hold nothing.
static bool IsOpen(const Nest& nest, Holds holds) {
  return holds != Holds::kNothing && !(holds == Holds::kHeaders && nest.response != 0) &&
         !(holds == Holds::kBody && nest.request != 0);
}

static void BeginAt(size_t depth, size_t& began) {
  began = began == 0 ? depth : began;
}

static void Enter(Nest& nest, Holds holds) {
  ++nest.depth;
  if (holds == Holds::kRequest) {
    BeginAt(nest.depth, nest.request);
  } else if (holds == Holds::kResponse) {
    BeginAt(nest.depth, nest.response);
  } else if (holds == Holds::kHeaders) {
    BeginAt(nest.depth, nest.headers);
  } else if (holds == Holds::kTls) {
    BeginAt(nest.depth, nest.tls);
  }
}

static void Leave(Nest& nest) {
  for (size_t* const began : {&nest.request, &nest.response, &nest.headers, &nest.tls}) {
    *began = *began == nest.depth ? 0 : *began;
  }
  --nest.depth;
}

// Headers take no place: every visitor sends others. What tells of TLS stands in few lines' objects.
[[gnu::always_inline]] static inline KeyMeaning MeaningIn(const Nest& nest, std::string_view key,
                                                          size_t& place, KeyMemory& memory) {
  if (nest.headers != 0) {
    return MeaningOfHeader(key);
  }
  return nest.tls != 0 ? MeaningInTls(key) : RecallMeaning(key, place++, memory);
}

// Reads keys and values, whatever objects they stand in, until the end of the line or of the
// outermost object. False when there are texts without a colon behind them where keys belong, or words
// without a key before them, or that object has no end.
template <typename FindMeaning>
static bool TakeMembers(JsonReader& reader, const FindMeaning& find_meaning, JsonFields& taken) {
  bool whole = true;
  Nest nest;
  KeyMeaning meaning;
  bool keyed = false;
  for (char c = SkipBlanks(reader); c != '\0' && nest.depth > 0; c = SkipBlanks(reader)) {
    if (c == '"' && !keyed) {
      const std::string_view key = TakeText(reader);
      keyed = SkipBlanks(reader) == ':';
      reader.next += keyed ? 1 : 0;
      whole &= keyed;
      meaning = find_meaning(nest, key);
      continue;
    }
    if (c == '"') {
      TakeJsonText(reader, meaning, taken);
    } else if (c == '{' && keyed && IsOpen(nest, meaning.holds)) {
      ++reader.next;
      Enter(nest, meaning.holds);
    } else if (c == '{') {
      SkipNested(reader);
    } else if (c == '[') {
      TakeList(reader, meaning, taken);
    } else if (c == '}') {
      ++reader.next;
      Leave(nest);
    } else if (c == ',' || c == ']' || c == ':') {
      ++reader.next;
    } else {
      TakeJsonWord(reader, keyed ? meaning : KeyMeaning{}, taken);
      whole &= keyed;
    }
    keyed = false;
  }
  return whole && nest.depth == 0;
}

// Passes over the first bracket. False when there is none.
static bool BeginObject(JsonReader& reader, JsonFields& taken) {
  const bool object = SkipBlanks(reader) == '{';
  reader.next += object ? 1 : 0;
  taken.ranks.fill(kNoRank);
  return object;
}

bool SplitJson(std::string_view line, KeyMemory& memory, LineFields& fields) {
  JsonReader reader = {line.data(), line.data() + line.size()};
  JsonFields taken = {fields, {}};
  if (!BeginObject(reader, taken)) {
    return false;
  }
  size_t place = 0;
  const auto find_meaning = [&memory, &place](const Nest& nest, std::string_view key) {
    return MeaningIn(nest, key, place, memory);
  };
  TakeMembers(reader, find_meaning, taken);
  return true;
}

// --- Given keys ------------------------------------------------------------------

static bool TakeGiven(const GivenKeys& given, std::string_view key, size_t& next, KeyMeaning& meaning) {
  const size_t place = PlaceOfKey(given, key, next);
  if (place == given.count) {
    return false;
  }
  next = place + 1;
  meaning = {given.keys[place].field, static_cast<uint16_t>(place), Holds::kNothing};
  return true;
}

// A field that tells the same as another one, before which it would count.
struct Rival {
  Field field;
  Field other;
};

static constexpr Rival kRivals[] = {
    {Field::kUrl, Field::kRequest}, {Field::kQuery, Field::kRequest}, {Field::kMoment, Field::kDate}};

// Of what given keys tell no other key tells more.
static void DropRivals(JsonFields& taken) {
  const auto is_given = [&taken](Field field) {
    return taken.ranks[static_cast<size_t>(field)] < kFirstRank;
  };
  for (const Rival& rival : kRivals) {
    if (is_given(rival.other) && !is_given(rival.field)) {
      taken.fields[rival.field] = {};
    }
  }
}

// What is remembered of keys holds for all layouts, and so nothing of given ones.
bool SplitJsonByKeys(std::string_view line, const GivenKeys& given, KeyMemory& memory, LineFields& fields,
                     bool& whole) {
  JsonReader reader = {line.data(), line.data() + line.size()};
  JsonFields taken = {fields, {}};
  if (!BeginObject(reader, taken)) {
    return false;
  }
  size_t place = 0;
  size_t next = 0;
  const auto find_meaning = [&](const Nest& nest, std::string_view key) {
    KeyMeaning meaning;
    return nest.depth == 1 && TakeGiven(given, key, next, meaning) ? meaning
                                                                   : MeaningIn(nest, key, place, memory);
  };
  whole = TakeMembers(reader, find_meaning, taken);
  DropRivals(taken);
  return true;
}

// --- LTSV ------------------------------------------------------------------------

bool SplitLtsv(std::string_view line, LineFields& fields) {
  if (line.substr(0, line.find('\t')).find(':') == std::string_view::npos) {
    return false;
  }
  JsonFields taken = {fields, {}};
  taken.ranks.fill(kNoRank);
  while (!line.empty()) {
    const std::string_view word = line.substr(0, line.find('\t'));
    line.remove_prefix(std::min(line.size(), word.size() + 1));
    const size_t colon = word.find(':');
    if (colon != std::string_view::npos) {
      Take(taken, MeaningOfLabel(word.substr(0, colon)), word.substr(colon + 1), false);
    }
  }
  return true;
}

// --- Escapes --------------------------------------------------------------------

static int HexDigit(char c) {
  const char lower = ToLowerAscii(c);
  return IsDigitAscii(c) ? c - '0' : lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The character of four digits; -1 when they are none.
static int32_t ReadFourDigits(const char* text, const char* end) {
  int32_t code = 0;
  if (end - text < 4) {
    return -1;
  }
  for (int i = 0; i < 4; ++i) {
    const int digit = HexDigit(text[i]);
    if (digit < 0) {
      return -1;
    }
    code = code * 16 + digit;
  }
  return code;
}

static char* PutUtf8(char* out, int32_t code) {
  const auto put = [&out](int32_t byte) { *out++ = static_cast<char>(byte); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | code >> 6);
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | code >> 12);
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | code >> 18);
    put(0x80 | (code >> 12 & 0x3F));
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
  }
  return out;
}

// One character out of "\uXXXX", or of a pair of them; returns how many bytes were read, 0 when it
// is none that can stand in a text. It is never longer than its escape.
static size_t DecodeCharacter(const char* escape, const char* end, int32_t& code) {
  code = ReadFourDigits(escape + 2, end);
  size_t read = 6;
  if (code >= 0xD800 && code < 0xDC00) {
    const int32_t low =
        end - escape >= 12 && escape[6] == '\\' && escape[7] == 'u' ? ReadFourDigits(escape + 8, end) : -1;
    if (low < 0xDC00 || low > 0xDFFF) {
      return 0;
    }
    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
    read = 12;
  }
  const bool stray = code >= 0xDC00 && code < 0xE000;
  return code < 0x20 || code == 0x7F || stray ? 0 : read;
}

size_t DecodeJsonText(char* text, size_t size) {
  const char* const end = text + size;
  char* out = text;
  for (const char* in = text; in != end;) {
    const char next = *in == '\\' && end - in > 1 ? in[1] : '\0';
    int32_t code;
    if (next == '"' || next == '\\' || next == '/') {
      *out++ = next;
      in += 2;
    } else if (const size_t read = next == 'u' ? DecodeCharacter(in, end, code) : 0; read != 0) {
      in += read;
      out = PutUtf8(out, code);
    } else {
      *out++ = *in++;
    }
  }
  return static_cast<size_t>(out - text);
}

// --- Envelopes ------------------------------------------------------------------

std::string_view FindJsonText(std::string_view line, std::string_view key, bool& escaped) {
  JsonReader reader = {line.data(), line.data() + line.size()};
  if (SkipBlanks(reader) != '{') {
    return {};
  }
  ++reader.next;
  std::string_view last_key;
  for (char c = SkipBlanks(reader); c != '\0' && c != '}'; c = SkipBlanks(reader)) {
    if (c == '{' || c == '[') {
      SkipNested(reader);
    } else if (c != '"') {
      ++reader.next;
    } else {
      const std::string_view text = TakeText(reader);
      if (last_key.data() == nullptr && SkipBlanks(reader) == ':') {
        last_key = text;
        ++reader.next;
        continue;
      }
      if (EqualIgnoreCase(last_key, key)) {
        escaped = HasBackslash(text);
        return text;
      }
    }
    last_key = c == ',' || c == '"' || c == '{' || c == '[' ? std::string_view{} : last_key;
  }
  return {};
}
