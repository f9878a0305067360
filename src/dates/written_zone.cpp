#include "dates/written_zone.h"

#include "base/text.h"
#include "dates/local_time.h"

static bool TakeTwoDigits(std::string_view& text, int limit, int& number) {
  if (text.size() < 2 || !IsDigitAscii(text[0]) || !IsDigitAscii(text[1])) {
    return false;
  }
  number = (text[0] - '0') * 10 + (text[1] - '0');
  text.remove_prefix(2);
  return number < limit;
}

static bool TakeNameOfGreenwich(std::string_view& text) {
  for (const std::string_view name : {"Z", "UTC", "GMT"}) {
    if (text.starts_with(name)) {
      text.remove_prefix(name.size());
      return true;
    }
  }
  return false;
}

bool TakeZone(std::string_view& text, int& seconds) {
  if (TakeNameOfGreenwich(text)) {
    seconds = 0;
    return true;
  }
  if (!text.starts_with('+') && !text.starts_with('-')) {
    return false;
  }
  std::string_view rest = text.substr(1);
  int hours;
  if (!TakeTwoDigits(rest, 24, hours)) {
    return false;
  }
  std::string_view behind = rest.substr(rest.starts_with(':') ? 1 : 0);
  int minutes;
  if (TakeTwoDigits(behind, 60, minutes)) {
    rest = behind;
  } else {
    minutes = 0;
  }
  seconds = (hours * 60 + minutes) * (text[0] == '-' ? -60 : 60);
  text = rest;
  return true;
}

time_t InstantOf(const tm& written) {
  return UniversalToTime(written) - written.tm_gmtoff;
}
