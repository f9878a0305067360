#include "dates/years.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include "dates/clock.h"

// --- Years ---

int StrToYear4(const char* text, int fallback, int last) {
  // strtol saturates, so a number of any length falls out of every span.
  const long n = text == nullptr || *text == '\0' ? -1 : strtol(text, nullptr, 10);
  if (n >= 0 && n <= 38) {
    return static_cast<int>(2000 + n);
  }
  if (n >= 39 && n <= 138) {
    return static_cast<int>(1900 + n);
  }
  return n >= 1900 && n <= last ? static_cast<int>(n) : fallback;
}

int IntTotm_year(int year) {
  if (year >= 0 && year <= 38) {
    return year + 100;
  }
  if (year >= 1900 && year <= 2038) {
    return year - 1900;
  }
  return year;  // 39-138 counts from 1900 already; deliberate: other years come back as they are
}

// --- The requested range ---

static int ToIntOfPair(std::string_view text, size_t position) {
  char pair[3];
  CopyText(pair, position < text.size() ? text.substr(position, 2) : "");
  return ToInt(pair);
}

static CalendarDate ParseMmddyyyy(const char* date) {
  const std::string_view text = date;
  return {ToIntOfPair(text, 0), ToIntOfPair(text, 2), text.size() > 4 ? ToInt(date + 4) : 0};
}

void ParseDate(CalendarDate& start, CalendarDate& end, const Settings& settings) {
  start = ParseMmddyyyy(settings.start_date);
  end = ParseMmddyyyy(settings.end_date);
}

// --- Dates that depend on the present ---

static bool LocalNow(tm& local) {
  const time_t now = CurrentTime();
  return localtime_r(&now, &local) != nullptr;
}

void GuessYearFromTwoDigits(const char* two_digits, char* out) {
  char now[8] = {};
  tm local;
  if (!LocalNow(local) || strftime(now, sizeof now, "%Y", &local) == 0) {
    CopyText(now, "1998");
  }
  out[0] = now[0];
  out[1] = now[1];
  out[2] = two_digits[0];
  out[3] = two_digits[1];
  // deliberate: no fixed pivot, and years roll forward only
  const bool late_in_century = now[2] == '8' || now[2] == '9';
  const bool early_in_century = two_digits[0] == '0' || two_digits[0] == '1';
  if (!late_in_century || !early_in_century) {
    return;
  }
  if (out[1] == '9') {
    out[1] = '0';
    ++out[0];
  } else {
    ++out[1];
  }
}

// The month's number as two digits, or null for a name that is none.
static const char* MonthDigits(std::string_view name) {
  static constexpr std::string_view kNames = "JanFebMarAprMayJunJulAugSepOctNovDec";
  static constexpr const char* kDigits[] = {"01", "02", "03", "04", "05", "06",
                                            "07", "08", "09", "10", "11", "12"};
  for (size_t month = 0; month < 12; ++month) {
    if (name == kNames.substr(month * 3, 3)) {
      return kDigits[month];
    }
  }
  return nullptr;
}

void ConvertLogDateTimeToSortableDate(const char* log_date, char* out) {
  const std::string_view text = log_date;
  const char* month = text.size() < 6 ? nullptr : MonthDigits(text.substr(3, 3));
  const bool two_digit_year = text.size() > 9 && text[9] == ':';
  const bool four_digit_year = text.size() > 11 && text[11] == ':';
  if (month == nullptr || (!two_digit_year && !four_digit_year)) {
    out[0] = '\0';
    return;
  }
  if (two_digit_year) {
    GuessYearFromTwoDigits(log_date + 7, out);
  } else {
    memcpy(out, log_date + 7, 4);
  }
  memcpy(out + 4, month, 2);
  memcpy(out + 6, log_date, 2);
}

int today(const char* text) {
  tm local;
  if (!LocalNow(local)) {
    return 0;
  }
  char now[40];
  snprintf(now, sizeof now, "%02d%02d%02d", local.tm_year % 100, local.tm_mon + 1, local.tm_mday);
  return std::string_view(now) == text ? 1 : 0;
}
