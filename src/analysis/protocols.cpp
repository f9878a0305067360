#include "analysis/protocols.h"

#include <algorithm>
#include <span>

#include "base/text.h"

static constexpr std::string_view kOther = "(other)";

static bool IsOfMethod(char c) {
  return IsLetterAscii(c) || c == '-' || c == '_';
}

// Squid calls the method of what was no request so.
static bool IsNone(std::string_view method) {
  return method.empty() || method == "NONE";
}

std::string_view MethodOf(const SuperLogRecord& record) {
  static constexpr size_t kLongest = 20;
  if (IsNone(record.method)) {
    return {};
  }
  const bool is_one = record.method.size() <= kLongest && std::ranges::all_of(record.method, IsOfMethod);
  return is_one ? record.method : kOther;
}

// ---- Spellings ----

struct Spelling {
  std::string_view text;  // in small letters
  std::string_view item;  // empty: it says that there is none
};

static constexpr Spelling kProtocols[] = {
    {"0.9", "HTTP/0.9"}, {"1.0", "HTTP/1.0"}, {"1", "HTTP/1.0"}, {"1.1", "HTTP/1.1"},
    {"2.0", "HTTP/2"},   {"2", "HTTP/2"},     {"h2", "HTTP/2"},  {"h2c", "HTTP/2"},
    {"3.0", "HTTP/3"},   {"3", "HTTP/3"},     {"h3", "HTTP/3"},  {"h3-29", "HTTP/3"},
};

// JSON of some servers has the number that stands in the first message of a connection.
static constexpr Spelling kTlsVersions[] = {
    {"tlsv1.3", "TLSv1.3"}, {"tls1.3", "TLSv1.3"},  {"tls 1.3", "TLSv1.3"},
    {"1.3", "TLSv1.3"},     {"772", "TLSv1.3"},     {"tlsv1.2", "TLSv1.2"},
    {"tls1.2", "TLSv1.2"},  {"tls 1.2", "TLSv1.2"}, {"1.2", "TLSv1.2"},
    {"771", "TLSv1.2"},     {"tlsv1.1", "TLSv1.1"}, {"tls1.1", "TLSv1.1"},
    {"tls 1.1", "TLSv1.1"}, {"1.1", "TLSv1.1"},     {"770", "TLSv1.1"},
    {"tlsv1", "TLSv1"},     {"tlsv1.0", "TLSv1"},   {"tls1.0", "TLSv1"},
    {"tls 1.0", "TLSv1"},   {"1.0", "TLSv1"},       {"769", "TLSv1"},
    {"sslv3", "SSLv3"},     {"768", "SSLv3"},       {"sslv2", "SSLv2"},
    {"none", ""},           {"unknown", ""},        {"0", ""},
};

static std::string_view ItemOf(std::span<const Spelling> spellings, std::string_view text) {
  for (const Spelling& spelling : spellings) {
    if (EqualIgnoreCase(spelling.text, text)) {
      return spelling.item;
    }
  }
  return kOther;
}

std::string_view ProtocolOf(const SuperLogRecord& record) {
  std::string_view text = record.protocol;
  if (text.empty()) {
    return {};
  }
  text.remove_prefix(BeginsWithIgnoreCase(text, "HTTP/") ? 5 : 0);
  return ItemOf(kProtocols, text);
}

std::string_view TlsVersionOf(const SuperLogRecord& record) {
  return record.tls.empty() ? std::string_view{} : ItemOf(kTlsVersions, record.tls);
}
