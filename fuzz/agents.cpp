// What the text of a User-Agent tells: all the input is one.
#include "agents/agent.h"
#include "agents/agents_checks.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(AsText(data, size));
  CheckAgent(text, BuiltInRules());
  return 0;
}
