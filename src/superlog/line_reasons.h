// Why lines of a log hold no request, and how many for which reason.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "layouts/near_miss.h"

// The layout that comes nearest to a line which none explains, and where it stops to fit. Of a line that was
// cut off there is no layout, and the character is its last one.
struct NearLayout {
  NearMiss miss;       // of the known layouts (layouts/known_layouts.h), in their order
  bool given = false;  // but of the one that the user, or a line of the log, has told

  bool operator==(const NearLayout&) const = default;
};

constexpr NearLayout CutOffAt(size_t length) {
  return {.miss = {.layout = 0, .field = Field::kIgnored, .character = static_cast<uint32_t>(length)}};
}

constexpr bool IsCutOff(const NearLayout& nearest) {
  return nearest.miss.layout == 0 && nearest.miss.character > 0;
}

enum class LineReason : uint8_t {
  kNoLayoutFits,
  kCutOff,
  kTooFewLines,  // the line fits a layout of which there are too few lines
  kNoTime,
  kNoClient,
  kNoRequest,
  kNoUrl,
  kNoStatus,
  kNoSize,
  kNoNextField,
};
inline constexpr size_t kLineReasons = static_cast<size_t>(LineReason::kNoNextField) + 1;

// What a near miss comes to: layout and character make no other reason.
LineReason ReasonOf(const NearLayout& nearest);

// The lines of one reason.
struct ReasonLines {
  int64_t lines = 0;
  int64_t first = 0;   // the number of the first of them, from 1
  NearLayout nearest;  // to that one

  bool operator==(const ReasonLines&) const = default;
};

struct LinesByReason {
  std::array<ReasonLines, kLineReasons> reasons;

  ReasonLines& operator[](LineReason reason) { return reasons[static_cast<size_t>(reason)]; }

  bool operator==(const LinesByReason&) const = default;
};

// How many lines there are of each reason.
using LinesOfReasons = std::array<int64_t, kLineReasons>;

LinesOfReasons LinesOfEach(const LinesByReason& lines);
int64_t SumOf(const LinesOfReasons& counts);
LinesOfReasons Less(const LinesOfReasons& counts, const LinesOfReasons& less);

// Adds lines that stand behind the others of their log.
void AppendLines(LinesByReason& lines, const LinesByReason& more);

// The same of so many lines, of a log whose first lines of each reason are known: where there was none of a
// reason yet, the first of these is that one.
void AppendKnownLines(LinesByReason& lines, const LinesOfReasons& counts, const LinesByReason& known);

// All lines are of the one reason, as far as anybody knows.
LinesByReason LinesOfOneReason(const ReasonLines& lines);
