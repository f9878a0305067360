// The configuration file. The input's first line is the name of the user whose
// account is looked for, the rest is the file.
#include "config/config_file.h"

#include "analysis/driver.h"
#include "analysis/search_engines.h"
#include "base/plain_lines.h"
#include "base/text_file.h"
#include "cgi/check_params.h"
#include "cgi/parameters.h"
#include "report/extra_texts.h"
#include "superlog/superlog.h"
#include "support.h"

static void CheckLines(const char* path, std::string_view content) {
  TextFile text;
  char line[kLineMax + 1];
  const LineRules rules{.whole = true, .ff_ends = true};
  REQUIRE(OpenTextFile(text, path));
  for (const std::string& expected : PlainLines(std::string(content))) {
    REQUIRE(NextLine(text, line, rules) > 0);
    REQUIRE(line == expected);
  }
  REQUIRE(NextLine(text, line, rules) == 0);
  CloseTextFile(text);
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
  ConfigFile config;
  bool found = false;
  char edition[kTextSize] = "";
  CopyText(config.path, settings.config);
  FindEditionKey(config, edition);
  RequireText(edition);
  REQUIRE(ParseConfigFile(config, settings, found) == kNoError);
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
