// Runs whose counts are parts: part=FILE writes them down, merge=FILES adds them; and of pieces of the logs:
// plan=SIZE names them, piece=TOKEN counts one.
//
// The law: the page of merge= is that of one run over all logs, in the order of the parts. A run for which
// this cannot be is refused before it counts, or where it shows; so is a part that does not fit.
#pragma once

#include <string_view>

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "report/page_writer.h"

// The value of the last argument of that name, ignoring case, whole; null when there is none.
const char* LastWord(int argc, char* const* argv, std::string_view name);

// Whether the run reads parts, or writes one.
inline bool IsPartRun(const Settings& settings) {
  return settings.part != nullptr || settings.merge != nullptr || settings.plan != nullptr ||
         settings.piece != nullptr;
}

// Whether it prints no page.
inline bool WritesNoPage(const Settings& settings) {
  return IsPartRun(settings) && (settings.merge == nullptr || settings.part != nullptr);
}

// Answers a run that prints no page: refusals are a sentence on standard error.
extern const PageWriter kPartWriter;

// Calls a function for each file that merge= names.
void FindParts(const Settings& settings, void* context, void (*found)(void* context, const char* path));

struct PartRun {
  const Environment& env;
  Settings& settings;
  const Counting& counting;
  std::string_view edition;
  const PageWriter& page;  // of what is merged, unless it becomes a part
};

// Counts or adds, and writes the part or the page. False, with a sentence on standard error and nothing
// printed, when there can be none.
bool MakePartOrPage(const PartRun& run);
