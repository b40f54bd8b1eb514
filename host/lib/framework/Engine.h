#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "events/Trace.h"
#include "nex/NexCde.h"

namespace nexhost {

// The connectivity decision engine: registrations are journaled, and tests and
// scenarios inject Wi-Fi on/off and WLAN configuration events into the registered
// clients.
class Engine {
 public:
  explicit Engine(Trace& trace) : trace_(trace) {}

  struct Call {
    std::string operation;  // "registerForWifiStateChangeNotification", ...
    int32_t type = 0;
    int32_t reserved = 0;
    void (*clientCallback)(void*, void*) = nullptr;
    void* clientContext = nullptr;
    std::optional<std::string> name;  // absent for a null name
    std::optional<QualityClientOverrides> overrides;
    std::string operatorName;
    // The separate callback argument: the configuration callback of a registration, or
    // the on/off callback of a state-change registration.
    void (*callback)(void*, void*) = nullptr;
    void (*stateCallback)(bool, void*) = nullptr;
    void* context = nullptr;
  };
  const std::vector<Call>& calls() const { return calls_; }
  void clearJournal() { calls_.clear(); }

  // Records called by NexCdeCas.
  void addStateListener(void (*callback)(bool, void*), void* context);
  void addClient(const Call& registration, void (*callback)(void*, void*), void* context);
  void removeClient(const Call& deregistration);

  // Injection. A client is named by its registration name ("profile1"); the default
  // profile registers without one and is addressed by an empty name.
  void setWifiState(bool on);
  // Delivers to every registered client, or to the one whose name matches.
  int deliverConfig(const CasWlanNetConfigType& config,
                    const std::optional<std::string>& client = std::nullopt);
  std::size_t clientCount() const { return clients_.size(); }
  std::size_t stateListenerCount() const { return stateListeners_.size(); }

 private:
  struct Client {
    std::optional<std::string> name;
    void (*callback)(void*, void*);
    void* context;
  };
  Trace& trace_;
  std::vector<Call> calls_;
  std::vector<std::pair<void (*)(bool, void*), void*>> stateListeners_;
  std::vector<Client> clients_;
};

}  // namespace nexhost
