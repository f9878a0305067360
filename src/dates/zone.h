// The zone in which a report tells days and hours: the machine's, unless one is named.
#pragma once

#include <cstddef>
#include <ctime>
#include <string_view>

inline constexpr size_t kLongestZoneName = 63;

// Takes the zone of that name from now on: one of the machine's database, as Europe/Berlin, or UTC. An empty
// name is the machine's own. False, and nothing changes, when the database has no such zone. Only names are
// taken that stay in the database: letters, digits, "_", "+" and "-" divided by single "/", at most
// kLongestZoneName characters, the first one a capital letter.
bool UseZone(std::string_view name);

// What the zone is called: Europe/Berlin where that is known, else what TZ holds, or the abbreviation that
// holds at that time. Any text; good until the next call.
const char* ZoneName(time_t when);

// As localtime_r, by the machine's clock, whatever zone the report has taken. Fills nothing of times that
// cannot be represented.
void MachineTime(time_t when, tm& parts);

// Writes what decides the zone's clock, its name and the content of its file, into a buffer, and returns how
// much that is; 0 when it cannot be known: the file cannot be read, or there is no room for it.
size_t ReadZone(char* out, size_t capacity);

// Returns to the machine's zone, as at the start of a run.
void ResetZone();
