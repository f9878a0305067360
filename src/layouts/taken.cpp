#include "layouts/taken.h"

#include <algorithm>

#include "base/text.h"

static constexpr int kSeconds = 6;
static constexpr int kMilliseconds = 3;
static constexpr int kMicroseconds = 0;
static constexpr int kNanoseconds = -3;

// Digits, and the power of ten that they are to be taken by.
struct Number {
  int64_t digits = 0;
  int power = 0;
  bool is_one = false;
};

// Further digits say nothing, as those that are taken pass kMostTaken or are less than a microsecond behind.
static void AddDigit(Number& number, char digit, bool behind_point) {
  static constexpr int64_t kEnough = 100'000'000'000'000'000;
  number.is_one = true;
  if (number.digits < kEnough) {
    number.digits = number.digits * 10 + (digit - '0');
    number.power -= behind_point ? 1 : 0;
  } else {
    number.power += behind_point ? 0 : 1;
  }
}

static Number TakeDigits(std::string_view& text) {
  Number number;
  bool behind_point = false;
  size_t at = 0;
  for (; at < text.size() && (IsDigitAscii(text[at]) || (text[at] == '.' && !behind_point)); ++at) {
    if (text[at] == '.') {
      behind_point = true;
    } else {
      AddDigit(number, text[at], behind_point);
    }
  }
  text.remove_prefix(at);
  return number;
}

// "e-05"; one of more than two digits is of no time.
static bool TakeExponent(std::string_view& text, Number& number) {
  if (text.empty() || ToLowerAscii(text[0]) != 'e') {
    return true;
  }
  const bool negative = text.substr(1).starts_with('-');
  text.remove_prefix(negative || text.substr(1).starts_with('+') ? 2 : 1);
  const auto* const end = std::find_if_not(text.begin(), text.end(), IsDigitAscii);
  const auto digits = static_cast<size_t>(end - text.begin());
  if (digits < 1 || digits > 2) {
    return false;
  }
  int exponent = 0;
  for (const char c : text.substr(0, digits)) {
    exponent = exponent * 10 + (c - '0');
  }
  number.power += negative ? -exponent : exponent;
  text.remove_prefix(digits);
  return true;
}

// False when something stands behind the number that is no unit.
static bool TakeUnit(std::string_view text, int& power) {
  static constexpr struct {
    std::string_view name;
    int power;
  } kUnits[] = {{"s", kSeconds},
                {"ms", kMilliseconds},
                {"us", kMicroseconds},
                {"\xC2\xB5s", kMicroseconds},
                {"ns", kNanoseconds}};
  for (const auto& unit : kUnits) {
    if (text == unit.name) {
      power = unit.power;
      return true;
    }
  }
  return text.empty();
}

static int64_t MicrosecondsOf(const Number& number) {
  int64_t taken = number.digits;
  for (int power = number.power; power < 0 && taken > 0; ++power) {
    taken /= 10;
  }
  for (int power = number.power; power > 0 && taken > 0 && taken <= kMostTaken; --power) {
    taken *= 10;
  }
  return taken <= kMostTaken ? taken : kNotTaken;
}

int64_t ReadTaken(std::string_view text, int power) {
  Number number = TakeDigits(text);
  if (!number.is_one || !TakeExponent(text, number) || !TakeUnit(text, power)) {
    return kNotTaken;
  }
  number.power += power;
  return MicrosecondsOf(number);
}

int64_t ReadTakenByForm(std::string_view text) {
  return ReadTaken(text, text.find('.') == std::string_view::npos ? kMilliseconds : kSeconds);
}

static int64_t SumOfParts(const LineFields& fields) {
  int64_t sum = 0;
  for (const Field field : {Field::kTakenSeconds, Field::kTakenThen, Field::kTakenLast}) {
    const int64_t part = ReadTaken(fields[field], kSeconds);
    if (part == kNotTaken) {
      return kNotTaken;
    }
    sum += part;
  }
  return sum <= kMostTaken ? sum : kNotTaken;
}

struct FieldOfUnit {
  Field field;
  int power;
};
static constexpr FieldOfUnit kFieldsOfUnits[] = {{Field::kTakenNanoseconds, kNanoseconds},
                                                 {Field::kTakenMicroseconds, kMicroseconds},
                                                 {Field::kTakenMilliseconds, kMilliseconds}};

int64_t TakenIn(const LineFields& fields) {
  for (const FieldOfUnit& known : kFieldsOfUnits) {
    if (fields[known.field].data() != nullptr) {
      return ReadTaken(fields[known.field], known.power);
    }
  }
  if (fields[Field::kTakenThen].data() != nullptr) {
    return SumOfParts(fields);
  }
  return fields[Field::kTakenSeconds].data() != nullptr ? ReadTaken(fields[Field::kTakenSeconds], kSeconds)
                                                        : ReadTakenByForm(fields[Field::kTakenByForm]);
}
