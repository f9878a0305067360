// What a reader has to know about a report's figures: what it was narrowed down to,
// and what is missing from it.
#pragma once

#include <cstddef>

#include "analysis/analysis.h"
#include "analysis/record_filters.h"
#include "cgi/settings.h"
#include "sections/log_notes.h"

enum class NoteCode {
  kNoLogInRange,  // nothing was counted
  kPath,          // only requests of a path, or of a pattern of paths
  kRealm,         // only authenticated requests of one realm
  kUser,          // and of one user
  kHostsLeftOut,
  kTypesLeftOut,
  kOnlyThese,          // requests that a filter lets through; the subject is its list,
  kTheseLeftOut,       // or that it leaves out
  kLogsNotOpened,      // and so not read
  kLogsMissing,        // pieces of which nobody could read
  kNoLibrary,          // for a compressed log, which was not read
  kLogsDamaged,        // compressed ones, which were read in part
  kLogsNotUnderstood,  // no line of which is a record
  kLinesNotUnderstood,
  kLogCopies,     // that hold the same as another log, and were not read a second time
  kWithoutUrl,    // requests that have none, counted all the same; the subject is their number
  kNotLookedUp,   // addresses that have no name here, as the time was over; the subject is how many of which
  kNoNameServer,  // and those for which no name server answered
  kOwnReferrers,  // of the site itself, which are no rows; the subject is the number of requests
  kPartsOfPages,  // which are no rows; the subject is the number of requests for them
  kNotCompared,   // though it is asked for: the logs decide which days are reported
  kVisitorsSampled,  // and of visitors one in so many, the subject
  kAnonymised,       // visitors are
  kNoCountries,      // though they were asked for, as there is no database of them
  kThinned,          // the memory budget took items from a table: counts below its first rows may be too low
};
inline constexpr size_t kNoteCodes = 25;

struct Note {
  NoteCode code;
  const char* subject;      // what it is about, in the words of the settings; empty: nothing more to say.
                            // As long as the notes are there, or until the next one of the logs
  const char* detail = "";  // words and figures that stand behind the subject
  const char* other = "";   // another subject, behind the detail
};

// The way through the notes of a report.
struct Notes {
  const Settings* settings;
  const Analysis* analysis;
  size_t next;            // of the codes
  const ListInfo* table;  // the next thinned one, once it is their turn
  LogNotes logs{};
  ActiveFilters filters{};
  size_t next_filter = 0;
  char without_url[24] = "";  // requests, in digits; empty: none
  char own_referrers[24] = "";
  char parts_of_pages[24] = "";
  char not_looked_up[48] = "";
  char no_name_server[48] = "";
  char time_limit[80] = "";
  char one_visitor_in[24] = "";
  char visitors_error[64] = "";
};

// Both records must outlive the notes.
Notes OpenNotes(const Settings& settings, const Analysis& analysis);

// False behind the last note, which is then unchanged.
bool NextNote(Notes& notes, Note& note);
