// orvellis-passwd: passwords of accounts, as the administrator sets them.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "base/memory_end.h"
#include "entry/login_limits.h"
#include "entry/password_hash.h"
#include "passwd/accounts.h"
#include "passwd/password_file.h"
#include "passwd/say.h"
#include "passwd/typed_password.h"

enum ExitStatus { kDone = 0, kRefused = 1, kUsage = 2 };

static constexpr const char kHelp[] =
    "orvellis-passwd sets the password of an Orvellis account.\n"
    "\n"
    "  orvellis-passwd ACCOUNT            ask for the password twice, store its hash\n"
    "  orvellis-passwd --stdin ACCOUNT    read it from standard input, one line\n"
    "  orvellis-passwd --delete ACCOUNT   delete it\n"
    "  orvellis-passwd --list             tell which accounts have one\n"
    "  orvellis-passwd --unlock [ACCOUNT | ADDRESS ...]\n"
    "                                     forget refusals, of all when none is named\n"
    "\n"
    "  --config FILE  the configuration; else that of the installation\n"
    "  --file FILE    the password file; else UserPasswords of the configuration\n"
    "  -h, --help     print this\n"
    "  --version      print the version\n";

// ---- The command line ----

enum class Command { kSet, kDelete, kList, kUnlock, kShowHelp, kShowVersion };

struct Wish {
  Command command = Command::kSet;
  bool from_script = false;
  std::string configuration;
  std::string file;
  std::vector<std::string_view> names;
};

static constexpr struct {
  std::string_view option;
  Command command;
} kCommands[] = {
    {"--delete", Command::kDelete}, {"--list", Command::kList}, {"--unlock", Command::kUnlock},
    {"--help", Command::kShowHelp}, {"-h", Command::kShowHelp}, {"--version", Command::kShowVersion},
};

static bool TakeCommand(std::string_view option, Wish& wish) {
  for (const auto& row : kCommands) {
    if (row.option == option && (wish.command == Command::kSet || wish.command == row.command)) {
      wish.command = row.command;
      return true;
    }
  }
  return false;
}

// The words from first on, which begins with an option that has a value: "--file FILE" or
// "--file=FILE". Returns how many words that were; 0 when it is not that option.
static int TakeValue(std::string_view option, char** first, const char* const* end, std::string& value) {
  const std::string_view word = *first;
  if (word == option && first + 1 < end && first[1][0] != '\0') {
    value = first[1];
    return 2;
  }
  if (word.size() > option.size() + 1 && word.starts_with(option) && word[option.size()] == '=') {
    value = word.substr(option.size() + 1);
    return 1;
  }
  return 0;
}

static int TakeOption(char** first, const char* const* end, Wish& wish) {
  if (std::string_view(*first) == "--stdin") {
    wish.from_script = true;
    return 1;
  }
  const int words = TakeValue("--config", first, end, wish.configuration);
  if (words > 0 || TakeCommand(*first, wish)) {
    return words > 0 ? words : 1;
  }
  return TakeValue("--file", first, end, wish.file);
}

static bool TakeWords(int argc, char** argv, Wish& wish) {
  bool options = true;
  for (int i = 1; i < argc;) {
    if (options && std::string_view(argv[i]) == "--") {
      options = false;
      ++i;
    } else if (!options || argv[i][0] != '-') {
      wish.names.emplace_back(argv[i++]);
    } else if (const int words = TakeOption(argv + i, argv + argc, wish); words > 0) {
      i += words;
    } else {
      Complain("cannot make sense of %s; --help tells the options", Quoted(argv[i]).c_str());
      return false;
    }
  }
  return true;
}

static bool HasRightNames(const Wish& wish) {
  const bool one = wish.command == Command::kSet || wish.command == Command::kDelete;
  if (one && wish.names.size() != 1) {
    Complain("name one account; --help tells how");
    return false;
  }
  if (wish.command == Command::kList && !wish.names.empty()) {
    Complain("--list takes no account; --help tells the options");
    return false;
  }
  return true;
}

// ---- Setting and deleting ----

// Which password file; warns of what keeps a password in it from counting.
static bool ChooseFile(Wish& wish) {
  Settings settings;
  bool found;
  if (!ReadConfiguration(wish.configuration, wish.names[0], settings, found)) {
    return !wish.file.empty();
  }
  const std::string account = Quoted(wish.names[0]);
  if (!found) {
    Complain("warning: the configuration %s has no account %s", Quoted(wish.configuration).c_str(),
             account.c_str());
  } else if (settings.stored_password[0] != '\0') {
    Complain("warning: the line of account %s holds a password of its own, which comes first",
             account.c_str());
  }
  if (wish.file.empty()) {
    wish.file = settings.UserPasswords;
  }
  if (wish.file.empty()) {
    Complain("the configuration %s names no password file (UserPasswords)",
             Quoted(wish.configuration).c_str());
  }
  return !wish.file.empty();
}

static ExitStatus ReportChange(Change change, const Wish& wish, const char* done) {
  const std::string account = Quoted(wish.names[0]);
  const std::string file = Quoted(wish.file);
  if (change == Change::kNothingThere) {
    Complain("account %s has no password in %s", account.c_str(), file.c_str());
  } else if (change == Change::kDone) {
    printf("The password of %s is %s in %s.\n", account.c_str(), done, file.c_str());
  }
  return change == Change::kDone ? kDone : kRefused;
}

static ExitStatus SetPassword(Wish& wish) {
  Password password = "";
  char hash[kHashSize];
  if (!IsAccountName(wish.names[0]) || !ChooseFile(wish) ||
      !TakePassword(wish.names[0], wish.from_script, password)) {
    ForgetPassword(password);
    return kRefused;
  }
  const bool made = MakeHash(password, hash);
  ForgetPassword(password);
  if (!made) {
    Complain("the system makes no hash of this password");
    return kRefused;
  }
  return ReportChange(ChangePassword(wish.file, wish.names[0], hash), wish, "set");
}

static ExitStatus DeletePassword(Wish& wish) {
  if (!IsAccountName(wish.names[0]) || !ChooseFile(wish)) {
    return kRefused;
  }
  return ReportChange(ChangePassword(wish.file, wish.names[0], {}), wish, "deleted");
}

// ---- Unlocking ----

static bool Forget(const char* file, std::string_view account, std::string_view address) {
  if (ForgetRefusals(file, account, address)) {
    return true;
  }
  Complain("cannot change the file of refusals %s: %s", Quoted(file).c_str(), strerror(errno));
  return false;
}

static bool ForgetNamed(const char* file, std::string_view name) {
  Address address;
  if (ParseAddress(name, address)) {
    return Forget(file, "", name);
  }
  return IsAccountName(name) && Forget(file, name, "");
}

static ExitStatus Unlock(const Wish& wish) {
  Settings settings;
  bool found;
  if (!ReadConfiguration(wish.configuration, "", settings, found)) {
    return kRefused;
  }
  if (settings.LoginLimits[0] == '\0') {
    Complain("the configuration %s names no file of refusals (LoginLimits)",
             Quoted(wish.configuration).c_str());
    return kRefused;
  }
  bool forgotten = !wish.names.empty() || Forget(settings.LoginLimits, "", "");
  for (const std::string_view name : wish.names) {
    forgotten = ForgetNamed(settings.LoginLimits, name) && forgotten;
  }
  return forgotten ? kDone : kRefused;
}

// ---- The program ----

static ExitStatus Print(const char* text) {
  fputs(text, stdout);
  return kDone;
}

static ExitStatus Fulfil(Wish& wish) {
  switch (wish.command) {
    case Command::kShowHelp:
      return Print(kHelp);
    case Command::kShowVersion:
      printf("orvellis-passwd %s\n", kVersion);
      return kDone;
    case Command::kList:
      return ListAccounts(wish.configuration, wish.file) ? kDone : kRefused;
    case Command::kUnlock:
      return Unlock(wish);
    case Command::kDelete:
      return DeletePassword(wish);
    default:
      return SetPassword(wish);
  }
}

int main(int argc, char** argv) {
  // A file that may not grow any more is a full disk, not a reason to die.
  signal(SIGXFSZ, SIG_IGN);
  std::set_new_handler(EndWithoutMemory);
  Wish wish;
  if (!TakeWords(argc, argv, wish) || !HasRightNames(wish)) {
    return kUsage;
  }
  if (wish.configuration.empty()) {
    wish.configuration = InstalledConfiguration();
  }
  const ExitStatus status = Fulfil(wish);
  if (fflush(stdout) != 0 || ferror(stdout) != 0) {
    Complain("cannot write to standard output: %s", strerror(errno));
    return kRefused;
  }
  return status;
}
