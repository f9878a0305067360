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
// products of neighbouring words of 32 bits, each word hidden by one of the seed. To each
// sum the state of the chunks before is added; times a word of the seed it is the next,
// and the last one once more: after one product, keys that differ little lie together.
static uint64_t FirstState(std::string_view key, uint64_t length_seed) {
  return key.size() ^ length_seed;
}

static uint32_t LastState(uint64_t state, uint64_t chain) {
  return static_cast<uint32_t>(MultiplyFold(MultiplyFold(state, chain), chain));
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
  return BlockProducts{uint64_t{words[0]} * words[1], uint64_t{words[2]} * words[3]};
#endif
}

static uint64_t HashChunk(const char* from, const char* mask, bool fold, const KeySeed& seed) {
  BlockProducts sum = {};
  for (size_t i = 0; i < kKeyChunk; i += sizeof(KeyBlock)) {
    const KeyBlock block = LoadBlock(from + i) & LoadBlock(mask + i);
    const KeyBlock folded = fold ? FoldBlock(block) : block;
    sum += MultiplyPairs(reinterpret_cast<BlockWords>(folded) +
                         reinterpret_cast<BlockWords>(LoadBlock(seed.chunk + i)));
  }
  return sum[0] + sum[1];
}

static bool DifferInChunk(const char* a, const char* b, const char* mask) {
  KeyBlock differ = {};
  for (size_t i = 0; i < kKeyChunk; i += sizeof(KeyBlock)) {
    differ |= (LoadBlock(a + i) ^ LoadBlock(b + i)) & LoadBlock(mask + i);
  }
  const auto words = reinterpret_cast<BlockProducts>(differ);
  return (words[0] | words[1]) != 0;
}

static uint32_t HashPlainly(std::string_view key, bool fold, const KeySeed& seed) {
  uint64_t state = FirstState(key, seed.length);
  const char* from = key.data();
  size_t left = key.size();
  for (; left > kKeyChunk; left -= kKeyChunk, from += kKeyChunk) {
    state = MultiplyFold(state + HashChunk(from, kMasks.Leaving(kKeyChunk), fold, seed), seed.chain);
  }
  state += HashChunk(from, kMasks.Leaving(left), fold, seed);
  return LastState(state, seed.chain);
}

static bool EqualPlainly(const char* a, const char* b, size_t length) {
  bool differ = false;
  for (; length > kKeyChunk; length -= kKeyChunk, a += kKeyChunk, b += kKeyChunk) {
    differ |= DifferInChunk(a, b, kMasks.Leaving(kKeyChunk));
  }
  return !differ && !DifferInChunk(a, b, kMasks.Leaving(length));
}

static void HashAllPlainly(WaitingKey* keys, size_t count, const KeySeed& seed) {
  for (const WaitingKey* const end = keys + count; keys != end; ++keys) {
    keys->hash = HashPlainly(keys->key(), keys->ignore_case, seed);
    FetchSlot(*keys->list, keys->hash);
  }
}

static void Count(const WaitingKey& key) {
  ++key.item->count;
  ++key.info->kinds[key.item->kind];
}

static size_t CountKnownPlainly(const WaitingKey* keys, size_t count) {
  size_t known = 0;
  for (; known < count; ++known) {
    const WaitingKey& key = keys[known];
    if (key.item == nullptr || key.item->length != key.length || key.item->kind == kWatchedKind ||
        !EqualPlainly(key.item->name, key.text, key.length)) {
      break;
    }
    Count(key);
  }
  return known;
}

const KeyForm kPlainForm = {HashPlainly, HashAllPlainly, CountKnownPlainly};

// ---- Thirty-two bytes at a time ----

#if defined(__x86_64__)

#define WIDE [[gnu::target("avx2"), gnu::always_inline]] inline static

WIDE __m256i LoadWide(const char* from) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

// With kToGreatest added, 'A' to 'Z' are the greatest of all bytes, above kBelowUpper.
static constexpr signed char kToGreatest = SCHAR_MAX - 'Z';
static constexpr signed char kBelowUpper = SCHAR_MAX - ('Z' - 'A' + 1);

WIDE __m256i FoldWide(__m256i bytes, __m256i case_bits) {
  const __m256i shifted = _mm256_add_epi8(bytes, _mm256_set1_epi8(kToGreatest));
  const __m256i upper = _mm256_cmpgt_epi8(shifted, _mm256_set1_epi8(kBelowUpper));
  return _mm256_or_si256(bytes, _mm256_and_si256(upper, case_bits));
}

WIDE __m256i HashHalf(const char* from, const char* mask, __m256i case_bits, __m256i seed) {
  const __m256i bytes = _mm256_and_si256(LoadWide(from), LoadWide(mask));
  const __m256i words = _mm256_add_epi32(FoldWide(bytes, case_bits), seed);
  return _mm256_mul_epu32(words, _mm256_srli_epi64(words, 32));
}

static constexpr size_t kHalf = kKeyChunk / 2;

// A seed that stays in registers from key to key.
struct WideSeed {
  __m256i low;
  __m256i high;
  uint64_t length;
  uint64_t chain;
};

WIDE WideSeed LoadSeed(const KeySeed& seed) {
  return {LoadWide(seed.chunk), LoadWide(seed.chunk + kHalf), seed.length, seed.chain};
}

WIDE uint64_t HashChunkWide(const char* from, const char* mask, __m256i case_bits, const WideSeed& seed) {
  const __m256i low = HashHalf(from, mask, case_bits, seed.low);
  const __m256i high = HashHalf(from + kHalf, mask + kHalf, case_bits, seed.high);
  const __m256i four = _mm256_add_epi64(low, high);
  const __m128i two = _mm_add_epi64(_mm256_castsi256_si128(four), _mm256_extracti128_si256(four, 1));
  return static_cast<uint64_t>(_mm_cvtsi128_si64(two)) + static_cast<uint64_t>(_mm_extract_epi64(two, 1));
}

WIDE uint32_t HashChunksWide(std::string_view key, bool fold, const WideSeed& seed) {
  // Which keys are folded is no turn that can be foreseen.
  const __m256i case_bits = _mm256_set1_epi8(fold ? kCaseBit : 0);
  uint64_t state = FirstState(key, seed.length);
  const char* from = key.data();
  size_t left = key.size();
  for (; left > kKeyChunk; left -= kKeyChunk, from += kKeyChunk) {
    state = MultiplyFold(state + HashChunkWide(from, kMasks.Leaving(kKeyChunk), case_bits, seed), seed.chain);
  }
  state += HashChunkWide(from, kMasks.Leaving(left), case_bits, seed);
  return LastState(state, seed.chain);
}

WIDE __m256i DifferWide(const char* a, const char* b, const char* mask) {
  return _mm256_and_si256(_mm256_xor_si256(LoadWide(a), LoadWide(b)), LoadWide(mask));
}

WIDE bool EqualWide(const char* a, const char* b, size_t length) {
  __m256i differ = _mm256_setzero_si256();
  for (; length > kKeyChunk; length -= kKeyChunk, a += kKeyChunk, b += kKeyChunk) {
    const __m256i low = _mm256_xor_si256(LoadWide(a), LoadWide(b));
    differ = _mm256_or_si256(differ, low);
    differ = _mm256_or_si256(differ, _mm256_xor_si256(LoadWide(a + kHalf), LoadWide(b + kHalf)));
  }
  const char* const mask = kMasks.Leaving(length);
  differ = _mm256_or_si256(differ, DifferWide(a, b, mask));
  differ = _mm256_or_si256(differ, DifferWide(a + kHalf, b + kHalf, mask + kHalf));
  return _mm256_testz_si256(differ, differ) != 0;
}

[[gnu::target("avx2")]] static uint32_t HashWide(std::string_view key, bool fold, const KeySeed& seed) {
  return HashChunksWide(key, fold, LoadSeed(seed));
}

[[gnu::target("avx2")]] static void HashAllWide(WaitingKey* keys, size_t count, const KeySeed& from) {
  const WideSeed seed = LoadSeed(from);
  for (const WaitingKey* const end = keys + count; keys != end; ++keys) {
    keys->hash = HashChunksWide(keys->key(), keys->ignore_case, seed);
    FetchSlot(*keys->list, keys->hash);
  }
}

[[gnu::target("avx2")]] static size_t CountKnownWide(const WaitingKey* keys, size_t count) {
  size_t known = 0;
  for (; known < count; ++known) {
    const WaitingKey& key = keys[known];
    if (key.item == nullptr || key.item->length != key.length || key.item->kind == kWatchedKind ||
        !EqualWide(key.item->name, key.text, key.length)) {
      break;
    }
    Count(key);
  }
  return known;
}

#undef WIDE

static const KeyForm kWideForm = {HashWide, HashAllWide, CountKnownWide};

static const KeyForm& ChooseForm() noexcept {
  return __builtin_cpu_supports("avx2") ? kWideForm : kPlainForm;
}

#else

static const KeyForm& ChooseForm() noexcept {
  return kPlainForm;
}

#endif

const KeyForm& mKeyFormHere = ChooseForm();
const KeyForm* mpKeyForm = &mKeyFormHere;
