#include "analysis/countries.h"

#include <cstdlib>
#include <functional>

#include "analysis/country_database.h"
#include "base/network.h"

static constexpr std::string_view kNoAddress = "(no address)";
static constexpr std::string_view kPrivate = "(private network)";
static constexpr std::string_view kUnknown = "(unknown)";

// Networks of single sites and machines, of many receivers, for trials and examples, and those that nobody
// has.
static constexpr std::string_view kNobodys =
    "0.0.0.0/8, 10.0.0.0/8, 100.64.0.0/10, 127.0.0.0/8, 169.254.0.0/16, 172.16.0.0/12, 192.0.0.0/24, "
    "192.0.2.0/24, 192.168.0.0/16, 198.18.0.0/15, 198.51.100.0/24, 203.0.113.0/24, 224.0.0.0/3, "
    "::/127, 100::/64, 2001:db8::/32, fc00::/7, fe80::/9, ff00::/8";

// A database may know what is private, or for examples: it is asked first.
std::string_view CountryOfHost(std::string_view host) {
  Address address;
  if (!ParseAddress(host, address)) {
    return kNoAddress;
  }
  const std::string_view country = CountryIn(address);
  if (!country.empty()) {
    return country;
  }
  return IsInNetworks(address, kNobodys) ? kPrivate : kUnknown;
}

// ---- What is remembered ----

// Each host stands where its hash says.
static constexpr size_t kRemembered = 4096;
static constexpr size_t kLongestRemembered = 47;  // no address is longer
struct RememberedHost {
  unsigned char length;  // 0: there is none
  char text[kLongestRemembered];
  std::string_view country;
};
static RememberedHost* mpRemembered = nullptr;

void ForgetCountries() {
  free(mpRemembered);
  mpRemembered = nullptr;
}

std::string_view CountryOfVisitor(const SuperLogRecord& record) {
  if (record.country.data() != nullptr) {
    return record.country;
  }
  const std::string_view host = record.host;
  if (mpRemembered == nullptr) {
    mpRemembered = static_cast<RememberedHost*>(calloc(kRemembered, sizeof(RememberedHost)));
  }
  if (mpRemembered == nullptr || host.empty() || host.size() > kLongestRemembered) {
    return CountryOfHost(host);
  }
  RememberedHost& remembered = mpRemembered[std::hash<std::string_view>()(host) % kRemembered];
  if (std::string_view(remembered.text, remembered.length) != host) {
    remembered.country = CountryOfHost(host);
    remembered.length = static_cast<unsigned char>(host.copy(remembered.text, kLongestRemembered));
  }
  return remembered.country;
}
