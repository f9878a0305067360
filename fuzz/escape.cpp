// A text of any bytes, written for every place where an output puts one.
#include "output/escape.h"

#include "output/characters.h"
#include "output/written.h"
#include "support.h"

template <typename Write>
static std::string Put(Write write, std::string_view text) {
  return Written([&](Sink& sink) { write(sink, text); });
}

static void RequireVisible(std::string_view text) {
  for (Character character; !text.empty(); text.remove_prefix(character.size)) {
    character = FirstCharacter(text);
    REQUIRE(character.valid && IsVisible(character.code));
  }
}

static bool Take(std::string_view& text, std::string_view beginning) {
  const bool there = text.starts_with(beginning);
  text.remove_prefix(there ? beginning.size() : 0);
  return there;
}

// ---- HTML ----

// What a reader sees; there is no markup but <i>, and that only in an element.
static std::string Seen(std::string_view html, bool in_element) {
  static constexpr std::pair<std::string_view, char> kEntities[] = {
      {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&#39;", '\''}, {"&#96;", '`'}};
  std::string seen;
  while (!html.empty()) {
    if (in_element && (Take(html, "<i>") || Take(html, "</i>"))) {
      continue;
    }
    bool entity = false;
    for (const auto& [name, c] : kEntities) {
      if (!entity && Take(html, name)) {
        seen += c;
        entity = true;
      }
    }
    if (!entity) {
      REQUIRE(std::string_view("<>\"'`&").find(html[0]) == std::string_view::npos);
      seen += html[0];
      html.remove_prefix(1);
    }
  }
  return seen;
}

// ---- JSON ----

static uint32_t TakeUnit(std::string_view& json) {
  REQUIRE(Take(json, "\\u") && json.size() >= 4);
  uint32_t unit = 0;
  for (int i = 0; i < 4; ++i) {
    REQUIRE(isxdigit(static_cast<unsigned char>(json[i])) != 0);
    unit = unit * 16 + static_cast<uint32_t>(std::stoi(std::string(json.substr(i, 1)), nullptr, 16));
  }
  json.remove_prefix(4);
  return unit;
}

static void AddUtf8(std::string& text, uint32_t code) {
  const auto add = [&](uint32_t byte) { text += static_cast<char>(byte); };
  if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xc0 | code >> 6), add(0x80 | (code & 63));
  } else if (code < 0x10000) {
    add(0xe0 | code >> 12), add(0x80 | (code >> 6 & 63)), add(0x80 | (code & 63));
  } else {
    add(0xf0 | code >> 18), add(0x80 | (code >> 12 & 63)), add(0x80 | (code >> 6 & 63)),
        add(0x80 | (code & 63));
  }
}

static std::string ParsedJson(std::string_view json) {
  REQUIRE(json.size() >= 2 && json.front() == '"' && json.back() == '"');
  json = json.substr(1, json.size() - 2);
  std::string text;
  while (!json.empty()) {
    if (json[0] != '\\') {
      REQUIRE(json[0] != '"' && static_cast<unsigned char>(json[0]) >= 0x20);
      text += json[0];
      json.remove_prefix(1);
    } else if (Take(json, "\\\"")) {
      text += '"';
    } else if (Take(json, "\\\\")) {
      text += '\\';
    } else {
      uint32_t code = TakeUnit(json);
      if (code >= 0xd800 && code < 0xdc00) {
        const uint32_t second = TakeUnit(json);
        REQUIRE(second >= 0xdc00 && second < 0xe000);
        code = 0x10000 + ((code - 0xd800) << 10) + (second - 0xdc00);
      }
      REQUIRE(code < 0xd800 || code > 0xdfff);
      AddUtf8(text, code);
    }
  }
  return text;
}

static std::string WithReplacements(std::string_view text) {
  std::string replaced;
  for (Character character; !text.empty(); text.remove_prefix(character.size)) {
    character = FirstCharacter(text);
    replaced += character.valid ? text.substr(0, character.size) : std::string_view("\xef\xbf\xbd");
  }
  return replaced;
}

static std::string FromBase64(std::string_view digits) {
  static constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  REQUIRE(digits.size() % 4 == 0);
  std::string bytes;
  uint32_t bits = 0;
  int held = 0;
  for (const char digit : digits.substr(0, digits.find('='))) {
    REQUIRE(kDigits.find(digit) != std::string_view::npos);
    bits = bits << 6 | static_cast<uint32_t>(kDigits.find(digit));
    held += 6;
    if (held >= 8) {
      held -= 8;
      bytes += static_cast<char>(bits >> held & 0xff);
    }
  }
  return bytes;
}

// ---- CSV ----

static std::string ParsedCsv(std::string_view cell) {
  if (!cell.starts_with('"')) {
    REQUIRE(cell.find_first_of("\",\r\n") == std::string_view::npos);
    return std::string(cell);
  }
  REQUIRE(cell.size() >= 2 && cell.back() == '"');
  cell = cell.substr(1, cell.size() - 2);
  std::string text;
  while (!cell.empty()) {
    if (!Take(cell, "\"\"")) {
      REQUIRE(cell[0] != '"');
      text += cell[0];
      cell.remove_prefix(1);
    } else {
      text += '"';
    }
  }
  return text;
}

static bool MayBeginFormula(std::string_view text) {
  for (const std::string_view sign : {"=", "+", "-", "@", "\uff1d", "\uff0b", "\uff0d", "\uff20"}) {
    if (text.starts_with(sign)) {
      return true;
    }
  }
  return false;
}

static void CheckCsv(std::string_view text, const std::string& shown) {
  REQUIRE(ParsedCsv(Written([&](Sink& sink) { PutCsv(sink, text, false); })) == shown);
  const std::string cell = ParsedCsv(Written([&](Sink& sink) { PutCsv(sink, text, true); }));
  REQUIRE(!MayBeginFormula(cell));
  for (size_t i = 0; i + 1 < cell.size(); ++i) {
    const bool ends_cell = std::string_view(",;\"|").find(cell[i]) != std::string_view::npos;
    REQUIRE(!ends_cell || !MayBeginFormula(std::string_view(cell).substr(i + 1)));
  }
}

// ---- Plain text and addresses ----

static void CheckWidths(std::string_view text, const std::string& shown) {
  for (const size_t width : {0, 1, 2, 3, 7, 40}) {
    size_t told = 0;
    const std::string line = Written([&](Sink& sink) { told = PutPlain(sink, text, width); });
    RequireVisible(line);
    REQUIRE(told <= width && PlainWidth(line) == told);
    REQUIRE(PlainWidth(text) > width || line == shown);
  }
}

static void CheckAddresses(std::string_view text) {
  const std::string address = Written([&](Sink& sink) { PutAddress(sink, "http://a", text); });
  REQUIRE(address.find_first_of("\"'<>` \\") == std::string::npos);
  const std::string json = Written([&](Sink& sink) { PutJsonAddress(sink, "http://a", text); });
  REQUIRE(json.find_first_of("\"'<>` \\") == std::string::npos);
  REQUIRE(Seen(address, false) == json);
  RequireVisible(json);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text = AsText(data, size);
  const std::string shown = Written([&](Sink& sink) { PutPlain(sink, text, SIZE_MAX); });
  RequireVisible(shown);
  REQUIRE(Seen(Put(PutHtml, text), true) == shown);
  REQUIRE(Seen(Put(PutAttribute, text), false) == shown);
  const std::string json = Put(PutJson, text);
  RequireVisible(json);
  REQUIRE(ParsedJson(json) == WithReplacements(text));
  REQUIRE(IsUtf8(text) == (WithReplacements(text) == text));
  REQUIRE(FromBase64(Put(PutBase64, text)) == text);
  CheckCsv(text, shown);
  CheckWidths(text, shown);
  CheckAddresses(text);
  return 0;
}
