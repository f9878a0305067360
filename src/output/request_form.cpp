#include "output/request_form.h"

#include "output/escape.h"
#include "output/page_frame.h"
#include "output/sink.h"
#include "report/answer_head.h"
#include "report/site.h"

void AnswerForm(const Environment& env, const Settings& settings) {
  PrintAnswerHead(env, {.type = "text/html; charset=utf-8", .policy = WebPolicy(false)});
  Sink sink;
  PutPageStart(sink);
  PutHtml(sink, kProductName);
  Put(sink, ": report");
  PutPageHead(sink, false);
  Put(sink,
      "<main class=\"answer\">\n<h1>Report</h1>\n<form method=\"post\" action=\"?\">\n"
      "<p><label>Account <input name=\"username\" value=\"");
  PutAttribute(sink, settings.username);
  Put(sink, "\"></label> <button>Show the report</button></p>\n</form>\n</main>\n");
  PutPageEnd(sink, false);
  FlushSink(sink);
}
