// Zones that stand beside a written time, as an offset from Greenwich.
#pragma once

#include <ctime>
#include <string_view>

// Takes an offset from the front of a text: "+0200", "+02:00" or "+02", with "-" likewise, of less than a
// day, or "Z", "UTC" or "GMT". Seconds east of Greenwich. False, leaving both as they are, when the text
// begins otherwise.
bool TakeZone(std::string_view& text, int& seconds);

// What tm_zone of a written time points to when a zone stands beside it, which is tm_gmtoff; else tm_zone is
// null.
inline constexpr char kWrittenZone[] = "written";

// The instant of a written time; of one without a zone, that of a clock in Greenwich. Parts need not be
// normalised.
time_t InstantOf(const tm& written);
