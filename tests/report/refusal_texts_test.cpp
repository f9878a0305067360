#include "report/refusal_texts.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

#include "support/text_file.h"

static const RefusalTexts& TextsOf(Error error) {
  return LogRefusal({error}, {}, {});
}

TEST(RefusalTexts, EachHasAStatusOfItsKind) {
  const std::pair<Error, int> kExpected[] = {
      {kErrorNotPosted, 405},  {kErrorRejected, 403},  {kErrorNoLogs, 500},     {kErrorNoStartDate, 400},
      {kErrorDateRange, 400},  {kErrorNoEndDate, 400}, {kErrorConfigFile, 500}, {kErrorPasswordFile, 500},
      {kErrorNoLogFiles, 404}, {kErrorLimited, 429},   {kErrorOutput, 400},     {kErrorSection, 400}};
  for (const auto& [error, status] : kExpected) {
    EXPECT_EQ(TextsOf(error).error, error);
    EXPECT_EQ(TextsOf(error).status.number, status) << error;
  }
  EXPECT_EQ(TextsOf(static_cast<Error>(99)).status.number, 500);
}

TEST(RefusalTexts, TheErrorLogNamesTheOutputThatWasAskedFor) {
  Settings settings{};
  const std::string log = NewPath("error.log");
  CopyText(settings.ErrorLog, log);
  CopyText(settings.output, "xml\n");
  LogRefusal({kErrorOutput}, {}, settings);
  std::stringstream text;
  text << std::ifstream(log).rdbuf();
  EXPECT_THAT(text.str(), testing::HasSubstr("] - \"\" no such output: \"xml?\"\n"));
}
