#include "dates/clock.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

static time_t mFixedTime = -1;

time_t CurrentTime() {
  return mFixedTime != -1 ? mFixedTime : time(nullptr);
}

time_t MomentMade(time_t made) {
  const char* const epoch = getenv("SOURCE_DATE_EPOCH");
  if (epoch == nullptr) {
    return made;
  }
  const std::string_view text = epoch;
  time_t moment = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), moment);
  return failure == std::errc() && end == text.data() + text.size() ? moment : made;
}

void SetCurrentTimeForTest(time_t now) {
  mFixedTime = now;
}
