#include "report/asked_fields.h"

#include <algorithm>
#include <cstring>
#include <iterator>

static constexpr std::string_view kDayNames[] = {"days", "from", "to", "date", "sm",
                                                 "sd",   "sy",   "em", "ed",   "ey"};

static AskedField FieldOf(std::string_view line) {
  const size_t equals = line.find('=');
  return {line.substr(0, equals), equals == std::string_view::npos ? "" : line.substr(equals + 1)};
}

bool SaysDays(const AskedField& field) {
  return std::any_of(std::begin(kDayNames), std::end(kDayNames),
                     [&](std::string_view name) { return EqualIgnoreCase(field.name, name); });
}

static bool IsKept(const AskedField& field) {
  return !field.value.empty() && !EqualIgnoreCase(field.name, "password");
}

void KeepField(AskedFields& asked, const char* line) {
  if (asked.cut || !IsKept(FieldOf(line))) {
    return;
  }
  const size_t size = strlen(line) + 1;
  if (size > sizeof asked.text - asked.length) {
    asked.cut = true;
    return;
  }
  asked.length += CopyText(asked.text + asked.length, size, line) + 1;
}

bool NextField(const AskedFields& asked, size_t& place, AskedField& field) {
  if (place >= asked.length) {
    return false;
  }
  const std::string_view line = asked.text + place;
  field = FieldOf(line);
  place += line.size() + 1;
  return true;
}

bool CanAskAgain(const AskedFields& asked) {
  return asked.length > 0 && !asked.cut;
}
