#include "superlog/log_cuts.h"

#include <algorithm>
#include <utility>

#include "superlog/line_reader.h"
#include "superlog/log_events.h"
#include "superlog/log_files.h"
#include "superlog/log_format.h"
#include "superlog/superlog.h"

// Where a log might be cut: at a first place, and at so many others at equal distances.
struct Steps {
  uint64_t first;
  uint64_t step;
  uint64_t count;
};

static uint64_t LeastStretch(const LogFile& log) {
  return std::max<uint64_t>(std::min(kLeastStretch, log.size / kMostOfSmallLog), 1);
}

// Trying a place costs the reading of up to 64 KiB, and of no more than the half of what is before it.
static Steps EqualStretches(const LogFile& log, uint64_t size) {
  const uint64_t count = std::min(log.size / std::max(size, LeastStretch(log)), kMostStretches);
  const uint64_t step = log.size / std::max<uint64_t>(count, 1);
  return {step, step, count - std::min<uint64_t>(count, 1)};
}

// Whoever has only what is behind the multiples in hand finds there what is looked at before a place, too.
static Steps BehindMultiples(const LogFile& log, uint64_t size) {
  constexpr uint64_t kLookedAt = 4096;
  if (size == 0 || size >= log.size) {
    return {};
  }
  const uint64_t least = std::max(LeastStretch(log), (log.size - 1) / kMostStretches + 1);
  const uint64_t step = ((least - 1) / size + 1) * size;
  return {step + std::min(kLookedAt, step / 2), step, (log.size - 1) / step};
}

static std::vector<LogPlace> PlacesAt(const LogFile& log, const Steps& steps) {
  std::vector<LogPlace> places;
  int64_t last = 0;
  for (uint64_t i = 0; i < steps.count; ++i) {
    const auto wanted = static_cast<int64_t>(steps.first + steps.step * i);
    const LogPlace place = wanted < last ? LogPlace{} : PlaceNear(log, wanted);
    if (place.offset > last) {
      places.push_back(place);
      last = place.offset;
    }
  }
  return places;
}

// As whoever reads its first line does.
static bool OpenAsReader(const LogFile& log) {
  ResetFileFormat();
  if (AreLogsReadWhole()) {
    ForgetLinesBefore();
  } else {
    PassTimeBefore(log);
  }
  return OpenLog(log.name);
}

static ReadState StateOfOneWhoBeginsAt(const LogFile& log, const LogPlace& place) {
  if (!OpenAsReader(log)) {
    return {};
  }
  GoToPlace(place);
  return StateNow();
}

// False where the reading ends before that offset.
static bool ReadOnTo(int64_t offset) {
  StopLinesAt(offset);
  for (SuperLogRecord record{}; SuperLog_ParseNextLine(record);) {
    if (EndsItsLog(record.time)) {
      return false;
    }
  }
  return IsStopped();
}

static std::vector<LogPlace> WhereAllReadAlike(const LogFile& log, const std::vector<LogPlace>& places) {
  std::vector<ReadState> states;
  states.reserve(places.size());
  for (const LogPlace& place : places) {
    states.push_back(StateOfOneWhoBeginsAt(log, place));
  }
  std::vector<LogPlace> alike;
  bool goes_on = !places.empty() && OpenAsReader(log);
  for (size_t i = 0; goes_on && i < places.size(); ++i) {
    goes_on = ReadOnTo(places[i].offset);
    if (goes_on && IsSame(StateNow(), states[i])) {
      alike.push_back(places[i]);
    }
  }
  CloseLog();
  return alike;
}

static std::vector<LogPlace> PlacesToCut(const LogFile& log, uint64_t size, Cuts cuts) {
  if (cuts == Cuts::kUntried) {
    return PlacesAt(log, BehindMultiples(log, size));
  }
  const LogEvents events = std::exchange(mLogEvents, {});
  std::vector<LogPlace> alike = WhereAllReadAlike(log, PlacesAt(log, EqualStretches(log, size)));
  mLogEvents = events;
  return alike;
}

std::vector<LogShare> CutLog(const LogFile& log, uint64_t size, Cuts cuts) {
  std::vector<LogShare> shares{{{log.place, 0}, {log.place + 1, 0}}};
  if (!IsDivisible(log)) {
    return shares;
  }
  for (const LogPlace& place : PlacesToCut(log, size, cuts)) {
    shares.back().to = place;
    shares.push_back({place, {log.place + 1, 0}});
  }
  return shares;
}
