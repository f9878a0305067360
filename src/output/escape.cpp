#include "output/escape.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "base/text.h"
#include "output/characters.h"

static constexpr char kHexDigits[] = "0123456789ABCDEF";

// ---- What is shown in place of a character that cannot be seen ---------------------

// The longest is \u{10FFFF}.
struct Shown {
  char text[16];
  size_t length;

  std::string_view view() const { return {text, length}; }
};

static void AddHex(Shown& shown, uint32_t code, int digits) {
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
    shown.text[shown.length++] = kHexDigits[code >> shift & 0xf];
  }
}

static Shown ShownInstead(const Character& character) {
  const bool byte = !character.valid || character.code < 0x80;
  Shown shown{{'\\', byte ? 'x' : 'u'}, 2};
  if (byte) {
    AddHex(shown, character.code, 2);
  } else if (character.code <= 0xffff) {
    AddHex(shown, character.code, 4);
  } else {
    shown.text[shown.length++] = '{';
    AddHex(shown, character.code, character.code <= 0xfffff ? 5 : 6);
    shown.text[shown.length++] = '}';
  }
  return shown;
}

static bool IsShownAsItIs(const Character& character) {
  return character.valid && IsVisible(character.code);
}

static void PutShown(Sink& sink, const Character& character, std::string_view bytes) {
  if (IsShownAsItIs(character)) {
    PutChecked(sink, bytes);
  } else {
    PutChecked(sink, ShownInstead(character).view());
  }
}

// ---- Going through a text -----------------------------------------------------------

// The bytes that an output copies without looking further.
using PlainBytes = std::array<bool, 256>;

static consteval PlainBytes PrintableBut(std::string_view others) {
  PlainBytes plain{};
  for (int byte = 0x20; byte < 0x7f; ++byte) {
    plain[byte] = others.find(static_cast<char>(byte)) == std::string_view::npos;
  }
  return plain;
}

static size_t PlainLength(std::string_view text, const PlainBytes& plain) {
  size_t length = 0;
  while (length < text.size() && plain[static_cast<uint8_t>(text[length])]) {
    ++length;
  }
  return length;
}

// Writes the text: plain bytes as they are, every other character as put_other says.
template <typename PutOther>
static void PutText(Sink& sink, std::string_view text, const PlainBytes& plain, PutOther put_other) {
  while (!text.empty()) {
    const size_t length = PlainLength(text, plain);
    PutChecked(sink, text.substr(0, length));
    text.remove_prefix(length);
    if (!text.empty()) {
      const Character character = FirstCharacter(text);
      put_other(character, text.substr(0, character.size));
      text.remove_prefix(character.size);
    }
  }
}

// ---- HTML ---------------------------------------------------------------------------

static constexpr PlainBytes kPlainHtml = PrintableBut("&<>\"'`");

static std::string_view Entity(uint32_t code) {
  switch (code) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    case '`':
      return "&#96;";
    default:
      return {};
  }
}

static void PutHtmlText(Sink& sink, std::string_view text, std::string_view before, std::string_view behind) {
  PutText(sink, text, kPlainHtml, [&](const Character& character, std::string_view bytes) {
    const std::string_view entity = character.valid ? Entity(character.code) : std::string_view{};
    if (!entity.empty()) {
      PutChecked(sink, entity);
    } else if (IsShownAsItIs(character)) {
      PutChecked(sink, bytes);
    } else {
      PutChecked(sink, before);
      PutChecked(sink, ShownInstead(character).view());
      PutChecked(sink, behind);
    }
  });
}

void PutHtml(Sink& sink, std::string_view text) {
  PutHtmlText(sink, text, "<i>", "</i>");
}

void PutAttribute(Sink& sink, std::string_view text) {
  PutHtmlText(sink, text, {}, {});
}

// Where the next <meta begins, in any case; the markup's end when there is none. A tag
// begins in no other way, and no policy keeps a page from <meta http-equiv=refresh>.
static size_t FindMeta(std::string_view markup) {
  static constexpr std::string_view kMeta = "<meta";
  size_t place = markup.find('<');
  while (place < markup.size() && !EqualIgnoreCase(markup.substr(place, kMeta.size()), kMeta)) {
    place = markup.find('<', place + 1);
  }
  return std::min(place, markup.size());
}

void PutMarkup(Sink& sink, std::string_view markup) {
  while (!markup.empty()) {
    const size_t place = FindMeta(markup);
    PutChecked(sink, markup.substr(0, place));
    markup.remove_prefix(place);
    if (!markup.empty()) {
      Put(sink, "<x-");
      markup.remove_prefix(1);
    }
  }
}

// ---- Texts without their middle -----------------------------------------------------

// So many characters from the beginning of a text, as bytes; all that it has when these
// are fewer.
static size_t BytesOf(std::string_view text, size_t characters) {
  size_t bytes = 0;
  for (; characters > 0 && bytes < text.size(); --characters) {
    bytes += FirstCharacter(text.substr(bytes)).size;
  }
  return bytes;
}

static size_t CountCharacters(std::string_view text) {
  size_t count = 0;
  for (; !text.empty(); ++count) {
    text.remove_prefix(FirstCharacter(text).size);
  }
  return count;
}

Shortened WithoutMiddle(std::string_view text, size_t characters) {
  const size_t all = text.size() <= characters ? 0 : CountCharacters(text);
  if (all <= characters) {
    return {text, {}};
  }
  const size_t at_end = characters / 3;
  const size_t begin = BytesOf(text, characters - at_end);
  const size_t left_out = BytesOf(text.substr(begin), all - characters);
  return {text.substr(0, begin), text.substr(begin + left_out)};
}

// ---- Addresses ----------------------------------------------------------------------

bool IsWebAddress(std::string_view address) {
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (BeginsWithIgnoreCase(address, scheme)) {
      const std::string_view rest = address.substr(scheme.size());
      return !rest.empty() && std::string_view("/\\?#").find(rest[0]) == std::string_view::npos;
    }
  }
  return false;
}

static consteval PlainBytes LettersDigitsAnd(std::string_view others) {
  PlainBytes plain{};
  for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789")) {
    plain[static_cast<uint8_t>(c)] = true;
  }
  for (const char c : others) {
    plain[static_cast<uint8_t>(c)] = true;
  }
  return plain;
}

// What RFC 3986 lets stand in an address, but for what an attribute must not hold, and what
// stands for nothing but itself anywhere in one.
static constexpr PlainBytes kPlainAddress = LettersDigitsAnd("-._~:/?#[]@!$()*+,;=%");
static constexpr PlainBytes kPlainAddressPart = LettersDigitsAnd("-._~");

static void PutPercent(Sink& sink, char c) {
  const auto byte = static_cast<uint8_t>(c);
  const char encoded[] = {'%', kHexDigits[byte >> 4], kHexDigits[byte & 0xf]};
  PutChecked(sink, {encoded, sizeof encoded});
}

// "&" is written as the place demands.
static void PutEncoded(Sink& sink, std::string_view text, const PlainBytes& plain,
                       std::string_view ampersand) {
  while (!text.empty()) {
    const size_t length = PlainLength(text, plain);
    PutChecked(sink, text.substr(0, length));
    text.remove_prefix(length);
    if (!text.empty()) {
      if (text[0] == '&') {
        PutChecked(sink, ampersand);
      } else {
        PutPercent(sink, text[0]);
      }
      text.remove_prefix(1);
    }
  }
}

void PutAddress(Sink& sink, std::string_view site, std::string_view path) {
  PutEncoded(sink, site, kPlainAddress, "&amp;");
  PutEncoded(sink, path, kPlainAddress, "&amp;");
}

void PutAddressPart(Sink& sink, std::string_view text) {
  PutEncoded(sink, text, kPlainAddressPart, "%26");
}

void PutJsonAddress(Sink& sink, std::string_view site, std::string_view path) {
  PutEncoded(sink, site, kPlainAddress, "&");
  PutEncoded(sink, path, kPlainAddress, "&");
}

// ---- JSON ---------------------------------------------------------------------------

static constexpr PlainBytes kPlainJson = PrintableBut("\"\\");

static void PutUnit(Sink& sink, uint32_t unit) {
  Shown shown{{'\\', 'u'}, 2};
  AddHex(shown, unit, 4);
  PutChecked(sink, shown.view());
}

// Characters that cannot be seen are escaped, those beyond U+FFFF as two halves.
static void PutJsonEscape(Sink& sink, uint32_t code) {
  if (code > 0xffff) {
    PutUnit(sink, 0xd7c0 + (code >> 10));
    PutUnit(sink, 0xdc00 | (code & 0x3ff));
  } else {
    PutUnit(sink, code);
  }
}

void PutJsonPart(Sink& sink, std::string_view text) {
  PutText(sink, text, kPlainJson, [&](const Character& character, std::string_view bytes) {
    if (!character.valid) {
      PutChecked(sink, "\\uFFFD");
    } else if (character.code == '"' || character.code == '\\') {
      PutChecked(sink, "\\");
      PutChecked(sink, bytes);
    } else if (IsVisible(character.code)) {
      PutChecked(sink, bytes);
    } else {
      PutJsonEscape(sink, character.code);
    }
  });
}

void PutJson(Sink& sink, std::string_view text) {
  PutChecked(sink, "\"");
  PutJsonPart(sink, text);
  PutChecked(sink, "\"");
}

bool IsUtf8(std::string_view text) {
  static constexpr PlainBytes kPlain = PrintableBut("");
  for (;;) {
    text.remove_prefix(PlainLength(text, kPlain));
    if (text.empty()) {
      return true;
    }
    const Character character = FirstCharacter(text);
    if (!character.valid) {
      return false;
    }
    text.remove_prefix(character.size);
  }
}

void PutBase64(Sink& sink, std::string_view bytes) {
  static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (; !bytes.empty(); bytes.remove_prefix(bytes.size() < 3 ? bytes.size() : 3)) {
    uint32_t bits = 0;
    for (size_t i = 0; i < 3; ++i) {
      bits = bits << 8 | (i < bytes.size() ? static_cast<uint8_t>(bytes[i]) : 0);
    }
    char group[] = {kDigits[bits >> 18], kDigits[bits >> 12 & 63], kDigits[bits >> 6 & 63],
                    kDigits[bits & 63]};
    for (size_t i = bytes.size() + 1; i < sizeof group; ++i) {
      group[i] = '=';
    }
    PutChecked(sink, {group, sizeof group});
  }
}

// ---- CSV ----------------------------------------------------------------------------

static bool BeginsFormula(const Character& character) {
  const uint32_t code = character.valid ? character.code : 0;
  return code == '=' || code == '+' || code == '-' || code == '@' || code == 0xff1d || code == 0xff0b ||
         code == 0xff0d || code == 0xff20;
}

static bool EndsCell(uint32_t code) {
  return code == ',' || code == ';' || code == '"' || code == '|' || code == '\t' || code == '\n' ||
         code == '\r';
}

static bool NeedsQuotes(std::string_view text) {
  return text.find_first_of("\",;|'") != std::string_view::npos || text.starts_with(' ') ||
         text.ends_with(' ');
}

// Within a cell, wherever they stand but at its start.
static constexpr PlainBytes kPlainCsv = PrintableBut("\",;|");

static void PutCsvCharacter(Sink& sink, const Character& character, std::string_view bytes) {
  if (character.valid && character.code == '"') {
    PutChecked(sink, "\"\"");
  } else {
    PutShown(sink, character, bytes);
  }
}

void PutCsv(Sink& sink, std::string_view text, bool guarded) {
  const std::string_view quote = NeedsQuotes(text) ? "\"" : "";
  bool at_start = true;  // of what might be taken for a cell
  PutChecked(sink, quote);
  while (!text.empty()) {
    if (guarded && at_start && BeginsFormula(FirstCharacter(text))) {
      PutChecked(sink, "'");
    }
    const size_t length = PlainLength(text, kPlainCsv);
    PutChecked(sink, text.substr(0, length));
    text.remove_prefix(length);
    if (!text.empty()) {
      const Character character = FirstCharacter(text);
      PutCsvCharacter(sink, character, text.substr(0, character.size));
      at_start = EndsCell(character.code);
      text.remove_prefix(character.size);
    }
  }
  PutChecked(sink, quote);
}

// ---- Plain text ---------------------------------------------------------------------

static constexpr PlainBytes kPlainText = PrintableBut("");

static size_t ColumnsShown(const Character& character) {
  return IsShownAsItIs(character) ? static_cast<size_t>(ColumnsOf(character.code))
                                  : ShownInstead(character).length;
}

size_t PlainWidth(std::string_view text) {
  size_t width = 0;
  while (!text.empty()) {
    const size_t length = PlainLength(text, kPlainText);
    width += length;
    text.remove_prefix(length);
    if (!text.empty()) {
      const Character character = FirstCharacter(text);
      width += ColumnsShown(character);
      text.remove_prefix(character.size);
    }
  }
  return width;
}

// Writes characters while they fit in so many columns; returns the columns.
static size_t PutColumns(Sink& sink, std::string_view text, size_t columns) {
  size_t written = 0;
  while (!text.empty()) {
    const size_t length = std::min(PlainLength(text, kPlainText), columns - written);
    PutChecked(sink, text.substr(0, length));
    written += length;
    text.remove_prefix(length);
    if (text.empty()) {
      break;
    }
    const Character character = FirstCharacter(text);
    const size_t needed = ColumnsShown(character);
    if (written + needed > columns) {
      break;
    }
    PutShown(sink, character, text.substr(0, character.size));
    written += needed;
    text.remove_prefix(character.size);
  }
  return written;
}

// What is left of a text of the given width when its beginning is cut off until it
// fits in so many columns. A mark goes with the character that it is upon.
static std::string_view EndOf(std::string_view text, size_t width, size_t columns) {
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    const size_t needed = ColumnsShown(character);
    if (width <= columns && needed > 0) {
      break;
    }
    width -= needed;
    text.remove_prefix(character.size);
  }
  return text;
}

size_t PutPlain(Sink& sink, std::string_view text, size_t width) {
  static constexpr std::string_view kGap = "..";
  const size_t needed = PlainWidth(text);
  if (needed <= width) {
    return PutColumns(sink, text, width);
  }
  if (width <= kGap.size()) {
    return PutColumns(sink, text, width);
  }
  const size_t behind = (width - kGap.size()) / 2;
  const size_t before = PutColumns(sink, text, width - kGap.size() - behind);
  PutChecked(sink, kGap);
  return before + kGap.size() + PutColumns(sink, EndOf(text, needed, behind), behind);
}
