#include "run/logs_layout.h"

#include <cstdio>
#include <cstdlib>
#include <limits>

#include "base/text.h"
#include "cgi/settings.h"
#include "config/server_layouts.h"
#include "superlog/superlog.h"

void TakeLongLayout(int argc, char* const* argv) {
  constexpr std::string_view kName = "logformat=";
  std::string_view last;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    last = BeginsWithIgnoreCase(argument, kName) ? argument.substr(kName.size()) : last;
  }
  if (last.size() > kTextMax) {
    SuperLog_SetLayoutText(last, kLevelForm);
  }
}

static constexpr int kAboveAllLevels = std::numeric_limits<int>::max();

static const char* FolderOfServers() {
  const char* const named = getenv("ORVELLIS_ETC");
  return named == nullptr || named[0] == '\0' ? "/etc" : named;
}

// Neither what was typed nor what files are called may be anything but text.
static void TellUnknown(std::string_view name, LayoutSearch found, ServerLayout& layout,
                        ServerLayout& other) {
  char shown[128];
  CopyText(shown, name);
  for (char* const text : {shown, layout.path.data(), other.path.data()}) {
    MakePrintable(text);
  }
  if (found == LayoutSearch::kDiffers) {
    fprintf(stderr,
            "orvellis: the layout \"%s\" is one thing in %s and another in %s: give the words of one\n",
            shown, layout.path.data(), other.path.data());
  } else if (found == LayoutSearch::kFound) {
    fprintf(stderr, "orvellis: the layout \"%s\" of %s tells no time, or neither request nor URL\n", shown,
            layout.path.data());
  } else {
    fprintf(stderr,
            "orvellis: there is no layout of logs \"%s\": it is told by letters, by the name of a known "
            "layout or of one in "
            "the configuration of nginx or Apache on this machine, or by the words of a server\n",
            shown);
  }
}

bool SettleLayout(bool from_shell) {
  const UnknownLayout unknown = SuperLog_UnknownLayout();
  if (unknown.text.empty() || !from_shell) {
    return unknown.text.empty() || unknown.may_be_letters;
  }
  char name[kLongestLayoutText + 1];
  CopyText(name, unknown.text);
  ServerLayout layout;
  ServerLayout other;
  const LayoutSearch found = FindServerLayout(FolderOfServers(), name, layout, other);
  if (found == LayoutSearch::kFound) {
    SuperLog_SetLayoutText(layout.words.data(), kAboveAllLevels);
  }
  const bool known = found == LayoutSearch::kFound
                         ? SuperLog_UnknownLayout().text.empty()
                         : found == LayoutSearch::kNotFound && unknown.may_be_letters;
  if (!known) {
    TellUnknown(name, found, layout, other);
  }
  return known;
}
