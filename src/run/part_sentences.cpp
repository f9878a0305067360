#include "run/part_sentences.h"

#include <cinttypes>
#include <cstdio>
#include <string_view>

#include "report/refusal_texts.h"
#include "superlog/log_parts.h"

bool IsStandard(const char* path) {
  return std::string_view(path) == "-";
}

PartName::PartName(const char* path, int64_t number) {
  char name[kPathSize];
  CopyText(name, IsStandard(path) ? "standard input" : path);
  MakePrintable(name);
  if (number > 1) {
    snprintf(text, sizeof text, "%s, part %" PRId64, name, number);
  } else {
    CopyText(text, name);
  }
}

bool Refuse(const char* sentence) {
  fprintf(stderr, "orvellis: %s\n", sentence);
  return false;
}

bool RefusePart(const PartName& part, const char* why) {
  fprintf(stderr, "orvellis: %s %s\n", part.text, why);
  return false;
}

void SayRefusal(const Refusal& refusal, const Environment& env, const Settings& settings) {
  Refuse(LogRefusal(refusal, env, settings).sentence);
}

bool BeginAloneInTime() {
  return !BeginsInRepeatedHour() ||
         Refuse(
             "the first log begins within an hour that a clock change repeats: the log before it decides "
             "which one it is");
}
