#include "report/guarded_page.h"

#include <cstdio>

#include "report/answer_head.h"
#include "report/info_pages.h"
#include "report/page_frame.h"
#include "report/refusal_texts.h"
#include "report/report_page.h"
#include "report/site.h"
#include "report/told_rows.h"

static void Begin(const Environment& env, const Settings& settings) {
  PrintAnswerHead(env, {});
  PrintHead(settings);
}

// ---- Refusals ----

static void PrintRefusalHead(const RefusalTexts& texts, const Refusal& refusal, const Environment& env) {
  PrintAnswerHead(env, HeadOfRefusal(texts, refusal));
  printf("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<title>%s: %s</title>\n</head>\n<body>\n",
         kProductName, texts.heading);
}

static void Refuse(const Refusal& refusal, const Environment& env, const Settings& settings) {
  const RefusalTexts& texts = LogRefusal(refusal, env, settings);
  if (refusal.error != kErrorNoLogFiles) {  // whose report has been begun
    PrintRefusalHead(texts, refusal, env);
  }
  printf("<h1>%s</h1>\n<p>%s</p>\n", texts.heading, texts.sentence);
  printf(
      "<p>This is <a href=\"%s#error%d\">error %d</a>. Reports are asked for on the <a href=\"%s\">request "
      "form</a>.</p>\n",
      kSupportErrorPages, refusal.error, refusal.error, kProductPage);
  fputs("</body>\n</html>\n", stdout);
}

// ---- Pages that are no report ----

static void PrintInfoHead(const Environment& env) {
  PrintAnswerHead(env, {});
  printf("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<title>%s</title>\n</head>\n<body>\n<h1>%s %s</h1>\n",
         kProductName, kProductName, kVersion);
}

// A stranger learns nothing about the machine; somebody at its shell can.
static void About(const Environment& env, const Settings& settings) {
  if (env.command_line != 0) {
    AboutPage(settings, env);
    return;
  }
  PrintInfoHead(env);
  printf(
      "<p><a href=\"%s\">Product information</a>, <a href=\"?credits\">credits</a></p>\n</body>\n</html>\n",
      kProductInformationPage);
}

static void Credits(const Environment& env, const Settings& settings) {
  if (env.command_line != 0) {
    CreditsPage(settings, env);
    return;
  }
  PrintInfoHead(env);
  for (const char* name : kDevelopers) {
    printf("<p>By %s.</p>\n", name);
  }
  for (const char* name : kSpecialThanks) {
    printf("<p>Thanks to %s.</p>\n", name);
  }
  fputs("<p><a href=\"?about\">About this program</a></p>\n</body>\n</html>\n", stdout);
}

const PageWriter kGuardedPage = {
    .announce = nullptr,
    .begin = Begin,
    .found = nullptr,
    .told = PageEvents,
    .finish = FinishReport,
    .refuse = Refuse,
    .info = {nullptr, About, Credits, nullptr},
};
