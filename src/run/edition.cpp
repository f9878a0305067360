#include "run/edition.h"

#include <cstdio>

#include "dates/years.h"
#include "report/guarded_page.h"

static const Edition kEditions[] = {
    {
        .name = "classic",
        .counting = kClassicCounting,
        .page = &kClassicPage,
        .form = ParamSource::kForm,
        .last_year = kLastNarrowYear,
        .whole_values = false,
        .later_names = false,
        .server_arguments = true,
    },
    {
        .name = "modern",
        .counting = kModernCounting,
        .page = &kGuardedPage,
        .form = ParamSource::kStranger,
        .last_year = kLastWrittenYear,
        .whole_values = true,
        .later_names = true,
        .server_arguments = false,
    },
};

const Edition* FindEdition(std::string_view name) {
  for (const Edition& edition : kEditions) {
    if (EqualIgnoreCase(edition.name, name)) {
      return &edition;
    }
  }
  return nullptr;
}

// The value of the last argument of that name; false when there is none.
static bool LastArgument(const StartWords& words, std::string_view wanted, char (&value)[kTextSize]) {
  char name[kTextSize];
  for (int i = words.argc - 1; i > 0; --i) {
    ParseFieldValue(words.argv[i], name, value);
    if (EqualIgnoreCase(wanted, name)) {
      return true;
    }
  }
  return false;
}

bool ChooseConfig(const StartWords& words, ConfigFile& config) {
  const std::string_view pinned = words.pinned == nullptr ? "" : words.pinned;
  char named[kTextSize];
  config.fall_back = pinned.empty();
  config.pipes = words.from_shell ? Pipes::kKeep : Pipes::kNeverWait;
  if (LastArgument(words, "config", named)) {
    CopyText(config.path, named);
    return true;
  }
  if (pinned.size() >= sizeof config.path) {
    fprintf(stderr, "orvellis: the path in ORVELLIS_CONFIG is longer than %zu characters\n",
            sizeof config.path - 1);
    return false;
  }
  CopyText(config.path, pinned.empty() ? kDefaultConfigFile : pinned);
  return true;
}

const Edition* ChooseEdition(const StartWords& words, ConfigFile& config) {
  char name[kTextSize];
  if (!LastArgument(words, "edition", name) && !FindEditionKey(config, name)) {
    return &kEditions[0];
  }
  const Edition* const edition = FindEdition(name);
  if (edition == nullptr) {
    MakePrintable(name);
    fprintf(stderr, "orvellis: there is no edition \"%s\", only classic and modern\n", name);
  }
  return edition;
}
