#include "superlog/log_cuts.h"

#include <algorithm>
#include <utility>

#include "superlog/line_reader.h"
#include "superlog/log_events.h"
#include "superlog/log_files.h"
#include "superlog/log_format.h"
#include "superlog/superlog.h"

// Trying a place costs the reading of up to 64 KiB, and of no more than the half of what is before it.
static uint64_t CountOfStretches(const LogFile& log, uint64_t size) {
  const uint64_t least = std::min(kLeastStretch, log.size / kMostOfSmallLog);
  return std::min(log.size / std::max<uint64_t>({size, least, 1}), kMostStretches);
}

static std::vector<LogPlace> PlacesToTry(const LogFile& log, uint64_t size) {
  const uint64_t count = CountOfStretches(log, size);
  std::vector<LogPlace> places;
  int64_t last = 0;
  for (uint64_t i = 1; i < count; ++i) {
    const auto wanted = static_cast<int64_t>(log.size / count * i);
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

std::vector<LogShare> CutLog(const LogFile& log, uint64_t size) {
  std::vector<LogShare> shares{{{log.place, 0}, {log.place + 1, 0}}};
  if (!IsDivisible(log)) {
    return shares;
  }
  const LogEvents events = std::exchange(mLogEvents, {});
  for (const LogPlace& place : WhereAllReadAlike(log, PlacesToTry(log, size))) {
    shares.back().to = place;
    shares.push_back({place, {log.place + 1, 0}});
  }
  mLogEvents = events;
  return shares;
}
