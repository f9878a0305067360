// A log of any lines: what is recognised explains the first line, and records of the log have times and URLs.
#include "layouts/recognition.h"

#include "dates/local_time.h"
#include "layouts/near_miss.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_limits.h"
#include "superlog/superlog.h"
#include "support.h"

static void CheckText(std::string_view text) {
  REQUIRE(text.size() <= mLogLimits.item && text.find('\0') == std::string_view::npos);
}

static void CheckRecognition(std::string_view log) {
  static Layout layout;
  static SplitRoom room;
  LogSoFar so_far;
  const std::string line(TakePart(log));
  if (RecogniseLayout(line, {log}, so_far, room, layout)) {
    LineFields fields = {};
    REQUIRE(SplitLine(layout, line, room, fields) && HoldsTime(fields));
  }
  const NearMiss miss = FindNearMiss(ReadyLayouts(), line, room);
  REQUIRE(miss.layout <= ReadyLayouts().size() && miss.character <= line.size() + 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile file;
  const std::string_view input = AsText(data, size);
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  CheckRecognition(input);
  ResetSuperLog();
  mLogLimits = kModernLimits;
  InitLogDates();
  REQUIRE(OpenLog(file.Fill(input)));
  for (SuperLogRecord record; SuperLog_ParseNextLine(record);) {
    for (const std::string_view text :
         {record.host, record.url, record.referrer, record.agent, record.realm, record.user}) {
      CheckText(text);
    }
    REQUIRE(record.url.data() != nullptr && record.time != 0 && record.time != -1);
  }
  ResetSuperLog();
  return 0;
}
