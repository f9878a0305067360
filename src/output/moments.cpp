#include "output/moments.h"

#include <cstdlib>

#include "dates/local_time.h"

void PutDay(Sink& sink, const CalendarDate& day) {
  PutPadded(sink, day.year, 4);
  Put(sink, "-");
  PutPadded(sink, day.month, 2);
  Put(sink, "-");
  PutPadded(sink, day.day, 2);
}

static tm LocalParts(time_t when) {
  tm local{};
  TimeToLocal(when, local);
  return local;
}

static void PutOffset(Sink& sink, long seconds) {
  const auto minutes = static_cast<int>(std::labs(seconds) / 60);
  if (seconds < 0) {
    Put(sink, "-");
  } else {
    Put(sink, "+");
  }
  PutPadded(sink, minutes / 60, 2);
  Put(sink, ":");
  PutPadded(sink, minutes % 60, 2);
}

void PutMoment(Sink& sink, time_t when) {
  const tm local = LocalParts(when);
  PutDay(sink, DayOf(local));
  Put(sink, "T");
  PutPadded(sink, local.tm_hour, 2);
  Put(sink, ":");
  PutPadded(sink, local.tm_min, 2);
  Put(sink, ":");
  PutPadded(sink, local.tm_sec, 2);
  PutOffset(sink, local.tm_gmtoff);
}

static void PutClock(Sink& sink, const tm& local) {
  PutPadded(sink, local.tm_hour, 2);
  Put(sink, ":");
  PutPadded(sink, local.tm_min, 2);
}

void PutDayAndClock(Sink& sink, time_t when) {
  const tm local = LocalParts(when);
  PutDay(sink, DayOf(local));
  Put(sink, " ");
  PutClock(sink, local);
}

void PutClock(Sink& sink, time_t when) {
  PutClock(sink, LocalParts(when));
}
