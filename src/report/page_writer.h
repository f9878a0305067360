// Who writes the pages of a run: functions that print to standard output.
#pragma once

#include "analysis/driver.h"
#include "cgi/settings.h"
#include "report/errors.h"

// A page that is no report.
using InfoPage = void(const Environment& env, const Settings& settings);

struct PageWriter {
  // Before all else that a web server is answered with. Null: there is nothing to
  // say until the answer is known.
  void (*announce)();

  // Whether there can be such a report, once its settings are complete. Null: there can.
  Error (*check)(const Settings& settings);

  // The head of a report: before its logs are looked for, and what is said only when
  // there are some, before the first is read. Null: nothing.
  void (*begin)(const Environment& env, const Settings& settings);
  void (*found)(const Environment& env, const Settings& settings);

  // Who is told what happens while logs are looked for and read.
  AnalysisEvents (*told)(const Settings& settings);

  // The rest of it, from what was counted.
  void (*finish)(const Settings& settings, Analysis& analysis);

  // Whether the totals are told, too, to those who ask for them (totals.h).
  bool tells_totals;

  // The answer to a request that is refused: in place of a report or, of one without
  // logs, behind what begin has printed. Adds the reason to the error log.
  void (*refuse)(const Refusal& refusal, const Environment& env, const Settings& settings);

  // The form by which a report is asked for, filled in with what the settings say. Null: there is none.
  InfoPage* ask;

  // By settings.page; null for a report, and where there is no such page.
  InfoPage* info[kPageRemoteDebug + 1];
};

// Its texts are fixed, odd spots included; values are printed as they stand.
extern const PageWriter kClassicPage;
