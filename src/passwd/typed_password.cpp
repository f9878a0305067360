#include "passwd/typed_password.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "passwd/say.h"

// ---- The terminal ----

static termios mShown;  // as it was found
static volatile sig_atomic_t mHidden = 0;

static void ShowTyping() {
  if (mHidden != 0) {
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &mShown);
    mHidden = 0;
  }
}

static void ShowTypingAndEnd(int signal_number) {
  ShowTyping();
  signal(signal_number, SIG_DFL);
  raise(signal_number);
}

static bool HideTyping() {
  if (tcgetattr(STDIN_FILENO, &mShown) != 0) {
    return false;
  }
  for (const int ending : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGPIPE}) {
    if (signal(ending, ShowTypingAndEnd) == SIG_IGN) {
      signal(ending, SIG_IGN);
    }
  }
  signal(SIGTSTP, SIG_IGN);  // a shell would be left with a terminal that shows nothing
  mHidden = 1;
  termios hidden = mShown;
  hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
  return tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden) == 0;
}

// ---- A line ----

enum class Line { kWhole, kNone, kTooLong };

// Byte by byte, so that a script keeps what follows, and no buffer keeps the password.
static Line ReadLine(Password& line) {
  size_t length = 0;
  size_t stored = 0;
  char byte;
  ssize_t got;
  while ((got = read(STDIN_FILENO, &byte, 1)) == 1 && byte != '\n') {
    if (stored < kPasswordMax) {
      line[stored++] = byte == '\0' ? '\x01' : byte;  // one control character is as bad as another
    }
    ++length;
  }
  line[stored] = '\0';
  if (got != 1 && length == 0) {
    return Line::kNone;
  }
  return length > kPasswordMax ? Line::kTooLong : Line::kWhole;
}

static bool IsControl(char c) {
  return c == '\x7F' || static_cast<unsigned char>(c) < ' ';
}

// A sentence about it; null when it can be a password.
static const char* FaultOf(Line line, const Password& password) {
  const std::string_view text = password;
  if (line == Line::kNone) {
    return "there is no password to read";
  }
  if (line == Line::kTooLong) {
    return "a password has at most 243 bytes";
  }
  if (text.empty()) {
    return "an empty password lets nobody in";
  }
  return std::any_of(text.begin(), text.end(), IsControl) ? "a password holds no control characters"
                                                          : nullptr;
}

static bool TakeLine(Password& password) {
  const char* const fault = FaultOf(ReadLine(password), password);
  if (fault != nullptr) {
    Complain("%s", fault);
  }
  return fault == nullptr;
}

// ---- Asking ----

static bool AskOnce(const char* question, std::string_view account, Password& password) {
  fprintf(stderr, "%s %s: ", question, Quoted(account).c_str());
  const Line line = ReadLine(password);
  fputc('\n', stderr);
  const char* const fault = FaultOf(line, password);
  if (fault != nullptr) {
    Complain("%s", fault);
  }
  return fault == nullptr;
}

static bool AskTwice(std::string_view account, Password& password) {
  Password again = "";
  bool same =
      AskOnce("New password of", account, password) && AskOnce("Again, the password of", account, again);
  if (same && strcmp(password, again) != 0) {
    Complain("these were two different passwords; the old one stays");
    same = false;
  }
  ForgetPassword(again);
  return same;
}

static bool AskOnTerminal(std::string_view account, Password& password) {
  if (!HideTyping()) {
    ShowTyping();
    Complain("the terminal cannot be kept from showing what is typed: %s", strerror(errno));
    return false;
  }
  const bool taken = AskTwice(account, password);
  ShowTyping();
  return taken;
}

bool TakePassword(std::string_view account, bool from_script, Password& password) {
  return from_script || isatty(STDIN_FILENO) == 0 ? TakeLine(password) : AskOnTerminal(account, password);
}

void ForgetPassword(Password& password) {
  explicit_bzero(password, sizeof password);
}
