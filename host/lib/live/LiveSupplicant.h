#pragma once

#include <functional>
#include <memory>
#include <string>

#include "framework/Supplicant.h"
#include "live/ControlSocket.h"
#include "live/LiveText.h"

namespace nexhost {

// The supplicant behind real control sockets: commands go to the station or P2P socket;
// a second, ATTACHed station socket carries events, and CTRL-EVENT-SCAN-RESULTS fires the
// plug-in's scan-ready callback. The filters become "SET bssid_filter ..." at once and
// "SCAN freq=..." on the next scan.
//
// Once the supplicant is gone (its socket refuses a command, it leaves PING unanswered,
// or it says CTRL-EVENT-TERMINATING), no command is sent any more: each fails at once.
class LiveSupplicant : public SupplicantBackend {
 public:
  struct Options {
    std::string stationPath;  // e.g. /var/run/wpa_supplicant/wlan0
    std::string p2pPath;      // empty: the P2P interface is absent
    int timeoutMs = 3000;     // how long a command waits for its reply
  };

  // At most this many events are handled per call of handleEvents, so that a peer that
  // sends without pause cannot hold the host.
  static constexpr int kMaxEventsPerWake = 32;

  LiveSupplicant(Trace& trace, Options options);
  ~LiveSupplicant() override;

  // Opens the station command and event sockets; false with `error` set on failure.
  bool open(std::string* error);

  Reply command(supplicantType_t type, const std::string& command) override;
  bool connect(supplicantType_t type) override;
  bool disconnect(supplicantType_t type) override;
  bool setBssidFilter(const std::string& bssids) override;
  bool setFrequencyFilter(const std::string& frequencies) override;

  // What cuts a command's wait for its reply: the stop signal, the end of the run. Once
  // one has cut a wait, later commands fail at once ("stopped") until the next call.
  void setStopWhen(StopWhen stop);

  // PING, which must be answered PONG within the command timeout. False when the
  // supplicant is gone (or already was); true when it answered or a stop cut the wait.
  bool checkAlive();
  bool gone() const { return !goneReason_.empty(); }
  // How the supplicant went away, e.g. "no answer to PING in 3000 ms".
  const std::string& goneReason() const { return goneReason_; }

  // The event socket, for poll(); -1 before open().
  int eventFd() const { return events_ ? events_->fd() : -1; }
  // Handles the events waiting on the event socket, at most kMaxEventsPerWake, calling
  // `beforeEach` before each (live mode moves its clock there). The scan-results events
  // among them fire scan-ready once: results that came while the plug-in was busy are
  // read in one go. Returns the number of scan-ready fired (0 or 1), -1 when the
  // supplicant is gone.
  int handleEvents(const std::function<void()>& beforeEach = nullptr);

 private:
  ControlSocket* socketFor(supplicantType_t type);
  void markGone(const std::string& reason);

  Options options_;
  std::unique_ptr<ControlSocket> station_;
  std::unique_ptr<ControlSocket> events_;
  std::unique_ptr<ControlSocket> p2p_;
  std::string scanFrequencies_;
  StopWhen stop_;
  bool stopped_ = false;
  std::string goneReason_;
};

}  // namespace nexhost
