// The time of a line of unknown layout, and the first and last dates of a log.
#include "superlog/date_guess.h"

#include <vector>

#include "superlog/byte_scan.h"
#include "superlog/log_dates.h"
#include "superlog/log_probe.h"
#include "superlog/plain_probe.h"
#include "superlog/superlog.h"
#include "support.h"

// The line in a block of the least size that is asked for.
static time_t Guess(const std::string& line) {
  std::vector<char> block(line.begin(), line.end());
  block.resize(line.size() + kScanOverread);
  return GuessDateTimeFromText(block.data());
}

static void CheckLine(const std::string& line) {
  const time_t when = Guess(line);
  REQUIRE(when == static_cast<int32_t>(when));
  REQUIRE(when == Guess(line));
}

// The size is asked for before the log is read: it may have been cut since, or
// have grown, and then what lies behind that size is not looked for.
static void CheckProbe(const char* path, int64_t size, int64_t real_size) {
  LogFile log = {};
  CopyText(log.name, path);
  GetLogFileDateRange(log, size);
  REQUIRE((log.first == 0) == (log.last == 0));
  REQUIRE(log.first != -1 && log.last != -1);
  if (log.first != 0 && size >= real_size) {
    const time_t plain = PlainLastDate(path, size);
    REQUIRE(log.last == (plain != 0 ? plain : log.first));
  }
}

// The first byte picks the order of dates.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char* const kOrders[] = {"MDY", "DMY", "DYM", "MYD", "YDM", "YMD"};
  static MemoryFile file;
  SilenceOutput();
  std::string_view input = AsText(data, size);
  setenv("TZ", "UTC0", 1);
  ResetSuperLog();
  SuperLog_SetDateFormat(kOrders[TakeByte(input) % 6], kLevelForm);
  InitLogDates();
  const char* const path = file.Fill(input);
  const auto length = static_cast<int64_t>(input.size());
  for (const int64_t size_before : {length, length / 2, length + 3000}) {
    CheckProbe(path, size_before, length);
  }
  for (int lines = 0; lines < 8 && !input.empty(); ++lines) {
    CheckLine(UpToNul(TakePart(input)));
  }
  ResetSuperLog();
  return 0;
}
