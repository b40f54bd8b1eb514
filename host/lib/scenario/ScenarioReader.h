#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "scenario/JsonTree.h"
#include "scenario/Scenario.h"

namespace nexhost {

// Reads one scenario file: its frame and steps (ScenarioLoader.cpp), its peers and their
// scripts (PeerReaders.cpp). Reply and output files are read relative to `baseDir`, and all
// texts count against one budget.
class ScenarioReader {
 public:
  ScenarioReader(std::string name, std::string baseDir)
      : name_(std::move(name)), baseDir_(std::move(baseDir)) {}

  Scenario load(const std::string& text);

  ScenarioPeers peers(const Node& n);
  // {"COMMAND": REPLY or {"sequence": [REPLY, ...]}, ...}
  std::map<std::string, std::vector<SupplicantBackend::Reply>> replies(const Node& n);
  // {"COMMAND LINE": RESULT or {"sequence": [RESULT, ...]}, ...}
  std::map<std::string, std::vector<Platform::ForkResult>> forkResults(const Node& n);

 private:
  std::vector<ScenarioStep> steps(const Node& n);

  SupplicantBackend::Reply reply(const Node& n);
  Platform::ForkResult forkResult(const Node& n);
  std::string keyBytes(const std::string& key, const Node& member) const;
  std::string checkedText(const Node& n, std::string text);
  std::string inlineText(const Node& n);
  std::string fileText(const Node& n);

  std::string name_;
  std::string baseDir_;
  std::size_t textBytes_ = 0;
};

}  // namespace nexhost
