#include "agents/rules_in_use.h"

#include <sys/stat.h>

#include <new>

#include "agents/rules_file.h"

static AgentRules* mpOfUser = nullptr;
static char mFault[kTextSize] = "";

const AgentRules& RulesInUse() {
  return mpOfUser == nullptr ? BuiltInRules() : *mpOfUser;
}

bool AreRulesOfUser() {
  return mpOfUser != nullptr;
}

// Of what else there may be nothing would be read, and nobody would know.
static bool IsPlainFile(const char* path) {
  struct stat status;
  return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

bool UseRulesOf(const char* path) {
  UseBuiltInRules();
  if (!IsPlainFile(path)) {
    CopyText(mFault, "The file of agents cannot be opened.");
    return false;
  }
  mpOfUser = new (std::nothrow) AgentRules;
  if (mpOfUser == nullptr) {
    CopyText(mFault, "There is not enough memory for the file of agents.");
    return false;
  }
  const bool read = ReadAgentRules(path, *mpOfUser, mFault);
  if (!read) {
    UseBuiltInRules();
  }
  return read;
}

const char* FaultOfRules() {
  return mFault;
}

void UseBuiltInRules() {
  delete mpOfUser;
  mpOfUser = nullptr;
}
