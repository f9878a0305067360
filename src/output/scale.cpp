#include "output/scale.h"

#include <algorithm>

static constexpr unsigned kAxisSteps[] = {10, 20, 50};  // tenths
static constexpr unsigned kClassSteps[] = {10, 15, 20, 30, 40, 50, 60, 80};

// No product is beyond 64 bits while the step is one that any value needs.
static uint64_t StepOf(unsigned tenths, uint64_t power) {
  return power < 10 ? tenths / 10 : power / 10 * tenths;
}

static Scale RoundScale(int64_t largest, uint64_t most, std::span<const unsigned> kinds) {
  const auto whole = static_cast<uint64_t>(std::max<int64_t>(largest, 0));
  for (uint64_t power = 1;; power *= 10) {
    for (const unsigned kind : kinds) {
      const uint64_t step = StepOf(kind, power);
      const uint64_t steps = whole / step + (whole % step != 0 ? 1 : 0);
      if (steps <= most) {
        return {step, steps};
      }
    }
  }
}

Scale AxisScale(int64_t largest, uint64_t most) {
  return RoundScale(largest, most, kAxisSteps);
}

Scale ClassScale(int64_t largest, uint64_t most) {
  return RoundScale(largest, most, kClassSteps);
}

uint64_t TopOf(const Scale& scale) {
  return std::max<uint64_t>(scale.step * scale.steps, 1);
}

static constexpr struct {
  uint64_t size;
  Literal name;
} kUnits[] = {
    {1'000'000'000'000'000'000, " E"},
    {1'000'000'000'000'000, " P"},
    {1'000'000'000'000, " T"},
    {1'000'000'000, " G"},
    {1'000'000, " M"},
};

void PutStep(Sink& sink, const Scale& scale, uint64_t steps) {
  const uint64_t value = scale.step * steps;
  for (const auto& unit : kUnits) {
    if (TopOf(scale) >= unit.size && value != 0) {
      PutSize(sink, value / unit.size);
      const uint64_t tenths = value % unit.size / (unit.size / 10);
      if (tenths != 0) {
        Put(sink, ".");
        PutSize(sink, tenths);
      }
      Put(sink, unit.name);
      return;
    }
  }
  PutGrouped(sink, static_cast<int64_t>(value));
}
