#include "analysis/protocols.h"

#include <gtest/gtest.h>

#include <string>

static std::string Method(const std::string& text) {
  SuperLogRecord record{};
  record.method = text;
  return std::string(MethodOf(record));
}

static std::string Protocol(const std::string& text) {
  SuperLogRecord record{};
  record.protocol = text;
  return std::string(ProtocolOf(record));
}

static std::string Tls(const std::string& text) {
  SuperLogRecord record{};
  record.tls = text;
  return std::string(TlsVersionOf(record));
}

TEST(MethodOf, StandsAsItIsWritten) {
  for (const char* method : {"GET", "get", "M-SEARCH", "VERSION_CONTROL", "abcdefghijklmnopqrst"}) {
    EXPECT_EQ(Method(method), method);
  }
}

TEST(MethodOf, IsAnotherWhereItIsNone) {
  for (const char* method : {"\\x16\\x03", "abcdefghijklmnopqrstu", "GET,", "SSH2", "<BADREQ>", "G\xC4T"}) {
    EXPECT_EQ(Method(method), "(other)");
  }
  EXPECT_EQ(Method(""), "");
  EXPECT_EQ(Method("NONE"), "");
}

TEST(ProtocolOf, HasOneSpelling) {
  const std::pair<const char*, const char*> spellings[] = {
      {"HTTP/0.9", "HTTP/0.9"}, {"HTTP/1.0", "HTTP/1.0"}, {"1.0", "HTTP/1.0"},  {"HTTP/1.1", "HTTP/1.1"},
      {"http/1.1", "HTTP/1.1"}, {"1.1", "HTTP/1.1"},      {"HTTP/2", "HTTP/2"}, {"HTTP/2.0", "HTTP/2"},
      {"h2", "HTTP/2"},         {"H2C", "HTTP/2"},        {"2", "HTTP/2"},      {"HTTP/3.0", "HTTP/3"},
      {"HTTP/3", "HTTP/3"},     {"h3", "HTTP/3"},         {"h3-29", "HTTP/3"},  {"", ""},
      {"RTSP/1.0", "(other)"},  {"HTTP/1.2", "(other)"},  {"HTTP/", "(other)"}, {"HTTP/HTTP/1.1", "(other)"}};
  for (const auto& [spelling, item] : spellings) {
    EXPECT_EQ(Protocol(spelling), item) << spelling;
  }
}

TEST(TlsVersionOf, HasOneSpelling) {
  const std::pair<const char*, const char*> spellings[] = {{"TLSv1.3", "TLSv1.3"},
                                                           {"TLS 1.3", "TLSv1.3"},
                                                           {"tls1.3", "TLSv1.3"},
                                                           {"1.3", "TLSv1.3"},
                                                           {"772", "TLSv1.3"},
                                                           {"TLSV1.2", "TLSv1.2"},
                                                           {"771", "TLSv1.2"},
                                                           {"TLSv1.1", "TLSv1.1"},
                                                           {"770", "TLSv1.1"},
                                                           {"TLSv1", "TLSv1"},
                                                           {"TLSv1.0", "TLSv1"},
                                                           {"769", "TLSv1"},
                                                           {"SSLv3", "SSLv3"},
                                                           {"768", "SSLv3"},
                                                           {"SSLv2", "SSLv2"},
                                                           {"", ""},
                                                           {"none", ""},
                                                           {"UNKNOWN", ""},
                                                           {"0", ""},
                                                           {"TLSv1.4", "(other)"}};
  for (const auto& [spelling, item] : spellings) {
    EXPECT_EQ(Tls(spelling), item) << spelling;
  }
}
