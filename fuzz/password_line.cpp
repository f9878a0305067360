// The password file and the test for the installation's own network. The input's
// first lines are user, typed password, InternalIp, and the requester's name and
// address; the rest is the password file.
#include <crypt.h>

#include <vector>

#include "analysis/dns_cache.h"
#include "analysis/dns_cache_internal.h"
#include "analysis/normalise.h"
#include "config/account.h"
#include "support.h"

// In place of the system's, some of whose schemes take as long as the file says.
extern "C" char* crypt(const char* typed, const char* salt) noexcept {
  static char hashed[2 * kTextSize];
  snprintf(hashed, sizeof hashed, "%.2s%s", salt, typed);
  return salt[0] == '*' ? nullptr : hashed;
}

static hostent* ResolveEven(const void* address, socklen_t, int) {
  static char name[] = "host.example.com";
  static hostent record = {};
  record.h_name = name;
  return static_cast<const uint8_t*>(address)[3] % 2 == 0 ? &record : nullptr;
}

static bool Matches(const std::string& typed, const std::string& stored) {
  if (stored == "*" || EqualIgnoreCase(typed, stored)) {
    return true;
  }
  const char* const hashed = crypt(typed.c_str(), stored.c_str());
  return hashed != nullptr && EqualIgnoreCase(hashed, stored);
}

// Takes the next piece of a line off the file, as fgets would.
static std::string TakePiece(std::string_view& file) {
  const size_t line = file.find('\n');
  const size_t length =
      std::min({line == std::string_view::npos ? file.size() : line + 1, file.size(), kTextMax});
  const std::string piece(file.substr(0, length));
  file.remove_prefix(length);
  return piece;
}

static bool PlainVerify(const Settings& settings, std::string_view file) {
  const std::string start = std::string(settings.username) + ":";
  while (!file.empty()) {
    const std::string piece = TakePiece(file);
    if (piece[0] != '#' && piece[0] != ';' && EqualIgnoreCase(piece.substr(0, start.size()), start)) {
      const std::string stored = piece.substr(start.size());
      return Matches(settings.password_form, stored.substr(0, stored.find_first_of(":\r\n")));
    }
  }
  return false;
}

static bool PlainLocalIp(const Settings& settings, const Environment& env) {
  std::string_view fragments = settings.InternalIp;
  std::string name = env.REMOTE_HOST;
  if (IsIpAddr(name) && !IpAddrsOnly(fragments)) {
    char* const resolved = ReverseDNS_Lookup(name.c_str());
    name = resolved != nullptr ? resolved : name;
    free(resolved);
  }
  for (bool more = !fragments.empty(); more;) {
    more = fragments.find(',') != std::string_view::npos;
    const std::string fragment(TakePart(fragments, ','));
    if (name.find(fragment) != std::string::npos || strstr(env.REMOTE_ADDR, fragment.c_str()) != nullptr) {
      return true;
    }
  }
  return false;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile file;
  std::string_view input = AsText(data, size);
  Settings settings = {};
  Environment env = {};
  mpResolver = ResolveEven;
  CopyText(settings.username, TakePart(input));
  CopyText(settings.password_form, TakePart(input));
  CopyText(settings.InternalIp, TakePart(input));
  CopyText(env.REMOTE_HOST, TakePart(input));
  CopyText(env.REMOTE_ADDR, TakePart(input));
  CopyText(settings.UserPasswords, file.Fill(input));
  const bool verified = VerifyPassword(settings) == kNoError;
  const bool is_text = input.find('\0') == std::string_view::npos;
  REQUIRE(!is_text || verified == PlainVerify(settings, input));
  REQUIRE(LocalIP(settings, env.REMOTE_HOST, env.REMOTE_ADDR) == PlainLocalIp(settings, env));
  DestroyDNSCache();
  return 0;
}
