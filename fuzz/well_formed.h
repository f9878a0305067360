// Strict readers of what the outputs write. Each takes a whole output, ends the process
// where it is not well-formed, and counts what it holds.
#pragma once

#include <set>
#include <vector>

#include "base/text.h"
#include "output/characters.h"
#include "support.h"

// No byte that is no UTF-8, and nothing that a reader could not see but for line ends.
inline void RequireVisibleLines(std::string_view text) {
  for (Character character; !text.empty(); text.remove_prefix(character.size)) {
    character = FirstCharacter(text);
    REQUIRE(character.valid && (character.code == '\n' || IsVisible(character.code)));
  }
}

inline bool TakeText(std::string_view& text, std::string_view beginning) {
  const bool there = text.starts_with(beginning);
  text.remove_prefix(there ? beginning.size() : 0);
  return there;
}

inline std::string_view TakeWhile(std::string_view& text, std::string_view characters) {
  const std::string_view taken = text.substr(0, text.find_first_not_of(characters));
  text.remove_prefix(taken.size());
  return taken;
}

inline constexpr std::string_view kDecimalDigits = "0123456789";
inline constexpr std::string_view kSmallLetters = "abcdefghijklmnopqrstuvwxyz";

// ---- JSON (RFC 8259) -----------------------------------------------------------------

struct JsonReader {
  std::string_view left;
  int64_t items = 0;  // objects that have one
};

inline void SkipBlanks(JsonReader& json) {
  TakeWhile(json.left, " \n");
}

inline void ReadJsonEscape(JsonReader& json) {
  REQUIRE(!json.left.empty());
  const char kind = json.left[0];
  json.left.remove_prefix(1);
  if (kind == 'u') {
    const std::string_view digits = json.left.substr(0, 4);
    REQUIRE(digits.size() == 4 &&
            digits.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos);
    json.left.remove_prefix(4);
  } else {
    REQUIRE(std::string_view("\"\\/bfnrt").find(kind) != std::string_view::npos);
  }
}

inline std::string_view ReadJsonString(JsonReader& json) {
  REQUIRE(TakeText(json.left, "\""));
  const std::string_view begin = json.left;
  while (!TakeText(json.left, "\"")) {
    REQUIRE(!json.left.empty() && static_cast<unsigned char>(json.left[0]) >= 0x20);
    const char c = json.left[0];
    json.left.remove_prefix(1);
    if (c == '\\') {
      ReadJsonEscape(json);
    }
  }
  return begin.substr(0, begin.size() - json.left.size() - 1);
}

inline void ReadJsonNumber(JsonReader& json) {
  TakeText(json.left, "-");
  const std::string_view whole = TakeWhile(json.left, kDecimalDigits);
  REQUIRE(!whole.empty() && (whole == "0" || whole[0] != '0'));
  REQUIRE(!TakeText(json.left, ".") || !TakeWhile(json.left, kDecimalDigits).empty());
}

inline void ReadJsonValue(JsonReader& json);

inline void ReadJsonObject(JsonReader& json) {
  std::set<std::string_view> names;
  SkipBlanks(json);
  if (TakeText(json.left, "}")) {
    return;
  }
  do {
    SkipBlanks(json);
    REQUIRE(names.insert(ReadJsonString(json)).second);
    REQUIRE(TakeText(json.left, ":"));
    ReadJsonValue(json);
  } while (TakeText(json.left, ","));
  REQUIRE(TakeText(json.left, "}"));
  json.items += names.contains("item") ? 1 : 0;
}

inline void ReadJsonArray(JsonReader& json) {
  SkipBlanks(json);
  if (TakeText(json.left, "]")) {
    return;
  }
  do {
    ReadJsonValue(json);
  } while (TakeText(json.left, ","));
  REQUIRE(TakeText(json.left, "]"));
}

inline void ReadJsonValue(JsonReader& json) {
  SkipBlanks(json);
  if (TakeText(json.left, "{")) {
    ReadJsonObject(json);
  } else if (TakeText(json.left, "[")) {
    ReadJsonArray(json);
  } else if (json.left.starts_with('"')) {
    ReadJsonString(json);
  } else {
    ReadJsonNumber(json);
  }
  SkipBlanks(json);
}

// Returns how many objects have an "item".
inline int64_t RequireJson(std::string_view text) {
  RequireVisibleLines(text);
  JsonReader json{text};
  ReadJsonValue(json);
  REQUIRE(json.left.empty());
  return json.items;
}

// ---- CSV (RFC 4180) ------------------------------------------------------------------

inline void ReadCsvCell(std::string_view& text) {
  if (!TakeText(text, "\"")) {
    text.remove_prefix(std::min(text.find_first_of("\",\r\n"), text.size()));
    return;
  }
  while (!TakeText(text, "\"") || TakeText(text, "\"")) {
    REQUIRE(!text.empty());
    text.remove_prefix(text[0] == '"' ? 0 : 1);
  }
}

// Returns the number of rows, all of which have so many cells.
inline int64_t RequireCsv(std::string_view text, int cells) {
  std::string lines(text);
  std::erase(lines, '\r');
  RequireVisibleLines(lines);
  int64_t rows = 0;
  for (; !text.empty(); ++rows) {
    for (int cell = 0; cell < cells; ++cell) {
      REQUIRE(cell == 0 || TakeText(text, ","));
      ReadCsvCell(text);
    }
    REQUIRE(TakeText(text, "\r\n"));
  }
  return rows;
}

// ---- HTML ----------------------------------------------------------------------------

// Text without markup, or the value of an attribute: what means something to a parser stands
// there as a reference.
inline void RequireHtmlText(std::string_view text) {
  REQUIRE(text.find_first_of("<>\"`") == std::string_view::npos);
  for (size_t at = text.find('&'); at != std::string_view::npos; at = text.find('&', at + 1)) {
    bool known = false;
    for (const std::string_view reference : {"&amp;", "&lt;", "&gt;", "&quot;", "&#39;", "&#96;"}) {
      known = known || text.substr(at).starts_with(reference);
    }
    REQUIRE(known);
  }
}

inline void ReadHtmlAttribute(std::string_view& html) {
  const std::string_view name =
      TakeWhile(html, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-");
  REQUIRE(!name.empty() && !name.starts_with("on") && name != "style" && name != "src");
  REQUIRE(TakeText(html, "=\""));
  const std::string_view value = TakePart(html, '"');
  if (name == "http-equiv") {
    REQUIRE(value == "Content-Security-Policy");
  }
  REQUIRE(name == "content" || value.find('\'') == std::string_view::npos);
  RequireHtmlText(value);
  REQUIRE(name != "href" || value.starts_with('#') || value.starts_with('?') ||
          BeginsWithIgnoreCase(value, "http://") || BeginsWithIgnoreCase(value, "https://"));
}

struct HtmlReader {
  std::string_view left;
  std::vector<std::string_view> open;
  int64_t counts = 0;  // cells of tables that hold one
};

inline bool IsHtmlElement(std::string_view name) {
  static const std::set<std::string_view> kKnown = {
      "html", "head",    "meta", "title",  "style",   "body",       "a",     "header",  "p",
      "h1",   "h2",      "h3",   "dl",     "div",     "dt",         "dd",    "time",    "nav",
      "ul",   "li",      "main", "table",  "section", "thead",      "tbody", "tr",      "th",
      "td",   "details", "bdi",  "small",  "i",       "svg",        "rect",  "summary", "g",
      "text", "line",    "path", "footer", "figure",  "figcaption", "script"};
  return kKnown.contains(name);
}

inline void ReadHtmlBegin(HtmlReader& html) {
  const std::string_view begin = html.left;
  const std::string_view name = TakeWhile(html.left, "abcdefghijklmnopqrstuvwxyz0123456789");
  REQUIRE(IsHtmlElement(name));
  html.counts += begin.starts_with("td class=\"c\"") ? 1 : 0;
  while (TakeText(html.left, " ")) {
    ReadHtmlAttribute(html.left);
  }
  const bool closed = TakeText(html.left, "/");
  REQUIRE(TakeText(html.left, ">"));
  if (name == "style" || name == "script") {  // which hold nothing of a log
    html.left.remove_prefix(std::min(html.left.find("</" + std::string(name) + ">"), html.left.size()));
  }
  if (!closed && name != "meta") {
    html.open.push_back(name);
  }
}

// Every element is known, ends where it should and has harmless attributes. Returns how
// many cells hold counts.
inline int64_t RequireHtml(std::string_view text) {
  RequireVisibleLines(text);
  HtmlReader html{text, {}};
  REQUIRE(TakeText(html.left, "<!DOCTYPE html>\n"));
  while (!html.left.empty()) {
    const std::string_view before = html.left.substr(0, html.left.find('<'));
    RequireHtmlText(before);
    html.left.remove_prefix(before.size());
    if (TakeText(html.left, "</")) {
      const std::string_view name = TakePart(html.left, '>');
      REQUIRE(!html.open.empty() && html.open.back() == name);
      html.open.pop_back();
    } else if (TakeText(html.left, "<")) {
      ReadHtmlBegin(html);
    }
  }
  REQUIRE(html.open.empty());
  return html.counts;
}
