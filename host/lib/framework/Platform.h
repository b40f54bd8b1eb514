#pragma once

#include <map>
#include <string>
#include <vector>

#include "events/Trace.h"
#include "nex/NexUtils.h"

namespace nexhost {

class SessionRecorder;

// NexUtils and OperatorLookup: the chipset type, forkExec, and the ICCID table.
class Platform {
 public:
  explicit Platform(Trace& trace) : trace_(trace) {}

  struct ForkResult {
    ForkResult() = default;
    ForkResult(std::string output, int exitCode, std::string ran = "")
        : output(std::move(output)), exitCode(exitCode), ran(std::move(ran)) {}
    std::string output;
    int exitCode = 0;
    // The command line live mode ran in place of the plug-in's, when a replacement
    // changed it (shown as the event's "ran"; a recorded session keeps it).
    std::string ran;
  };
  // How forkExec runs a command line: scripted (the default) or for real.
  enum class ForkMode { kScripted, kReal };

  int chipsetType = 0;
  ForkMode forkMode = ForkMode::kScripted;
  // Scripted results by whole command line: one per run, in order; the last one repeats.
  std::map<std::string, std::vector<ForkResult>> forkScripts;
  // Real runs: text replacements applied to the command line first (the handset's paths
  // to this machine's), and the time after which the command is killed.
  std::vector<std::pair<std::string, std::string>> commandReplacements;
  int forkTimeoutMs = 10000;
  std::map<std::string, std::string> operators;  // ICCID digits -> operator name
  // Takes every real run's result, to be replayed later (may be null).
  SessionRecorder* recorder = nullptr;

  // What getWlanChipsetType answers; each query is an event (the plug-in asks before each
  // hostapd_cli run, to choose the interface).
  int queryChipset();
  int forkExec(const char* commandLine, const NexForkExecOpt* options);
  std::string lookupOperator(const std::string& iccid) const;

  // Every command line forkExec was given, kept only with the journal on (tests).
  const std::vector<std::string>& forkedCommands() const { return forked_; }
  void setJournal(bool keep) { journal_ = keep; }

 private:
  int runForReal(const std::string& line, const NexForkExecOpt* options, std::string* output);

  Trace& trace_;
  bool journal_ = false;
  std::vector<std::string> forked_;
  std::map<std::string, std::size_t> forkRuns_;  // scripted runs so far, by command line
};

}  // namespace nexhost
