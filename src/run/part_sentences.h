// The sentences of runs whose counts are parts: one on standard error says why there is none.
#pragma once

#include <cstdint>

#include "base/text.h"
#include "report/page_writer.h"

// Whether a path stands for standard input or output.
bool IsStandard(const char* path);

// What is called a part in a sentence. Of several in one file, with its number. Printable.
struct PartName {
  char text[kPathSize + 32];

  PartName(const char* path, int64_t number);
};

// Say why, and return false.
bool Refuse(const char* sentence);
bool RefusePart(const PartName& part, const char* why);

// The same of what a page would refuse.
void SayRefusal(const Refusal& refusal, const Environment& env, const Settings& settings);

// Refuses logs that cannot be counted apart from those before them.
bool BeginAloneInTime();
