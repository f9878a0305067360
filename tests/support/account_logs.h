// The settings and log files of one account, for tests that run an analysis.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>

#include "analysis/driver.h"
#include "cgi/settings.h"
#include "dates/clock.h"
#include "dates/local_time.h"
#include "superlog/superlog.h"
#include "support/text_file.h"

// One request of a combined log; every field has a value that counts.
struct LogLine {
  std::string host = "shop.example.com";
  std::string time = "05/Mar/2000:10:00:00";  // a Sunday, day 64 of the year
  std::string url = "/a.html";
  std::string status = "200";
  std::string bytes = "100";
  std::string referrer = "-";
  std::string agent = "-";
  std::string user = "-";
  std::string realm = "-";
};

inline std::string ToText(const LogLine& line) {
  return line.host + " " + line.realm + " " + line.user + " [" + line.time + " +0000] \"GET " + line.url +
         " HTTP/1.0\" " + line.status + " " + line.bytes + " \"" + line.referrer + "\" \"" + line.agent +
         "\"\n";
}

// A fresh folder with the account's logs, and settings that ask for March 2000 in
// UTC without any report.
class AccountLogs : public testing::Test {
 protected:
  AccountLogs() {
    setenv("TZ", "UTC", 1);
    tzset();
    ResetLocalTime();
    ResetSuperLog();
    ResetAnalysis();
    SetCurrentTimeForTest(952300800);
    folder_ = NewPath("logs");
    mkdir(folder_.c_str(), 0777);
    CopyText(settings_.logs, folder_ + "/*.log");
    CopyText(settings_.find, "/");
    CopyText(settings_.url, "http://site.example");
    CopyText(settings_.OrvellisPath, "/orvellis");
    CopyText(settings_.start_date, "03012000");
    CopyText(settings_.end_date, "03312000");
    settings_.subdirs = 1;
    settings_.cgi = 1;
    settings_.SmartMemoryEnabled = 1;
    settings_.SmartMemoryKeepEntries = 100;
    settings_.SmartMemoryReclaimSize = 1000;
  }

  ~AccountLogs() override {
    ResetAnalysis();
    SetCurrentTimeForTest(-1);
  }

  // Adds a log file; files are read in the order of their names.
  void AddLog(const std::string& name, const std::string& content) {
    std::ofstream(folder_ + "/" + name, std::ios::binary) << content;
  }

  void AddLog(const std::string& name, std::initializer_list<LogLine> lines) {
    std::string content;
    for (const LogLine& line : lines) {
      content += ToText(line);
    }
    AddLog(name, content);
  }

  // Reads all that there is to be read; how many records that is.
  static int64_t ReadAllLogs(time_t first, time_t behind) {
    int64_t count = 0;
    while (SuperLog_NextLogFile()) {
      LogRecords records;
      for (SuperLogRecord record; SuperLog_ParseNextLine(record);) {
        AddTime(records, record.time);
        records.in_range += record.time >= first && record.time < behind;
      }
      SuperLog_LogRead(records);
      count += records.count;
    }
    return count;
  }

  // What the logs have come to, where they are read whole.
  static std::string StatesOfLogs() {
    std::string text;
    const void* place = nullptr;
    for (LogState log; SuperLog_NextState(place, log);) {
      text += std::string(log.path) + "|" + (log.copy_of == nullptr ? "" : log.copy_of) + "|" +
              std::to_string(log.records.count) + "|" + std::to_string(log.records.in_range) + "|" +
              std::to_string(log.records.first) + "|" + std::to_string(log.records.last) + "|" +
              std::to_string(log.lines_not_understood) + "|" + std::to_string(log.first_not_understood) +
              "|" + log.line + "\n";
    }
    const auto bytes = static_cast<int64_t>(SuperLongToBytes(SuperLog_GetTotalLogBytesRead()));
    return text + std::to_string(bytes) + " " + std::to_string(SuperLog_GetLinesNotUnderstood()) + " " +
           std::to_string(SuperLog_GetRecordsRead());
  }

  std::string folder_;
  Settings settings_{};
};
