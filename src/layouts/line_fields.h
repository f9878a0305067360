// What the fields of a log line mean, and the fields of one line.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string_view>

enum class Field : uint8_t {
  kIgnored,
  kHost,     // the client's name or address, alone or the first of a list, with or without its port
  kUser,     // who signed on
  kSite,     // the virtual host, with or without its port
  kMoment,   // date and time at once, in any form of moment.h
  kDate,     // year, month, day
  kTime,     // of a day that kDate names
  kRequest,  // method, URL and protocol
  kUrl,      // with or without a query
  kQuery,    // what stands behind the "?" of the URL
  kStatus,
  kBytes,  // sent to the client
  kReferrer,
  kAgent,
  kMethod,
  kProtocol,  // with its version, or that alone
  kTls,       // the version of TLS
  // How long the request has taken, numbers with or without a fraction.
  kTakenSeconds,
  kTakenThen,  // more seconds, and
  kTakenLast,  // still more, where a server divides them
  kTakenMilliseconds,
  kTakenMicroseconds,
  kTakenNanoseconds,
  kTakenByForm,  // seconds with a fraction, or whole milliseconds
};
inline constexpr size_t kFieldCount = static_cast<size_t>(Field::kTakenByForm) + 1;

// Whether few reports look at it, and no layout is told by it.
constexpr bool IsMinor(Field field) {
  return field == Field::kIgnored || field >= Field::kMethod;
}

// The texts of a line, by what they mean; absent (null) are those that the line lacks. They
// lie in the line as they stand there.
struct LineFields {
  std::array<std::string_view, kFieldCount> texts;
  std::bitset<kFieldCount> escaped;  // texts of JSON that hold its escapes

  std::string_view& operator[](Field field) { return texts[static_cast<size_t>(field)]; }
  const std::string_view& operator[](Field field) const { return texts[static_cast<size_t>(field)]; }
};
