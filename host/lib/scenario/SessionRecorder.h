#pragma once

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "events/Trace.h"
#include "framework/Platform.h"
#include "framework/Supplicant.h"
#include "output/OutputFile.h"
#include "scenario/Scenario.h"

namespace nexhost {

// Writes a live session as a scenario that `nexhost run` replays into the same modem
// messages and events: every supplicant reply and hostapd_cli result as it came, in order,
// by the command live mode sent; the steps and the supplicant's scan-results events at the
// time they ran; the chipset, engine and operators the session started with.
//
// What it holds is bounded by what a scenario may hold (scenario_limits). A session that
// outgrows that stops being recorded, with one warning, and the file ends where the
// recording stopped.
class SessionRecorder {
 public:
  // `warnings`: where the one warning goes (null: nowhere).
  SessionRecorder(const Clock& clock, std::string path, std::FILE* warnings);
  ~SessionRecorder();
  SessionRecorder(const SessionRecorder&) = delete;
  SessionRecorder& operator=(const SessionRecorder&) = delete;

  // Creates the temporary file now, so that a path that cannot be written is refused
  // before the session starts; false with the reason in `error`. An earlier file at the
  // path stays until write() replaces it: a session that fails to start leaves it.
  bool open(std::string* error);

  void setDescription(const std::string& description);
  // The peers the session starts with.
  void setPlatform(const Platform& platform, bool engine);

  void step(const ScenarioStep& step);
  void scanResults(int events);
  void supplicantReply(supplicantType_t type, const std::string& sent,
                       const SupplicantBackend::Reply& reply);
  void p2pConnect(bool ok);
  void hostapdResult(const std::string& commandLine, const Platform::ForkResult& result);

  // Writes the scenario, ending at the current time (or where the recording stopped), and
  // puts it in place of an earlier file.
  bool write(std::string* error);

  bool stopped() const { return stopped_; }

 private:
  using Sequences = std::map<std::string, std::vector<Json>>;

  // Whether one more item of `bytes` (as JSON text) still fits; past a limit the recording
  // stops for good, saying why.
  bool fits(std::size_t bytes, std::size_t textBytes, const char* why);
  void addStep(Json action);
  void addAnswer(Sequences* sequences, const std::string& key, Json answer, std::size_t textBytes);

  const Clock& clock_;
  std::string path_;
  std::FILE* warnings_;
  std::unique_ptr<OutputFile> file_;
  std::string description_;
  Json platform_ = Json::object();
  Json p2pConnects_;  // null until the plug-in first connects to P2P
  Sequences station_;
  Sequences p2p_;
  Sequences hostapd_;
  std::vector<Json> steps_;
  std::size_t fileBytes_ = 0;  // what the scenario's text will take, at most
  std::size_t textBytes_ = 0;  // replies and outputs, as the loader counts them
  bool stopped_ = false;
  long long end_ = 0;
};

}  // namespace nexhost
