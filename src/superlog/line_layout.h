// A layout, worked out once for all lines that have it: how a line is split, and what a record takes
// of its fields.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/text.h"
#include "superlog/usual_line.h"

// Texts of a line that are taken as they stand.
enum TextPlace : uint8_t {
  kAgentPlace,
  kQueryPlace,
  kReferrerPlace,
  kHostPlace,
  kRealmPlace,
  kUserPlace,
  kStemPlace,
  kMethodPlace,
  kProtocolPlace,
  kTakenPlace,
  kUrlPlace,
  kTextPlaces,
};

inline constexpr size_t kMostFields = kTextSize;
inline constexpr uint8_t kNoField = UINT8_MAX;  // a line has fewer
static_assert(kMostFields < kNoField);

// What a record takes of a line of so many fields; of letters that say the same, the last one counts.
struct FieldPlan {
  struct Step {
    char letter;
    uint8_t field;
  };

  size_t fields;
  uint8_t texts[kTextPlaces];  // the field of each, or kNoField
  bool is_request;             // the URL is a whole request
  size_t length;
  Step steps[kMostFields];  // fields that are more than a text, in the line's order
};

struct LineLayout {
  // Fields that end at the same separator.
  struct Run {
    char separator;  // S, T or C
    uint8_t end;     // the field behind them
  };

  char letters[kMostFields];  // of each field, without separators
  size_t fields;
  Run runs[kMostFields];
  size_t length;
  char separator;     // S or T when it parts all fields, of which none may hold it unquoted; else NUL
  size_t user;        // the field of a user before a date and a request, parted by blanks; kNoField: none
  UsualLayout usual;  // of fields that are parted by blanks
  FieldPlan plan;     // for as many fields as the last line had
};

// Of a format string (superlog/log_format.h), which is not empty.
void WorkOut(LineLayout& layout, const char* format);

// The plan for a line of so many fields, at most those of the layout.
const FieldPlan& PlanFor(LineLayout& layout, size_t fields);
