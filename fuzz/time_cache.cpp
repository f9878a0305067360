// Local times against the C library. The first byte picks the time zone; then a
// byte for each record tells how it comes from what follows or from the record
// before it.
#include <vector>

#include "dates/plain_time.h"
#include "support.h"

static int Signed(uint64_t number) {
  return static_cast<int>(static_cast<int32_t>(number));
}

// A record near, or far from, the year 2000, or one field of the last changed.
static tm TakeRecord(std::string_view& input, const tm& last) {
  const uint8_t kind = TakeByte(input);
  tm parts = last;
  int* const fields[] = {&parts.tm_sec, &parts.tm_min,  &parts.tm_hour, &parts.tm_mday,
                         &parts.tm_mon, &parts.tm_year, &parts.tm_isdst};
  switch (kind / 8 % 6) {
    case 0:
      parts = PartsOf(946684800 + static_cast<time_t>(TakeNumber(input, 3)) * 4);
      parts.tm_isdst = -1;
      break;
    case 1:
      parts = PartsOf(static_cast<time_t>(TakeNumber(input, 5)) - (time_t{1} << 38));
      parts.tm_isdst = -1;
      break;
    case 2:
      *fields[kind % 7] = TakeByte(input) % 64;
      break;
    case 3:
      *fields[kind % 7] = Signed(TakeNumber(input, 4));
      break;
    case 4:
      parts.tm_min = TakeByte(input) % 60;
      break;
    default:
      parts.tm_isdst = kind % 3 - 1;
      break;
  }
  return parts;
}

static void CheckParts(const tm& cached, const tm& plain) {
  REQUIRE(cached.tm_sec == plain.tm_sec && cached.tm_min == plain.tm_min && cached.tm_hour == plain.tm_hour);
  REQUIRE(cached.tm_mday == plain.tm_mday && cached.tm_mon == plain.tm_mon &&
          cached.tm_year == plain.tm_year);
  REQUIRE(cached.tm_wday == plain.tm_wday && cached.tm_yday == plain.tm_yday);
  REQUIRE(cached.tm_isdst == plain.tm_isdst && cached.tm_gmtoff == plain.tm_gmtoff);
  REQUIRE(strcmp(cached.tm_zone, plain.tm_zone) == 0);
}

static void CheckLocal(time_t when) {
  tm plain = {};
  tm cached = {};
  const bool known = localtime_r(&when, &plain) != nullptr;
  REQUIRE(TimeToLocal(when, cached) == known);
  if (known) {
    CheckParts(cached, plain);
  }
}

// Both steps at once, where that can be done.
static void CheckAtOnce(const tm& record, time_t plain) {
  tm parts = record;
  time_t when;
  if (CompleteInLastHour(parts, when)) {
    REQUIRE(when == plain);
    tm local = {};
    localtime_r(&when, &local);
    CheckParts(parts, local);
  } else {
    REQUIRE(LocalToTime(record) == plain);
    CheckLocal(plain);
  }
}

static std::vector<time_t> PlainTimes(const std::vector<tm>& records) {
  std::vector<time_t> plain;
  PrimeMktime();
  for (const tm& record : records) {
    plain.push_back(PlainLocalToTime(record));
  }
  return plain;
}

static void CheckTimesAtOnce(const std::vector<tm>& records) {
  const std::vector<time_t> plain = PlainTimes(records);
  PrimeMktime();
  for (size_t i = 0; i < records.size(); ++i) {
    CheckAtOnce(records[i], plain[i]);
  }
}

static void CheckTimes(const std::vector<tm>& records, bool and_back) {
  const std::vector<time_t> plain = PlainTimes(records);
  PrimeMktime();
  for (size_t i = 0; i < records.size(); ++i) {
    REQUIRE(LocalToTime(records[i]) == plain[i]);
    if (and_back) {
      CheckLocal(plain[i]);
    }
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input = AsText(data, size);
  const Zone& zone = kZones[TakeByte(input) % std::size(kZones)];
  UseRules(HasZone(zone.tz) ? zone.tz : "UTC0");
  std::vector<tm> records;
  tm last = PartsOf(kSummer2000);
  while (records.size() < 200 && !input.empty()) {
    records.push_back(last = TakeRecord(input, last));
  }
  CheckTimes(records, false);
  CheckTimes(records, true);
  for (const tm& record : records) {
    CheckLocal(PlainLocalToTime(record));
    CheckLocal(static_cast<time_t>(uint64_t{0x9e3779b97f4a7c15} *
                                   static_cast<uint64_t>(int64_t{record.tm_min} + 1)));
  }
  CheckTimesAtOnce(records);
  ResetLocalTime();
  return 0;
}
