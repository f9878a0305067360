#include "superlog/date_guess.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/text.h"
#include "dates/local_time.h"
#include "superlog/field_record.h"
#include "superlog/field_splitter.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_limits.h"

static constexpr size_t kShapeMax = 30;
static constexpr int kManyCommas = 14;  // more of them make a comma-separated line

struct Guess {
  tm when;
  bool dated;
  const char* number;  // the first field that could be a time in seconds; null: none
};

// "n" for a run of digits, "a" for a run of letters, other characters as they
// are. A field too long for its shape has the shape's first characters, which
// no rule takes for a date.
static std::string_view ShapeOf(const char* field, char (&shape)[kShapeMax]) {
  size_t length = 0;
  while (*field != '\0' && length < kShapeMax) {
    const char first = *field++;
    if (IsDigitAscii(first)) {
      shape[length++] = 'n';
      field += strspn(field, "0123456789");
    } else if (IsLetterAscii(first)) {
      shape[length++] = 'a';
      for (; IsLetterAscii(*field); ++field) {
      }
    } else {
      shape[length++] = first;
    }
  }
  return {shape, length};
}

static constexpr int64_t kStartOf1990 = 631152000;
static constexpr int64_t kEndOf9999 = 253402300799;

// 1990 to the start of 2020, counted from 1970 or from 1904; with wide figures to
// the end of four-digit years.
static bool IsEpochOfLogs(const char* field) {
  if (mLogLimits.wide_figures) {
    const int64_t wide = strtoll(field, nullptr, 10);
    return wide >= kStartOf1990 && wide <= kEndOf9999;
  }
  const uint32_t value = static_cast<uint32_t>(strtoul(field, nullptr, 10));
  return (value >= kStartOf1990 && value <= 1577923200) || (value >= 2713996800 && value <= 3660768000);
}

static bool IsCommonLogShape(std::string_view shape) {
  return shape == "n/a/n:n:n:n -n" || shape == "n/a/n:n:n:n +n" || shape == "n/a/n:n:n:n n";
}

static bool IsTripletShape(std::string_view shape) {
  return shape.size() == 5 && shape[0] == 'n' && shape[2] == 'n' && shape[4] == 'n';
}

static int64_t SecondOfDay(int hour, int minute, int second) {
  return (int64_t{hour} * 60 + minute) * 60 + second;
}

struct Triplet {
  int numbers[3];
  char separators[3];
};

static Triplet ReadTriplet(const char* text) {
  Triplet triplet;
  ReadThreeNumbers(text, triplet.numbers);
  for (char& separator : triplet.separators) {
    text += strspn(text, "0123456789");
    separator = *text;
    text += *text != '\0';
  }
  return triplet;
}

// The place of the number that can only be a year (the last of several), -1
// when there is none. Four-digit years become years since 1900.
static int FindYear(int (&numbers)[3]) {
  int place = -1;
  for (int i = 0; i < 3; ++i) {
    if (numbers[i] > 91) {
      place = i;
      numbers[i] -= numbers[i] > 1899 ? 1900 : 0;
    }
  }
  return place;
}

static bool IsTime(const Triplet& triplet) {
  const char first = triplet.separators[0];
  const char second = triplet.separators[1];
  return first == ':' || second == ':' || first != second;
}

static void KeepLatestTime(const int (&time)[3], tm& when) {
  if (SecondOfDay(time[0], time[1], time[2]) > SecondOfDay(when.tm_hour, when.tm_min, when.tm_sec)) {
    when.tm_hour = time[0];
    when.tm_min = time[1];
    when.tm_sec = time[2];
  }
}

// Three numbers that are either a date or a time of day.
static void ParseGenericTriplet(const char* text, Guess& guess) {
  Triplet triplet = ReadTriplet(text);
  int(&numbers)[3] = triplet.numbers;
  const int year_place = FindYear(numbers);
  if (year_place < 0 && IsTime(triplet)) {
    KeepLatestTime(numbers, guess.when);
    return;
  }
  const DateOrder year_first_order = numbers[1] < 13 || numbers[2] > 12 ? kOrderYmd : kOrderYdm;
  const DateOrder order = year_place == 0 ? year_first_order : mDateFormat;
  SetDateByOrder(order, numbers[0], numbers[1], numbers[2], guess.when);
  guess.dated = true;
}

using DateParser = void (*)(const char* text, tm& when);

// The parser of a field that tells date and time at once, null for any other.
static DateParser ParserOfFullDate(std::string_view shape, const char* field) {
  // deliberate: where figures are narrow any number of that size is a time
  if (shape == "n" && !mLogLimits.wide_figures && IsEpochOfLogs(field)) {
    return ParseEpoch;
  }
  if (IsCommonLogShape(shape)) {
    return ParseDateTime1;
  }
  return shape == "n/n/n n:n:n" ? ParseDateTime4 : nullptr;
}

// Takes what a field tells; true when that ends the search.
static bool LookAtField(const char* field, Guess& guess) {
  char buffer[kShapeMax];
  const std::string_view shape = ShapeOf(field, buffer);
  if (const DateParser parse = ParserOfFullDate(shape, field)) {
    parse(field, guess.when);
    guess.dated = true;
    return true;
  }
  if (shape == "a, n a n") {
    ParseDate5(field, guess.when);
    guess.dated = true;
  } else if (IsTripletShape(shape)) {
    ParseGenericTriplet(field, guess);
  } else if (shape == "n" && guess.number == nullptr && IsEpochOfLogs(field)) {
    guess.number = field;
  }
  return false;
}

static char GuessSeparator(std::string_view line) {
  int tabs = 0;
  int commas = 0;
  for (const char c : line) {
    tabs += c == '\t';
    commas += c == ',';
  }
  return commas > kManyCommas ? 'C' : tabs == 0 ? 'S' : 'T';
}

static time_t TimeOf(const Guess& guess) {
  if (!guess.dated) {
    return 0;
  }
  tm when = guess.when;
  when.tm_isdst = -1;
  const time_t time = LocalToTime(when);
  return time == Wrapped(mLogLimits, time) && !HoldsNoDate(when) ? time : -1;
}

static void LookAtFields(char* line, char* end, Guess& guess) {
  const char separator = GuessSeparator({line, static_cast<size_t>(end - line)});
  static LineMarks marks;
  MarkLine(marks, line, end, SeparatorOf(separator));
  FieldCursor cursor = {marks, line, end, line, 0};
  const auto parse = mLogLimits.escapes ? ParseFieldBySeparator<true> : ParseFieldBySeparator<false>;
  bool found = false;
  while (!found && cursor.next < cursor.end) {
    parse(cursor, separator);
    cursor.value[cursor.length] = '\0';
    found = cursor.length > 0 && LookAtField(cursor.value, guess);
  }
}

// Takes the date in front of a request, whatever else the visitor's name looks like.
static bool LookBeforeRequest(char* line, char* end, Guess& guess) {
  char* const date = mLogLimits.escapes ? FindDateBeforeRequest(line, end) : nullptr;
  if (date == nullptr) {
    return false;
  }
  static LineMarks marks;
  MarkLine(marks, date, end, ' ');
  FieldCursor cursor = {marks, date, end, date, 0};
  ParseField(cursor);
  cursor.value[cursor.length] = '\0';
  return LookAtField(cursor.value, guess);
}

time_t GuessDateTimeFromText(char* line) {
  Guess guess = {};
  char* const end = line + strlen(line);
  if (!LookBeforeRequest(line, end, guess)) {
    const std::string_view text = {line, end};
    if (const time_t time = mLogLimits.layouts ? TimeByLayouts(text) : 0; time != 0) {
      return time;
    }
    LookAtFields(line, end, guess);
  }
  // Visitors' names and sizes may be numbers, too: one is a time where nothing else tells any.
  if (!guess.dated && guess.number != nullptr) {
    ParseEpoch(guess.number, guess.when);
    guess.dated = true;
  }
  return TimeOf(guess);
}

time_t GuessDateTimeFromLine() {
  return GuessDateTimeFromText(mpLine);
}
