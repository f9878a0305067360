#include "base/url_decode.h"

#include "base/text.h"

static bool IsHexDigit(char c) {
  const char lower = ToLowerAscii(c);
  return IsDigitAscii(c) || (lower >= 'a' && lower <= 'f');
}

static int HexValue(char digit) {
  return IsDigitAscii(digit) ? digit - '0' : ToLowerAscii(digit) - 'a' + 10;
}

// Decodes the character or escape at in and moves in behind it. An escape is
// read once only: what it yields is never decoded again.
static char DecodeNext(const char*& in) {
  const char c = *in++;
  if (c == '+') {
    return ' ';
  }
  if (c != '%') {
    return c;
  }
  if (*in == '%') {
    ++in;
  } else if (IsHexDigit(in[0]) && IsHexDigit(in[1])) {
    const int byte = HexValue(in[0]) * 16 + HexValue(in[1]);
    in += 2;
    return static_cast<char>(byte);
  }
  return '%';
}

size_t decode(char* text) {
  if (text == nullptr) {
    return 0;
  }
  char* out = text;
  while (*out != '\0' && *out != '+' && *out != '%') {
    ++out;  // most texts hold nothing to decode
  }
  for (const char* in = out; *in != '\0'; ++out) {
    *out = DecodeNext(in);
    if (*out == '\0') {
      break;  // "%00" ends the text
    }
  }
  *out = '\0';
  return static_cast<size_t>(out - text);
}
