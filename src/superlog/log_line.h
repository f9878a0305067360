// The steps of reading one record that stand on their own. Inner header of this
// folder.
//
// The texts are values of a line: they lie in writable memory, are followed by a
// NUL there, and stay so when they are cut.
#pragma once

#include <cstdint>
#include <string_view>

#include "superlog/superlog.h"

// The texts below lie in a log line's buffer: kScanOverread bytes from their end
// on can be read (byte_scan.h).

// Reduces a full request line (method, URL, protocol) to its URL: what lies
// between the first and the second space, or behind the only one. A value
// without space stays whole.
void TrimFullRequest(std::string_view& request);

// Status of a WebSTAR result word: 200 for OK..., 403 for PR..., otherwise 404.
int32_t TranslateWebStarResultCode(std::string_view word);

// Cuts a host at its first ":".
void TrimPort(std::string_view& host);

// Removes one "." from the end of a host.
void TrimTrailingDot(std::string_view& host);

// stem?query, cut to the length of a field, as a kept text (superlog/kept_texts.h).
std::string_view CombineUrl(std::string_view stem, std::string_view query);

// Makes every text absent and every figure 0.
void ClearRecord(SuperLogRecord& record);

// Turns the record's local date and time, as they were written, into its time and its normalised local
// time; false when they give none that a record can hold.
bool SettleTime(SuperLogRecord& record);

// Forgets the lines that were not understood.
void ResetLogLine();

// Reads and discards all remaining records of the open log file, then closes it.
// For other programs that link the library; tested, not used by orvellis.
void SuperLog_ParseTest();
