// Cuts log values down to the items that reports count.
//
// Views in, views out: none allocates and none changes its input. A cut text is
// a shorter view of the same characters, so only a text that kept its end is
// still followed by a NUL. Absent texts (null data) stay absent; a text that was
// cut to nothing is empty and present.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/text.h"

// True for a dotted numeric address, blanks around it allowed. Lenient: only the
// octets before a dot are held against 255 (their values wrap at 32 bits), and
// octets may be empty. False for an absent text.
bool IsIpAddr(std::string_view text);

// True when the text is absent, empty or only digits, ".", "," and ";".
bool IpAddrsOnly(std::string_view text);

// True when the host's last label is empty, is the whole host "(null)", or does
// not end in a letter; false for an absent or empty host.
inline bool IPaddress(std::string_view host) {
  // deliberate: the last character alone decides, whatever stands before it
  return !host.empty() && !IsLetterAscii(host.back());
}

// The last n labels; the whole host when it has fewer than n dots or n is below
// 1. "(null)" becomes empty, whatever n is.
std::string_view TruncateDomain(std::string_view host, int n);

// Without the port of a virtual host: ":" and digits behind a name, an address of IPv4 or one of IPv6 in
// brackets.
std::string_view WithoutPort(std::string_view site);

// Without its first label when the host has two dots or more, else the host.
std::string_view TruncateLSD(std::string_view host);

// Up to the third dot; the whole text when it has fewer. The buffer of one that is not empty must go on for
// kScanOverread bytes of superlog/byte_scan.h beyond it.
std::string_view TruncateIP(std::string_view address);

// Up to the first "?" or end mark. The URL's buffer must go on for kScanOverread
// bytes beyond it.
std::string_view TruncateAt(std::string_view url, char end_mark);

// The same, with a double quote for the mark.
std::string_view TruncateCGI(std::string_view url);

// The file type of the URL's path, dot included and its case kept, or empty.
std::string_view TruncateFileType(std::string_view url);

// "UNKNOWN" for a non-empty label without a letter, else the label.
std::string_view checkIP(std::string_view label);

// What a domain of the domains report counts as in that of domain types: its last label, as checkIP gives it.
std::string_view TypeOfDomain(std::string_view domain);

// The same where a domain may be a network of IPv6, which ends in "::/48" and is of type "UNKNOWN".
std::string_view TypeOfDomainOrNetwork(std::string_view domain);

// True when the agent holds "MSIE", by a scan that never looks back: the
// character that ends a partial match is not looked at again.
bool MSIE(std::string_view agent);
