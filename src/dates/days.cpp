#include "dates/days.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "base/text.h"
#include "dates/local_time.h"

using std::chrono::sys_days;
using std::chrono::year_month_day;

// ---- The calendar ----

static constexpr int kFirstYear = 1900;

static year_month_day CalendarOf(const CalendarDate& date) {
  return std::chrono::year(date.year) / static_cast<int>(date.month) / date.day;
}

bool IsDay(const CalendarDate& date) {
  const bool bounded = date.year >= kFirstYear && date.year <= kLastWrittenYear && date.month >= 1 &&
                       date.month <= 12 && date.day >= 1 && date.day <= 31;
  return bounded && CalendarOf(date).ok();
}

int64_t NumberOfDay(const CalendarDate& date) {
  return sys_days(CalendarOf(date)).time_since_epoch().count();
}

CalendarDate DayOfNumber(int64_t number) {
  const year_month_day date{sys_days(std::chrono::days(number))};
  return {static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day())), static_cast<int>(date.year())};
}

static CalendarDate DaysBefore(const CalendarDate& day, int64_t days) {
  return DayOfNumber(NumberOfDay(day) - days);
}

int64_t CountDays(const DayRange& range) {
  return NumberOfDay(range.last) - NumberOfDay(range.first) + 1;
}

DayRange MonthOf(const CalendarDate& day) {
  const CalendarDate next = day.month == 12 ? CalendarDate{1, 1, day.year + 1}  //
                                            : CalendarDate{day.month + 1, 1, day.year};
  return {{day.month, 1, day.year}, DaysBefore(next, 1)};
}

DayRange WeekOf(const CalendarDate& day) {
  const int64_t number = NumberOfDay(day);
  const std::chrono::weekday weekday{sys_days(std::chrono::days(number))};
  const int64_t monday = number - (weekday.iso_encoding() - 1);
  return {DayOfNumber(monday), DayOfNumber(monday + 6)};
}

DayRange YearOf(const CalendarDate& day) {
  return {{1, 1, day.year}, {12, 31, day.year}};
}

CalendarDate DayOf(const tm& local) {
  const int year = local.tm_year + 1900;
  if (year < 0) {
    return {1, 1, 0};
  }
  return year > 9999 ? CalendarDate{12, 31, 9999} : CalendarDate{local.tm_mon + 1, local.tm_mday, year};
}

CalendarDate DayOf(time_t when) {
  tm local{};
  TimeToLocal(when, local);
  return DayOf(local);
}

static bool HasBegun(const CalendarDate& day, time_t when) {
  tm local{};
  TimeToLocal(when, local);
  const CalendarDate shown{local.tm_mon + 1, local.tm_mday, local.tm_year + 1900};
  return NumberOfDay(shown) >= NumberOfDay(day);
}

time_t BeginOfDay(const CalendarDate& day) {
  constexpr time_t kDay = 86400;  // no clock is further from that of Greenwich
  time_t before = (NumberOfDay(day) - 1) * kDay;
  time_t begun = (NumberOfDay(day) + 1) * kDay;
  while (begun - before > 1) {
    const time_t middle = before + (begun - before) / 2;
    (HasBegun(day, middle) ? begun : before) = middle;
  }
  return begun;
}

template <size_t N>
static void WriteDay(char (&date)[N], const CalendarDate& day) {
  snprintf(date, N, "%02d%02d%04d", day.month, day.day, day.year);
}

void SetDays(Settings& settings, const DayRange& days) {
  WriteDay(settings.start_date, days.first);
  WriteDay(settings.end_date, days.last);
}

// ---- Words ----

struct Word {
  std::string_view text;
  DayRange (*days)(const CalendarDate& today);
};

static constexpr Word kWords[] = {
    {"today",
     [](const CalendarDate& today) {
       return DayRange{today, today};
     }},
    {"yesterday",
     [](const CalendarDate& today) {
       return DayRange{DaysBefore(today, 1), DaysBefore(today, 1)};
     }},
    {"this-month",
     [](const CalendarDate& today) {
       return DayRange{MonthOf(today).first, today};
     }},
    {"last-month", [](const CalendarDate& today) { return MonthOf(DaysBefore(MonthOf(today).first, 1)); }},
    {"this-year",
     [](const CalendarDate& today) {
       return DayRange{YearOf(today).first, today};
     }},
};

static bool AreDigits(std::string_view text) {
  for (const char c : text) {
    if (!IsDigitAscii(c)) {
      return false;
    }
  }
  return !text.empty();
}

static int NumberOfDigits(std::string_view digits) {
  int number = 0;
  for (const char c : digits) {
    number = number * 10 + (c - '0');
  }
  return number;
}

// How many days "7d" stands for; 0 when the text is no such word.
static int CountOfWord(std::string_view text) {
  if (text.size() < 2 || text.size() > 4 || ToLowerAscii(text.back()) != 'd') {
    return 0;
  }
  text.remove_suffix(1);
  return AreDigits(text) ? NumberOfDigits(text) : 0;
}

bool ParseDays(std::string_view text, const CalendarDate& today, DayRange& days) {
  for (const Word& word : kWords) {
    if (EqualIgnoreCase(text, word.text)) {
      days = word.days(today);
      return true;
    }
  }
  const int count = CountOfWord(text);
  if (count > 0) {
    days = {DaysBefore(today, count - 1), today};
  }
  return count > 0;
}

// ---- ISO dates ----

static bool ParseIsoDay(std::string_view text, CalendarDate& day) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') {
    return false;
  }
  const std::string_view parts[] = {text.substr(0, 4), text.substr(5, 2), text.substr(8, 2)};
  for (const std::string_view part : parts) {
    if (!AreDigits(part)) {
      return false;
    }
  }
  const CalendarDate date{NumberOfDigits(parts[1]), NumberOfDigits(parts[2]), NumberOfDigits(parts[0])};
  if (!IsDay(date)) {
    return false;
  }
  day = date;
  return true;
}

static bool IsWordOfOneDay(std::string_view text) {
  return EqualIgnoreCase(text, "today") || EqualIgnoreCase(text, "yesterday") || CountOfWord(text) > 0;
}

bool ParseDay(std::string_view text, const CalendarDate& today, CalendarDate& day) {
  if (!IsWordOfOneDay(text)) {
    return ParseIsoDay(text, day);
  }
  DayRange days{};
  ParseDays(text, today, days);
  day = days.first;
  return true;
}
