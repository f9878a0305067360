// Report parameters, one a line: those of a form, then, behind an empty line,
// those of an account, and behind another one those of a stranger's form; and the
// settings completed from them.
#include "cgi/check_params.h"
#include "cgi/parameters.h"
#include "dates/years.h"
#include "report/extra_texts.h"
#include "superlog/log_dates.h"
#include "superlog/superlog.h"
#include "support.h"

// The fields, joined again, are the value.
static void CheckValues(const char* value) {
  std::string joined;
  for (int n = 1; n <= NumValues(value); ++n) {
    char field[kTextSize];
    ReturnValue(field, sizeof field, value, n);
    RequireText(field);
    joined += n > 1 ? "," : "";
    joined += field;
  }
  REQUIRE(joined == value);
}

static void CheckLine(const char* line) {
  char name[kTextSize];
  char value[kTextSize];
  ParseFieldValue(line, name, value);
  RequireText(name);
  RequireText(value);
  REQUIRE(strchr(name, '=') == nullptr && strchr(value, '=') == nullptr);
  CheckValues(value);
  ParseFieldValue(line, name, value, true);
  const char* const equals = strchr(line, '=');
  REQUIRE(value == std::string(equals == nullptr ? "" : equals + 1).substr(0, kTextMax));
}

static void Apply(std::string_view& lines, Settings& settings, ParamSource source, int level) {
  while (!lines.empty()) {
    const std::string line = UpToNul(TakePart(lines));
    if (line.empty()) {
      return;
    }
    CheckLine(line.c_str());
    CompareParam(line.c_str(), settings, source, level);
    RequireTexts(settings);
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input = AsText(data, size);
  Environment env{};
  Settings settings;
  ResetSuperLog();
  initialize(settings, env);
  Apply(input, settings, ParamSource::kForm, kLevelForm);
  Apply(input, settings, ParamSource::kAccount, kLevelAccount);
  const std::string config = settings.config;
  Apply(input, settings, ParamSource::kStranger, kLevelForm);
  REQUIRE(settings.config == config);
  const int error = CompleteSettings(settings);
  REQUIRE(error == 0 || (error >= 4 && error <= 8));
  RequireTexts(settings);
  REQUIRE(SuperLog_GetDateFormat() >= kOrderDmy && SuperLog_GetDateFormat() <= kOrderYmd);
  CalendarDate start;
  CalendarDate end;
  ParseDate(start, end, settings);
  EndOrvellisCleanup(settings);
  return 0;
}
