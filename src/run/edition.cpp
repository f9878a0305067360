#include "run/edition.h"

#include <cstdio>

#include "config/account.h"
#include "dates/years.h"
#include "entry/admission.h"
#include "output/csv_output.h"
#include "output/json_output.h"
#include "output/modern_page.h"
#include "output/text_output.h"

static constexpr Output kModernOutputs[] = {
    {"modern", &kModernPage},
    {"json", &kJsonOutput},
    {"csv", &kCsvOutput},
    {"text", &kTextOutput},
};

static const Edition kEditions[] = {
    {
        .name = "classic",
        .counting = kClassicCounting,
        .page = &kClassicPage,
        .outputs = {},
        .form = ParamSource::kForm,
        .admit = AdmitByPlainRules,
        .needs_password = nullptr,
        .behind_proxies = false,
        .rules = {.last_year = kLastNarrowYear,
                  .names_as_written = false,
                  .whole_values = false,
                  .later_names = false,
                  .real_days = false,
                  .own_links_only = false,
                  .whole_site = false,
                  .nameless_site = false,
                  .whole_logs = false,
                  .looks_up_together = false,
                  .unpacks = false},
        .server_arguments = true,
        .asking = Asking::kAnyButGet,
        .shuts_in = false,
    },
    {
        .name = "modern",
        .counting = kModernCounting,
        .page = &kModernPage,
        .outputs = kModernOutputs,
        .form = ParamSource::kStranger,
        .admit = Admit,
        .needs_password = NeedsPassword,
        .behind_proxies = true,
        .rules = {.last_year = kLastWrittenYear,
                  .names_as_written = true,
                  .whole_values = true,
                  .later_names = true,
                  .real_days = true,
                  .own_links_only = true,
                  .whole_site = true,
                  .nameless_site = true,
                  .whole_logs = true,
                  .looks_up_together = true,
                  .unpacks = true},
        .server_arguments = false,
        .asking = Asking::kPostOrQuery,
        .shuts_in = true,
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

const PageWriter* FindOutput(const Edition& edition, std::string_view name) {
  if (name.empty() || edition.outputs.empty()) {
    return edition.page;
  }
  for (const Output& output : edition.outputs) {
    if (EqualIgnoreCase(output.name, name)) {
      return output.page;
    }
  }
  return nullptr;
}

// The value of the last argument of that name; false when there is none.
static bool LastArgument(const StartWords& words, std::string_view wanted, char (&value)[kTextSize],
                         bool whole = false) {
  char name[kTextSize];
  for (int i = words.argc - 1; i > 0; --i) {
    ParseFieldValue(words.argv[i], name, value, whole);
    if (EqualIgnoreCase(wanted, name)) {
      return true;
    }
  }
  return false;
}

// The configuration may be what tells the edition: only an argument can tell it before.
static bool TakesWholeValues(const StartWords& words) {
  char name[kTextSize];
  const Edition* const edition = LastArgument(words, "edition", name) ? FindEdition(name) : &kEditions[0];
  return edition != nullptr && edition->rules.whole_values;
}

bool ChooseConfig(const StartWords& words, ConfigFile& config) {
  const std::string_view pinned = words.pinned == nullptr ? "" : words.pinned;
  char named[kTextSize];
  config.fall_back = pinned.empty();
  config.pipes = words.from_shell ? Pipes::kKeep : Pipes::kNeverWait;
  if (LastArgument(words, "config", named, TakesWholeValues(words))) {
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
