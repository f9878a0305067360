#include "analysis/item_key.h"

#include <climits>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

// Leaves the first bytes of a chunk.
struct ChunkMasks {
  char bytes[2 * kKeyChunk] = {};
  constexpr ChunkMasks() { std::fill_n(bytes, kKeyChunk, '\xFF'); }
  const char* Leaving(size_t length) const { return bytes + kKeyChunk - length; }
};
alignas(kKeyChunk) static constexpr ChunkMasks kMasks;

static constexpr signed char kCaseBit = 'a' - 'A';

// The hash is that of Black, Halevi, Krawczyk, Krovetz and Rogaway, "UMAC: Fast and
// Secure Message Authentication" (1999), called NH there: of each chunk the sum of the
// products of neighbouring words of 32 bits, each word hidden by one of the seed.
static uint64_t FirstState(std::string_view key, const KeySeed& seed) {
  return key.size() ^ seed.length;
}

static uint64_t NextState(uint64_t state, uint64_t sum, const KeySeed& seed) {
  return MultiplyFold(state + sum, seed.chain);
}

static uint32_t LastState(uint64_t state, const KeySeed& seed) {
  return static_cast<uint32_t>(MultiplyFold(state, seed.chain));
}

// ---- Sixteen bytes at a time ----

static KeyBlock FoldBlock(KeyBlock block) {
  return block | ((block > 'A' - 1) & (block < 'Z' + 1) & kCaseBit);
}

// The products of the first and second, and of the third and fourth word.
static BlockProducts MultiplyPairs(BlockWords words) {
#if defined(__SSE2__)
  const auto pairs = reinterpret_cast<__m128i>(words);
  return reinterpret_cast<BlockProducts>(_mm_mul_epu32(pairs, _mm_srli_epi64(pairs, 32)));
#else
  return {uint64_t{words[0]} * words[1], uint64_t{words[2]} * words[3]};
#endif
}

static uint64_t TakeChunk(char* to, const char* from, const char* mask, bool fold, const KeySeed& seed) {
  BlockProducts sum = {};
  for (size_t i = 0; i < kKeyChunk; i += sizeof(KeyBlock)) {
    const KeyBlock block = LoadBlock(from + i) & LoadBlock(mask + i);
    StoreBlock(to + i, block);
    const KeyBlock folded = fold ? FoldBlock(block) : block;
    sum += MultiplyPairs(reinterpret_cast<BlockWords>(folded) +
                         reinterpret_cast<BlockWords>(LoadBlock(seed.chunk + i)));
  }
  return sum[0] + sum[1];
}

uint32_t TakeKeyPlainly(char* room, std::string_view key, bool fold, const KeySeed& seed) {
  uint64_t state = FirstState(key, seed);
  const char* from = key.data();
  size_t left = key.size();
  for (; left >= kKeyChunk; left -= kKeyChunk, from += kKeyChunk, room += kKeyChunk) {
    state = NextState(state, TakeChunk(room, from, kMasks.Leaving(kKeyChunk), fold, seed), seed);
  }
  return LastState(NextState(state, TakeChunk(room, from, kMasks.Leaving(left), fold, seed), seed), seed);
}

// ---- Thirty-two bytes at a time ----

#if defined(__x86_64__)

#define WIDE [[gnu::target("avx2"), gnu::always_inline]] inline static

WIDE __m256i LoadWide(const char* from) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

// With kToGreatest added, 'A' to 'Z' are the greatest of all bytes, above kBelowUpper.
static constexpr signed char kToGreatest = SCHAR_MAX - 'Z';
static constexpr signed char kBelowUpper = SCHAR_MAX - ('Z' - 'A' + 1);

WIDE __m256i FoldWide(__m256i bytes) {
  const __m256i shifted = _mm256_add_epi8(bytes, _mm256_set1_epi8(kToGreatest));
  const __m256i upper = _mm256_cmpgt_epi8(shifted, _mm256_set1_epi8(kBelowUpper));
  return _mm256_or_si256(bytes, _mm256_and_si256(upper, _mm256_set1_epi8(kCaseBit)));
}

template <bool kFold>
WIDE __m256i TakeHalf(char* to, const char* from, const char* mask, const char* seed) {
  const __m256i bytes = _mm256_and_si256(LoadWide(from), LoadWide(mask));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bytes);
  const __m256i words = _mm256_add_epi32(kFold ? FoldWide(bytes) : bytes, LoadWide(seed));
  return _mm256_mul_epu32(words, _mm256_srli_epi64(words, 32));
}

template <bool kFold>
WIDE uint64_t TakeChunkWide(char* to, const char* from, const char* mask, const KeySeed& seed) {
  constexpr size_t kHalf = kKeyChunk / 2;
  const __m256i low = TakeHalf<kFold>(to, from, mask, seed.chunk);
  const __m256i high = TakeHalf<kFold>(to + kHalf, from + kHalf, mask + kHalf, seed.chunk + kHalf);
  const __m256i four = _mm256_add_epi64(low, high);
  const __m128i two = _mm_add_epi64(_mm256_castsi256_si128(four), _mm256_extracti128_si256(four, 1));
  return static_cast<uint64_t>(_mm_cvtsi128_si64(two)) + static_cast<uint64_t>(_mm_extract_epi64(two, 1));
}

template <bool kFold>
WIDE uint32_t TakeChunksWide(char* room, std::string_view key, const KeySeed& seed) {
  uint64_t state = FirstState(key, seed);
  const char* from = key.data();
  size_t left = key.size();
  for (; left >= kKeyChunk; left -= kKeyChunk, from += kKeyChunk, room += kKeyChunk) {
    state = NextState(state, TakeChunkWide<kFold>(room, from, kMasks.Leaving(kKeyChunk), seed), seed);
  }
  return LastState(NextState(state, TakeChunkWide<kFold>(room, from, kMasks.Leaving(left), seed), seed),
                   seed);
}

[[gnu::target("avx2")]] static uint32_t TakeKeyWide(char* room, std::string_view key, bool fold,
                                                    const KeySeed& seed) {
  return fold ? TakeChunksWide<true>(room, key, seed) : TakeChunksWide<false>(room, key, seed);
}

#undef WIDE

static TakeKeyForm ChooseForm() noexcept {
  return __builtin_cpu_supports("avx2") ? TakeKeyWide : TakeKeyPlainly;
}

#else

static TakeKeyForm ChooseForm() noexcept {
  return TakeKeyPlainly;
}

#endif

const TakeKeyForm mpTakeKey = ChooseForm();
