#include "output/durations.h"

struct Duration {
  uint64_t whole;
  uint64_t fraction;
  int digits;  // behind the point
  bool seconds;
};

static Duration RoundedTo(uint64_t microseconds, int digits, bool seconds) {
  const uint64_t unit = seconds ? 1'000'000 : 1'000;
  const uint64_t scale = digits == 3 ? 1000 : digits == 2 ? 100 : digits == 1 ? 10 : 1;
  const uint64_t parts = (microseconds * scale + unit / 2) / unit;
  return {parts / scale, parts % scale, digits, seconds};
}

// What is rounded up to a further digit has one less behind the point.
static Duration DurationOf(int64_t microseconds) {
  const auto all = static_cast<uint64_t>(microseconds);
  const bool seconds = all >= 999'500;
  const uint64_t whole = all / (seconds ? 1'000'000 : 1'000);
  const int digits = all < 1000 ? 3 : whole < 10 ? 2 : whole < 100 ? 1 : 0;
  const Duration shown = RoundedTo(all, digits, seconds);
  const bool further = (digits == 2 && shown.whole == 10) || (digits == 1 && shown.whole == 100);
  return further ? RoundedTo(all, digits - 1, seconds) : shown;
}

void PutDuration(Sink& sink, int64_t microseconds) {
  const Duration shown = DurationOf(microseconds);
  PutGrouped(sink, static_cast<int64_t>(shown.whole));
  if (shown.digits > 0) {
    Put(sink, ".");
    PutPadded(sink, static_cast<int>(shown.fraction), shown.digits);
  }
  Put(sink, shown.seconds ? Literal(" s") : Literal(" ms"));
}

size_t DurationWidth(int64_t microseconds) {
  const Duration shown = DurationOf(microseconds);
  size_t width = shown.seconds ? 2 : 3;
  size_t digits = 1;
  for (uint64_t rest = shown.whole / 10; rest > 0; rest /= 10) {
    ++digits;
  }
  width += digits + (digits - 1) / 3;
  return width + (shown.digits > 0 ? static_cast<size_t>(shown.digits) + 1 : 0);
}
