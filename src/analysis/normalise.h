// Cuts log values down to the items that reports count.
//
// None allocates and none changes its input: a cut text is a shorter view of
// the same characters. Absent texts stay absent.
#pragma once

#include <cstdint>
#include <string_view>

// Counted requests whose agent was classified as either brand.
extern int32_t MsieCount;
extern int32_t NavCount;

// True for a dotted numeric address. Lenient: the last octet may exceed 255 and
// octets may be empty.
bool IsIpAddr(std::string_view text);

// True when the text is absent, empty or only digits, ".", "," and ";".
bool IpAddrsOnly(std::string_view text);

// True when the host's last label does not end in a letter; false for an empty
// host.
bool IPaddress(std::string_view host);

// The last n labels; the whole host when it has fewer than n dots. "(null)"
// becomes empty.
std::string_view TruncateDomain(std::string_view host, int n);

// Without its first label when at least two dots are there.
std::string_view TruncateLSD(std::string_view host);

// The first three octets.
std::string_view TruncateIP(std::string_view address);

// Up to the first "?" or double quote.
std::string_view TruncateCGI(std::string_view url);

// The file type with its dot, or empty.
std::string_view TruncateFileType(std::string_view url);

// "UNKNOWN" for a non-empty label without a letter, else the label.
std::string_view checkIP(std::string_view label);

// True when the agent holds "MSIE", by a scan that never looks back.
bool MSIE(std::string_view agent);
