// Addresses and networks, as numbers: no name is ever looked up.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// An IPv4 address stands here as its IPv6 form, ::ffff:a.b.c.d, so that both ways of
// writing it are one address.
struct Address {
  std::array<std::uint8_t, 16> bytes;
  bool operator==(const Address&) const = default;
};

// Reads an IPv4 or IPv6 address, the latter with or without brackets. False, leaving
// the address as it is, for everything else: names, ports, networks, blanks.
bool ParseAddress(std::string_view text, Address& address);

inline constexpr size_t kAddressTextSize = 46;

// The address as it is written, IPv4 with dots, IPv6 at its shortest (RFC 5952).
void WriteAddress(const Address& address, char (&text)[kAddressTextSize]);

// What an address has to begin with to belong.
struct Network {
  Address address;
  int bits;  // of its 128; of an IPv4 network never fewer than 96
};

// Reads "192.0.2.0/24", "2001:db8::/32" or a single address. What is behind the bits
// of the network does not count. False, leaving the network as it is, for everything else.
bool ParseNetwork(std::string_view text, Network& network);

// Whether the address is one of the network's. An IPv4 address is in no network of IPv6, ::/0 included.
bool IsInNetwork(const Address& address, const Network& network);

// Whether the address is in one of the networks of a list, "192.0.2.0/24, ::1". An
// item that is no network, and an empty one, holds no address.
bool IsInNetworks(const Address& address, std::string_view networks);

// The text without blanks and tabs around it.
std::string_view WithoutBlanks(std::string_view text);

// Takes the next item off a list that is separated by commas, without the blanks
// around it; empty ones are passed over. False when there is none.
bool NextListItem(std::string_view& list, std::string_view& item);

// The address with zeros behind its first bits, of which it has 128.
Address FirstBits(const Address& address, int bits);

// Whether the address is one of IPv4.
bool IsIpv4(const Address& address);

// What limits count as one visitor: an IPv4 address, or an IPv6 network of 64 bits,
// which is what a single household has.
Address NetworkOfVisitor(const Address& address);
