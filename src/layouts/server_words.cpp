#include "layouts/server_words.h"

#include <algorithm>
#include <span>

#include "base/text.h"

struct Word {
  std::string_view name;
  Field field;
};

// nginx's variables, and some more for the layouts that Orvellis knows itself.
static constexpr Word kNginxWords[] = {
    {"remote_addr", Field::kHost},
    {"realip_remote_addr", Field::kHost},
    {"http_x_forwarded_for", Field::kHost},
    {"http_x_real_ip", Field::kHost},
    {"proxy_add_x_forwarded_for", Field::kHost},
    {"proxy_protocol_addr", Field::kHost},
    {"the_real_ip", Field::kHost},
    {"http_cf_connecting_ip", Field::kHost},
    {"remote_user", Field::kUser},
    {"server_name", Field::kSite},
    {"host", Field::kSite},
    {"http_host", Field::kSite},
    {"time_local", Field::kMoment},
    {"time_iso8601", Field::kMoment},
    {"msec", Field::kMoment},
    {"date", Field::kDate},
    {"time", Field::kTime},
    {"request", Field::kRequest},
    {"request_uri", Field::kUrl},
    {"uri", Field::kUrl},
    {"document_uri", Field::kUrl},
    {"args", Field::kQuery},
    {"query_string", Field::kQuery},
    {"status", Field::kStatus},
    {"body_bytes_sent", Field::kBytes},
    {"bytes_sent", Field::kBytes},
    {"http_referer", Field::kReferrer},
    {"http_user_agent", Field::kAgent},
    {"request_method", Field::kMethod},
    {"server_protocol", Field::kProtocol},
    {"ssl_protocol", Field::kTls},
    {"request_time", Field::kTakenSeconds},
    {"request_processing_time", Field::kTakenSeconds},
    {"target_processing_time", Field::kTakenThen},
    {"response_processing_time", Field::kTakenLast},
    {"time_taken", Field::kTakenByForm},
    {"taken_milliseconds", Field::kTakenMilliseconds},
    {"taken_microseconds", Field::kTakenMicroseconds},
};

static constexpr Word kApacheWords[] = {
    {"h", Field::kHost},         {"a", Field::kHost},     {"u", Field::kUser},
    {"v", Field::kSite},         {"V", Field::kSite},     {"r", Field::kRequest},
    {"U", Field::kUrl},          {"q", Field::kQuery},    {"s", Field::kStatus},
    {"b", Field::kBytes},        {"B", Field::kBytes},    {"O", Field::kBytes},
    {"m", Field::kMethod},       {"H", Field::kProtocol}, {"D", Field::kTakenMicroseconds},
    {"T", Field::kTakenSeconds},
};

// Of %{name}i.
static constexpr Word kApacheHeaders[] = {
    {"referer", Field::kReferrer},     {"user-agent", Field::kAgent}, {"host", Field::kSite},
    {"x-forwarded-for", Field::kHost}, {"x-real-ip", Field::kHost},   {"x-client-ip", Field::kHost},
};

static constexpr Word kHaproxyWords[] = {
    {"ci", Field::kHost},
    {"tr", Field::kMoment},
    {"trg", Field::kMoment},
    {"trl", Field::kMoment},
    {"t", Field::kMoment},
    {"T", Field::kMoment},
    {"Tl", Field::kMoment},
    {"Ts", Field::kMoment},
    {"ST", Field::kStatus},
    {"B", Field::kBytes},
    {"r", Field::kRequest},
    {"HU", Field::kUrl},
    {"HP", Field::kUrl},
    {"HQ", Field::kQuery},
    {"HPO", Field::kUrl},
    {"HM", Field::kMethod},
    {"HV", Field::kProtocol},
    {"sslv", Field::kTls},
    {"Ta", Field::kTakenMilliseconds},
    {"Tt", Field::kTakenMilliseconds},
};

// Of %[...], and without an argument.
static constexpr Word kHaproxyFetches[] = {
    {"src", Field::kHost},
    {"status", Field::kStatus},
    {"method", Field::kMethod},
    {"ssl_fc_protocol", Field::kTls},
};

static constexpr Word kSquidWords[] = {
    {">a", Field::kHost},
    {">A", Field::kHost},
    {"un", Field::kUser},
    {"ul", Field::kUser},
    {"ts", Field::kMoment},
    {"tl", Field::kMoment},
    {"tg", Field::kMoment},
    {"ru", Field::kUrl},
    {">ru", Field::kUrl},
    {"rp", Field::kUrl},
    {">rp", Field::kUrl},
    {"Hs", Field::kStatus},
    {">Hs", Field::kStatus},
    {"<st", Field::kBytes},
    {"rm", Field::kMethod},
    {">rm", Field::kMethod},
    {"rv", Field::kProtocol},
    {">rv", Field::kProtocol},
    {"tr", Field::kTakenMilliseconds},
};

static Field FieldOf(std::span<const Word> words, std::string_view name) {
  for (const Word& word : words) {
    if (word.name == name) {
      return word.field;
    }
  }
  return Field::kIgnored;
}

// What is left of the words.
struct WordReader {
  std::string_view rest;

  bool Take(std::string_view text) {
    const bool there = rest.starts_with(text);
    rest.remove_prefix(there ? text.size() : 0);
    return there;
  }

  bool TakeIgnoringCase(std::string_view text) {
    const bool there = BeginsWithIgnoreCase(rest, text);
    rest.remove_prefix(there ? text.size() : 0);
    return there;
  }

  template <typename Belongs>
  std::string_view TakeWhile(Belongs belongs) {
    const auto end = std::find_if_not(rest.begin(), rest.end(), belongs);
    const std::string_view taken = rest.substr(0, static_cast<size_t>(end - rest.begin()));
    rest.remove_prefix(taken.size());
    return taken;
  }

  // What stands before the character, which is taken too; all when there is none.
  std::string_view TakeUpTo(char c) {
    const std::string_view taken = rest.substr(0, rest.find(c));
    rest.remove_prefix(std::min(taken.size() + 1, rest.size()));
    return taken;
  }
};

static bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

static bool IsNameCharacter(char c) {
  return IsLetterAscii(c) || IsDigitAscii(c) || c == '_';
}

// How the servers name the port of a client behind its address: addresses of IPv6 hold colons
// and stand without brackets, so that both are one field.
static constexpr std::string_view kClientPorts[] = {":%cp",
                                                    ":%{remote}p",
                                                    ":$remote_port",
                                                    ":${remote_port}",
                                                    ":$realip_remote_port",
                                                    ":$proxy_protocol_port"};

static bool AddClient(Pattern& pattern, WordReader& reader) {
  for (const std::string_view port : kClientPorts) {
    pattern.client_port = reader.Take(port) || pattern.client_port;
  }
  return AddField(pattern, Field::kHost);
}

static bool AddWord(Pattern& pattern, Field field, WordReader& reader) {
  return field == Field::kHost ? AddClient(pattern, reader) : AddField(pattern, field);
}

// --- What configurations put around the words -------------------------------------

// One argument of a directive: a word, or a text between quotes, in which a backslash masks a quote.
struct Argument {
  std::string_view text;
  char quote;  // '\0': none
};

// Blanks and comments.
static void SkipSpace(WordReader& reader) {
  for (reader.TakeWhile(IsSpace); reader.rest.starts_with('#'); reader.TakeWhile(IsSpace)) {
    reader.TakeUpTo('\n');
  }
}

static Argument TakeArgument(WordReader& reader) {
  SkipSpace(reader);
  const char quote = reader.rest.empty() ? '\0' : reader.rest[0];
  if (quote != '"' && quote != '\'') {
    return {reader.TakeWhile([](char c) { return !IsSpace(c); }), '\0'};
  }
  reader.rest.remove_prefix(1);
  size_t end = 0;
  while (end < reader.rest.size() && reader.rest[end] != quote) {
    end += reader.rest[end] == '\\' ? 2 : 1;
  }
  const std::string_view text = reader.rest.substr(0, end);
  reader.rest.remove_prefix(std::min(end + 1, reader.rest.size()));
  return {text, quote};
}

static bool AddMasked(Pattern& pattern, WordReader& reader) {
  if (!reader.Take("\\") || reader.rest.empty()) {
    return AddText(pattern, "\\");
  }
  if (reader.Take("\n") || reader.Take("\r\n")) {
    return true;  // a line goes on in the next one
  }
  const char c = reader.rest[0];
  reader.rest.remove_prefix(1);
  const char text = c == 't' ? '\t' : c;
  const bool known = c == 't' || c == '"' || c == '\'' || c == '\\' || c == ' ';
  return known ? AddText(pattern, {&text, 1}) : AddText(pattern, "\\") && AddText(pattern, {&text, 1});
}

// --- nginx ------------------------------------------------------------------------

static bool AddNginxVariable(Pattern& pattern, WordReader& reader) {
  const bool braced = reader.Take("{");
  const std::string_view name = reader.TakeWhile(IsNameCharacter);
  if (braced) {
    reader.Take("}");
  }
  return name.empty() ? AddText(pattern, "$") : AddWord(pattern, FieldOf(kNginxWords, name), reader);
}

static bool AddNginxText(Pattern& pattern, std::string_view text) {
  WordReader reader = {text};
  bool fits = true;
  while (fits && !reader.rest.empty()) {
    if (reader.Take("$")) {
      fits = AddNginxVariable(pattern, reader);
    } else if (reader.rest[0] == '\\') {
      fits = AddMasked(pattern, reader);
    } else {
      fits = AddText(pattern, reader.TakeWhile([](char c) { return c != '$' && c != '\\'; }));
    }
  }
  return fits;
}

// The texts of a directive, one after the other.
static bool AddNginxTexts(Pattern& pattern, WordReader& reader) {
  bool fits = true;
  for (SkipSpace(reader); fits && !reader.rest.empty() && reader.rest[0] != ';'; SkipSpace(reader)) {
    const Argument argument = TakeArgument(reader);
    std::string_view text = argument.text;
    text.remove_suffix(argument.quote == '\0' && text.ends_with(';') ? 1 : 0);
    fits = text.starts_with("escape=") || AddNginxText(pattern, text);
  }
  return fits;
}

static bool CompileNginx(std::string_view text, Pattern& pattern) {
  WordReader reader = {text};
  SkipSpace(reader);
  if (reader.Take("log_format")) {
    TakeArgument(reader);  // its name
    return AddNginxTexts(pattern, reader);
  }
  const bool quoted = reader.rest.starts_with('\'') || reader.rest.starts_with("escape=");
  return quoted ? AddNginxTexts(pattern, reader) : AddNginxText(pattern, text);
}

// --- Apache -----------------------------------------------------------------------

// Whether a format of strftime holds one of these conversions.
static bool Holds(std::string_view format, std::string_view conversions) {
  bool holds = false;
  for (WordReader reader = {format}; !holds && !reader.rest.empty();) {
    reader.TakeUpTo('%');
    holds = !reader.rest.empty() && conversions.find(reader.rest[0]) != std::string_view::npos;
    reader.rest.remove_prefix(std::min<size_t>(1, reader.rest.size()));
  }
  return holds;
}

static Field FieldOfFormat(std::string_view format) {
  const bool dated = Holds(format, "cdDeFjs+");
  const bool timed = Holds(format, "cHIkrRsTX+");
  return dated ? (timed ? Field::kMoment : Field::kDate) : timed ? Field::kTime : Field::kIgnored;
}

// %{...}t: a count since 1970, or a format of strftime, whose date and time may stand apart.
static bool AddApacheTime(Pattern& pattern, std::string_view format) {
  for (const std::string_view start : {"begin:", "end:"}) {
    format.remove_prefix(format.starts_with(start) ? start.size() : 0);
  }
  if (format.empty()) {
    return AddText(pattern, "[") && AddField(pattern, Field::kMoment) && AddText(pattern, "]");
  }
  const bool year_first = format.starts_with("%Y") || format.starts_with("%F");
  if (year_first && format.find(' ') != std::string_view::npos) {
    return AddField(pattern, Field::kDate) && AddText(pattern, " ") && AddField(pattern, Field::kTime);
  }
  const bool count = format == "sec" || format == "msec" || format == "usec";
  return AddField(pattern, count ? Field::kMoment : FieldOfFormat(format));
}

// Of %{unit}T.
static Field TakenField(std::string_view unit) {
  return unit == "ms"   ? Field::kTakenMilliseconds
         : unit == "us" ? Field::kTakenMicroseconds
         : unit == "s"  ? Field::kTakenSeconds
                        : Field::kIgnored;
}

static Field HeaderField(std::string_view name) {
  for (const Word& word : kApacheHeaders) {
    if (EqualIgnoreCase(word.name, name)) {
      return word.field;
    }
  }
  return Field::kIgnored;
}

// What stands behind a "%".
static bool AddApacheWord(Pattern& pattern, WordReader& reader) {
  if (reader.Take("%")) {
    return AddText(pattern, "%");
  }
  reader.TakeWhile([](char c) { return IsDigitAscii(c) || c == ',' || c == '!' || c == '<' || c == '>'; });
  const bool named = reader.Take("{");
  const std::string_view name = named ? reader.TakeUpTo('}') : std::string_view{};
  reader.Take("^");
  const std::string_view letter = reader.rest.substr(0, 1);
  reader.rest.remove_prefix(letter.size());
  if (letter == "t") {
    return AddApacheTime(pattern, name);
  }
  if (letter == "i") {
    return AddField(pattern, HeaderField(name));
  }
  if (named && letter == "T") {
    return AddField(pattern, TakenField(name));
  }
  if (named && (letter == "x" || letter == "c") && name == "SSL_PROTOCOL") {
    return AddField(pattern, Field::kTls);
  }
  const bool plain = !named || letter == "a";
  return AddWord(pattern, plain ? FieldOf(kApacheWords, letter) : Field::kIgnored, reader);
}

static bool AddApacheText(Pattern& pattern, std::string_view text) {
  WordReader reader = {text};
  bool fits = true;
  while (fits && !reader.rest.empty()) {
    if (reader.Take("%")) {
      fits = AddApacheWord(pattern, reader);
    } else if (reader.rest[0] == '\\') {
      fits = AddMasked(pattern, reader);
    } else {
      fits = AddText(pattern, reader.TakeWhile([](char c) { return c != '%' && c != '\\'; }));
    }
  }
  return fits;
}

static bool CompileApache(std::string_view text, Pattern& pattern) {
  WordReader reader = {text};
  reader.TakeWhile(IsSpace);
  if (reader.TakeIgnoringCase("LogFormat")) {
    return AddApacheText(pattern, TakeArgument(reader).text);
  }
  if (reader.TakeIgnoringCase("CustomLog")) {
    TakeArgument(reader);  // its file
    return AddApacheText(pattern, TakeArgument(reader).text);
  }
  if (reader.Take("accesslog.format")) {  // lighttpd's words are Apache's
    TakeArgument(reader);                 // "=", or "+="
    return AddApacheText(pattern, TakeArgument(reader).text);
  }
  return AddApacheText(pattern, text);
}

// --- HAProxy ----------------------------------------------------------------------

// What stands behind a "%": {flags}, then a name, or an expression in brackets.
static bool AddHaproxyWord(Pattern& pattern, WordReader& reader) {
  if (reader.Take("%")) {
    return AddText(pattern, "%");
  }
  const std::string_view flags = reader.Take("{") ? reader.TakeUpTo('}') : std::string_view{};
  const bool expression = reader.Take("[");
  const std::string_view name = expression ? reader.TakeUpTo(']') : reader.TakeWhile(IsNameCharacter);
  if (name == "hr" || name == "hs" || name == "o") {
    return true;  // headers, where some are captured, go with what stands before them
  }
  const Field field = FieldOf(expression ? std::span<const Word>(kHaproxyFetches) : kHaproxyWords, name);
  const std::string_view quote = flags.find("+Q") != std::string_view::npos ? "\"" : "";
  return AddText(pattern, quote) && AddWord(pattern, field, reader) && AddText(pattern, quote);
}

static bool CompileHaproxy(std::string_view text, Pattern& pattern) {
  WordReader reader = {text};
  reader.TakeWhile(IsSpace);
  if (reader.Take("log-format")) {
    reader.rest = TakeArgument(reader).text;
  }
  bool fits = true;
  while (fits && !reader.rest.empty()) {
    if (reader.Take("%")) {
      fits = AddHaproxyWord(pattern, reader);
    } else if (reader.rest[0] == '\\') {
      fits = AddMasked(pattern, reader);
    } else {
      fits = AddText(pattern, reader.TakeWhile([](char c) { return c != '%' && c != '\\'; }));
    }
  }
  return fits;
}

// --- Squid ------------------------------------------------------------------------

// Blanks fill a number up to its width, in front.
static bool AddWidth(Pattern& pattern, std::string_view width) {
  const bool filled =
      !width.empty() && width[0] != '0' && LiteralBefore(pattern, pattern.count).ends_with(' ');
  return !filled || AddText(pattern, " ");
}

// %{...}tl: a format of strftime; %{...}>h: a header.
static Field FieldOfSquid(std::string_view name, std::string_view argument) {
  if (name == ">h") {
    return HeaderField(argument);
  }
  const Field field = FieldOf(kSquidWords, name);
  return field == Field::kMoment && !argument.empty() ? FieldOfFormat(argument) : field;
}

// What stands behind a "%": how it is quoted, its width, {argument}, and its name.
static bool AddSquidWord(Pattern& pattern, WordReader& reader) {
  if (reader.Take("%")) {
    return AddText(pattern, "%");
  }
  reader.TakeWhile([](char c) { return std::string_view("\"'[#/-").find(c) != std::string_view::npos; });
  const std::string_view width = reader.TakeWhile([](char c) { return IsDigitAscii(c) || c == '.'; });
  const std::string_view argument = reader.Take("{") ? reader.TakeUpTo('}') : std::string_view{};
  const std::string_view name =
      reader.TakeWhile([](char c) { return IsNameCharacter(c) || c == '<' || c == '>'; });
  return AddWidth(pattern, width) && AddWord(pattern, FieldOfSquid(name, argument), reader);
}

static bool CompileSquid(std::string_view text, Pattern& pattern) {
  WordReader reader = {text};
  reader.TakeWhile(IsSpace);
  if (reader.Take("logformat")) {
    TakeArgument(reader);  // its name
    reader.TakeWhile(IsSpace);
  }
  bool fits = true;
  while (fits && !reader.rest.empty()) {
    fits = reader.Take("%") ? AddSquidWord(pattern, reader)
                            : AddText(pattern, reader.TakeWhile([](char c) { return c != '%'; }));
  }
  return fits;
}

// --- Whose words ------------------------------------------------------------------

static bool HasVariable(std::string_view text) {
  for (size_t at = text.find('$'); at != std::string_view::npos; at = text.find('$', at + 1)) {
    if (at + 1 < text.size() && (IsLetterAscii(text[at + 1]) || text[at + 1] == '{')) {
      return true;
    }
  }
  return false;
}

Words WhoseWords(std::string_view text) {
  const auto holds = [text](std::string_view part) { return text.find(part) != std::string_view::npos; };
  if (HasVariable(text)) {
    return Words::kNginx;
  }
  if (holds("%>a") || holds(">Hs") || holds("%<st") || holds("%ru")) {
    return Words::kSquid;
  }
  if (holds("%ci") || holds("%ST") || holds("%tr") || holds("%Ts") || holds("%HU") || holds("%[") ||
      holds("log-format")) {
    return Words::kHaproxy;
  }
  return holds("%") ? Words::kApache : Words::kNone;
}

bool CompileWords(std::string_view text, Pattern& pattern) {
  while (!text.empty() && IsSpace(text.back())) {
    text.remove_suffix(1);
  }
  ClearPattern(pattern);
  switch (WhoseWords(text)) {
    case Words::kNginx:
      return CompileNginx(text, pattern) && EndPattern(pattern);
    case Words::kApache:
      return CompileApache(text, pattern) && EndPattern(pattern);
    case Words::kHaproxy:
      return CompileHaproxy(text, pattern) && EndPattern(pattern);
    case Words::kSquid:
      return CompileSquid(text, pattern) && EndPattern(pattern);
    default:
      return false;
  }
}
