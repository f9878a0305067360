// Made-up logs: records with popular and rare items, in every layout.
#pragma once

#include <cstdio>
#include <string>

struct LogOptions {
  long records = 1000000;  // lines
  long urls = 20000;
  long hosts = 50000;
  long referrers = 20000;
  long agents = 500;
  std::string spread = "zipf";      // zipf: popularity falls with rank; even: each item in turn
  long search = 5;                  // per cent of referrers that are search result pages
  long missing = 3;                 // per cent of requests that get a 404
  long days = 30;                   // the records are spread over so many days
  long start = 951868800;           // time of the first record
  std::string format = "combined";  // combined, common, w3c, iis, tab
  long seed = 1;
};

// Writes a log; the same options always give the same bytes. False, and nothing
// written, when the format is unknown.
bool WriteLog(const LogOptions& options, FILE* out);
