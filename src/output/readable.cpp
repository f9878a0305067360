#include "output/readable.h"

#include <algorithm>
#include <charconv>

#include "output/characters.h"

static constexpr size_t kMostBytes = 4;    // of a character
static constexpr size_t kEncodedByte = 3;  // "%C3"

// Decodes the bytes at the beginning of the text, as many as a character can have.
static std::string_view DecodeBytes(std::string_view text, char (&bytes)[kMostBytes]) {
  size_t count = 0;
  for (; count < kMostBytes && text.size() >= kEncodedByte && text[0] == '%'; ++count) {
    unsigned char byte = 0;
    const char* const end = text.data() + kEncodedByte;
    if (std::from_chars(text.data() + 1, end, byte, 16).ptr != end) {
      break;
    }
    bytes[count] = static_cast<char>(byte);
    text.remove_prefix(kEncodedByte);
  }
  return {bytes, count};
}

// How many bytes the character has that the text begins with and that may stand as itself; 0: none.
static size_t DecodeCharacter(std::string_view text, char (&bytes)[kMostBytes]) {
  const std::string_view decoded = DecodeBytes(text, bytes);
  if (decoded.empty()) {
    return 0;
  }
  const Character first = FirstCharacter(decoded);
  return first.valid && first.code >= 0x80 && IsVisible(first.code) ? first.size : 0;
}

// Where the path begins; 0: the text is one.
static size_t BeginOfPath(std::string_view address) {
  const size_t scheme = address.find("://");
  if (address.starts_with('/') || scheme == std::string_view::npos) {
    return 0;
  }
  return std::min(address.find_first_of("/?#", scheme + 3), address.size());
}

std::string_view Readable(std::string_view address, ReadableText& room) {
  if (address.find('%') == std::string_view::npos || address.size() > sizeof room.text) {
    return address;
  }
  char* end = std::copy_n(address.data(), BeginOfPath(address), room.text);
  address.remove_prefix(static_cast<size_t>(end - room.text));
  while (!address.empty()) {
    char bytes[kMostBytes];
    const size_t size = DecodeCharacter(address, bytes);
    end = size == 0 ? std::copy_n(address.data(), 1, end) : std::copy_n(bytes, size, end);
    address.remove_prefix(size == 0 ? 1 : size * kEncodedByte);
  }
  return {room.text, static_cast<size_t>(end - room.text)};
}
