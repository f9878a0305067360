// What every answer to a web server begins with, but for the classic page.
#pragma once

#include "cgi/settings.h"

struct HttpStatus {
  int number = 0;  // 0: that of an answer which says none
  const char* words = "";
};

// Addresses stand in the answer as they are: they hold no line end.
struct AnswerHead {
  HttpStatus status = {};
  const char* type = "text/html";
  const char* policy = nullptr;       // Content-Security-Policy; null: that of the classic page
  const char* disposition = nullptr;  // what a browser does with it, and its name there; null: not told
  const char* allowed = nullptr;      // the methods that would have been right; null: not told
  const char* challenge = nullptr;    // WWW-Authenticate, which an answer of status 401 has; null: not told
  int retry_after = 0;                // seconds; 0: not told
};

// Prints it to standard output; nothing in a run from a shell.
void PrintAnswerHead(const Environment& env, const AnswerHead& head);

// Room for a disposition with a file name.
inline constexpr size_t kDispositionSize = 128;

// Writes kind ("inline" or "attachment") and the name under which a report is saved, as
// "orvellis-ACCOUNT-2026-11-01-2026-11-30.json": of the account only its ASCII letters
// and digits, at most 32. Where one end of the range is that of the logs: "-since-2026-11-01" or
// "-until-2026-11-30"; where both are, no days.
void NameFile(char (&disposition)[kDispositionSize], const char* kind, const char* ending,
              const Settings& settings);
