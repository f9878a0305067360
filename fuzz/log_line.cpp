// Records of a log. The first byte picks what comes before the log (a header line
// of each family, the user's layout in the input's first line, or nothing, in the
// limits of either edition) and the order of dates; the rest is the log.
#include "dates/local_time.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_limits.h"
#include "superlog/superlog.h"
#include "support.h"

static const char* const kHeads[] = {
    "",
    "!!LOG_FORMAT DATE TIME RESULT HOSTNAME URL BYTES_SENT AGENT REFERER SEARCH_ARGS\n",
    "!!LOG_FORMAT COMMON_LOG_FORMAT\n",
    "#Software: Microsoft Internet Information Server 4.0\n"
    "#Fields: date time c-ip cs-username s-ip cs-method cs-uri-stem cs-uri-query sc-status sc-bytes "
    "cs(User-Agent) cs(Referer)\n",
    "#Software: WebSTAR/2.1\n"
    "#Fields: DATE TIME SC-STATUS C-DNS C-IP CS-URI-STEM C-URI-QUERY BYTES CS(USER-AGENT) CS(REFERER) USER\n",
    "#Fields: DATE TIME RESULT HOSTNAME URL BYTES AGENT HOST\n",
    "format=%Ses->client.ip% - %Req->vars.auth-user% [%SYSDATE%] \"%Req->reqpb.clf-request%\" "
    "%Req->srvhdrs.clf-status% %Req->srvhdrs.content-length% \"%Req->headers.referer%\" "
    "\"%Req->headers.user-agent%\"\n",
};
static constexpr size_t kHeadCount = std::size(kHeads);

static const char* const kOrders[] = {"DMY", "DYM", "MYD", "YDM", "", "YMD", "MDY", ""};

// Absent, or short enough for a field and without NULs.
static void CheckText(std::string_view text) {
  REQUIRE(text.size() <= mLogLimits.item && text.find('\0') == std::string_view::npos);
}

static void CheckRecord(const SuperLogRecord& record) {
  for (const std::string_view text :
       {record.host, record.url, record.referrer, record.agent, record.realm, record.user}) {
    CheckText(text);
  }
  REQUIRE(record.host.data() == nullptr || record.host.data()[record.host.size()] == '\0');
  REQUIRE(record.url.data() != nullptr && record.url != "-");
  REQUIRE(record.time != 0 && record.time != -1);
  const time_t when = record.time;
  tm local;
  REQUIRE(localtime_r(&when, &local) != nullptr);
  REQUIRE(local.tm_sec == record.local.tm_sec && local.tm_min == record.local.tm_min &&
          local.tm_hour == record.local.tm_hour && local.tm_mday == record.local.tm_mday &&
          local.tm_mon == record.local.tm_mon && local.tm_year == record.local.tm_year &&
          local.tm_wday == record.local.tm_wday && local.tm_yday == record.local.tm_yday);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile file;
  std::string_view input = AsText(data, size);
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  const uint8_t choice = TakeByte(input);
  const size_t head = choice % 16;
  ResetSuperLog();
  SuperLog_SetDateFormat(kOrders[choice / 16 % 8], kLevelForm);
  SuperLog_SetFixGmt(choice >= 128 ? "1" : "0", kLevelForm);
  if (head == 15) {
    SuperLog_SetLogFormat(UpToNul(TakePart(input)).c_str(), kLevelForm);
  }
  mLogLimits = head >= 11 && head < 15 ? kModernLimits : kClassicLimits;
  InitLogDates();
  REQUIRE(OpenLog(file.Fill((head < kHeadCount ? kHeads[head] : "") + std::string(input))));
  SuperLogRecord record;
  while (SuperLog_ParseNextLine(record)) {
    CheckRecord(record);
  }
  REQUIRE(record.url.data() == nullptr && record.time == 0);
  ResetSuperLog();
  return 0;
}
