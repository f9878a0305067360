// Tells what each line of standard input tells as the text of a User-Agent: a line of family, version,
// system, its version, device, robot and purpose, with tabs between them.
//
//   tell_agents [FILE_OF_RULES] < AGENTS
//   tell_agents --time < AGENTS      nanoseconds of processor time for each text instead, on average
#include <ctime>
#include <iostream>
#include <string>
#include <vector>

#include "agents/agent.h"
#include "agents/rules_file.h"

static void Print(const Agent& agent) {
  const std::string_view device = DeviceNames()[static_cast<size_t>(agent.device)].word;
  const std::string_view purpose = PurposeNames()[static_cast<size_t>(agent.purpose)].word;
  for (const std::string_view text :
       {agent.family, agent.version, agent.system, agent.system_version, device, agent.robot}) {
    std::cout << text << '\t';
  }
  std::cout << purpose << '\n';
}

static void PrintTime(const std::vector<std::string>& lines) {
  constexpr int kTimes = 100;
  size_t robots = 0;
  TellAgent("");
  const std::clock_t begin = std::clock();  // of this process, whatever else the processors do
  for (int i = 0; i < kTimes; ++i) {
    for (const std::string& line : lines) {
      robots += TellAgent(line).robot.empty() ? 0 : 1;
    }
  }
  const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
  std::cout << seconds * 1e9 / (kTimes * static_cast<double>(lines.size())) << " ns, " << robots / kTimes
            << " robots of " << lines.size() << '\n';
}

int main(int argc, char* argv[]) {
  static AgentRules read;
  const std::string argument = argc > 1 ? argv[1] : "";
  char sentence[kTextSize];
  const bool timed = argument == "--time";
  const bool given = argc > 1 && !timed;
  if (given && !ReadAgentRules(argv[1], read, sentence)) {
    std::cerr << sentence << '\n';
    return 1;
  }
  std::vector<std::string> lines;
  for (std::string line; std::getline(std::cin, line);) {
    lines.push_back(line);
  }
  if (timed) {
    PrintTime(lines);
    return 0;
  }
  for (const std::string& line : lines) {
    Print(TellAgent(line, given ? read : BuiltInRules()));
  }
}
