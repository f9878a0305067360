// What a form has asked for, kept so that the same can be asked for with other days.
#pragma once

#include <string_view>

#include "cgi/settings.h"

// Keeps a "name=value" line that was taken. Left out are passwords and fields without a value. Where there
// is no room for a field, all is cut.
void KeepField(AskedFields& asked, const char* line);

// The way through the fields: begins with place 0. False behind the last one.
struct AskedField {
  std::string_view name;
  std::string_view value;
};
bool NextField(const AskedFields& asked, size_t& place, AskedField& field);

// True for what says of which days a report is.
bool SaysDays(const AskedField& field);

// True when all that was asked for is kept, and something was.
bool CanAskAgain(const AskedFields& asked);
