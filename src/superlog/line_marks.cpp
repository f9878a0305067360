#include "superlog/line_marks.h"

#include <bit>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

static constexpr size_t kWord = LineMarks::kWordBits;

// So many bytes are marked without asking whether the line is longer: a loop that ends after
// a different number of turns for each line costs more, in mispredicted branches, than the
// bytes do.
static constexpr size_t kStride = 256;
static_assert(kStride <= kScanOverread && kStride % kWord == 0);

void MarkBytesPlainly(LineMarks& marks, const char* line, const char* end, char separator) {
  uint64_t* quotes = marks.quotes;
  uint64_t* stops = marks.stops;
  for (; line < end; line += kWord) {
    *quotes = MatchMask64(line, '"');
    *stops++ = *quotes++ | MatchMask64(line, separator);
  }
}

#if defined(__x86_64__)

#define WIDE [[gnu::target("avx2"), gnu::always_inline]] inline static

WIDE __m256i LoadWide(const char* from) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

WIDE uint64_t MatchWide(__m256i low, __m256i high, __m256i c) {
  const auto in_low = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(low, c)));
  const auto in_high = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(high, c)));
  return in_low | uint64_t{in_high} << 32;
}

[[gnu::target("avx2")]] static void MarkBytesWide(LineMarks& marks, const char* line, const char* end,
                                                  char separator) {
  const __m256i quote = _mm256_set1_epi8('"');
  const __m256i stop = _mm256_set1_epi8(separator);
  uint64_t* quotes = marks.quotes;
  uint64_t* stops = marks.stops;
  for (; line < end; line += kStride) {
#pragma GCC unroll 4
    for (size_t i = 0; i < kStride; i += kWord) {
      const __m256i low = LoadWide(line + i);
      const __m256i high = LoadWide(line + i + sizeof low);
      const uint64_t word = MatchWide(low, high, quote);
      *quotes++ = word;
      *stops++ = word | MatchWide(low, high, stop);
    }
  }
}

#undef WIDE

static MarkBytesForm ChooseForm() noexcept {
  return __builtin_cpu_supports("avx2") ? MarkBytesWide : MarkBytesPlainly;
}

#else

static MarkBytesForm ChooseForm() noexcept {
  return MarkBytesPlainly;
}

#endif

const MarkBytesForm mpMarkBytes = ChooseForm();

void MarkLine(LineMarks& marks, char* line, char* end, char separator) {
  mpMarkBytes(marks, line, end, separator);
  const auto length = static_cast<size_t>(end - line);
  marks.line = line;
  marks.end = end;
  for (uint64_t* const words : {marks.quotes, marks.stops}) {
    words[length / kWord] |= uint64_t{1} << length % kWord;
  }
}
