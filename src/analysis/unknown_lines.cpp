#include "analysis/unknown_lines.h"

#include <cstdio>
#include <map>
#include <string>
#include <string_view>

#include "layouts/known_layouts.h"
#include "superlog/log_names.h"
#include "superlog/superlog.h"

static std::string NameOf(const NearLayout& nearest) {
  return nearest.given ? "the layout that was told"
                       : std::string(KnownLayouts()[nearest.miss.layout - size_t{1}].name);
}

static std::string WordsFor(const NearLayout& nearest) {
  const NearMiss& miss = nearest.miss;
  switch (ReasonOf(nearest)) {
    case LineReason::kCutOff:
      return "cut off";
    case LineReason::kNoLayoutFits:
      return "no layout fits";
    case LineReason::kTooFewLines:
      return "too few lines of " + NameOf(nearest);
    default:
      const std::string place = miss.character == 0 ? "" : " at character " + std::to_string(miss.character);
      return std::string("no ") + WordFor(miss.field) + place + " (nearest to " + NameOf(nearest) + ")";
  }
}

// A log that holds nothing but requests of other days is no part of the report.
static bool Counts(const LogState& log) {
  return log.copy_of == nullptr && log.lines_not_understood > 0 &&
         (log.records.in_range > 0 || log.records.count == 0);
}

using Items = std::map<std::string, KeyCount>;

static void AddLines(const std::string& log, const ReasonLines& reason, Items& items) {
  if (reason.lines > 0) {
    const auto first = KeyCount{0, reason.first};
    items.try_emplace(log + ": " + WordsFor(reason.nearest), first).first->second.count += reason.lines;
  }
}

void AddUnknownLines(const Settings& settings, CountedReport& report) {
  Items items;
  const void* place = nullptr;
  for (LogState log; SuperLog_NextState(place, log);) {
    if (!Counts(log)) {
      continue;
    }
    char name[kLogNameSize];
    NameLog(name, log.path, settings.linked_names != 0);
    for (const ReasonLines& reason : log.reasons->reasons) {
      AddLines(name, reason, items);
    }
    report.total += log.lines_not_understood;
  }
  for (const auto& [item, count] : items) {
    add_items(report.list, report.info, item, count);
  }
}
