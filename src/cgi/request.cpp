#include "cgi/request.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "base/url_decode.h"
#include "cgi/form.h"
#include "report/asked_fields.h"
#include "report/refusal_log.h"

bool IsCommandLineRun(const Environment& env) {
  return env.QUERY_STRING[0] == '\0' && env.REQUEST_METHOD[0] == '\0';
}

void EnterCommandLine(int argc, char* const* argv, Environment& env, Settings& settings) {
  env.command_line = 1;
  // deliberate: with two arguments or more the slot stays as the environment filled it
  if (argc == 1 || argc == 2) {
    CopyText(env.SCRIPT_NAME, argv[0]);
  }
  if (argc == 2) {
    SelectPage(argv[1], settings);
  }
}

void SelectPage(const char* word, Settings& settings) {
  static const struct {
    const char* name;
    Page page;
  } kPages[] = {{"about", kPageAbout}, {"credits", kPageCredits}, {"remotedebug", kPageRemoteDebug}};
  for (const auto& row : kPages) {
    if (EqualIgnoreCase(word, row.name)) {
      settings.page = row.page;
    }
  }
}

// Each entry is applied as soon as it is cut off, so a form of a million fields
// needs no more memory than its body. True when a field has set a password, though
// a later one may have taken it back.
static bool ApplyForm(std::string_view body, ParamSource source, Settings& settings) {
  FormCursor cursor{body, true};
  FormEntry entry;
  bool password = false;
  while (NextFormEntry(cursor, entry)) {
    decode(entry.name);
    decode(entry.value);
    snprintf(settings.working_line, sizeof settings.working_line, "%s=%s", entry.name, entry.value);
    if (CompareParam(settings.working_line, settings, source, kLevelForm)) {
      KeepField(settings.asked, settings.working_line);
    }
    password = password || settings.typed_password[0] != '\0';
  }
  return password;
}

bool IsFetched(const Environment& env) {
  return EqualIgnoreCase(env.REQUEST_METHOD, "GET") || EqualIgnoreCase(env.REQUEST_METHOD, "HEAD");
}

static bool IsPassword(std::string_view field) {
  char name[kTextSize];
  const size_t equals = std::min(field.find('='), field.size());
  CopyText(name, field.substr(0, equals));
  decode(name);
  return EqualIgnoreCase(name, "password") && equals + 1 < field.size();
}

// Unlike a form's, an address's fields end at each "&": so everybody reads them who finds one.
static bool HoldsPassword(std::string_view fields) {
  bool found = false;
  while (!found && !fields.empty()) {
    const std::string_view field = fields.substr(0, fields.find('&'));
    found = IsPassword(field);
    fields.remove_prefix(std::min(field.size() + 1, fields.size()));
  }
  return found;
}

static constexpr size_t kLongestQuery = 1 << 16;

Error ReadQuery(const char* query, ParamSource form, Settings& settings) {
  const std::string_view fields = query;
  if (fields.size() > kLongestQuery) {
    return kErrorLongQuery;
  }
  const bool password = ApplyForm(fields, form, settings) || HoldsPassword(fields);
  return password ? kErrorPasswordInQuery : kNoError;
}

static bool ReadForm(std::FILE* stream, int length, ParamSource source, Settings& settings) {
  if (length < -1) {
    return false;  // no system has a buffer of such a size
  }
  char* body = static_cast<char*>(malloc(static_cast<size_t>(length < 0 ? 0 : length) + 1));
  if (body == nullptr) {
    return false;
  }
  const int received = get_query(stream, length, body);
  ApplyForm({body, static_cast<size_t>(received)}, source, settings);
  free(body);
  return true;
}

bool IsFormPosted(const Environment& env) {
  return ToInt(env.CONTENT_LENGTH) != 0;
}

bool ReadParameters(int argc, char* const* argv, std::FILE* stream, const Environment& env, ParamSource form,
                    Settings& settings) {
  if (IsFormPosted(env)) {
    return ReadForm(stream, ToInt(env.CONTENT_LENGTH), form, settings);
  }
  const ParamSource source = env.command_line != 0 ? ParamSource::kShell : form;
  for (int i = 1; i < argc; ++i) {
    CompareParam(argv[i], settings, source, kLevelForm);
  }
  return true;
}

// Room for every name that there is.
static constexpr size_t kNamesSize = 1280;

void LogIgnoredNames(const Environment& env, const Settings& settings) {
  if (settings.ignored.none()) {
    return;
  }
  char names[kNamesSize];
  ListNames(settings.ignored, names, sizeof names);
  LogRequest(env, settings, "the form may not set", names);
}

void MakeNice(const Settings& settings) {
  // deliberate: never raises the priority, never passes an increment out of range
  if (settings.priority >= 1 && settings.priority <= 19 && nice(settings.priority) == -1) {
    return;  // a report at full priority is better than none
  }
}
