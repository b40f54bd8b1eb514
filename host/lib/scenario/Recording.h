#pragma once

// A live session's recording, wired in once (recordSession): wrappers around the real
// supplicant and the real hostapd_cli runs hand the recorder what comes back, and the
// step performer hands it the steps.

#include <memory>

#include "framework/ForkRunner.h"
#include "framework/Host.h"
#include "scenario/SessionRecorder.h"

namespace nexhost {

// The real supplicant, each reply, P2P connect result and scan-results arrival also
// handed to the recorder.
class RecordingSupplicant : public SupplicantBackend {
 public:
  RecordingSupplicant(std::unique_ptr<SupplicantBackend> real, SessionRecorder& recorder);

  Reply command(supplicantType_t type, const std::string& command) override;
  bool connect(supplicantType_t type) override;
  bool disconnect(supplicantType_t type) override { return real_->disconnect(type); }
  // The filter's command, if it becomes one, comes back through command().
  bool setBssidFilter(const std::string& bssids) override { return real_->setBssidFilter(bssids); }
  bool setFrequencyFilter(const std::string& frequencies) override {
    return real_->setFrequencyFilter(frequencies);
  }
  void scanResultsArrived(int events) override;

 private:
  std::unique_ptr<SupplicantBackend> real_;
  SessionRecorder& recorder_;
};

// Real hostapd_cli runs, each result also handed to the recorder.
class RecordingForkRunner : public ForkRunner {
 public:
  RecordingForkRunner(std::unique_ptr<ForkRunner> real, SessionRecorder& recorder)
      : real_(std::move(real)), recorder_(recorder) {}

  ForkResult run(const std::string& line, std::size_t room) override;

 private:
  std::unique_ptr<ForkRunner> real_;
  SessionRecorder& recorder_;
};

// Records what the host's real peers answer into `recorder`: wraps the supplicant backend
// and, when command lines run for real, the fork runner. Before the plug-in is handed
// the supplicant. (The live runner hands the recorder the steps: LiveRunner::setRecorder.)
void recordSession(Host& host, SessionRecorder& recorder);

}  // namespace nexhost
