// The log summary file: what the list holds after reading it, and that writing it
// and reading it again gives the same.
#include "superlog/summary_file.h"

#include <vector>

#include "cgi/settings.h"
#include "dates/clock.h"
#include "superlog/log_list.h"
#include "superlog/plain_list.h"
#include "superlog/superlog.h"
#include "support.h"

// Every character counts with its distance from "0", a "-" anywhere makes the
// number negative.
static uint64_t PlainNumber(std::string_view digits) {
  uint64_t value = 0;
  for (const char c : digits) {
    value = c == '-' ? value : value * 10 + static_cast<uint64_t>(c - '0');
  }
  return digits.find('-') == std::string_view::npos ? value : -value;
}

static LogFile PlainEntry(std::string_view line) {
  LogFile entry = {};
  entry.size = static_cast<uint32_t>(PlainNumber(TakePart(line, ',')));
  entry.first = static_cast<time_t>(PlainNumber(TakePart(line, ',')));
  entry.last = static_cast<time_t>(PlainNumber(TakePart(line, ',')));
  entry.state = kFromSummary;
  CopyText(entry.name, line);
  return entry;
}

// Whether the line speaks of this version, or of none.
static bool Agrees(std::string_view line, std::string_view key, std::string_view value) {
  return !line.starts_with(key) || line.substr(key.size()) == value;
}

static std::vector<LogFile> PlainList(std::string_view content) {
  std::vector<LogFile> list;
  while (!content.empty()) {
    const size_t end = std::min(content.find_first_of("\r\n"), content.size());
    const std::string line = UpToNul(content.substr(0, end).substr(0, kLineMax));
    const bool empty = end == 0;
    content.remove_prefix(std::min(end + 1, content.size()));
    if (!Agrees(line, "!Version=", kVersion) || !Agrees(line, "!Year0=", "1970")) {
      break;
    }
    const bool is_entry = line[0] != '#' && !line.starts_with("!Version=") && !line.starts_with("!Year0=");
    if (!empty && !line.empty() && is_entry) {
      PlainAppend(list, PlainEntry(line));
    }
  }
  return list;
}

static void CheckList(const std::vector<LogFile>& expected) {
  const LogFile* log = mpLogsRoot;
  for (const LogFile& entry : expected) {
    REQUIRE(log != nullptr && strcmp(log->name, entry.name) == 0);
    REQUIRE(log->size == entry.size && log->first == entry.first && log->last == entry.last);
    REQUIRE(log->state == kFromSummary && FindLog(entry.name) == log);
    log = log->next;
  }
  REQUIRE(log == nullptr);
}

static void CheckNames(const char* pattern) {
  char directory[kPathSize];
  char name[kPathSize];
  char path[kSummaryPathSize];
  MakeDirWithSlash(directory, sizeof directory, pattern);
  CreateDefaultSummaryName(name, sizeof name, pattern);
  CreateSummaryFileName(path, sizeof path, pattern, name);
  RequireText(directory);
  RequireText(name);
  REQUIRE(name[0] != '\0' && strchr(name, '/') == nullptr && strchr(name, '*') == nullptr);
  REQUIRE(path == std::string(directory) + name + ".ORV");
}

// What a full list written and read again becomes: an entry that an update made
// equal to one before it is a copy now.
static std::vector<LogFile> WrittenAgain(const std::vector<LogFile>& list) {
  std::vector<LogFile> again;
  for (const LogFile& entry : list) {
    PlainAppend(again, entry);
  }
  return again;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile file;
  const std::string_view input = AsText(data, size);
  setenv("TZ", "UTC0", 1);
  ResetSuperLog();
  SetCurrentTimeForTest(952300800);
  CheckNames(UpToNul(input.substr(0, kPathSize - 1)).c_str());
  const std::vector<LogFile> list = PlainList(input);
  ReadSummaryFile(file.Fill(input));
  CheckList(list);
  WriteSummaryFile(file.path());
  ClearLogList();
  ReadSummaryFile(file.path());
  CheckList(WrittenAgain(list));
  ResetSuperLog();
  return 0;
}
