#include "agents/own_name.h"

#include <algorithm>

#include "agents/agent_rules.h"
#include "base/network.h"
#include "base/text.h"

static constexpr std::string_view kEndsPiece = "/;()[]{},<>\"+|";
static constexpr std::string_view kEndsWord = " \t/;()[]{},<>\"+|";
static constexpr std::string_view kEndsChunk = " \t;()[]{},<>\"|";

// What browsers say beside their names, and robots that pass for them.
static constexpr std::string_view kEngines[] = {
    "compatible", "Mozilla", "AppleWebKit", "KHTML", "Gecko",    "Chrome", "Safari", "Version",
    "Mobile",     "Firefox", "Edg",         "OPR",   "Chromium", "like",   "Edge",   "Opera",
};

// ---- Pieces of a text ----

// The characters around the place up to those that end it, on both sides.
static std::string_view Around(std::string_view text, size_t place, std::string_view ends) {
  const size_t before = place == 0 ? std::string_view::npos : text.find_last_of(ends, place - 1);
  const size_t begin = before == std::string_view::npos ? 0 : before + 1;
  return text.substr(begin, text.find_first_of(ends, place) - begin);
}

static bool IsAddress(std::string_view chunk) {
  return chunk.find("://") != std::string_view::npos || chunk.find('@') != std::string_view::npos ||
         BeginsWithIgnoreCase(chunk, "www.");
}

static bool SaysSomething(std::string_view name) {
  return std::any_of(name.begin(), name.end(), [](char c) { return IsLetterAscii(c) || IsDigitAscii(c); });
}

// ---- Names without what is none ----

// Versions that stand before it: of what came before a "/".
static std::string_view WithoutVersionBefore(std::string_view name) {
  while (!name.empty() && IsDigitAscii(name[0])) {
    const size_t blank = name.find(' ');
    if (blank == std::string_view::npos) {
      break;
    }
    name = WithoutBlanks(name.substr(blank));
  }
  return name;
}

// A version behind it, so that the robot has one name.
static std::string_view WithoutVersionBehind(std::string_view name) {
  size_t last = name.find_last_not_of("0123456789.");
  if (last == std::string_view::npos || last + 1 == name.size()) {
    return name;
  }
  if (last > 0 && ToLowerAscii(name[last]) == 'v') {
    --last;
  }
  const bool is_apart = name[last] == ' ' || name[last] == '-' || name[last] == '_';
  return is_apart ? WithoutBlanks(name.substr(0, last)) : name;
}

static std::string_view Shortened(std::string_view name) {
  if (name.size() <= kLongestOwnName) {
    return name;
  }
  const std::string_view cut = name.substr(0, kLongestOwnName);
  const size_t blank = cut.rfind(' ');
  return WithoutBlanks(blank == 0 ? cut : cut.substr(0, blank));
}

// Nor the address behind it, nor what has parted it from the name.
static std::string_view WithoutRest(std::string_view name) {
  name = name.substr(0, name.find(" http"));
  const size_t last = name.find_last_not_of(" \t-_.:,");
  return last == std::string_view::npos ? std::string_view{} : name.substr(0, last + 1);
}

static bool IsEngine(std::string_view name) {
  return std::any_of(std::begin(kEngines), std::end(kEngines),
                     [name](std::string_view engine) { return EqualIgnoreCase(engine, name); });
}

// Empty of what is no name.
static std::string_view Polished(std::string_view piece) {
  const std::string_view written = WithoutBlanks(piece);
  const std::string_view name = WithoutVersionBehind(WithoutVersionBefore(WithoutRest(written)));
  const bool is_address =
      IsAddress(name) || BeginsWithIgnoreCase(written, "http:") || BeginsWithIgnoreCase(written, "https:");
  return is_address || IsEngine(name) || !SaysSomething(name) ? std::string_view{} : Shortened(name);
}

// ---- Where robots name themselves ----

// The words around what was found: all of its piece, or where that is a sentence, the one word.
static std::string_view NameAround(std::string_view text, size_t place) {
  const std::string_view chunk = place < text.size() ? Around(text, place, kEndsChunk) : std::string_view{};
  if (chunk.empty() || IsAddress(chunk) || chunk.ends_with(".com")) {
    return {};
  }
  const std::string_view piece = Around(text, place, kEndsPiece);
  const std::string_view name = Polished(piece);
  const bool is_sentence = WithoutBlanks(piece).size() > kLongestOwnName;
  return is_sentence ? Polished(Around(text, place, kEndsWord)) : name;
}

// "(compatible; NAME/1.0; +http://...)"
static std::string_view NameInComment(std::string_view text) {
  const size_t behind = FindWordEnd(text, "compatible;");
  if (behind == std::string_view::npos) {
    return {};
  }
  text.remove_prefix(behind);
  const std::string_view name = Polished(text.substr(0, text.find_first_of(kEndsPiece)));
  return BeginsWithIgnoreCase(name, "MSIE") ? std::string_view{} : name;
}

// "NAME/1.0 (...)", "NAME (...)"
static std::string_view NameInFront(std::string_view text) {
  return Polished(text.substr(0, text.find_first_of(kEndsPiece)));
}

// "Mozilla/5.0 (...) ... Safari/537.36 NAME/1.0": the first word outside of parentheses that is no engine's.
static std::string_view NameBehind(std::string_view text) {
  size_t depth = 0;
  for (size_t at = 0; at < text.size();) {
    const char c = text[at];
    depth += c == '(' || c == '[' ? 1 : 0;
    depth -= (c == ')' || c == ']') && depth > 0 ? 1 : 0;
    if (depth > 0 || kEndsWord.find(c) != std::string_view::npos) {
      ++at;
      continue;
    }
    const size_t end = std::min(text.find_first_of(kEndsWord, at), text.size());
    const std::string_view name = text.substr(at, end - at);
    const bool is_version = IsDigitAscii(name[0]);
    const bool is_address = name.ends_with(':') || IsAddress(name);
    if (is_address) {
      return {};
    }
    if (!is_version && !IsEngine(name) && SaysSomething(name)) {
      return Shortened(name);
    }
    at = end;
  }
  return {};
}

static std::string_view HostOfAddress(std::string_view text) {
  const size_t scheme = text.find("://");
  if (scheme == std::string_view::npos) {
    return {};
  }
  text.remove_prefix(scheme + 3);
  std::string_view host = text.substr(0, text.find_first_of(" /:?#;()[]{},<>\"'"));
  if (BeginsWithIgnoreCase(host, "www.")) {
    host.remove_prefix(4);
  }
  return SaysSomething(host) ? host.substr(0, kLongestOwnName) : std::string_view{};
}

std::string_view OwnName(std::string_view text, size_t place) {
  for (const std::string_view name : {NameAround(text, place), NameInComment(text), NameInFront(text),
                                      NameBehind(text), HostOfAddress(text)}) {
    if (!name.empty()) {
      return name;
    }
  }
  const std::string_view first = WithoutBlanks(text.substr(0, text.find_first_of(kEndsPiece)));
  return (first.empty() ? text : first).substr(0, kLongestOwnName);
}
