#include "output/svg.h"

#include <ctime>

void PutParts(Sink& sink, int64_t parts, int digits) {
  int64_t whole = 1;
  for (int digit = 0; digit < digits; ++digit) {
    whole *= 10;
  }
  PutNumber(sink, parts / whole);
  int rest = static_cast<int>(parts % whole);
  if (rest == 0) {
    return;
  }
  while (rest % 10 == 0) {
    rest /= 10;
    --digits;
  }
  Put(sink, ".");
  PutPadded(sink, rest, digits);
}

void PutRequests(Sink& sink, int64_t count) {
  PutGrouped(sink, count);
  Put(sink, count == 1 ? Literal(" request") : Literal(" requests"));
}

Literal NameOfWeekday(int weekday) {
  static constexpr Literal kNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                       "Thursday", "Friday", "Saturday"};
  return kNames[weekday];
}

Literal ShortNameOfWeekday(int weekday) {
  static constexpr Literal kNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  return kNames[weekday];
}

Literal ShortNameOfMonth(int month) {
  static constexpr Literal kNames[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  return kNames[month - 1];
}

static tm PartsOfDay(int64_t day) {
  const time_t midnight = day * 86400;
  tm parts{};
  gmtime_r(&midnight, &parts);
  return parts;
}

CalendarDate DateOfDay(int64_t day) {
  const tm parts = PartsOfDay(day);
  return {parts.tm_mon + 1, parts.tm_mday, parts.tm_year + 1900};
}

int WeekdayOfDay(int64_t day) {
  return PartsOfDay(day).tm_wday;
}
