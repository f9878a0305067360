// What the fuzz targets share.
//
// A target is one function that takes an input of any bytes, hands it to a part
// of the program, and checks what comes back. It starts every input from the
// state of a fresh process, so that a stored input shows by itself what it showed
// when it was found.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "cgi/settings.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Ends the process, in every build, when the condition does not hold.
#define REQUIRE(condition)                                                           \
  do {                                                                               \
    if (!(condition)) {                                                              \
      fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
      abort();                                                                       \
    }                                                                                \
  } while (false)

inline std::string_view AsText(const uint8_t* data, size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Takes the part of text up to the first separator off its front, the separator
// too; all of it when there is none.
inline std::string_view TakePart(std::string_view& text, char separator = '\n') {
  const size_t end = text.find(separator);
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return part;
}

// Takes the first byte off the text; 0 of an empty one.
inline uint8_t TakeByte(std::string_view& text) {
  if (text.empty()) {
    return 0;
  }
  const auto byte = static_cast<uint8_t>(text.front());
  text.remove_prefix(1);
  return byte;
}

// Takes a number of so many bytes, the first one the lowest.
inline uint64_t TakeNumber(std::string_view& text, int bytes) {
  uint64_t number = 0;
  for (int i = 0; i < bytes; ++i) {
    number |= uint64_t{TakeByte(text)} << 8 * i;
  }
  return number;
}

// As a function that takes a NUL-terminated text would see it.
inline std::string UpToNul(std::string_view text) {
  return std::string(text.substr(0, text.find('\0')));
}

template <size_t N>
void RequireText(const char (&text)[N]) {
  REQUIRE(memchr(text, '\0', N) != nullptr);
}

// All texts of the settings end within their fields.
inline void RequireTexts(const Settings& s) {
  RequireText(s.config), RequireText(s.OrvellisPath), RequireText(s.find), RequireText(s.find_account);
  RequireText(s.find_form), RequireText(s.title), RequireText(s.url), RequireText(s.filter_domains);
  RequireText(s.filter_filetypes), RequireText(s.start_date), RequireText(s.end_date), RequireText(s.sm);
  RequireText(s.sd), RequireText(s.em), RequireText(s.ed), RequireText(s.logs), RequireText(s.AccessLog);
  RequireText(s.summary), RequireText(s.referrer_log), RequireText(s.agent_log), RequireText(s.Networks);
  RequireText(s.agents_file), RequireText(s.username), RequireText(s.password_form), RequireText(s.ErrorLog);
  RequireText(s.password_account), RequireText(s.InternalIp), RequireText(s.UserPasswords);
  RequireText(s.typed_password), RequireText(s.stored_password), RequireText(s.signon);
  RequireText(s.internal_networks), RequireText(s.TrustedProxies), RequireText(s.LoginLimits);
  RequireText(s.output), RequireText(s.section);
  RequireText(s.authrealm), RequireText(s.authuser), RequireText(s.base), RequireText(s.working_line);
}

// A file in memory that has a path.
class MemoryFile {
 public:
  MemoryFile() : file_(memfd_create("input", MFD_CLOEXEC)), path_("/proc/self/fd/" + std::to_string(file_)) {
    REQUIRE(file_ >= 0);
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { close(file_); }

  const char* path() const { return path_.c_str(); }

  // Gives the file new content and returns its path.
  const char* Fill(std::string_view content) {
    REQUIRE(ftruncate(file_, 0) == 0);
    REQUIRE(pwrite(file_, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
    return path();
  }

 private:
  int file_;
  std::string path_;
};

// Sends what the program prints nowhere; a target that prints calls it first.
inline void SilenceOutput() {
  static const bool silent = freopen("/dev/null", "w", stdout) != nullptr;
  REQUIRE(silent);
}

// What is written to standard output.
template <typename Write>
inline std::string Captured(Write write) {
  char* text = nullptr;
  size_t length = 0;
  FILE* const real_output = stdout;
  stdout = open_memstream(&text, &length);
  REQUIRE(stdout != nullptr);
  write();
  fclose(stdout);
  stdout = real_output;
  std::string written(text, length);
  free(text);
  return written;
}
