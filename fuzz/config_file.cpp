// The configuration file. The input's first line is the name of the user whose
// account is looked for, the rest is the file.
#include "config/config_file.h"

#include "analysis/driver.h"
#include "analysis/search_engines.h"
#include "cgi/check_params.h"
#include "cgi/parameters.h"
#include "config/config_lines.h"
#include "config/plain_config_lines.h"
#include "report/extra_texts.h"
#include "superlog/superlog.h"
#include "support.h"

static void CheckLines(const char* path, std::string_view content) {
  ConfigLines lines;
  char line[kLineMax + 1];
  REQUIRE(OpenConfigLines(lines, path, true));
  for (const std::string& expected : PlainConfigLines(std::string(content))) {
    REQUIRE(NextConfigLine(lines, line));
    REQUIRE(line == expected);
  }
  REQUIRE(!NextConfigLine(lines, line));
  CloseConfigLines(lines);
}

static int CountEngines() {
  int count = 0;
  for (const SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    ++count;
  }
  return count;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile file;
  std::string_view input = AsText(data, size);
  Environment env{};
  Settings settings;
  ResetSuperLog();
  initialize(settings, env);
  CopyText(settings.username, TakePart(input));
  CopyText(settings.config, file.Fill(input));
  CheckLines(file.path(), input);
  const bool found = ParseConfigFile(settings, env);
  REQUIRE(settings.config_opened == 1);
  REQUIRE(!found || settings.account_count > 0);
  RequireTexts(settings);
  REQUIRE(CountEngines() == mEnginesCount);
  CompleteSettings(settings);
  RequireTexts(settings);
  EndOrvellisCleanup(settings);
  ResetAnalysis();
  return 0;
}
