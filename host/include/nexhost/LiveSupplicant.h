#pragma once

#include <memory>
#include <string>

#include "nexhost/ControlSocket.h"
#include "nexhost/Supplicant.h"

namespace nexhost {

// The scan-frequency list of a SCAN command for the plug-in's frequency filter text:
// comma-separated channel codes, where 1, 2 and 3 are the whole 2.4, 3.6 and 5 GHz bands,
// 65535 is any frequency (no restriction at all), anything else a frequency in MHz. Empty
// and unreadable items are skipped, repeats dropped. Empty result: scan everything.
std::string scanFrequencies(const std::string& filter);

// The value of "SET bssid_filter" for the plug-in's comma-separated BSSID text: the
// BSSIDs separated by blanks, or empty (no filter) when the text is empty or names the
// broadcast BSSID, which matches every access point.
std::string bssidFilterValue(const std::string& filter);

// The supplicant behind real control sockets: commands go to the station or P2P socket;
// a second, ATTACHed station socket carries events, and CTRL-EVENT-SCAN-RESULTS fires the
// plug-in's scan-ready callback. The filters become "SET bssid_filter ..." at once and
// "SCAN freq=..." on the next scan.
class LiveSupplicant : public SupplicantBackend {
 public:
  struct Options {
    std::string stationPath;  // e.g. /var/run/wpa_supplicant/wlan0
    std::string p2pPath;      // empty: the P2P interface is absent
    int timeoutMs = 3000;
  };

  LiveSupplicant(Trace& trace, Options options);
  ~LiveSupplicant() override;

  // Opens the station command and event sockets; false with `error` set on failure.
  bool open(std::string* error);

  Reply command(supplicantType_t type, const std::string& command) override;
  bool connect(supplicantType_t type) override;
  bool disconnect(supplicantType_t type) override;
  bool setBssidFilter(const std::string& bssids) override;
  bool setFrequencyFilter(const std::string& frequencies) override;

  // The event socket, for poll(); -1 before open().
  int eventFd() const { return events_ ? events_->fd() : -1; }
  // Reads every waiting event and fires scan-ready for each CTRL-EVENT-SCAN-RESULTS.
  // Returns the number of scan-ready events.
  int handleEvents();

 private:
  ControlSocket* socketFor(supplicantType_t type);

  Options options_;
  std::unique_ptr<ControlSocket> station_;
  std::unique_ptr<ControlSocket> events_;
  std::unique_ptr<ControlSocket> p2p_;
  std::string scanFrequencies_;
};

}  // namespace nexhost
