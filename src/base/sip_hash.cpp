#include "base/sip_hash.h"

#include <bit>
#include <cstring>

static std::uint64_t WordAt(const SipKey& key, std::size_t start) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < 8; ++i) {
    word |= std::uint64_t{key[start + i]} << 8 * i;
  }
  return word;
}

SipHash BeginSipHash(const SipKey& key) {
  const std::uint64_t low = WordAt(key, 0);
  const std::uint64_t high = WordAt(key, 8);
  return {.v = {low ^ 0x736f6d6570736575, high ^ 0x646f72616e646f6d, low ^ 0x6c7967656e657261,
                high ^ 0x7465646279746573},
          .word = 0,
          .length = 0};
}

static void Round(std::uint64_t (&v)[4]) {
  v[0] += v[1], v[1] = std::rotl(v[1], 13) ^ v[0], v[0] = std::rotl(v[0], 32);
  v[2] += v[3], v[3] = std::rotl(v[3], 16) ^ v[2];
  v[0] += v[3], v[3] = std::rotl(v[3], 21) ^ v[0];
  v[2] += v[1], v[1] = std::rotl(v[1], 17) ^ v[2], v[2] = std::rotl(v[2], 32);
}

static void TakeWord(SipHash& hash, std::uint64_t word) {
  hash.v[3] ^= word;
  Round(hash.v), Round(hash.v);
  hash.v[0] ^= word;
}

void AddByte(SipHash& hash, std::uint8_t byte) {
  hash.word |= std::uint64_t{byte} << 8 * (hash.length % 8);
  if (++hash.length % 8 == 0) {
    TakeWord(hash, hash.word);
    hash.word = 0;
  }
}

std::uint64_t EndSipHash(SipHash hash) {
  TakeWord(hash, hash.word | hash.length << 56);
  hash.v[2] ^= 0xff;
  Round(hash.v), Round(hash.v), Round(hash.v), Round(hash.v);
  return hash.v[0] ^ hash.v[1] ^ hash.v[2] ^ hash.v[3];
}

// Of fewer bytes than a word has, the others are 0.
static std::uint64_t WordOf(const char* bytes, std::size_t size = sizeof(std::uint64_t)) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, size);
  return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}

void AddBytes(SipHash& hash, std::string_view text) {
  std::size_t next = 0;
  for (; hash.length % 8 == 0 && text.size() - next >= 8; next += 8) {
    TakeWord(hash, WordOf(text.data() + next));
    hash.length += 8;
  }
  if (hash.length % 8 == 0 && next < text.size()) {
    hash.word = WordOf(text.data() + next, text.size() - next);
    hash.length += text.size() - next;
    return;
  }
  for (; next < text.size(); ++next) {
    AddByte(hash, static_cast<std::uint8_t>(text[next]));
  }
}
