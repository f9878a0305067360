// Log access: finds the log files of an account, opens those that reach into
// the requested date range one after the other, and delivers one record per
// request line, whatever the log's format.
//
// One file is open and one record is current at a time; all state lives in
// file-scope variables of this folder, so nothing here is reentrant.
#pragma once

#include <cstdint>
#include <ctime>
#include <string_view>

#include "base/limits.h"
#include "cgi/settings.h"
#include "superlog/super_long.h"

// One request. Texts are absent (null data), or NUL-terminated and at most 243
// characters; they stay valid until the next SuperLog_ParseNextLine.
struct SuperLogRecord {
  std::string_view host;  // without port and without one trailing dot
  tm local;               // the request's local time, all nine fields normalised
  int32_t time;           // seconds since the epoch, GMT correction applied
  std::string_view url;
  int32_t status;  // 0 when the line has none
  int32_t bytes;
  std::string_view referrer;
  std::string_view agent;
  std::string_view realm;
  std::string_view user;
};

// Returns the whole module to its state at the start of a run. The product
// calls it first thing, before any parameter sets a format; tests likewise.
void ResetSuperLog();

// Settings of the module, each taken only when source (a Level) is at least as
// strong as that of the value held. SetLogFormat takes a layout shorter than
// 244 characters that begins with a separator letter (S, T or C); SetDateFormat
// one of DMY DYM MDY MYD YDM YMD, ignoring case; SetFixGmt a number, non-zero
// meaning that log times are GMT. Anything else is ignored without a message.
void SuperLog_SetLogFormat(const char* format, int source);
void SuperLog_SetDateFormat(const char* name, int source);
void SuperLog_SetFixGmt(const char* text, int source);

// Order of day, month and year in all-numeric dates: 1 DMY, 2 DYM, 3 MDY (the
// default), 4 MYD, 5 YDM, 6 YMD.
int SuperLog_GetDateFormat();

// Builds the list of log files for the range of times given, both ends
// included, using and maintaining the log summary file. An empty
// settings.summary is filled with the default summary name. The limits hold until
// the next call or reset.
void SuperLog_Init(Settings& settings, const Limits& limits, time_t range_first, time_t range_last);

// True when the list of log files is not empty.
bool SuperLog_LogFilesFound();

// Opens the next log file that reaches into the range; false when none is left
// (and none is open).
bool SuperLog_NextLogFile();

// Fills record from the next usable line of the open log file; false at its end.
bool SuperLog_ParseNextLine(SuperLogRecord& record);

// Closes the open log file, if any.
void SuperLog_NextLogFile_Done();

// True when at least one file in range was opened in this run.
bool SuperLog_LogsInRange();

// Bytes of log data read by this run, in whole blocks.
SuperLong SuperLog_GetTotalLogBytesRead();

// Releases the list of log files.
void SuperLog_Uninit();
