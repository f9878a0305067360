// The report parameters: their keywords, value forms and defaults.
#pragma once

#include <cstddef>
#include <string_view>

#include "cgi/settings.h"

// Who gives a parameter. The keyword table tells what each may set: a form's names
// come from anybody, a shell's from whoever runs the program, and an account's from
// whoever wrote the configuration. A stranger's form is one that is taken for what it
// is: it may only say what to report, of which days and paths, and how to show it.
enum class ParamSource { kForm, kStranger, kShell, kAccount };

// Gives every field of the settings record its default and points the program
// path at the environment's SCRIPT_NAME slot.
void initialize(Settings& settings, const Environment& env);

// Applies one name=value line. The name is matched ignoring case; an unknown
// name, and one that the source may not set, is ignored; what a stranger may not set to
// anything is noted in settings.ignored. Names that came after the classic ones are known
// where settings.rules.later_names says so, whoever writes them. Further "=" characters are
// dropped from the value, unless settings.rules.whole_values; name and value are cut to 243
// characters each. level is handed to level-aware setters. True when it was applied.
bool CompareParam(const char* line, Settings& settings, ParamSource source, int level);

// Names the zone of the report (dates/zone.h tells what names there are), when the level is at least that of
// the name held.
void SetTimeZone(Settings& settings, const char* name, int level);

// How many processes count (Settings::workers): "3", "0", or "3,65536" where one takes at least so many bytes
// of logs. Taken as the zone is.
void SetWorkers(Settings& settings, const char* value, int level);

// Where counts are kept (Settings::part_cache): "1", "0" or a folder. Taken as the zone is. A path that may
// have been cut, of kTextMax characters and more, would be another one's: then nowhere.
void SetPartCache(Settings& settings, const char* value, int level);

// How much of them (Settings::part_cache_size): bytes, or "64K", "512M", "1G". Taken as the zone is; what is
// no size says nothing.
void SetPartCacheSize(Settings& settings, const char* value, int level);

// Anybody can have visitors anonymised, and nobody can take that back.
void SetAnonymise(Settings& settings, const char* value, int level);

// Sets the file of the country database. Taken as the zone is.
void SetCountryDatabase(Settings& settings, const char* value, int level);

// Splits a line at its first "=" into two buffers of kTextSize, as above.
void ParseFieldValue(const char* line, char (&name)[kTextSize], char (&value)[kTextSize], bool whole = false);

// Writes the ignored names as the keyword table spells them, ", " between them, as far
// as they fit. Nothing of a request is in it.
void ListNames(const IgnoredNames& ignored, char* out, size_t capacity);

// Copies the n-th comma-separated field of value (counting from 1) into out;
// out is left empty when n < 1 or there are fewer fields.
void ReturnValue(char* out, size_t capacity, const char* value, int n);

// 0 for an empty or null value, otherwise its commas plus one.
int NumValues(const char* value);
