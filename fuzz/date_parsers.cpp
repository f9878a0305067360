// The date parsers and the year helpers. The first byte picks the order of dates,
// the next four are a time whose written forms must be read back as that time;
// the rest is a text that every parser takes.
#include <cstring>
#include <vector>

#include "dates/clock.h"
#include "dates/local_time.h"
#include "dates/years.h"
#include "superlog/log_dates.h"
#include "superlog/superlog.h"
#include "support.h"

using DateParser = void (*)(const char* text, tm& when);

static constexpr time_t kNoon = 961070400;

static tm Nothing() {
  tm when = {};
  when.tm_isdst = -1;
  return when;
}

static void ParseWithAll(const char* text) {
  for (const DateParser parse :
       {ParseEpoch, ParseDateTime1, ParseDate2, ParseDate3, ParseDateTime4, ParseDate5, ParseTime9}) {
    tm when = Nothing();
    parse(text, when);
    LocalToTime(when);
  }
  tm plain = Nothing();
  tm next = Nothing();
  ParseDateTime1(text, plain);
  ParseNextDateTime1(text, next);
  REQUIRE(memcmp(&next, &plain, sizeof next) == 0);
}

static void CheckReadBack(time_t time, const char* written, DateParser parse) {
  tm when = Nothing();
  parse(written, when);
  REQUIRE(LocalToTime(when) == time);
}

// Times since 1970, when no two-digit year is meant.
static void CheckWrittenForms(time_t time) {
  const time_t midnight = time - time % 86400;
  char text[64];
  tm parts;
  REQUIRE(gmtime_r(&time, &parts) != nullptr);
  strftime(text, sizeof text, "%d/%b/%Y:%H:%M:%S +0000", &parts);
  CheckReadBack(time, text, ParseDateTime1);
  strftime(text, sizeof text, "%Y-%m-%d", &parts);
  CheckReadBack(midnight, text, ParseDate3);
  strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S", &parts);
  CheckReadBack(time, text, ParseDateTime4);
  strftime(text, sizeof text, "%a, %d %b %Y", &parts);
  CheckReadBack(midnight, text, ParseDate5);
  strftime(text, sizeof text, "%H:%M:%S", &parts);
  tm when = parts;
  when.tm_hour = when.tm_min = when.tm_sec = -1;
  ParseTime9(text, when);
  REQUIRE(when.tm_hour == parts.tm_hour && when.tm_min == parts.tm_min && when.tm_sec == parts.tm_sec);
}

static void CheckYears(const char* text) {
  const int year = StrToYear4(text, -1);
  REQUIRE(year == -1 || (year >= 1900 && year <= 2138));
  char sortable[9] = {};
  ConvertLogDateTimeToSortableDate(text, sortable);
  RequireText(sortable);
  REQUIRE(sortable[0] == '\0' || strlen(sortable) == 8);
  if (strlen(text) >= 2) {
    char full[5] = {};
    GuessYearFromTwoDigits(text, full);
    REQUIRE(strlen(full) == 4 && full[2] == text[0] && full[3] == text[1]);
  }
  REQUIRE(today(text) == (std::string_view(text) == "000615"));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char* const kOrders[] = {"MDY", "DMY", "DYM", "MYD", "YDM", "YMD"};
  std::string_view input = AsText(data, size);
  setenv("TZ", "UTC0", 1);
  ResetSuperLog();
  SetCurrentTimeForTest(kNoon);
  SuperLog_SetDateFormat(kOrders[TakeByte(input) % 6], kLevelForm);
  InitLogDates();
  CheckWrittenForms(static_cast<time_t>(TakeNumber(input, 4) % INT32_MAX));
  const std::string kept = UpToNul(input);
  const std::vector<char> text(kept.c_str(), kept.c_str() + kept.size() + 1);  // a block of its size
  ParseWithAll(text.data());
  CheckYears(text.data());
  return 0;
}
