#include "analysis/known_agents.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

class KnownAgents : public testing::Test {
 protected:
  ~KnownAgents() override { ForgetKnownAgents(); }
};

TEST_F(KnownAgents, AreToldAsAgentsAreWhateverCameBefore) {
  std::vector<std::string> agents = {"", "curl/8.5",
                                     "Mozilla/5.0 (X11; Linux x86_64; rv:115.0) Gecko/20100101 Firefox/115.0",
                                     std::string(500, 'a') + " bot", std::string(2000, 'b')};
  // More than are remembered, so that they take each other's places.
  for (int i = 0; i < 10'000; ++i) {
    agents.push_back("Agent " + std::to_string(i) + (i % 3 == 0 ? " bot" : ""));
  }
  for (int round = 0; round < 2; ++round) {
    for (const std::string& agent : agents) {
      const KnownAgent& known = TellKnownAgent(agent);
      ASSERT_EQ(known.purpose, TellAgent(agent).purpose) << agent;
      SipHash hash =
          BeginWideSipHash({'O', 'r', 'v', 'e', 'l', 'l', 'i', 's', ' ', 'v', 'i', 's', 'i', 't', 'o', 'r'});
      const SipHash begun = hash;
      AddBytes(hash, agent);
      const WideSipHash of_agent = EndWideSipHash(hash);
      SipHash visitor = begun;
      AddWord(visitor, of_agent[0]);
      AddWord(visitor, of_agent[1]);
      ASSERT_EQ(EndWideSipHash(known.visitor), EndWideSipHash(visitor)) << agent;
    }
  }
}
