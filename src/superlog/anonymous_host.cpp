#include "superlog/anonymous_host.h"

#include <algorithm>

#include "base/network.h"
#include "base/text.h"
#include "superlog/byte_scan.h"
#include "superlog/kept_texts.h"

static constexpr char kOther[kScanOverread + 8] = "(other)";  // whoever counts it reads on behind its end
static constexpr int kBeforeIpv4 = 96;                        // bits of an Address

static Address mCut;  // of the current record

static void CutAddress(const Address& whole, SuperLogRecord& record) {
  const bool ipv4 = IsIpv4(whole);
  mCut = FirstBits(whole, ipv4 ? kBeforeIpv4 + kLeftOfIpv4 : kLeftOfIpv6);
  char text[kAddressTextSize];
  WriteAddress(mCut, text);
  char* const room = RoomForText(kAddressTextSize);
  record.host = KeepText(room, CopyText(room, kAddressTextSize, text));
  record.ipv6 = ipv4 ? nullptr : &mCut;
}

// Letters, digits, hyphens, underscores and dots. The last label begins with a letter.
static bool IsName(std::string_view host) {
  const std::string_view last = host.substr(host.rfind('.') + 1);
  const auto belongs = [](char c) {
    return IsLetterAscii(c) || IsDigitAscii(c) || c == '-' || c == '_' || c == '.';
  };
  return std::ranges::all_of(host, belongs) && !last.empty() && IsLetterAscii(last.front());
}

static std::string_view DomainOfName(std::string_view name) {
  static constexpr ptrdiff_t kMostDots = 2;
  const ptrdiff_t dots = std::ranges::count(name, '.');
  for (ptrdiff_t left = dots; left > kMostDots || (left == dots && dots >= 2); --left) {
    name.remove_prefix(name.find('.') + 1);
  }
  return name;
}

void SuperLog_CutHost(SuperLogRecord& record) {
  if (record.host.empty()) {
    return;
  }
  Address address;
  if (ParseAddress(record.host, address)) {
    CutAddress(address, record);
  } else {
    record.host = IsName(record.host) ? DomainOfName(record.host) : kOther;
    record.ipv6 = nullptr;
  }
}
