#include "layouts/wrappers.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"
#include "layouts/json_line.h"
#include "layouts/moment.h"

static std::string_view WordOf(std::string_view text) {
  return text.substr(0, text.find(' '));
}

static std::string_view SkipBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  return text;
}

// What stands behind the first word and the blanks after it.
static std::string_view SkipWord(std::string_view text) {
  return SkipBlanks(text.substr(WordOf(text).size()));
}

// Takes off "program[12]:", behind a host or not.
static std::string_view SkipProgram(std::string_view text) {
  const std::string_view rest = SkipWord(text);
  if (text.starts_with('{')) {
    return text;
  }
  if (WordOf(text).ends_with(':')) {
    return rest;
  }
  return WordOf(rest).ends_with(':') ? SkipWord(rest) : text;
}

// "<134>"
static std::string_view SkipPriority(std::string_view text) {
  const size_t end = text.substr(0, 6).find('>');
  return text.starts_with('<') && end != std::string_view::npos ? text.substr(end + 1) : text;
}

// "Feb  2 04:05:24 "; null when there is none.
static std::string_view SkipSyslogTime(std::string_view text) {
  constexpr std::string_view kForm = "Mmm dd hh:mm:ss ";
  const bool there = text.size() > kForm.size() && IsLetterAscii(text[0]) && text[3] == ' ' &&
                     text[6] == ' ' && IsDigitAscii(text[5]) && text[9] == ':' && text[12] == ':' &&
                     text[15] == ' ';
  return there ? text.substr(kForm.size()) : std::string_view{};
}

// "1 2003-10-11T22:14:15.003Z host program 12 id [data] " without its first word.
static std::string_view SkipStructured(std::string_view text) {
  text = SkipWord(text);
  for (int words = 0; words < 4; ++words) {
    text = SkipWord(text);
  }
  const size_t end = text.starts_with('[') ? text.find("] ") : text.find(' ');
  return end == std::string_view::npos ? std::string_view{}
                                       : SkipBlanks(text.substr(end + (text[end] == ']' ? 1 : 0)));
}

static std::string_view UnwrapSyslog(std::string_view line) {
  const std::string_view text = SkipPriority(line);
  if (text.data() != line.data() && text.starts_with("1 ")) {
    return SkipStructured(SkipWord(text));
  }
  const std::string_view rest = SkipSyslogTime(text);
  return rest.data() == nullptr ? rest : SkipProgram(SkipWord(rest));
}

// Whether a container runtime has written the word, which tells where the line came from.
static bool IsOfRuntime(std::string_view word) {
  return word.starts_with("std") && (word.substr(3) == "out" || word.substr(3) == "err");
}

static std::string_view UnwrapIsoHead(std::string_view line) {
  const std::string_view text = SkipPriority(line);
  const std::string_view time = WordOf(text);
  if (time.size() < 19 || time[4] != '-' || ReadMoment(time).form != MomentForm::kIso) {
    return {};
  }
  const std::string_view rest = SkipWord(text);
  return IsOfRuntime(WordOf(rest)) ? SkipWord(SkipWord(rest)) : SkipProgram(SkipWord(rest));
}

// No client is called like the beginning of a head: most lines are told by that.
bool HasHead(std::string_view line) {
  constexpr size_t kShortest = 20;
  const bool perhaps =
      line.size() > kShortest && (line[0] == '<' || line[3] == ' ' || (line[4] == '-' && line[7] == '-'));
  return perhaps && (UnwrapSyslog(line).data() != nullptr || UnwrapIsoHead(line).data() != nullptr);
}

static std::string_view UnwrapMessage(std::string_view line, Unwrapped& room) {
  for (const std::string_view key : {"log", "message"}) {
    bool escaped = false;
    std::string_view text = FindJsonText(line, key, escaped);
    if (text.data() == nullptr) {
      continue;
    }
    if (escaped) {
      const size_t size = text.copy(room.text.data(), kLongestLine);
      text = {room.text.data(), DecodeJsonText(room.text.data(), size)};
    }
    text.remove_suffix(text.ends_with("\\n") ? 2 : 0);
    return text.starts_with('{') ? text : SkipProgram(text);
  }
  return {};
}

// Takes off the backslashes before quotes, or every second quote of a pair.
static std::string_view UnwrapQuotes(std::string_view line, Unwrapped& room) {
  if (line.size() < 2 || !line.starts_with('"') || !line.ends_with('"')) {
    return {};
  }
  line = line.substr(1, line.size() - 2);
  size_t size = 0;
  for (size_t i = 0; i < line.size() && size < kLongestLine; ++i) {
    const bool masks = (line[i] == '\\' || line[i] == '"') && i + 1 < line.size() && line[i + 1] == '"';
    i += masks ? 1 : 0;
    room.text[size++] = line[i];
  }
  return {room.text.data(), size};
}

std::string_view Unwrap(Wrapper wrapper, std::string_view line, Unwrapped& room) {
  switch (wrapper) {
    case Wrapper::kSyslog:
      return UnwrapSyslog(line);
    case Wrapper::kIsoHead:
      return UnwrapIsoHead(line);
    case Wrapper::kMessage:
      return line.starts_with('{') ? UnwrapMessage(line, room) : std::string_view{};
    case Wrapper::kQuotes:
      return UnwrapQuotes(line, room);
    default:
      return line;
  }
}
