#include "output/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "base/text.h"

static constexpr size_t kUsualWidth = 80;
static constexpr int kNarrowest = 40;
static constexpr int kWidest = 1000;

static std::string_view Variable(const char* name) {
  const char* const value = getenv(name);
  return value == nullptr ? "" : value;
}

// What the variable or the terminal tells; 0 when neither does.
static int ToldWidth() {
  const int named = ToInt(getenv("COLUMNS"));
  if (named > 0) {
    return named;
  }
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

static bool WantsColours() {
  if (!Variable("NO_COLOR").empty()) {
    return false;
  }
  const std::string_view forced = Variable("CLICOLOR_FORCE");
  const std::string_view kind = Variable("TERM");
  return (!forced.empty() && forced != "0") ||
         (isatty(STDOUT_FILENO) == 1 && !kind.empty() && kind != "dumb");
}

Terminal TerminalOf(bool from_shell) {
  if (!from_shell) {
    return {kUsualWidth, false};
  }
  const int told = ToldWidth();
  const size_t width = told > 0 ? static_cast<size_t>(std::clamp(told, kNarrowest, kWidest)) : kUsualWidth;
  return {width, WantsColours()};
}
