// Why a run is refused.
//
// What finds such a reason returns it; the run answers it, through the writer of
// its pages.
#pragma once

#include <optional>

#include "dates/days.h"

// The numbers of the error pages; 3 and 12 are not used.
enum Error : int {
  kNoError = 0,
  kErrorNotPosted = 1,  // a GET request for a report
  kErrorRejected = 2,   // account unknown, or password rejected
  kErrorNoUrl = 4,      // the account has no url
  kErrorNoLogs = 5,     // the account has no logs
  kErrorNoStartDate = 6,
  kErrorDateRange = 7,  // start date after end date
  kErrorNoEndDate = 8,
  kErrorConfigFile = 9,     // configuration file cannot be opened
  kErrorPasswordFile = 10,  // password file cannot be opened
  kErrorNoLogFiles = 11,    // logs and AccessLog match no file
  kErrorLimited = 13,       // too many refusals of this visitor or account
  kErrorOutput = 14,        // there is no output of that name
  kErrorSection = 15,       // the report has no section of that name
  kErrorPasswordInQuery = 16,
  kErrorLongQuery = 17,
  kErrorPasswordNeeded = 18,   // and an address can hold none
  kErrorTimeZone = 19,         // there is no zone of that name
  kErrorLayout = 20,           // there is no such layout of logs
  kErrorNoCountries = 21,      // no country database is named
  kErrorCountryDatabase = 22,  // and that which is cannot be read
  kErrorCountryLibrary = 23,   // nor any, without its library
  kErrorAnonymise = 24,        // a filter asks for what is not told of visitors
  kErrorAgentRules = 25,       // the file of rules for agents cannot be read, or holds what is none
};

// What the run is told, and the visitor with it.
struct Refusal {
  Error error = kNoError;
  int retry_after = 0;  // seconds after which to ask again; 0: not told
  // Of the account's logs, where the days are what is wrong and the visitor may see the account.
  std::optional<DayRange> log_days = std::nullopt;
};
