#include "layouts/moment.h"

#include <cstdint>

#include "base/text.h"
#include "dates/days.h"
#include "dates/written_zone.h"

// A text that is read from its front.
struct Reader {
  std::string_view rest;

  bool Take(char c) {
    const bool there = rest.starts_with(c);
    rest.remove_prefix(there ? 1 : 0);
    return there;
  }

  // Exactly so many digits.
  bool TakeDigits(size_t count, int& number) {
    if (rest.size() < count) {
      return false;
    }
    number = 0;
    for (size_t i = 0; i < count; ++i) {
      if (!IsDigitAscii(rest[i])) {
        return false;
      }
      number = number * 10 + (rest[i] - '0');
    }
    rest.remove_prefix(count);
    return true;
  }

  void SkipFraction() {
    if (rest.size() > 1 && (rest[0] == '.' || rest[0] == ',') && IsDigitAscii(rest[1])) {
      do {
        rest.remove_prefix(1);
      } while (!rest.empty() && IsDigitAscii(rest[0]));
    }
  }
};

static int MonthOfName(std::string_view name) {
  constexpr std::string_view kNames = "JanFebMarAprMayJunJulAugSepOctNovDec";
  for (size_t i = 0; i < kNames.size(); i += 3) {
    if (EqualIgnoreCase(name, kNames.substr(i, 3))) {
      return static_cast<int>(i / 3);
    }
  }
  return -1;
}

static bool TakeMonthName(Reader& reader, int& month) {
  month = MonthOfName(reader.rest.substr(0, 3));
  if (month >= 0) {
    reader.rest.remove_prefix(3);
  }
  return month >= 0;
}

static bool TakeTimeOfDay(Reader& reader, tm& parts) {
  const bool read = reader.TakeDigits(2, parts.tm_hour) && reader.Take(':') &&
                    reader.TakeDigits(2, parts.tm_min) && reader.Take(':') &&
                    reader.TakeDigits(2, parts.tm_sec);
  reader.SkipFraction();
  return read && parts.tm_hour < 24 && parts.tm_min < 60 && parts.tm_sec <= 60;
}

static bool TakeIsoDate(Reader& reader, tm& parts) {
  int year;
  int month;
  if (!reader.TakeDigits(4, year) || (!reader.Take('-') && !reader.Take('/')) ||
      !reader.TakeDigits(2, month) || (!reader.Take('-') && !reader.Take('/')) ||
      !reader.TakeDigits(2, parts.tm_mday)) {
    return false;
  }
  parts.tm_year = year - 1900;
  parts.tm_mon = month - 1;
  return true;
}

static CalendarDate DateOf(const tm& parts) {
  CalendarDate date = {};
  date.year = parts.tm_year + 1900;
  date.month = parts.tm_mon + 1;
  date.day = parts.tm_mday;
  return date;
}

// What is left behind date and time: nothing, or a zone, which may stand behind a blank.
static Moment SettleParts(MomentForm form, const tm& parts, Reader& reader) {
  Moment moment = {.form = form, .parts = parts};
  moment.parts.tm_isdst = -1;
  moment.as_utc = NumberOfDay(DateOf(parts)) * 86400 + parts.tm_hour * int64_t{3600} +
                  parts.tm_min * int64_t{60} + parts.tm_sec;
  reader.Take(' ');
  int offset = 0;
  moment.is_instant = TakeZone(reader.rest, offset);
  moment.instant = moment.is_instant ? moment.as_utc - offset : 0;
  return reader.rest.empty() && IsDay(DateOf(parts)) ? moment : Moment{};
}

static Moment ReadCommonLog(Reader reader) {
  tm parts = {};
  int year;
  if (!reader.TakeDigits(2, parts.tm_mday) || !reader.Take('/') || !TakeMonthName(reader, parts.tm_mon) ||
      !reader.Take('/') || !reader.TakeDigits(4, year) || (!reader.Take(':') && !reader.Take(' ')) ||
      !TakeTimeOfDay(reader, parts)) {
    return {};
  }
  parts.tm_year = year - 1900;
  return SettleParts(MomentForm::kCommonLog, parts, reader);
}

static Moment ReadIso(Reader reader) {
  tm parts = {};
  if (!TakeIsoDate(reader, parts) || (!reader.Take('T') && !reader.Take(' ')) ||
      !TakeTimeOfDay(reader, parts)) {
    return {};
  }
  return SettleParts(MomentForm::kIso, parts, reader);
}

// Nine or more digits: seconds up to eleven of them, then thousandths, millionths, billionths.
static Moment ReadEpoch(std::string_view text) {
  size_t digits = 0;
  int64_t number = 0;
  for (; digits < text.size() && digits < 19 && IsDigitAscii(text[digits]); ++digits) {
    number = digits < 18 ? number * 10 + (text[digits] - '0') : number;
  }
  Reader rest = {text.substr(digits)};
  rest.SkipFraction();
  if (digits < 9 || !rest.rest.empty()) {
    return {};
  }
  // Of nineteen digits the last one was left out.
  const int64_t unit = digits < 12    ? 1
                       : digits < 15  ? 1000
                       : digits < 18  ? 1000000
                       : digits == 18 ? 1000000000
                                      : 100000000;
  return {.form = MomentForm::kEpoch, .parts = {}, .is_instant = true, .instant = number / unit};
}

Moment ReadMoment(std::string_view text) {
  if (text.starts_with('[') && text.ends_with(']')) {
    text = text.substr(1, text.size() - 2);
  }
  if (text.size() < 9) {
    return {};
  }
  return text[2] == '/'                     ? ReadCommonLog({text})
         : text[4] == '-' || text[4] == '/' ? ReadIso({text})
                                            : ReadEpoch(text);
}

Moment ReadDateAndTime(std::string_view date, std::string_view time) {
  tm parts = {};
  Reader day = {date};
  Reader hour = {time};
  if (!TakeIsoDate(day, parts) || !day.rest.empty() || !TakeTimeOfDay(hour, parts)) {
    return {};
  }
  return SettleParts(MomentForm::kIso, parts, hour);
}
