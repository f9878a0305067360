// The file of refusals. The input's first byte tells whether the rest is the whole file, or
// changes of a sound one: the place of each, and eight bytes to be put there. Its
// second is an account, and eight bytes follow that are the time.
#include "entry/login_limits.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "dates/clock.h"
#include "support.h"

// A file with a name of its own, as links are not followed.
static const char* FilePath() {
  static char path[] = "/tmp/orvellis_limits_XXXXXX";
  static const int file = [] {
    const int made = mkstemp(path);
    atexit([] { unlink(path); });
    return made;
  }();
  REQUIRE(file >= 0);
  return path;
}

static void Fill(std::string_view content) {
  const int file = open(FilePath(), O_WRONLY | O_TRUNC);
  REQUIRE(write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
  close(file);
}

static std::string Content() {
  std::string content(2 * kLoginFileSize, '\0');
  const int file = open(FilePath(), O_RDONLY);
  const ssize_t size = read(file, content.data(), content.size());
  close(file);
  REQUIRE(size >= 0);
  content.resize(static_cast<size_t>(size));
  return content;
}

static LoginVerdict Try(std::string_view account, std::int64_t now, bool right) {
  SetCurrentTimeForTest(now);
  LoginAttempt attempt{.file = FilePath(), .visitor = {}, .account = account};
  int retry_after;
  const LoginVerdict verdict = BeginLogin(attempt, retry_after);
  REQUIRE(verdict == LoginVerdict::kTooMany ? retry_after >= 1 && retry_after <= kLoginWindow
                                            : retry_after == 0);
  if (verdict == LoginVerdict::kTry && right) {
    LoginSucceeded(attempt);
  }
  EndLogin(attempt);
  return verdict;
}

static std::string SoundFile() {
  Fill("");
  for (int i = 0; i < 12; ++i) {
    Try(i % 2 == 0 ? "a" : "b", 1'700'000'000 + i, i % 5 == 0);
  }
  return Content();
}

static std::string Changed(std::string content, std::string_view changes) {
  while (!changes.empty()) {
    const size_t place = TakeNumber(changes, 4) % content.size();
    const std::string_view bytes = changes.substr(0, std::min<size_t>(8, content.size() - place));
    content.replace(place, bytes.size(), bytes);
    changes.remove_prefix(bytes.size());
  }
  return content;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string kSound = SoundFile();
  std::string_view input = AsText(data, size);
  const bool whole = TakeByte(input) % 2 == 0;
  const std::string account(1, static_cast<char>(TakeByte(input)));
  const auto now = static_cast<std::int64_t>(TakeNumber(input, 8) % INT64_MAX + 1);
  const std::string before = whole ? std::string(input) : Changed(kSound, input);
  Fill(before);
  if (Try(account, now, true) == LoginVerdict::kNoStore) {
    REQUIRE(Content() == before);
    REQUIRE(!ForgetRefusals(FilePath(), "", ""));
    return 0;
  }
  int tried = 0;
  for (int i = 0; i < 11; ++i) {
    tried += Try(account, now, false) == LoginVerdict::kTry;
  }
  REQUIRE(tried <= kRefusalsOfVisitorAndAccount);
  REQUIRE(Content().size() == kLoginFileSize);
  REQUIRE(ForgetRefusals(FilePath(), account, ""));
  REQUIRE(ForgetRefusals(FilePath(), "", ""));
  REQUIRE(Try(account, now, false) == LoginVerdict::kTry);
  return 0;
}
