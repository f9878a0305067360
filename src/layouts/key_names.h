// The names by which logs of JSON lines, LTSV, CSV and W3C fields call their fields.
#pragma once

#include <cstdint>
#include <string_view>

#include "layouts/line_fields.h"

// What an object of a name holds.
enum class Holds : uint8_t {
  kNothing,   // that counts
  kFields,    // of the request
  kRequest,   // the same, and perhaps what the visitor sent
  kResponse,  // the same, and perhaps what was sent to him
  kBody,      // fields; within a request, what the visitor sent
  kHeaders,   // of the request, which the visitor has named and written; within a response, its own
  kTls,       // what a connection was encrypted with
};

inline constexpr uint16_t kNoRank = UINT16_MAX;

// Keys that a layout gives a meaning of their own rank before these names (given_keys.h).
inline constexpr uint16_t kFirstRank = 64;

struct KeyMeaning {
  Field field = Field::kIgnored;
  uint16_t rank = kNoRank;  // of several names of one field in a line the one of the lowest rank counts
  Holds holds = Holds::kNothing;
  Field brief = Field::kIgnored;  // of a value that is too short for a time, or has no fraction
};

// What a key of a JSON line means that stands in no object of headers. Only letters and digits are
// compared, ignoring case: "User-Agent", "user_agent" and "userAgent" are one name; "@timestamp", which a
// shipper adds, ranks behind "timestamp". What Traefik has kept of headers ("request_User-Agent") means what
// the header does.
KeyMeaning MeaningOfKey(std::string_view key);

// What a header of a request means, compared in the same way: few mean anything, all of a rank behind every
// other key, because visitors name headers as they like. One that is spelt as servers know it ranks first.
KeyMeaning MeaningOfHeader(std::string_view name);

// What a key means in an object that tells of TLS: its version, or nothing.
KeyMeaning MeaningInTls(std::string_view key);

// The same of a label of LTSV, where "host" is the client's.
KeyMeaning MeaningOfLabel(std::string_view label);

// What a name of a "#Fields:" line, or of a CSV head, means: kIgnored when it is none.
Field MeaningOfColumn(std::string_view name);
