#include "framework/Engine.h"

#include <algorithm>

#include "text/ByteText.h"

namespace nexhost {

namespace {

Json describe(const Engine::Call& call) {
  Json j{{"operation", call.operation}, {"type", call.type}, {"reserved", call.reserved}};
  if (call.operation != "registerForWifiStateChangeNotification" &&
      call.operation != "deregisterForWlanNetConfigChange") {
    j["name"] = call.name ? Json(printableBytes(*call.name)) : Json(nullptr);
    if (call.overrides) {
      j["rssi_high_override"] = call.overrides->rssiHighOverride;
      j["rssi_low_override"] = call.overrides->rssiLowOverride;
    }
    j["operator"] = printableBytes(call.operatorName);
  }
  return j;
}

}  // namespace

void Engine::addStateListener(void (*callback)(bool, void*), void* context) {
  Call call;
  call.operation = "registerForWifiStateChangeNotification";
  call.stateCallback = callback;
  call.context = context;
  calls_.push_back(call);
  trace_.record("engine", describe(call));
  stateListeners_.emplace_back(callback, context);
}

void Engine::addClient(const Call& registration, void (*callback)(void*, void*), void* context) {
  Call call = registration;
  call.callback = callback;
  calls_.push_back(call);
  trace_.record("engine", describe(call));
  clients_.push_back(Client{registration.name, callback, context});
}

void Engine::removeClient(const Call& deregistration) {
  calls_.push_back(deregistration);
  trace_.record("engine", describe(deregistration));
  clients_.erase(std::remove_if(clients_.begin(), clients_.end(),
                                [&](const Client& c) {
                                  return c.callback == deregistration.clientCallback &&
                                         c.context == deregistration.clientContext;
                                }),
                 clients_.end());
}

void Engine::setWifiState(bool on) {
  trace_.record("engine", Json{{"event", "wifi-state"}, {"on", on}});
  // Copy: a listener may register more.
  const auto listeners = stateListeners_;
  for (const auto& [callback, context] : listeners) callback(on, context);
}

int Engine::deliverConfig(const CasWlanNetConfigType& config,
                          const std::optional<std::string>& client) {
  const auto targets = clients_;
  int delivered = 0;
  for (const Client& c : targets) {
    const bool match = !client || (client->empty() ? !c.name : (c.name && *c.name == *client));
    if (!match) continue;
    CasWlanNetConfigType copy = config;  // the callee may not keep or change ours
    c.callback(&copy, c.context);
    ++delivered;
  }
  trace_.record(
      "engine",
      Json{{"event", "wlan-config"}, {"net_type", config.netType}, {"delivered", delivered}});
  return delivered;
}

}  // namespace nexhost
