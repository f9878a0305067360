#include "sandbox/name_services.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "base/text.h"
#include "base/text_file.h"

static constexpr const char* kSwitchFile = "/etc/nsswitch.conf";
static constexpr std::string_view kHosts = "hosts:";

const char* const kNameServiceFiles[] = {kSwitchFile,     "/etc/resolv.conf", "/etc/hosts", "/etc/host.conf",
                                         "/etc/gai.conf", "/etc/services",    nullptr};

// Takes the first word from the text; empty at its end.
static std::string_view TakeWord(std::string_view& text) {
  constexpr std::string_view blanks = " \t";
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(blanks));
  text.remove_prefix(word.size());
  return word;
}

static void Load(std::string_view service) {
  char library[kTextSize];
  snprintf(library, sizeof library, "libnss_%.*s.so.2", static_cast<int>(service.size()), service.data());
  dlopen(library, RTLD_NOW);
}

// "[NOTFOUND=return]" among the services says what is done with an answer.
static void LoadAll(std::string_view services) {
  for (std::string_view word = TakeWord(services); !word.empty(); word = TakeWord(services)) {
    if (word.find_first_of("[]=/#") == std::string_view::npos) {
      Load(word);
    }
  }
}

void LoadNameServices() {
  TextFile file;
  if (!OpenTextFile(file, kSwitchFile)) {
    return;
  }
  char line[kLineMax + 1];
  while (NextLine(file, line, kWholeLines) > 0) {
    if (BeginsWithIgnoreCase(line, kHosts)) {
      LoadAll(std::string_view(line).substr(kHosts.size()));
    }
  }
  CloseTextFile(file);
}
