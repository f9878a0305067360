// The steps of reading one record that stand on their own. Inner header of this
// folder.
//
// The texts are values of a line: they lie in writable memory, are followed by a
// NUL there, and stay so when they are cut.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/network.h"

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

// What a host with a ":" in it is, where addresses are whole: an address of IPv6, bare or in
// brackets with a port or none behind them, without its zone ("%eth0", which names a network card of
// the server). One of IPv4 in the form of IPv6 becomes that of IPv4. Addresses are written at their
// shortest, in a text that is good until the next call. Of what is no address the port is cut
// off, which only one ":" can divide; all else stays as it is. Returns the address of IPv6; null: none.
const Address* TakeHostWithColon(std::string_view& host);

// Removes one "." from the end of a host.
void TrimTrailingDot(std::string_view& host);

// Forgets the lines that were not understood.
void ResetLogLine();

// Reads and discards all remaining records of the open log file, then closes it.
// For other programs that link the library; tested, not used by orvellis.
void SuperLog_ParseTest();
