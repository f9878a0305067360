#include "analysis/known_agents.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "base/sip_hash.h"

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
          BeginSipHash({'O', 'r', 'v', 'e', 'l', 'l', 'i', 's', ' ', 'v', 'i', 's', 'i', 't', 'o', 'r'});
      AddBytes(hash, agent);
      ASSERT_EQ(known.hash, EndSipHash(hash)) << agent;
    }
  }
}

// The values are those of another program, by the description of the counts that are kept of visits.
TEST_F(KnownAgents, HaveTheSameVisitorsOnAllMachines) {
  const auto hash_of = [](const char* agent, const char* host) {
    return HashOfVisitor(TellKnownAgent(agent), host);
  };
  EXPECT_EQ(hash_of("Lynx/2.8", "192.0.2.1"), 0x5f54cd724036ca8bu);
  EXPECT_EQ(hash_of("", "a"), 0x299f8ad61513b4e0u);
  EXPECT_EQ(hash_of("w3m/0.5", "2001:db8:1:2:3:4:5:6"), 0x95f68506016d7510u);
  EXPECT_EQ(hash_of("w3m/0.5", "visitor.of.a.long.name.example.net"), 0xb6677b4754a48e9cu);
  EXPECT_EQ(hash_of("w3m/0.5", "1.2.3.4"), 0x4813cc5e1240a7b9u);
  EXPECT_EQ(hash_of("w3m/0.5", "host"), 0xa11fb0746319f644u);
  EXPECT_EQ(hash_of("w3m/0.5", "0123456789abcdef"), 0x0b58f5dd554d9ef6u);
  EXPECT_EQ(hash_of("w3m/0.5", "0123456789abcdefg"), 0x71a0670269ffa3bcu);
}

TEST_F(KnownAgents, HaveVisitorsOfTheirOwn) {
  std::set<uint64_t> hashes;
  for (int agent = 0; agent < 100; ++agent) {
    const KnownAgent known = TellKnownAgent("Agent " + std::to_string(agent));
    for (int host = 0; host < 1000; ++host) {
      hashes.insert(
          HashOfVisitor(known, "10.0." + std::to_string(host / 256) + "." + std::to_string(host % 256)));
    }
  }
  EXPECT_EQ(hashes.size(), 100'000u);
}
