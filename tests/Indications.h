// Builders for the modem's start indication.
#pragma once

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "dsd/dsd_messages_v01.h"

namespace testind {

using Mac = std::array<uint8_t, 6>;
constexpr Mac kAnyBssid = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

struct Bssid {
  Mac mac;
  std::vector<uint16_t> channels;
};

struct Network {
  enum Kind { kText, kAny, kConnected } kind = kText;
  std::string ssid;
  std::vector<Bssid> bssids;
};

inline Network named(std::string ssid, std::vector<Bssid> bssids = {{kAnyBssid, {65535}}}) {
  return Network{Network::kText, std::move(ssid), std::move(bssids)};
}
inline Network anySsid(std::vector<Bssid> bssids = {{kAnyBssid, {65535}}}) {
  return Network{Network::kAny, "", std::move(bssids)};
}
inline Network connected() { return Network{Network::kConnected, "", {}}; }

inline dsd_start_wifi_meas_ind_msg_v01 indication(uint32_t id, uint64_t mask,
                                                  const std::vector<Network>& networks) {
  dsd_start_wifi_meas_ind_msg_v01 ind;
  std::memset(&ind, 0, sizeof ind);
  ind.wifi_meas_id = id;
  ind.meas_param_mask = mask;
  ind.wifi_ident_valid = networks.empty() ? 0 : 1;
  ind.wifi_ident_len = static_cast<uint32_t>(networks.size());
  for (std::size_t i = 0; i < networks.size() && i < DSD_WIFI_IDENT_MAX_V01; ++i) {
    const Network& n = networks[i];
    dsd_wifi_ident_type_v01& entry = ind.wifi_ident[i];
    if (n.kind == Network::kAny) {
      std::memset(entry.ssid_info.ssid, 0xFF, sizeof entry.ssid_info.ssid);
    } else if (n.kind == Network::kText) {
      std::memcpy(entry.ssid_info.ssid, n.ssid.data(),
                  n.ssid.size() < sizeof entry.ssid_info.ssid ? n.ssid.size()
                                                              : sizeof entry.ssid_info.ssid);
    }
    entry.bssid_list_len = static_cast<uint32_t>(n.bssids.size());
    for (std::size_t j = 0; j < n.bssids.size() && j < DSD_WIFI_BSSID_LIST_MAX_V01; ++j) {
      dsd_wifi_bssid_type_v01& b = entry.bssid_list[j];
      std::memcpy(b.bssid, n.bssids[j].mac.data(), 6);
      b.channel_list_len = static_cast<uint32_t>(n.bssids[j].channels.size());
      for (std::size_t k = 0; k < n.bssids[j].channels.size() && k < 16; ++k) {
        b.channel_list[k] = n.bssids[j].channels[k];
      }
    }
  }
  return ind;
}

inline void setIntervals(dsd_start_wifi_meas_ind_msg_v01& ind, int32_t sampling,
                         int32_t reporting) {
  ind.sampling_interval_valid = 1;
  ind.sampling_interval = sampling;
  ind.reporting_interval_valid = 1;
  ind.reporting_interval = reporting;
}

// Every byte 'A' and every count at its maximum: what a corrupted record looks like.
inline dsd_start_wifi_meas_ind_msg_v01 hostile(uint64_t mask) {
  dsd_start_wifi_meas_ind_msg_v01 ind;
  std::memset(&ind, 'A', sizeof ind);
  ind.meas_param_mask = mask;
  ind.wifi_ident_valid = 1;
  ind.wifi_ident_len = 0xFFFFFFFFu;
  ind.sampling_interval_valid = 0;
  ind.reporting_interval_valid = 0;
  ind.alpha_valid = 0;
  for (dsd_wifi_ident_type_v01& entry : ind.wifi_ident) {
    entry.bssid_list_len = 0xFFFFFFFFu;
    for (dsd_wifi_bssid_type_v01& b : entry.bssid_list) b.channel_list_len = 0xFFFFFFFFu;
  }
  return ind;
}

}  // namespace testind
