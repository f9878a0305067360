#include "base/byte_size.h"

#include <charconv>

#include "base/text.h"

// In powers of two.
static std::optional<int> PowerOf(std::string_view unit) {
  static constexpr std::string_view kUnits = "kmgt";
  if (unit.empty()) {
    return 0;
  }
  const size_t place = unit.size() == 1 ? kUnits.find(ToLowerAscii(unit[0])) : std::string_view::npos;
  return place == std::string_view::npos ? std::nullopt : std::optional(10 * (static_cast<int>(place) + 1));
}

std::optional<uint64_t> ByteSize(std::string_view text) {
  const char* const last = text.data() + text.size();
  uint64_t number = 0;
  const auto [end, failure] = std::from_chars(text.data(), last, number);
  const std::optional<int> power = PowerOf({end, static_cast<size_t>(last - end)});
  if (end == text.data() || !power) {
    return std::nullopt;
  }
  const bool more = failure != std::errc() || number > UINT64_MAX >> *power;
  return more ? UINT64_MAX : number << *power;
}
