#include "report/answer_head.h"

#include <gmock/gmock.h>

#include "base/text.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

static std::string Head(const AnswerHead& head, bool from_shell = false) {
  Environment env{};
  env.command_line = from_shell ? 1 : 0;
  testing::internal::CaptureStdout();
  PrintAnswerHead(env, head);
  return testing::internal::GetCapturedStdout();
}

TEST(PrintAnswerHead, StrictUnlessItIsTold) {
  const std::string head = Head({});
  EXPECT_THAT(head, StartsWith("Content-Type: text/html\nContent-Security-Policy: sandbox "));
  EXPECT_THAT(head, HasSubstr("\nX-Content-Type-Options: nosniff\nReferrer-Policy: no-referrer\n"
                              "X-Robots-Tag: noindex, nofollow\nCache-Control: no-store\n\n"));
  EXPECT_THAT(head, Not(HasSubstr("Status:")));
}

TEST(PrintAnswerHead, WhatIsTold) {
  EXPECT_THAT(Head({.status = {405, "Method Not Allowed"},
                    .type = "text/plain",
                    .policy = "default-src 'none'",
                    .disposition = "inline",
                    .allowed = "POST",
                    .retry_after = 7}),
              StartsWith("Status: 405 Method Not Allowed\nAllow: POST\nRetry-After: 7\n"
                         "Content-Type: text/plain\nContent-Disposition: inline\n"
                         "Content-Security-Policy: default-src 'none'\n"));
}

TEST(PrintAnswerHead, NothingForAShell) {
  EXPECT_EQ(Head({.status = {400, "Bad Request"}}, true), "");
}

static std::string Name(const char* account, const char* first, const char* last) {
  Settings settings{};
  CopyText(settings.username, account);
  CopyText(settings.start_date, first);
  CopyText(settings.end_date, last);
  char disposition[kDispositionSize];
  NameFile(disposition, "inline", "json", settings);
  return disposition;
}

TEST(NameFile, AccountAndDays) {
  EXPECT_EQ(Name("shop1", "11012026", "11302026"),
            "inline; filename=\"orvellis-shop1-2026-11-01-2026-11-30.json\"");
}

TEST(NameFile, LeavesOutDaysThatOnlyTheLogsTell) {
  Settings settings{};
  CopyText(settings.username, "shop");
  CopyText(settings.start_date, "11012026");
  CopyText(settings.end_date, "11302026");
  char disposition[kDispositionSize];
  settings.from_first = 1;
  NameFile(disposition, "inline", "csv", settings);
  EXPECT_STREQ(disposition, "inline; filename=\"orvellis-shop-until-2026-11-30.csv\"");
  settings.to_last = 1;
  NameFile(disposition, "inline", "csv", settings);
  EXPECT_STREQ(disposition, "inline; filename=\"orvellis-shop.csv\"");
  settings.from_first = 0;
  NameFile(disposition, "inline", "csv", settings);
  EXPECT_STREQ(disposition, "inline; filename=\"orvellis-shop-since-2026-11-01.csv\"");
}

TEST(NameFile, HoldsNothingElseOfTheRequest) {
  EXPECT_EQ(Name("../a\"\r\nb\xc3\xa9", "11012026", "11302026"),
            "inline; filename=\"orvellis-ab-2026-11-01-2026-11-30.json\"");
  EXPECT_EQ(Name("/", "-1-1x", "99999999999"), "inline; filename=\"orvellis-0000-00-00-9999-99-99.json\"");
  const std::string longest = Name(std::string(99, 'a').c_str(), "11012026", "11302026");
  EXPECT_EQ(longest, "inline; filename=\"orvellis-" + std::string(32, 'a') + "-2026-11-01-2026-11-30.json\"");
}
