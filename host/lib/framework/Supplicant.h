#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "events/Trace.h"
#include "nex/NexSupplicantWrapper.h"

namespace nexhost {

class Scheduler;

const char* interfaceName(supplicantType_t type);

// The RSSI line of a SIGNAL_POLL reply, as the wrapper keeps it after a poll.
std::optional<int16_t> signalPollRssi(const std::string& reply);

// What answers NexSupplicantWrapper's calls: a script in replays and tests, the real
// control sockets in live mode.
class SupplicantBackend {
 public:
  struct Reply {
    Reply() = default;
    Reply(bool ok, std::string text, std::string error = "")
        : ok(ok), text(std::move(text)), error(std::move(error)) {}
    bool ok = false;
    std::string text;
    // Why a live command got no answer ("timeout", "stopped", ...); shown in its event.
    std::string error;
    // The command as it went out, when the backend changed it (live mode adds the scan's
    // frequencies); empty: as given.
    std::string sent;
  };

  explicit SupplicantBackend(Trace& trace) : trace_(trace) {}
  virtual ~SupplicantBackend() = default;

  virtual Reply command(supplicantType_t type, const std::string& command) = 0;
  virtual bool connect(supplicantType_t type) = 0;
  virtual bool disconnect(supplicantType_t type) = 0;
  virtual bool setBssidFilter(const std::string& bssids) = 0;
  virtual bool setFrequencyFilter(const std::string& frequencies) = 0;

  // The plug-in's scan-ready callback, fired by the backend (or a test) when results are
  // ready. `events`: how many scan-results events this one call answers (live mode reads
  // the ones that came while the plug-in was busy in one go); recorded when above 1.
  void registerScanReady(void (*callback)(void*, void*), void* context);
  bool scanReadyRegistered() const { return scanReady_ != nullptr; }
  void fireScanReady(int events = 1);
  // Scan-results events the supplicant sent, answered by one scan-ready.
  virtual void scanResultsArrived(int events) { fireScanReady(events); }

  // Puts `front` (a wrapper, such as a recording) in front of this backend: it takes over
  // the scan-ready callback, and the commands this backend sends itself (a filter becomes
  // a command) and the scan results it hears go through it, so that it sees them too.
  void setFront(SupplicantBackend& front) {
    front.registerScanReady(scanReady_, scanReadyContext_);
    front_ = &front;
  }

  Trace& trace() { return trace_; }

 protected:
  SupplicantBackend& front() { return *front_; }
  // Records a command with its outcome; a successful SIGNAL_POLL also shows the RSSI the
  // wrapper keeps from it, which is the sample a connected measurement averages.
  void recordCommand(Json record, const std::string& command, const Reply& reply);

 private:
  Trace& trace_;
  SupplicantBackend* front_ = this;
  void (*scanReady_)(void*, void*) = nullptr;
  void* scanReadyContext_ = nullptr;
};

// Scripted wpa_supplicant: each command text gets a reply, a sequence of replies (the
// last one repeats), or a failure. Unscripted commands fail. Every command is traced, and
// kept in commands() (with the filters) only with the journal on (tests).
//
// A script may also answer the commands live mode turns the filters into ("SET
// bssid_filter ...", "SCAN freq=..."), as a recorded live session does: then the filters
// become those commands here too, so that the replay asks what the session asked.
class ScriptedSupplicant : public SupplicantBackend {
 public:
  ScriptedSupplicant(Trace& trace, Scheduler& scheduler)
      : SupplicantBackend(trace), scheduler_(scheduler) {}

  void setReply(supplicantType_t type, const std::string& command, std::string text);
  void setSequence(supplicantType_t type, const std::string& command, std::vector<Reply> replies);
  void setFailure(supplicantType_t type, const std::string& command);
  void setReply(const std::string& command, std::string text) {
    setReply(SUPPLICANT_STA, command, std::move(text));
  }
  void setFailure(const std::string& command) { setFailure(SUPPLICANT_STA, command); }
  void setConnectResult(supplicantType_t type, bool ok) { connectResult_[type] = ok; }
  // After each successful SCAN, fire scan-ready `delay` time units later.
  void setScanReadyDelay(std::optional<long long> delay) { scanReadyDelay_ = delay; }

  Reply command(supplicantType_t type, const std::string& command) override;
  bool connect(supplicantType_t type) override;
  bool disconnect(supplicantType_t type) override;
  bool setBssidFilter(const std::string& bssids) override;
  bool setFrequencyFilter(const std::string& frequencies) override;

  struct SentCommand {
    supplicantType_t type;
    std::string text;
  };
  const std::vector<SentCommand>& commands() const { return commands_; }
  std::vector<std::string> commandTexts(supplicantType_t type = SUPPLICANT_STA) const;
  std::size_t countCommand(const std::string& text) const;
  const std::vector<std::string>& bssidFilters() const { return bssidFilters_; }
  const std::vector<std::string>& frequencyFilters() const { return frequencyFilters_; }
  int connects(supplicantType_t type) const;
  int disconnects(supplicantType_t type) const;
  void clearJournal();
  void setJournal(bool keep) { journal_ = keep; }

 private:
  struct Script {
    std::vector<Reply> replies;
    std::size_t next = 0;
  };
  Scheduler& scheduler_;
  bool scripted(supplicantType_t type, const std::string& command) const {
    return scripts_.count({type, command}) != 0;
  }

  std::map<std::pair<int, std::string>, Script> scripts_;
  std::map<int, bool> connectResult_;
  std::optional<long long> scanReadyDelay_;
  std::string scanFrequencies_;  // of the last frequency filter, as live mode sends them
  bool journal_ = false;
  std::vector<SentCommand> commands_;
  std::vector<std::string> bssidFilters_;
  std::vector<std::string> frequencyFilters_;
  std::map<int, int> connects_;
  std::map<int, int> disconnects_;
};

}  // namespace nexhost
