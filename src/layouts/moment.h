// Reads the times of log lines, whose form tells itself:
//
//   10/Oct/2000:13:55:36 -0700      also with a blank for the first ":", a fraction, and without a zone
//   2000-10-10T13:55:36.123+00:00   also with a blank for the "T", "/" for "-", without fraction or
//                                   zone, and with "Z", "UTC", "+0000" or "+00" for a zone
//   971211336.000                   seconds, milliseconds, microseconds or nanoseconds since 1970,
//                                   told apart by their size
#pragma once

#include <ctime>
#include <string_view>

enum class MomentForm { kNone, kCommonLog, kIso, kEpoch };

struct Moment {
  MomentForm form = MomentForm::kNone;
  tm parts = {};      // as written; of kEpoch nothing
  time_t as_utc = 0;  // what these are where clocks show universal time
  bool is_instant = false;
  time_t instant = 0;  // seconds since 1970, where the text tells them: an epoch, or a zone beside the parts
};

// Any text is taken; one that is no time, or names a month, a day or an hour that there are
// none of, gives kNone. Surrounding square brackets are left out.
Moment ReadMoment(std::string_view text);

// A date, "2000-10-10" or with "/", and a time of day with or without a fraction, as parts alone.
Moment ReadDateAndTime(std::string_view date, std::string_view time);
