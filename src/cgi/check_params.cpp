#include "cgi/check_params.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "dates/clock.h"
#include "dates/days.h"

template <size_t N>
static void JoinDate(char (&date)[N], const char* month, const char* day, int year) {
  snprintf(date, N, "%s%s%d", month, day, year);
}

// ---- Days in words and ISO dates ----

// The day on which the report says that it was made.
static CalendarDate Today() {
  return DayOf(MomentMade(CurrentTime()));
}

// Until the logs are known, their days are this one, or the other one that was named.
static bool ReadFromAndTo(Settings& s, DayRange& days) {
  const char* const last = s.to[0] == '\0' ? s.from : s.to;
  s.first_alone = s.to[0] == '\0' && EqualIgnoreCase(s.from, "first");
  if (s.first_alone) {
    return true;
  }
  s.from_first = EqualIgnoreCase(s.from, "first");
  s.to_last = EqualIgnoreCase(last, "last");
  if ((!s.from_first && !ParseDay(s.from, Today(), days.first)) ||
      (!s.to_last && !ParseDay(last, Today(), days.last))) {
    return false;
  }
  if (s.from_first != s.to_last) {
    (s.from_first ? days.first : days.last) = s.from_first ? days.last : days.first;
  }
  return true;
}

static bool ReadWrittenDays(Settings& s, DayRange& days) {
  if (s.days[0] == '\0') {
    return ReadFromAndTo(s, days);
  }
  s.from_first = s.to_last = EqualIgnoreCase(s.days, "all");
  return s.from_first || ParseDays(s.days, Today(), days);
}

// They count before all others.
static Error TakeWrittenDays(Settings& s) {
  s.from_first = s.to_last = s.first_alone = false;
  if (s.days[0] == '\0' && s.from[0] == '\0') {
    return s.to[0] == '\0' ? kNoError : kErrorNoStartDate;
  }
  DayRange days{Today(), Today()};
  if (!ReadWrittenDays(s, days)) {
    return kErrorDateRange;
  }
  SetDays(s, days);
  return kNoError;
}

// ---- Days in parts ----

static void CompleteDates(Settings& s) {
  if (s.start_date[0] == '\0') {
    JoinDate(s.start_date, s.sm, s.sd, s.sy);
  }
  if (s.end_date[0] != '\0') {
    return;
  }
  if (s.em[0] != '\0' && s.ed[0] != '\0' && s.ey > 1900) {
    JoinDate(s.end_date, s.em, s.ed, s.ey);
  } else {
    JoinDate(s.end_date, s.sm, s.sd, s.sy);  // deliberate: a range of one day
  }
}

// That no day is named shows before the parts, which make a text of nothing.
static bool NamesNoDay(const Settings& s) {
  return s.rules.real_days && s.start_date[0] == '\0' && s.sm[0] == '\0' && s.sd[0] == '\0';
}

static bool NamesUnrealDays(const Settings& s) {
  CalendarDate start;
  CalendarDate end;
  ParseDate(start, end, s);
  return s.rules.real_days && !(IsDay(start) && IsDay(end));
}

// ---- The rest ----

// Who names no path means the whole site, or its first page, as the rules say.
static void TakeNoPath(Settings& s) {
  CopyText(s.find, "/");
  if (s.rules.whole_site) {
    s.subdirs = 1;
    s.find_pattern = 0;
  }
}

// The account's find path followed by the form's, with one "/" between them when
// both bring it; the form's part is cut to fit.
static void CombineFindPaths(Settings& s) {
  const std::string_view account = s.find_account;
  const std::string_view form = s.find_form;
  if (account.empty() && form.empty()) {
    TakeNoPath(s);
    return;
  }
  const bool slash_twice = account.ends_with('/') && form.starts_with('/');
  CopyText(s.find, account);
  CopyText(s.find + account.size(), sizeof s.find - account.size(), form.substr(slash_twice ? 1 : 0));
}

// "*" stands for every realm or user, as does an empty text.
template <size_t N>
static void ClearStar(char (&text)[N]) {
  if (std::string_view(text) == "*") {
    text[0] = '\0';
  }
}

// Visitors get the debugging rows only where the installation allows them. Without
// remote debugging no visitor has asked for any.
static void RestrictDebug(Settings& s) {
  if (!s.no_remote_debug && s.debug_sources == 1U << kLevelForm && s.RemoteDebugEnabled == 0) {
    s.debug = 0;
  }
}

// The date as the number YYYYMMDD. It goes through its text, so that parts that
// are no calendar figures compare as that text reads.
static long long MakeMaxName(const CalendarDate& date) {
  char text[40];
  snprintf(text, sizeof text, "%d%s%d%s%d", date.year, date.month < 10 ? "0" : "", date.month,
           date.day < 10 ? "0" : "", date.day);
  return strtoll(text, nullptr, 10);
}

static bool StartsAfterEnd(const Settings& settings) {
  CalendarDate start;
  CalendarDate end;
  ParseDate(start, end, settings);
  return MakeMaxName(start) > MakeMaxName(end);
}

Error CompleteSettings(Settings& s) {
  const Error days = TakeWrittenDays(s);
  const bool no_day = NamesNoDay(s);
  CompleteDates(s);
  if (s.title[0] == '\0') {
    CopyText(s.title, "Web Site Analysis");
  }
  if (s.url[0] == '\0' && !s.rules.nameless_site) {
    return kErrorNoUrl;
  }
  if (s.logs[0] == '\0') {
    return kErrorNoLogs;
  }
  CombineFindPaths(s);
  if (days != kNoError) {
    return days;
  }
  if (no_day || s.start_date[0] == '\0') {
    return kErrorNoStartDate;
  }
  if (s.end_date[0] == '\0') {
    return kErrorNoEndDate;
  }
  ClearStar(s.authrealm);
  ClearStar(s.authuser);
  RestrictDebug(s);
  return NamesUnrealDays(s) || StartsAfterEnd(s) ? kErrorDateRange : kNoError;
}

Error CheckParams(Settings& settings) {
  return CompleteSettings(settings);
}
