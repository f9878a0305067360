#include "superlog/usual_line.h"

#include <algorithm>
#include <bit>

#include "superlog/byte_scan.h"
#include "superlog/digits.h"
#include "superlog/log_dates.h"
#include "superlog/log_limits.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

UsualLayout UsualLayoutOf(std::string_view letters) {
  constexpr std::string_view kLetters = "hmw1qrcfa";
  static constexpr std::string_view kNeeded = "1qrc";
  const auto fits = [](char letter, char usual) {
    return letter == usual || (letter == '?' && kNeeded.find(usual) == std::string_view::npos);
  };
  if (letters.size() < 7 || letters.size() > kLetters.size() ||
      !std::equal(letters.begin(), letters.end(), kLetters.begin(), fits)) {
    return {};
  }
  const auto asked = [&](char letter) { return letters.find(letter) != std::string_view::npos; };
  return {true, letters.size() > 7, asked('h'), asked('m'), asked('w'), asked('f'), asked('a')};
}

// ---- Marks ----

static constexpr size_t kWord = 64;

// So many words are looked at without asking whether the line is longer, and so many quotes written
// of each, whatever it has: loops that end after a different number of turns for each line cost more,
// in mispredicted branches, than the bytes do.
static constexpr size_t kWords = 4;
static constexpr int kQuotes = 4;
static_assert(kWords * kWord <= kScanOverread);

void MarkUsualPlainly(const char* line, size_t length, UsualMarks& marks) {
  marks.blanks = MatchMask64(line, ' ');
  uint32_t* place = marks.quotes;
  for (size_t from = 0; from < length; from += kWord) {
    for (uint64_t bits = MatchMask64(line + from, '"'); bits != 0; bits &= bits - 1) {
      *place++ = static_cast<uint32_t>(from) + static_cast<uint32_t>(std::countr_zero(bits));
    }
  }
  std::fill_n(place, UsualMarks::kNone, UINT32_MAX);
}

#if defined(__x86_64__)

#define FAST [[gnu::target("avx2,bmi,popcnt"), gnu::always_inline]] inline static

FAST uint64_t MatchFast(const char* bytes, char c) {
  const __m256i all = _mm256_set1_epi8(c);
  const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
  const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + sizeof low));
  const auto in_low = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(low, all)));
  const auto in_high = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(high, all)));
  return in_low | uint64_t{in_high} << 32;
}

FAST uint32_t* PlaceFast(const char* line, size_t from, uint32_t* place) {
  uint64_t bits = MatchFast(line + from, '"');
  const int count = __builtin_popcountll(bits);
#pragma GCC unroll 4
  for (int i = 0; i < kQuotes; ++i) {
    place[i] = static_cast<uint32_t>(from + _tzcnt_u64(bits));
    bits = _blsr_u64(bits);
  }
  for (int i = kQuotes; i < count; ++i) {
    place[i] = static_cast<uint32_t>(from + _tzcnt_u64(bits));
    bits = _blsr_u64(bits);
  }
  return place + count;
}

[[gnu::target("avx2,bmi,popcnt")]] static void MarkUsualFast(const char* line, size_t length,
                                                             UsualMarks& marks) {
  marks.blanks = MatchFast(line, ' ');
  uint32_t* place = marks.quotes;
#pragma GCC unroll 4
  for (size_t i = 0; i < kWords; ++i) {
    place = PlaceFast(line, i * kWord, place);
  }
  for (size_t from = kWords * kWord; from < length; from += kWord) {
    place = PlaceFast(line, from, place);
  }
  const __m256i none = _mm256_set1_epi8(-1);
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(place), none);
}
static_assert(UsualMarks::kNone * sizeof(uint32_t) == sizeof(__m256i));

#undef FAST

static MarkUsualForm ChooseForm() noexcept {
  const bool fast =
      __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("popcnt");
  return fast ? MarkUsualFast : MarkUsualPlainly;
}

#else

static MarkUsualForm ChooseForm() noexcept {
  return MarkUsualPlainly;
}

#endif

const MarkUsualForm mpMarkUsual = ChooseForm();

// ---- Fields ----

// Fields are [begin, end), distances from the line's start.
struct Span {
  uint32_t begin;
  uint32_t end;

  std::string_view of(const char* line) const { return {line + begin, end - begin}; }
  uint32_t length() const { return end - begin; }
};

struct UsualFields {
  Span host;
  Span realm;
  Span user;
  Span date;
  Span request;
  Span status;
  Span bytes;
  Span referrer;
  Span agent;
};

static uint32_t TakeBit(uint64_t& bits) {
  const int place = std::countr_zero(bits);
  bits &= bits - 1;
  return static_cast<uint32_t>(place);
}

// Whether a field that begins so ends at the next blank.
static bool IsPlain(char first) {
  return first != '[' && first != '\'' && first != '"';
}

// host realm user [date zone] "
static bool FindBegin(const char* line, const UsualMarks& marks, UsualFields& fields) {
  uint64_t blanks = marks.blanks;
  const uint32_t host = TakeBit(blanks);
  const uint32_t realm = TakeBit(blanks);
  const uint32_t user = TakeBit(blanks);
  const uint32_t zone = TakeBit(blanks);
  if (blanks == 0) {
    return false;
  }
  const uint32_t date = TakeBit(blanks);
  fields.host = {0, host};
  fields.realm = {host + 1, realm};
  fields.user = {realm + 1, user};
  fields.date = {user + 2, date - 1};
  return marks.quotes[0] == date + 1 && zone == user + 22 && line[user + 1] == '[' && line[date - 1] == ']' &&
         IsPlain(line[0]) && IsPlain(line[host + 1]) && IsPlain(line[realm + 1]);
}

// "request" 200 bytes, at the line's end or before "referrer" "agent"
static bool FindEnd(const char* line, uint32_t length, const UsualMarks& marks, UsualFields& fields) {
  const uint32_t* const quotes = marks.quotes;
  const uint32_t status = quotes[1] + 2;
  fields.request = {quotes[0] + 1, quotes[1]};
  fields.status = {status, status + 3};
  fields.bytes = {status + 4, quotes[2] < length ? quotes[2] - 1 : length};
  fields.referrer = {quotes[2] + 1, quotes[3]};
  fields.agent = {quotes[4] + 1, quotes[5]};
  return status + 4 < length && line[status - 1] == ' ' && line[status + 3] == ' ' &&
         fields.bytes.length() - 1 < 8;
}

static bool IsLonger(const char* line, uint32_t length, const UsualMarks& marks) {
  const uint32_t* const quotes = marks.quotes;
  return quotes[5] == length - 1 && quotes[4] == quotes[3] + 2 && line[quotes[2] - 1] == ' ' &&
         line[quotes[3] + 1] == ' ';
}

template <bool kEscapes>
static bool MayEnd(const char* line, Span field) {
  return field.length() <= mLogLimits.item && (!kEscapes || line[field.end - 1] != '\\');
}

static std::string_view Asked(bool asked, const char* line, Span field) {
  return asked ? field.of(line) : std::string_view{};
}

template <bool kEscapes>
bool ReadUsualLine(const char* line, const char* end, const UsualLayout& layout, SuperLogRecord& record) {
  static UsualMarks marks;
  const auto length = static_cast<size_t>(end - line);
  if (length >= UsualMarks::kLongest) {
    return false;
  }
  mpMarkUsual(line, length, marks);
  UsualFields fields;
  if (!FindBegin(line, marks, fields) || !FindEnd(line, static_cast<uint32_t>(length), marks, fields) ||
      !MayEnd<kEscapes>(line, fields.request)) {
    return false;
  }
  const bool longer = marks.quotes[2] < length;
  if (longer ? !IsLonger(line, static_cast<uint32_t>(length), marks) ||
                   !MayEnd<kEscapes>(line, fields.referrer) || !MayEnd<kEscapes>(line, fields.agent)
             : layout.longer) {
    return false;
  }
  const uint64_t status = DigitWord(line + fields.status.begin, fields.status.length());
  const uint64_t bytes = DigitWord(line + fields.bytes.begin, fields.bytes.length());
  if (!AreDigits(status) || !AreDigits(bytes) ||
      !ReadInLastHour(fields.date.of(line), record.local, record.time)) {
    return false;
  }
  record.status = NumberOfDigits(status);
  record.bytes = NumberOfDigits(bytes);
  record.host = Asked(layout.host, line, fields.host);
  record.realm = Asked(layout.realm, line, fields.realm);
  record.user = Asked(layout.user, line, fields.user);
  record.url = fields.request.of(line);
  record.referrer = Asked(layout.referrer, line, fields.referrer);
  record.agent = Asked(layout.agent, line, fields.agent);
  return true;
}

template bool ReadUsualLine<false>(const char* line, const char* end, const UsualLayout& layout,
                                   SuperLogRecord& record);
template bool ReadUsualLine<true>(const char* line, const char* end, const UsualLayout& layout,
                                  SuperLogRecord& record);
