// The analysis driver: reads every record in range, filters it, cuts its parts
// down to items and counts them. What was counted is printed by the report.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "superlog/log_events.h"

// Is told of another line of a log that was delivered, counted or not.
using LineListener = void (*)();

// What an analysis tells while it reads: values, and never a printed text. A null
// function is never called, and costs nothing.
struct AnalysisEvents {
  LogEvents logs;
  LineListener line_read = nullptr;
};

// Clears analysis, takes the rules over, sets its range from the dates of the
// settings, finds the log files, and prepares smart memory, search engines and
// tables. False, with nothing left to count or to release, when there is no log
// file. Fills an empty settings.summary. The range of a report
// that asks for the first or last day of the logs is open there. Engines must be defined
// before. What happens until CountLogs returns is told to the functions of events.
bool BeginAnalysis(Settings& settings, const Counting& counting, Analysis& analysis,
                   const AnalysisEvents& events = {});

// The same without logs, for counts that come from elsewhere (parts/counts.h).
void BeginAdding(const Settings& settings, const Counting& counting, Analysis& analysis,
                 const AnalysisEvents& events = {});

// Reads all log files in range and counts their records. The settings are only
// read here, once. All records of a file are counted before the next one is
// opened, and none waits in the end.
void CountLogs(const Settings& settings, Analysis& analysis);

// Its two steps. Between them figures have no width yet and days no order, so that others can be added;
// part_bytes is known only where the settings name a part.
void CountRecords(const Settings& settings, Analysis& analysis);
void CompleteCounts(const Settings& settings, Analysis& analysis);

// Behind CountRecords, when what others have read was added to the list of logs: takes from it what all of
// them came to, where they are read whole.
void CollectLogFigures(const Settings& settings, Analysis& analysis);

// What was counted since BeginAnalysis, or since that was forgotten, becomes counts that can be written down
// while logs are still being read (parts/counts.h); and is forgotten: what comes next is counted as if
// nothing had been before.
void SettleCounts(Analysis& analysis);
void ForgetCounts(Analysis& analysis);

// Takes the analysis its listener; and tells one of so many lines at once.
LineListener TakeLineListener();
void TellLines(LineListener listener, int64_t lines);

// Makes the first and the last day of the logs those of a report that asked for them, in the settings
// and in the analysis. Logs without any record leave the days that the settings name. After CountLogs,
// where the rules have logs read whole.
void CloseRange(Settings& settings, Analysis& analysis);

// Releases what the run counted, but for the phrases: they stay with their
// engines, which another analysis must not use. No figure may be read any more.
void EndAnalysis(Analysis& analysis);

// Returns this folder to its state at the start of the process, and leaves no
// memory behind: search engines, filters, wildcards, names of domains, the DNS
// cache and its resolver, smart memory. For tests, and for programs that make
// more than one run; an analysis that is under way must have been ended before.
void ResetAnalysis();
