#include "output/answer_pages.h"

#include "output/escape.h"
#include "output/other_days.h"
#include "output/page_cells.h"
#include "output/page_frame.h"
#include "output/sink.h"
#include "report/answer_head.h"
#include "report/info_pages.h"
#include "report/refusal_texts.h"
#include "report/site.h"

// ---- Frame ----

static void BeginPage(Sink& sink, const char* title) {
  PutPageStart(sink);
  PutHtml(sink, kProductName);
  Put(sink, ": ");
  PutHtml(sink, title);
  PutPageHead(sink, false);
  Put(sink, "<main class=\"answer\">\n<h1>");
}

static void EndPage(Sink& sink) {
  Put(sink, "</main>\n");
  PutPageEnd(sink, false);
  FlushSink(sink);
}

// The addresses of the installation are the program's own.
static void PutLink(Sink& sink, const char* address, const Literal& text) {
  Put(sink, "<a href=\"");
  PutAttribute(sink, address);
  Put(sink, "\">");
  Put(sink, text);
  Put(sink, "</a>");
}

static AnswerHead WithPolicy(AnswerHead head) {
  head.type = "text/html; charset=utf-8";
  head.policy = WebPolicy(false);
  return head;
}

// ---- Refusals ----

// Only the form of a web server is at the address of the answer. It is the empty one: what was typed is in no
// refusal, so that all are the same.
static void PutFormLink(Sink& sink, const Environment& env) {
  PutLink(sink, env.command_line != 0 ? kProductPage : "?", "request form");
}

static void PutLogDays(Sink& sink, const DayRange& days, const Settings& settings) {
  Put(sink, "<p>The logs hold ");
  PutDays(sink, days);
  Put(sink, ".</p>\n");
  PutDayLinks(sink, settings, LinksInto(days));
}

// Nobody counts more than two minutes in seconds.
static void PutWait(Sink& sink, int64_t seconds) {
  if (seconds <= 0) {
    return;
  }
  Put(sink, "<p>Ask again in ");
  if (seconds > 120) {
    PutCounted(sink, (seconds + 59) / 60, "minute", "minutes");
  } else {
    PutCounted(sink, seconds, "second", "seconds");
  }
  Put(sink, ".</p>\n");
}

// Programs that run this one look for the line of the heading.
static void PutRefusal(Sink& sink, const RefusalTexts& texts, const Refusal& refusal, const Environment& env,
                       const Settings& settings) {
  PutHtml(sink, kProductName);
  Put(sink, " Error #");
  PutNumber(sink, refusal.error);
  Put(sink, ": ");
  PutHtml(sink, texts.heading);
  Put(sink, "</h1>\n<p>");
  PutHtml(sink, texts.sentence);
  Put(sink, "</p>\n");
  PutWait(sink, refusal.retry_after);
  Put(sink, "<p>");
  PutHtml(sink, texts.advice);
  Put(sink, "</p>\n");
  if (refusal.log_days.has_value()) {
    PutLogDays(sink, *refusal.log_days, settings);
  }
  Put(sink, "<p class=\"words\"><a href=\"");
  PutAttribute(sink, kSupportErrorPages);
  Put(sink, "#error");
  PutNumber(sink, refusal.error);
  Put(sink, "\">More about this error</a>, ");
  PutFormLink(sink, env);
  Put(sink, "</p>\n");
}

void RefuseByPage(const Refusal& refusal, const Environment& env, const Settings& settings) {
  const RefusalTexts& texts = LogRefusal(refusal, env, settings);
  PrintAnswerHead(env, WithPolicy(HeadOfRefusal(texts, refusal)));
  Sink sink;
  BeginPage(sink, texts.heading);
  PutRefusal(sink, texts, refusal, env, settings);
  EndPage(sink);
}

// ---- About and credits ----

static void BeginInfo(Sink& sink, const Environment& env, const char* heading) {
  PrintAnswerHead(env, WithPolicy({}));
  BeginPage(sink, heading);
  PutHtml(sink, heading);
  Put(sink, "</h1>\n<p>");
  PutHtml(sink, kProductName);
  Put(sink, " ");
  PutHtml(sink, kVersion);
  Put(sink, "</p>\n");
}

// A stranger learns nothing about the machine; somebody at its shell can.
void AnswerAbout(const Environment& env, const Settings& settings) {
  if (env.command_line != 0) {
    AboutPage(settings, env);
    return;
  }
  Sink sink;
  BeginInfo(sink, env, "About this program");
  Put(sink, "<p>");
  PutLink(sink, kProductInformationPage, "Product information");
  Put(sink, ", ");
  PutLink(sink, "?credits", "credits");
  Put(sink, "</p>\n");
  EndPage(sink);
}

template <size_t N>
static void PutNames(Sink& sink, const Literal& before, const char* const (&names)[N]) {
  for (const char* name : names) {
    Put(sink, "<p>");
    Put(sink, before);
    PutHtml(sink, name);
    Put(sink, ".</p>\n");
  }
}

void AnswerCredits(const Environment& env, const Settings& settings) {
  if (env.command_line != 0) {
    CreditsPage(settings, env);
    return;
  }
  Sink sink;
  BeginInfo(sink, env, "Credits");
  PutNames(sink, "By ", kDevelopers);
  PutNames(sink, "Thanks to ", kSpecialThanks);
  Put(sink, "<p>");
  PutLink(sink, "?about", "About this program");
  Put(sink, "</p>\n");
  EndPage(sink);
}
