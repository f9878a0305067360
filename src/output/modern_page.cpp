#include "output/modern_page.h"

#include "output/answer_pages.h"
#include "output/escape.h"
#include "output/page_frame.h"
#include "output/page_logs.h"
#include "output/page_overview.h"
#include "output/page_sections.h"
#include "output/report_summary.h"
#include "output/request_form.h"
#include "output/sink.h"
#include "report/answer_head.h"
#include "report/told_rows.h"

static void BeginAnswer(const Environment& env, const Settings& settings) {
  PrintAnswerHead(env, {.type = "text/html; charset=utf-8", .policy = WebPolicy(settings.no_script == 0)});
}

static AnalysisEvents Told(const Settings& settings) {
  return RememberLogs(settings.linked_names != 0, SignsOfLife(settings));
}

static void PutExtra(Sink& sink, const char* markup) {
  if (markup != nullptr && markup[0] != '\0') {
    Put(sink, "<div class=\"extra\">\n");
    PutMarkup(sink, markup);
    Put(sink, "\n</div>\n");
  }
}

static void PutBody(Sink& sink, const Settings& settings, Analysis& analysis) {
  const LogsRead& logs = RememberedLogs();
  Put(sink, "<a class=\"skip\" href=\"#overview\">Skip to the figures</a>\n");
  PutExtra(sink, settings.extra_header);
  PutReportHead(sink, settings, analysis, logs);
  if (analysis.logs.in_range) {
    Put(sink, "<div class=\"body\">\n");
    PutContents(sink, settings);
  }
  Put(sink, "<main>\n");
  PutOverview(sink, settings, analysis, logs);
  if (analysis.logs.in_range) {
    PutSections(sink, settings, analysis);
  }
  Put(sink, analysis.logs.in_range ? Literal("</main>\n</div>\n") : Literal("</main>\n"));
  Put(sink, "<footer>\n<p>Made by Orvellis ");
  PutHtml(sink, kVersion);
  Put(sink, ".</p>\n");
  PutExtra(sink, settings.extra_footer);
  Put(sink, "</footer>\n");
}

static void Finish(const Settings& settings, Analysis& analysis) {
  const bool with_script = settings.no_script == 0;
  Sink sink;
  Put(sink, kPageTop);
  PutSummary(sink, SummaryOf(settings, analysis));
  Put(sink, "<title>");
  PutTitle(sink, settings, analysis);
  PutPageHead(sink, with_script);
  PutBody(sink, settings, analysis);
  PutPageEnd(sink, with_script);
  FlushSink(sink);
}

const PageWriter kModernPage = {
    .announce = nullptr,
    .check = nullptr,
    .begin = nullptr,
    .found = BeginAnswer,
    .told = Told,
    .finish = Finish,
    .tells_totals = true,
    .refuse = RefuseByPage,
    .ask = AnswerForm,
    .info = {nullptr, AnswerAbout, AnswerCredits, nullptr},
};
