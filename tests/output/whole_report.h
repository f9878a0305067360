// Reports of a small log, as outputs write them.
#pragma once

#include "report/report_page.h"
#include "support/account_logs.h"

class WholeReport : public AccountLogs {
 protected:
  WholeReport() {
    setenv("SOURCE_DATE_EPOCH", "952300800", 1);
    for (const char* name : {"COLUMNS", "NO_COLOR", "CLICOLOR_FORCE"}) {
      unsetenv(name);
    }
    CopyText(settings_.title, "A Site");
    CopyText(settings_.username, "an/n\"\r\n9");
    env_.command_line = 1;
  }

  std::string Written(const PageWriter& page) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(AnalyzeLogs(env_, settings_, kModernCounting, page), kNoError);
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
  }

  std::string Refused(const PageWriter& page, const Refusal& refusal) {
    testing::internal::CaptureStdout();
    page.refuse(refusal, env_, settings_);
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
  }

  Environment env_{};
};
