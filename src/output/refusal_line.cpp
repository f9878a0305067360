#include "output/refusal_line.h"

#include <cstdint>

#include "output/escape.h"
#include "output/moments.h"
#include "output/sink.h"
#include "report/refusal_texts.h"

void RefuseInOneLine(const Refusal& refusal, const Environment& env, const Settings& settings) {
  const RefusalTexts& texts = LogRefusal(refusal, env, settings);
  AnswerHead head = HeadOfRefusal(texts, refusal);
  head.type = "text/plain; charset=utf-8";
  PrintAnswerHead(env, head);
  Sink sink;
  Put(sink, "Orvellis error ");
  PutNumber(sink, refusal.error);
  Put(sink, ": ");
  PutPlain(sink, texts.heading, SIZE_MAX);
  Put(sink, ". ");
  PutPlain(sink, texts.sentence, SIZE_MAX);
  Put(sink, " ");
  PutPlain(sink, texts.advice, SIZE_MAX);
  if (refusal.log_days.has_value()) {
    Put(sink, " The logs hold ");
    PutDay(sink, refusal.log_days->first);
    Put(sink, " to ");
    PutDay(sink, refusal.log_days->last);
    Put(sink, ".");
  }
  Put(sink, "\n");
  FlushSink(sink);
}
