// Time zones, and conversions by plain calls of the C library. The tests hold the
// sums of local_time.h against them.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "dates/local_time.h"

inline constexpr time_t kSummer2000 = 961066800;  // unambiguous in every zone below

struct Zone {
  const char* name;
  const char* tz;
};

// POSIX rules need no zone files; the named zones are left out where the
// machine has none.
inline const Zone kZones[] = {
    {"Utc", "UTC0"},
    {"CentralEurope", "CET-1CEST,M3.5.0,M10.5.0/3"},
    {"UsEast", "EST5EDT,M3.2.0,M11.1.0"},
    {"HalfHourSummerTime", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0"},
    {"India", "IST-5:30"},
    {"NegativeSummerTime", "IST-1GMT0,M10.5.0,M3.5.0/1"},
    {"OddOffset", "<-032345>3:23:45"},
    {"SummerTimeAcrossNewYear", "<+12>-12<+13>,M9.5.0/2:45,M4.1.0/3:45"},
    {"LongSummerTimeJump", "<+01>-1<-10>10,M3.2.0,M11.1.0"},
    {"SummerTimeInNameOnly", "AAA0AAA0,M3.5.0/2:30,M10.5.0/2:30"},
    {"OneDaySummerTime", "AAA3BBB,J100/0,J101/0"},
    {"NewYork", "America/New_York"},
    {"Berlin", "Europe/Berlin"},
    {"LordHowe", "Australia/Lord_Howe"},
    {"Casablanca", "Africa/Casablanca"},
    {"Apia", "Pacific/Apia"},
    {"StJohns", "America/St_Johns"},
    {"Juneau", "America/Juneau"},
    {"LeapSeconds", "right/Europe/Berlin"},
};

inline bool HasZone(const char* tz) {
  return strchr(tz, '/') == nullptr || strchr(tz, ',') != nullptr ||
         access((std::string("/usr/share/zoneinfo/") + tz).c_str(), R_OK) == 0;
}

inline void UseRules(const char* tz) {
  setenv("TZ", tz, 1);
  ResetLocalTime();
}

inline time_t PlainLocalToTime(const tm& parts) {
  tm copy = parts;
  return mktime(&copy);
}

inline tm PartsOf(time_t when) {
  tm parts;
  localtime_r(&when, &parts);
  return parts;
}

// Leaves the same offset behind in mktime, so that two passes start alike.
inline void PrimeMktime() {
  tm parts = PartsOf(kSummer2000);
  parts.tm_isdst = -1;
  ResetLocalTime();
  mktime(&parts);
}
