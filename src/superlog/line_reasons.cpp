#include "superlog/line_reasons.h"

#include <algorithm>
#include <functional>
#include <numeric>

static LineReason ReasonOfField(Field field) {
  switch (field) {
    case Field::kMoment:
    case Field::kDate:
    case Field::kTime:
      return LineReason::kNoTime;
    case Field::kHost:
      return LineReason::kNoClient;
    case Field::kRequest:
      return LineReason::kNoRequest;
    case Field::kUrl:
    case Field::kQuery:
      return LineReason::kNoUrl;
    case Field::kStatus:
      return LineReason::kNoStatus;
    case Field::kBytes:
      return LineReason::kNoSize;
    default:
      return LineReason::kNoNextField;
  }
}

LineReason ReasonOf(const NearLayout& nearest) {
  const NearMiss& miss = nearest.miss;
  if (miss.layout == 0) {
    return IsCutOff(nearest) ? LineReason::kCutOff : LineReason::kNoLayoutFits;
  }
  const bool fits = miss.field == Field::kIgnored && miss.character == 0;
  return fits ? LineReason::kTooFewLines : ReasonOfField(miss.field);
}

LinesOfReasons LinesOfEach(const LinesByReason& lines) {
  LinesOfReasons counts;
  std::transform(lines.reasons.begin(), lines.reasons.end(), counts.begin(),
                 [](const ReasonLines& reason) { return reason.lines; });
  return counts;
}

int64_t SumOf(const LinesOfReasons& counts) {
  return std::accumulate(counts.begin(), counts.end(), int64_t{0});
}

LinesOfReasons Less(const LinesOfReasons& counts, const LinesOfReasons& less) {
  LinesOfReasons rest;
  std::transform(counts.begin(), counts.end(), less.begin(), rest.begin(), std::minus<>());
  return rest;
}

void AppendKnownLines(LinesByReason& lines, const LinesOfReasons& counts, const LinesByReason& known) {
  for (size_t i = 0; i < kLineReasons; ++i) {
    ReasonLines& reason = lines.reasons[i];
    const int64_t before = reason.lines;
    if (before == 0 && counts[i] > 0) {
      reason = known.reasons[i];
    }
    reason.lines = before + counts[i];
  }
}

void AppendLines(LinesByReason& lines, const LinesByReason& more) {
  AppendKnownLines(lines, LinesOfEach(more), more);
}

LinesByReason LinesOfOneReason(const ReasonLines& lines) {
  LinesByReason all;
  if (lines.lines > 0) {
    all[ReasonOf(lines.nearest)] = lines;
  }
  return all;
}
