// The steps of reading one record that stand on their own. Inner header of this
// folder.
//
// The texts are values of a line: they lie in writable memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/network.h"
#include "superlog/superlog.h"

// The texts below lie in a log line's buffer: kScanOverread bytes from their end
// on can be read (byte_scan.h).

// Reduces a full request line (method, URL, protocol) to its URL: what lies
// between the first and the second space, or behind the only one. A value
// without space stays whole.
void TrimFullRequest(std::string_view& request);

// Status of a WebSTAR result word: 200 for OK..., 403 for PR..., otherwise 404.
int32_t TranslateWebStarResultCode(std::string_view word);

// Cuts a host at its first ":". A NUL follows it then.
void TrimPort(std::string_view& host);

// What a host with a ":" in it is, where addresses are whole: an address of IPv6, bare or in
// brackets with a port or none behind them, without its zone ("%eth0", which names a network card of
// the server). One of IPv4 in the form of IPv6 becomes that of IPv4. Addresses are written at their
// shortest, where they stand or as a kept text (superlog/kept_texts.h). Of what is no address the port is cut
// off, which only one ":" can divide; all else stays as it is. Returns the address of IPv6; null: none.
const Address* TakeHostWithColon(std::string_view& host);

// Removes one "." from the end of a host, behind which a NUL stands before and afterwards.
void TrimTrailingDot(std::string_view& host);

// stem?query, cut to the length of a field, as a kept text (superlog/kept_texts.h).
std::string_view CombineUrl(std::string_view stem, std::string_view query);

// Cuts a record's host to what names the visitor: without port and one trailing dot, and as
// TakeHostWithColon says where addresses are whole.
void SettleHost(SuperLogRecord& record);

// Makes every text absent and every figure 0.
void ClearRecord(SuperLogRecord& record);

// Turns the record's local date and time, as they were written, into its time and its normalised local
// time; false when they give none that a record can hold.
bool SettleTime(SuperLogRecord& record);

// The lines of one log that hold data, but no record.
inline constexpr size_t kShownOfLine = 200;
struct NotUnderstood {
  int64_t lines = 0;
  int64_t first = 0;              // the number of the first of them, from 1
  char line[kShownOfLine + 1]{};  // its beginning, printable ASCII
  NearLayout nearest;             // to it
  LinesByReason reasons;          // of all of them
};

// Adds lines that stand behind the others of their log.
void AppendLines(NotUnderstood& lines, const NotUnderstood& more);

// So many more lines stand before the one from which on these are numbered; and nobody knows how many.
void NumberBehind(NotUnderstood& lines, int64_t before);
void ForgetNumbers(NotUnderstood& lines);

// Of the log at hand; good until the next one is begun.
const NotUnderstood& LinesNotUnderstoodOfLog();

// Of all logs of the run, as far as they were read.
int64_t LinesNotUnderstood();

// Begins to count the lines of another log.
void BeginLinesOfLog();

// Counts so many lines of that log, which was read before, without reading them; known is of all of its
// lines, and tells the first ones.
void PassLinesNotUnderstood(const LinesOfReasons& lines, const NotUnderstood& known);

// Makes it so many of all logs, and none of that one.
void ForgetLinesNotUnderstood(int64_t all);

// Forgets the lines that were not understood.
void ResetLogLine();

// Reads and discards all remaining records of the open log file, then closes it.
// For other programs that link the library; tested, not used by orvellis.
void SuperLog_ParseTest();
