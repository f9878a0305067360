#include "superlog/log_dates.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/text.h"
#include "dates/days.h"
#include "dates/local_time.h"
#include "dates/written_zone.h"
#include "dates/years.h"
#include "superlog/digits.h"
#include "superlog/log_limits.h"
#include "superlog/superlog.h"

// deliberate: not the 2,082,844,800 seconds between the two epochs
static constexpr uint32_t kEpochShift = 2085978496;
static constexpr int kDefaultSource = 1;

// Where an order keeps day, month and year among its three numbers.
struct DatePlaces {
  const char* name;
  DateOrder order;
  int day;
  int month;
  int year;
};

static constexpr DatePlaces kOrders[] = {{"DMY", kOrderDmy, 0, 1, 2}, {"DYM", kOrderDym, 0, 2, 1},
                                         {"MDY", kOrderMdy, 1, 0, 2}, {"MYD", kOrderMyd, 2, 0, 1},
                                         {"YDM", kOrderYdm, 1, 2, 0}, {"YMD", kOrderYmd, 2, 1, 0}};

DateOrder mDateFormat = kOrderMdy;
bool mFixGmt = false;
time_t mGmtOffset = 0;
static int mDateFormatSource = kDefaultSource;
static int mFixGmtSource = kDefaultSource;
static time_t mEpochStart = 0;
static time_t mEpochEnd = 0;

// A date of the usual form up to its minutes, the last that was met, and what it says.
static constexpr std::string_view kHourForm = "00/Mmm/0000:00:";
static char mHourText[kHourForm.size()];
static tm mHour;

void ResetLogDates() {
  mDateFormat = kOrderMdy;
  mFixGmt = false;
  mGmtOffset = 0;
  mDateFormatSource = kDefaultSource;
  mFixGmtSource = kDefaultSource;
}

static time_t StartOfYear(int year) {
  tm start = {};
  start.tm_year = year - 1900;
  start.tm_mday = 1;
  start.tm_isdst = -1;
  return LocalToTime(start);
}

// January 1970, so that the zone's standard time is measured.
static time_t ZoneOffset() {
  const time_t instant = 172800;
  tm universal;
  tm local;
  if (gmtime_r(&instant, &universal) == nullptr || !TimeToLocal(instant, local)) {
    return 0;
  }
  local.tm_isdst = -1;
  const time_t from_universal = LocalToTime(universal);
  const time_t from_local = LocalToTime(local);
  return from_universal != 0 && from_local != 0 ? from_local - from_universal : 0;
}

void InitLogDates() {
  ResetLocalTime();
  mEpochStart = StartOfYear(1970);
  mEpochEnd = StartOfYear(2020);
  mHourText[0] = '\0';
  mGmtOffset = mFixGmt && !mLogLimits.zones ? ZoneOffset() : 0;
}

void SuperLog_SetDateFormat(const char* name, int source) {
  if (source < mDateFormatSource || name == nullptr) {
    return;
  }
  for (const DatePlaces& places : kOrders) {
    if (EqualIgnoreCase(name, places.name)) {
      mDateFormat = places.order;
      mDateFormatSource = source;
    }
  }
}

DateOrder SuperLog_GetDateFormat() {
  return mDateFormat;
}

void SuperLog_SetFixGmt(const char* text, int source) {
  if (source >= mFixGmtSource && text != nullptr) {
    mFixGmt = ToInt(text) != 0;
    mFixGmtSource = source;
  }
}

static int ReadNumber(const char*& text) {
  uint32_t value = 0;
  for (uint32_t digit; (digit = static_cast<unsigned char>(*text) - uint32_t{'0'}) < 10; ++text) {
    value = value * 10 + digit;
  }
  return static_cast<int>(value);
}

// A number that must end at the terminator, which is consumed.
static bool ReadNumberUpTo(const char*& text, char terminator, int& number) {
  number = ReadNumber(text);
  if (*text != terminator) {
    return false;
  }
  ++text;
  return true;
}

static int SinceEra(int year) {
  return year > 1899 ? year - 1900 : year;
}

static int MonthIndex(int month) {
  return static_cast<int>(static_cast<uint32_t>(month) - 1);
}

const char* ReadThreeNumbers(const char* text, int (&numbers)[3]) {
  for (int& number : numbers) {
    number = ReadNumber(text);
    text += *text != '\0';
  }
  return text;
}

void ParseDateOrTimeTriplet(const char* text, int (&numbers)[3]) {
  ReadThreeNumbers(text + strspn(text, " "), numbers);
  for (int& number : numbers) {
    number = SinceEra(number);
  }
}

static int YearSince1900(int year) {
  return mLogLimits.wide_figures && year > 1899 ? year - 1900 : IntTotm_year(year);
}

void SetDateByOrder(DateOrder order, int a, int b, int c, tm& when) {
  const int numbers[] = {a, b, c};
  const DatePlaces& places = kOrders[order - kOrderDmy];
  when.tm_mday = numbers[places.day];
  when.tm_mon = MonthIndex(numbers[places.month]);
  when.tm_year = YearSince1900(numbers[places.year]);
}

void GuessDateBestEffort(int a, int b, int c, tm& when) {
  DateOrder order = mDateFormat;
  if (a > 89) {
    order = kOrderYmd;
  }
  // deliberate: the second test wins over the first, and asks for the setting
  if (c >= 90 && mDateFormat != kOrderMdy && mDateFormat != kOrderDmy) {
    order = kOrderMdy;
  }
  SetDateByOrder(order, a, b, c, when);
}

static bool IsEpochInSpan(int64_t value) {
  return value >= mEpochStart && value <= mEpochEnd;
}

// Times counted from 1904 are negative in 32 bits; the sums wrap on purpose,
// which brings them back into the span.
static time_t ReadNarrowEpoch(const char* text) {
  const uint32_t bits = static_cast<uint32_t>(strtoul(text, nullptr, 10));
  const int32_t value = static_cast<int32_t>(bits);
  const bool late = value > mEpochEnd;
  const int32_t shifted = static_cast<int32_t>(late ? bits + kEpochShift : bits - kEpochShift);
  return !IsEpochInSpan(value) && IsEpochInSpan(shifted) ? shifted : value;
}

// Times counted from 1904 are the same here: those beyond 31 bits.
static time_t ReadWideEpoch(const char* text) {
  const int64_t value = strtoll(text, nullptr, 10);
  const bool from_1904 = value > INT32_MAX && IsEpochInSpan(value - int64_t{kEpochShift});
  return from_1904 ? value - int64_t{kEpochShift} : value;
}

void ParseEpoch(const char* text, tm& when) {
  TimeToLocal(mLogLimits.wide_figures ? ReadWideEpoch(text) : ReadNarrowEpoch(text), when);
}

// Three letters in one number, so that a name is compared at once.
static constexpr uint32_t ThreeLetters(const char* text) {
  uint32_t letters = 0;
  for (int i = 0; i < 3 && text[i] != '\0'; ++i) {
    letters = letters << 8 | static_cast<unsigned char>(text[i]);
  }
  return letters;
}

static constexpr uint32_t kMonths[] = {
    ThreeLetters("Jan"), ThreeLetters("Feb"), ThreeLetters("Mar"), ThreeLetters("Apr"),
    ThreeLetters("May"), ThreeLetters("Jun"), ThreeLetters("Jul"), ThreeLetters("Aug"),
    ThreeLetters("Sep"), ThreeLetters("Oct"), ThreeLetters("Nov"), ThreeLetters("Dec"),
};

// The month (0-11) whose name stands at the start of the text, -1 for none.
static int FindMonth(const char* text) {
  const uint32_t letters = ThreeLetters(text);
  for (int month = 0; month < 12; ++month) {
    if (kMonths[month] == letters) {
      return month;
    }
  }
  return -1;
}

static int FindMonthIgnoreCase(const char* text) {
  char name[4];
  CopyText(name, CutText(text, 3));
  for (char& c : name) {
    c = ToLowerAscii(c);
  }
  name[0] = static_cast<char>(IsLetterAscii(name[0]) ? name[0] - 'a' + 'A' : name[0]);
  return FindMonth(name);
}

// What follows a time: perhaps a fraction, then perhaps a zone.
static void ParseZone(const char* text, tm& when) {
  if (*text == '.') {
    text += 1 + strspn(text + 1, "0123456789");
  }
  std::string_view rest = text + strspn(text, " ");
  int seconds;
  if (TakeZone(rest, seconds)) {
    when.tm_gmtoff = seconds;
    when.tm_zone = kWrittenZone;
  }
}

void ParseDateTime1(const char* text, tm& when) {
  int day;
  if (!ReadNumberUpTo(text, '/', day)) {
    return;
  }
  const int month = FindMonth(text);
  if (month < 0 || text[3] == '\0') {
    return;
  }
  text += 4;
  int year;
  int hour;
  int minute;
  if (!ReadNumberUpTo(text, ':', year) || !ReadNumberUpTo(text, ':', hour) ||
      !ReadNumberUpTo(text, ':', minute)) {
    return;
  }
  when.tm_mday = day;
  when.tm_mon = month;
  when.tm_year = SinceEra(year);
  when.tm_hour = hour;
  when.tm_min = minute;
  when.tm_sec = ReadNumber(text);
  if (mLogLimits.zones) {
    ParseZone(text, when);
  }
}

static bool HasHourForm(std::string_view text) {
  return FindMonth(text.data() + kHourForm.find('M')) >= 0 &&
         std::equal(kHourForm.begin(), kHourForm.end(), text.begin(), [](char form, char c) {
           return form == '0' ? IsDigitAscii(c) : IsLetterAscii(form) || c == form;
         });
}

// Minutes and seconds where a date of the usual form has them, of two digits each.
static bool ReadMinutes(std::string_view text, int& minute, int& second) {
  constexpr size_t kHourPlace = kHourForm.size() - std::string_view("00:").size();
  constexpr size_t kClock = std::string_view("00:00:00").size();
  const char* const clock = text.data() + kHourPlace;
  int hour;
  return text.size() >= kHourPlace + kClock && ReadClock(clock, hour, minute, second) &&
         !IsDigitAscii(clock[kClock]);
}

// What follows the seconds of that date, where it is as long as a zone.
static constexpr std::string_view kZoneForm = " +0000";
static constexpr size_t kZonePlace = kHourForm.size() + std::string_view("00:00").size();
static char mZoneText[kZoneForm.size()];

// When the hour of that date begins, where its zone counts; else 0, as before 1970 and of an hour that there
// is none of.
static time_t mHourBegin = 0;

static time_t BeginOfHour(tm when) {
  const bool real = when.tm_hour < 24 &&
                    IsDay({.month = when.tm_mon + 1, .day = when.tm_mday, .year = when.tm_year + 1900});
  when.tm_min = when.tm_sec = 0;
  return when.tm_zone == nullptr || !real ? 0 : std::max(InstantOf(when), time_t{0});
}

static void RememberHour(std::string_view text, const tm& when) {
  text.copy(mHourText, sizeof mHourText);
  mHour = when;
  mHourBegin = BeginOfHour(when);
  const std::string_view zone = text.substr(kZonePlace);
  std::fill_n(mZoneText, sizeof mZoneText, '\0');
  zone.copy(mZoneText, zone.find(']') == std::string_view::npos ? sizeof mZoneText : 0);
}

bool ReadInLastHour(std::string_view text, tm& when, time_t& instant) {
  int minute;
  int second;
  if (text.size() != kZonePlace + kZoneForm.size() || memcmp(text.data(), mHourText, sizeof mHourText) != 0 ||
      memcmp(text.data() + kZonePlace, mZoneText, sizeof mZoneText) != 0 ||
      !ReadMinutes(text, minute, second)) {
    return false;
  }
  if (mHourBegin != 0 && minute < 60 && second <= 60) {
    instant = mHourBegin + minute * time_t{60} + second;
    return true;
  }
  instant = 0;
  when = mHour;
  when.tm_min = minute;
  when.tm_sec = second;
  return true;
}

void ParseNextDateTime1(std::string_view text, tm& when) {
  int minute;
  int second;
  if (!ReadMinutes(text, minute, second)) {
    ParseDateTime1(text.data(), when);
  } else if (memcmp(text.data(), mHourText, sizeof mHourText) == 0) {
    when.tm_year = mHour.tm_year;
    when.tm_mon = mHour.tm_mon;
    when.tm_mday = mHour.tm_mday;
    when.tm_hour = mHour.tm_hour;
    when.tm_min = minute;
    when.tm_sec = second;
    if (mLogLimits.zones) {
      ParseZone(text.data() + kZonePlace, when);
    }
  } else {
    ParseDateTime1(text.data(), when);
    if (HasHourForm(text)) {
      RememberHour(text, when);
    }
  }
}

void ParseDate2(const char* text, tm& when) {
  int numbers[3];
  ReadThreeNumbers(text, numbers);
  GuessDateBestEffort(numbers[0], numbers[1], numbers[2], when);
}

void ParseDate3(const char* text, tm& when) {
  int numbers[3];
  ParseDateOrTimeTriplet(text, numbers);
  when.tm_mday = numbers[2];
  when.tm_mon = MonthIndex(numbers[1]);
  when.tm_year = numbers[0];
}

void ParseDateTime4(const char* text, tm& when) {
  int date[3];
  const char* rest = ReadThreeNumbers(text, date);
  GuessDateBestEffort(date[0], date[1], date[2], when);
  if (*rest != '\0') {
    int time[3];
    ParseDateOrTimeTriplet(rest, time);
    when.tm_hour = time[0];
    when.tm_min = time[1];
    when.tm_sec = time[2];
  }
}

// The last day that was met, in the form of the logs that write it with digits only, and what it said in that
// order and with years of that width.
struct DayText {
  char text[10];
  tm day;
  DateOrder order;
  bool wide;
};

static bool IsOn(std::string_view text, const DayText& day) {
  return memcmp(text.data(), day.text, sizeof day.text) == 0 && day.order == mDateFormat &&
         day.wide == mLogLimits.wide_figures;
}

static void Remember(std::string_view text, const tm& when, DayText& day) {
  text.copy(day.text, sizeof day.text);
  day.day = when;
  day.order = mDateFormat;
  day.wide = mLogLimits.wide_figures;
}

static void TakeDay(const DayText& day, tm& when) {
  when.tm_year = day.day.tm_year;
  when.tm_mon = day.day.tm_mon;
  when.tm_mday = day.day.tm_mday;
}

// Whether the text has digits where the form has them, and others where it has none.
static bool AreDigitsAsIn(std::string_view form, std::string_view text) {
  return std::equal(form.begin(), form.end(), text.begin(),
                    [](char want, char c) { return IsDigitAscii(c) == (want == '0'); });
}

void ParseNextDate3(std::string_view text, tm& when) {
  static DayText day;
  if (text.size() == sizeof day.text && IsOn(text, day)) {
    TakeDay(day, when);
    return;
  }
  ParseDate3(text.data(), when);
  if (text.size() == sizeof day.text) {
    Remember(text, when, day);
  }
}

// The day is remembered where three separators make clear that the time begins behind them.
void ParseNextDateTime4(std::string_view text, tm& when) {
  constexpr std::string_view kForm = "00/00/0000 00:00:00";
  static DayText day;
  if (text.size() == kForm.size() && IsOn(text, day) && !IsDigitAscii(text[10]) &&
      ReadClock(text.data() + 11, when.tm_hour, when.tm_min, when.tm_sec)) {
    TakeDay(day, when);
    return;
  }
  ParseDateTime4(text.data(), when);
  if (text.size() == kForm.size() && AreDigitsAsIn(kForm.substr(0, 11), text)) {
    Remember(text, when, day);
  }
}

void ParseNextTime9(std::string_view text, tm& when) {
  constexpr std::string_view kForm = "00:00:00";
  if (text.size() != kForm.size() || !ReadClock(text.data(), when.tm_hour, when.tm_min, when.tm_sec)) {
    ParseTime9(text.data(), when);
  }
}

// The text from its place on, or its end when it is shorter.
static const char* Skip(const char* text, size_t count) {
  return text + strnlen(text, count);
}

// "Sun, 5 Mar 2000": the day begins at the sixth character.
static void ParseNamedDate(const char* text, tm& when) {
  text = Skip(text, 5);
  when.tm_mday = ReadNumber(text);
  text += strspn(text, " ");
  const int month = FindMonthIgnoreCase(text);
  when.tm_mon = month < 0 ? 0 : month;
  text = Skip(text, 4);
  when.tm_year = YearSince1900(SinceEra(ReadNumber(text)));
}

void ParseDate5(const char* text, tm& when) {
  if (!IsLetterAscii(*text)) {
    ParseDate2(text, when);
  } else if (*Skip(text, 3) == ',') {
    ParseNamedDate(text, when);
  }
}

void ParseTime9(const char* text, tm& when) {
  int hour;
  if (!ReadNumberUpTo(text, ':', hour)) {
    return;
  }
  const int minute = ReadNumber(text);
  if (*text != ':' && *text != '\0') {
    return;
  }
  text += *text == ':';
  when.tm_hour = hour;
  when.tm_min = minute;
  when.tm_sec = ReadNumber(text);
}
