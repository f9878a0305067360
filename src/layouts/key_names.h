// The names by which logs of JSON lines, LTSV, CSV and W3C fields call their fields.
#pragma once

#include <cstdint>
#include <string_view>

#include "layouts/line_fields.h"

struct KeyMeaning {
  Field field = Field::kIgnored;
  uint8_t rank = 255;  // of several names of one field in a line the one of the lowest rank counts
  bool opens = false;  // an object or a list of that name holds fields of the request
};

// What a key of a JSON line means, whatever objects it stands in. Only letters and digits are
// compared, ignoring case: "User-Agent", "user_agent" and "userAgent" are one name.
KeyMeaning MeaningOfKey(std::string_view key);

// The same of a label of LTSV, where "host" is the client's.
KeyMeaning MeaningOfLabel(std::string_view label);

// What a name of a "#Fields:" line, or of a CSV head, means: kIgnored when it is none.
Field MeaningOfColumn(std::string_view name);
