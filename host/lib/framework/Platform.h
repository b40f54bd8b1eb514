#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "events/Trace.h"
#include "framework/ForkRunner.h"
#include "nex/NexUtils.h"

namespace nexhost {

// NexUtils and OperatorLookup: the chipset type, forkExec, and the ICCID table.
class Platform {
 public:
  explicit Platform(Trace& trace) : trace_(trace) {}

  using ForkResult = nexhost::ForkResult;

  int chipsetType = 0;
  // Scripted results by whole command line: one per run, in order; the last one repeats.
  std::map<std::string, std::vector<ForkResult>> forkScripts;
  // Replaces a command line's scripted results from now on: its sequence starts again.
  void setForkScript(const std::string& line, std::vector<ForkResult> results) {
    forkScripts[line] = std::move(results);
    forkRuns_.erase(line);
  }
  std::map<std::string, std::string> operators;  // ICCID digits -> operator name
  // Runs command lines for real (live mode); null: they are scripted.
  std::unique_ptr<ForkRunner> forkRunner;

  // What getWlanChipsetType answers; each query is an event (the plug-in asks before each
  // hostapd_cli run, to choose the interface).
  int queryChipset();
  int forkExec(const char* commandLine, const NexForkExecOpt* options);
  std::string lookupOperator(const std::string& iccid) const;

  // Every command line forkExec was given, kept only with the journal on (tests).
  const std::vector<std::string>& forkedCommands() const { return forked_; }
  void setJournal(bool keep) { journal_ = keep; }

 private:
  Trace& trace_;
  bool journal_ = false;
  std::vector<std::string> forked_;
  std::map<std::string, std::size_t> forkRuns_;  // scripted runs so far, by command line
};

}  // namespace nexhost
