// The editions of the program, and how a run comes by its own.
//
// An edition is a row of rules. It is chosen once, before anything is printed; who
// works by the rules does not know which row they come from.
#pragma once

#include <span>
#include <string_view>

#include "analysis/analysis.h"
#include "cgi/parameters.h"
#include "config/config_file.h"
#include "report/page_writer.h"

// A form that a report may take.
struct Output {
  std::string_view name;
  const PageWriter* page;
};

// How a web server's report is asked for.
enum class Asking {
  kAnyButGet,    // in whatever way, but GET
  kPostOrQuery,  // posted, or fetched with the fields in the address
};

struct Edition {
  std::string_view name;
  Counting counting;
  const PageWriter* page;           // of a run that has not asked for another output
  std::span<const Output> outputs;  // that can be asked for; none: whatever is asked for counts for nothing
  ParamSource form;                 // as what the keyword table takes the fields of a form
  // Whether the requester may see the account, which was found in the configuration or not.
  Refusal (*admit)(bool account_found, const Environment& env, const Settings& settings);
  // Whether only a password can let the requester in, which no address may hold. Null: it is not asked.
  bool (*needs_password)(bool account_found, const Environment& env, const Settings& settings);
  bool behind_proxies;    // whether the proxies that are trusted tell who the visitor is
  RunRules rules;         // that its runs go by
  bool server_arguments;  // whether what a web server makes arguments of is a request
  Asking asking;
  bool shuts_in;  // whether a run gives up what it will not use before it looks at logs
};

// The edition of that name, ignoring case; null when there is none.
const Edition* FindEdition(std::string_view name);

// Who writes the output of that name, ignoring case; the page where the name is empty
// or there is nothing to be asked for. Null when there is no such output.
const PageWriter* FindOutput(const Edition& edition, std::string_view name);

// What decides about the edition and the configuration, and is read before all else.
struct StartWords {
  bool from_shell;
  const char* pinned;  // the variable ORVELLIS_CONFIG; null when it is not set
  // The arguments of a shell, those that are no form's; otherwise none.
  int argc;
  char* const* argv;
};

// Sets the configuration of the run: that of the last config= argument of a shell,
// else the pinned one, else kDefaultConfigFile, which also takes the place of one
// that cannot be opened unless one is pinned. The path holds "=" where an edition=
// argument names an edition that takes values whole. False, with a sentence on standard
// error, when the pinned path is longer than a path can be.
bool ChooseConfig(const StartWords& words, ConfigFile& config);

// The edition of the last edition= argument of a shell, else that of the
// configuration's last Edition key, else the classic one. Null, with a sentence on
// standard error, when there is none of that name.
const Edition* ChooseEdition(const StartWords& words, ConfigFile& config);
