#include "report/answer_head.h"

#include <algorithm>
#include <cstdio>

#include "dates/years.h"
#include "report/report_policy.h"

void PrintAnswerHead(const Environment& env, const AnswerHead& head) {
  if (env.command_line != 0) {
    return;
  }
  if (head.status.number != 0) {
    printf("Status: %d %s\n", head.status.number, head.status.words);
  }
  if (head.allowed != nullptr) {
    printf("Allow: %s\n", head.allowed);
  }
  if (head.challenge != nullptr) {
    printf("WWW-Authenticate: %s\n", head.challenge);
  }
  if (head.retry_after > 0) {
    printf("Retry-After: %d\n", head.retry_after);
  }
  printf("Content-Type: %s\n", head.type);
  if (head.disposition != nullptr) {
    printf("Content-Disposition: %s\n", head.disposition);
  }
  printf(
      "Content-Security-Policy: %s\n"
      "X-Content-Type-Options: nosniff\n"
      "Referrer-Policy: no-referrer\n"
      "X-Robots-Tag: noindex, nofollow\n"
      "Cache-Control: no-store\n\n",
      head.policy == nullptr ? kReportPolicy : head.policy);
}

// ---- Names of files ----

static constexpr size_t kMostOfAccount = 32;

static bool IsLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

static void AccountInName(char (&name)[kMostOfAccount + 2], const char* account) {
  size_t length = 0;
  name[length++] = '-';
  for (; *account != '\0' && length <= kMostOfAccount; ++account) {
    if (IsLetterOrDigit(*account)) {
      name[length++] = *account;
    }
  }
  name[length == 1 ? 0 : length] = '\0';
}

// The parts of a date may be any numbers.
struct DayInName {
  char text[11];

  explicit DayInName(const CalendarDate& date) {
    snprintf(text, sizeof text, "%04d-%02d-%02d", std::clamp(date.year, 0, 9999),
             std::clamp(date.month, 0, 99), std::clamp(date.day, 0, 99));
  }
};

// A day that only the logs tell is not known yet, and has no place in a name.
static void NameDays(char (&days)[32], const Settings& settings) {
  CalendarDate first{};
  CalendarDate last{};
  ParseDate(first, last, settings);
  if (settings.from_first && settings.to_last) {
    days[0] = '\0';
  } else if (settings.from_first) {
    snprintf(days, sizeof days, "-until-%s", DayInName(last).text);
  } else if (settings.to_last) {
    snprintf(days, sizeof days, "-since-%s", DayInName(first).text);
  } else {
    snprintf(days, sizeof days, "-%s-%s", DayInName(first).text, DayInName(last).text);
  }
}

void NameFile(char (&disposition)[kDispositionSize], const char* kind, const char* ending,
              const Settings& settings) {
  char account[kMostOfAccount + 2];
  char days[32];
  AccountInName(account, settings.username);
  NameDays(days, settings);
  snprintf(disposition, kDispositionSize, "%s; filename=\"orvellis%s%s.%s\"", kind, account, days, ending);
}
