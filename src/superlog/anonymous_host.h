// Hosts of visitors without what tells one person from another.
#pragma once

#include "superlog/superlog.h"

// How much is left of an address: the last octet of one of IPv4, and the last 80 bits of one of IPv6, become
// 0.
inline constexpr int kLeftOfIpv4 = 24;
inline constexpr int kLeftOfIpv6 = 48;

// Cuts the host of a record: an address as above; a name of more than two labels loses the first one and what
// stands before the last three; anything else, in which an address might be hidden, becomes "(other)". What
// is cut stays as the texts of the record do. An absent or empty host stays what it is.
void SuperLog_CutHost(SuperLogRecord& record);
