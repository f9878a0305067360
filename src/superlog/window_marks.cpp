#include "superlog/window_marks.h"

#include <bit>

#include "superlog/byte_scan.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

static constexpr size_t kWord = 64;
static_assert(kWord <= kScanOverread);

// The last word may reach behind the window's end.
static void EndMarks(size_t to, const uint32_t* first, uint32_t* behind) {
  while (behind != first && behind[-1] >= to) {
    --behind;
  }
  *behind = static_cast<uint32_t>(to);
}

void MarkWindowPlainly(const char* buffer, size_t from, size_t to, bool ff_ends_line, uint32_t* marks) {
  uint32_t* mark = marks;
  for (size_t at = from; at < to; at += kWord) {
    const char* const bytes = buffer + at;
    const uint64_t ffs = ff_ends_line ? MatchMask64(bytes, '\xFF') : 0;
    uint64_t bits = MatchMask64(bytes, '\n') | MatchMask64(bytes, '\r') | MatchMask64(bytes, '\0') |
                    MatchMask64(bytes, '"') | ffs;
    for (; bits != 0; bits &= bits - 1) {
      *mark++ = static_cast<uint32_t>(at + static_cast<size_t>(std::countr_zero(bits)));
    }
  }
  EndMarks(to, marks, mark);
}

#if defined(__x86_64__)

#define FAST [[gnu::target("avx2,bmi,popcnt"), gnu::always_inline]] inline static

// So many marks are written of each word, whatever it has: a loop that ends after a different number of turns
// for each costs more, in mispredicted branches, than the bytes do.
static constexpr int kAtOnce = 4;
static_assert(kWord + kAtOnce <= kMarksBehind);

FAST uint32_t* PlaceFast(uint64_t bits, size_t at, uint32_t* mark) {
  const int count = __builtin_popcountll(bits);
#pragma GCC unroll 4
  for (int i = 0; i < kAtOnce; ++i) {
    mark[i] = static_cast<uint32_t>(at + _tzcnt_u64(bits));
    bits = _blsr_u64(bits);
  }
  for (int i = kAtOnce; i < count; ++i) {
    mark[i] = static_cast<uint32_t>(at + _tzcnt_u64(bits));
    bits = _blsr_u64(bits);
  }
  return mark + count;
}

// Of the bytes that are marked, each plus 1, so that none has its highest bit set: each stands at the place
// that its low four bits name. What stands at the others is equal to no byte that is looked up there.
FAST __m256i MarkedBytes(bool ff_ends_line) {
  constexpr char kNone = '\x80';
  const char ff = ff_ends_line ? '\0' : kNone;
  return _mm256_broadcastsi128_si256(_mm_setr_epi8(ff, '\0' + 1, kNone, '"' + 1, kNone, kNone, kNone, kNone,
                                                   kNone, kNone, kNone, '\n' + 1, kNone, kNone, '\r' + 1,
                                                   kNone));
}

FAST uint32_t MatchFast(const char* bytes, __m256i marked) {
  const __m256i next =
      _mm256_add_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes)), _mm256_set1_epi8(1));
  return static_cast<uint32_t>(
      _mm256_movemask_epi8(_mm256_cmpeq_epi8(next, _mm256_shuffle_epi8(marked, next))));
}

[[gnu::target("avx2,bmi,popcnt")]] static void MarkWindowFast(const char* buffer, size_t from, size_t to,
                                                              bool ff_ends_line, uint32_t* marks) {
  const __m256i marked = MarkedBytes(ff_ends_line);
  uint32_t* mark = marks;
  for (size_t at = from; at < to; at += kWord) {
    const uint64_t low = MatchFast(buffer + at, marked);
    const uint64_t high = MatchFast(buffer + at + sizeof marked, marked);
    mark = PlaceFast(low | high << 32, at, mark);
  }
  EndMarks(to, marks, mark);
}

#undef FAST

static MarkWindowForm ChooseForm() noexcept {
  const bool fast =
      __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("popcnt");
  return fast ? MarkWindowFast : MarkWindowPlainly;
}

#else

static MarkWindowForm ChooseForm() noexcept {
  return MarkWindowPlainly;
}

#endif

const MarkWindowForm mpMarkWindow = ChooseForm();
