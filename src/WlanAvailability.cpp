// The WLAN availability record: what the default profile tells the modem about the
// station link, the soft AP and the P2P group whenever the engine reports a change.
#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "CasProxy.h"
#include "Log.h"
#include "WifiInfoProvider.h"
#include "WifiParser.h"
#include "WifiStatus.h"

namespace {

constexpr std::size_t kSsidMax = 32;
// The modem is told a /64 whatever the address.
constexpr uint8_t kIpv6PrefixLen = 64;
constexpr int32_t kConnStateIdle = 0;
constexpr int32_t kConnStateConnected = 1;
constexpr int32_t kConnStateDisconnected = 4;
constexpr uint32_t kLinkDown = 0;
constexpr uint32_t kLinkAssociated = 1;
constexpr uint32_t kLinkFullyConnected = 2;

std::size_t ssidLength(const char* text) { return strnlen(text, kSsidMax); }

// The length is already capped to the field; the check only guards that cap.
bool reportSsid(dsd_wlan_available_req_msg_v01& msg, const char* text, std::size_t len) {
  if (len > sizeof msg.ssid) return false;
  std::memcpy(msg.ssid, text, len);
  msg.ssid_len = static_cast<uint32_t>(len);
  msg.ssid_valid = 1;
  return true;
}

// Writes the name over the start of the cache without clearing it or adding a
// terminator: a shorter name leaves the tail of the longer one behind.
bool overlayCache(char (&cache)[33], const char* text, std::size_t len) {
  if (len > kSsidMax) return false;
  std::memcpy(cache, text, len);
  return true;
}

bool allZero(const uint8_t (&bytes)[16]) {
  for (uint8_t b : bytes) {
    if (b != 0) return false;
  }
  return true;
}

// Dotted text of an address in network byte order.
const char* ipv4Text(uint32_t networkOrder) {
  in_addr addr;
  addr.s_addr = networkOrder;
  return inet_ntoa(addr);
}

// Text of an IPv6 address for the log; "::" when the conversion gives nothing.
void ipv6Text(const uint8_t (&bytes)[16], char (&text)[INET6_ADDRSTRLEN]) {
  std::memset(text, 0, sizeof text);
  if (inet_ntop(AF_INET6, bytes, text, sizeof text) == nullptr || text[0] == '\0') {
    std::snprintf(text, sizeof text, "%s", "::");
  }
}

}  // namespace

void WifiMeasurementRequest::CasProxy::clearSsidCache(char (&cache)[33]) {
  std::memset(cache, 0, sizeof cache);
}

void WifiMeasurementRequest::CasProxy::buildSTAInfo(void* config,
                                                    dsd_wlan_available_req_msg_v01* msg) {
  if (config == nullptr || msg == nullptr) {
    MDX_LOG(3, "dsd_wlan_available_req_msg_v01 or CasWlanNetConfigType is null");
    return;
  }
  const auto& net = *static_cast<const CasWlanNetConfigType*>(config);

  if (net.ipv4Address != 0) {
    MDX_LOG(0, "IPv4 address: %s", ipv4Text(net.ipv4Address));
    msg->ipv4_addr_valid = 1;
    msg->ipv4_addr = ntohl(net.ipv4Address);  // first octet most significant
  }
  if (!allZero(net.ipv6Address)) {
    msg->ipv6_addr_valid = 1;
    std::memcpy(msg->ipv6_addr, net.ipv6Address, sizeof msg->ipv6_addr);
    msg->ipv6_prefix_len = kIpv6PrefixLen;
  }
  if (net.dns1Ipv4 != 0) {
    msg->dns1_ipv4_valid = 1;
    MDX_LOG(0, "DNS address 1: %s", ipv4Text(net.dns1Ipv4));
    msg->dns1_ipv4 = ntohl(net.dns1Ipv4);
  }
  if (net.dns2Ipv4 != 0) {
    msg->dns2_ipv4_valid = 1;
    MDX_LOG(0, "DNS address 2: %s", ipv4Text(net.dns2Ipv4));
    msg->dns2_ipv4 = ntohl(net.dns2Ipv4);
  }
  if (!allZero(net.dns1Ipv6)) {
    char text[INET6_ADDRSTRLEN];
    ipv6Text(net.dns1Ipv6, text);
    MDX_LOG(0, "DNS V6 address 1: %s", text);
    msg->dns1_ipv6_valid = 1;
    std::memcpy(msg->dns1_ipv6, net.dns1Ipv6, sizeof msg->dns1_ipv6);
  }
  if (!allZero(net.dns2Ipv6)) {
    char text[INET6_ADDRSTRLEN];
    ipv6Text(net.dns2Ipv6, text);
    MDX_LOG(0, "DNS V6 address 2: %s", text);
    msg->dns2_ipv6_valid = 1;
    std::memcpy(msg->dns2_ipv6, net.dns2Ipv6, sizeof msg->dns2_ipv6);
  }

  if (net.connState == kConnStateDisconnected) {
    // A station that went away reports the name it last had.
    if (!reportSsid(*msg, cachedSsid, ssidLength(cachedSsid))) MDX_LOG(4, "Failed to copy ssid");
    clearSsidCache(cachedSsid);
  } else {
    const std::size_t len = strnlen(net.ssidText, kSsidMax);
    if (!reportSsid(*msg, net.ssidText, len)) MDX_LOG(4, "Failed to copy ssid");
    if (net.connState == kConnStateConnected && !overlayCache(cachedSsid, net.ssidText, len)) {
      MDX_LOG(4, "Failed to copy ssid to cache");
    }
  }

  char bssid[sizeof net.bssidText + 1] = {};
  std::memcpy(bssid, net.bssidText, strnlen(net.bssidText, sizeof net.bssidText));
  MDX_LOG(0, "BSSID: %s", bssid);
  WifiParser::getBSSID(msg->bssid, bssid);
  msg->station_marker_valid = 1;
  msg->station_marker = 1;
  msg->connection_type_valid = 1;
  msg->link_status_valid = 1;
  if (net.connState == kConnStateConnected) {
    msg->link_status = net.fullConnection != 0 ? kLinkFullyConnected : kLinkAssociated;
  } else if (net.connState == kConnStateIdle) {
    msg->link_status = kLinkAssociated;
  } else {
    msg->link_status = kLinkDown;
  }

  const WifiStatus status = provider->getSTAStatus();
  if (status.frequency != 0) {
    msg->frequency_valid = 1;
    msg->frequency = status.frequency;
    MDX_LOG(1, "Frequency: %d", static_cast<int>(status.frequency));
  }
  if (!status.hessid.empty()) {
    msg->hessid_valid = 1;
    WifiParser::getBSSID(msg->hessid, status.hessid.c_str());
  }
  if (status.wifiMode != -1) {
    msg->wifi_mode_valid = 1;
    msg->wifi_mode = static_cast<uint32_t>(status.wifiMode);
  }
  msg->link_flag_valid = 1;
  msg->link_flag = net.linkFlag;

  // Location services know better than the access point.
  if (net.locationCountryCode[0] != 0) {
    char country[3] = {net.locationCountryCode[0], net.locationCountryCode[1], 0};
    MDX_LOG(1, "CountryCode obtained from location services: %s", country);
    msg->country_code_valid = 1;
    std::memcpy(msg->country_code, net.locationCountryCode, sizeof msg->country_code);
  } else if (!status.countryCode.empty()) {
    MDX_LOG(1, "CountryCode obtained from Wifi AP: %s", status.countryCode.c_str());
    msg->country_code_valid = 1;
    const std::size_t n = status.countryCode.size() < sizeof msg->country_code
                              ? status.countryCode.size()
                              : sizeof msg->country_code;
    std::memcpy(msg->country_code, status.countryCode.data(), n);
  } else {
    MDX_LOG(1, "Country Code not populated");
  }
}

void WifiMeasurementRequest::CasProxy::buildSoftAPInfo(void* config,
                                                       dsd_wlan_available_req_msg_v01* msg) {
  if (config == nullptr || msg == nullptr) {
    MDX_LOG(3, "dsd_wlan_available_req_msg_v01 or CasWlanNetConfigType is null");
    return;
  }
  const auto& net = *static_cast<const CasWlanNetConfigType*>(config);
  msg->link_status_valid = 1;
  if (net.enabled == 0) {
    // The soft AP went down: report the name it had, once.
    msg->link_status = kLinkDown;
    if (!reportSsid(*msg, cachedSsid, ssidLength(cachedSsid))) MDX_LOG(4, "Failed to copy ssid");
    clearSsidCache(cachedSsid);
    return;
  }
  msg->link_status = kLinkAssociated;
  const WifiStatus status = provider->getAPStatus();
  if (!status.ssid.empty()) {
    const std::size_t len = ssidLength(status.ssid.c_str());
    if (!reportSsid(*msg, status.ssid.c_str(), len)) MDX_LOG(4, "Failed to copy ssid");
    if (!overlayCache(cachedSsid, status.ssid.c_str(), len)) {
      MDX_LOG(4, "Failed to update cached ssid");
    }
  }
  if (status.frequency != 0) {
    msg->frequency_valid = 1;
    msg->frequency = status.frequency;
    MDX_LOG(1, "Frequency: %d", static_cast<int>(status.frequency));
  }
  if (!status.bssid.empty()) WifiParser::getBSSID(msg->bssid, status.bssid.c_str());
}

void WifiMeasurementRequest::CasProxy::buildP2pInfo(void* config,
                                                    dsd_wlan_available_req_msg_v01* msg) {
  if (config == nullptr || msg == nullptr) {
    MDX_LOG(3, "%s:%d: dsd_wlan_available_req_msg_v01 or CasWlanNetConfigType is null",
            __PRETTY_FUNCTION__, __LINE__);
    return;
  }
  const auto& net = *static_cast<const CasWlanNetConfigType*>(config);
  msg->link_status_valid = 1;
  if (net.enabled == 0) {
    msg->link_status = kLinkDown;
    reportSsid(*msg, p2pCachedSsid, ssidLength(p2pCachedSsid));
    clearSsidCache(p2pCachedSsid);
    return;
  }
  const WifiStatus status = provider->getP2pStatus();
  if (!status.wpaState.empty()) {
    msg->link_status_valid = 1;
    if (status.wpaState == "COMPLETED") {
      msg->link_status = kLinkFullyConnected;
    } else if (status.wpaState == "ASSOCIATED") {
      msg->link_status = kLinkAssociated;
    } else {
      msg->link_status = kLinkDown;
    }
  }
  if (status.mode == "P2P GO") {
    msg->connection_type_valid = 1;
    msg->connection_type = DSD_WLAN_CONN_P2P_GO_V01;
  } else if (status.mode == "station") {
    msg->connection_type_valid = 1;
    msg->connection_type = DSD_WLAN_CONN_P2P_CLIENT_V01;
  }
  if (status.frequency != 0) {
    msg->frequency_valid = 1;
    msg->frequency = status.frequency;
  }
  if (!status.ssid.empty()) {
    const std::size_t len = ssidLength(status.ssid.c_str());
    reportSsid(*msg, status.ssid.c_str(), len);
    overlayCache(p2pCachedSsid, status.ssid.c_str(), len);
  }
  if (!status.bssid.empty()) WifiParser::getBSSID(msg->bssid, status.bssid.c_str());
  if (!status.ipAddress.empty()) {
    msg->ipv4_addr_valid = 1;
    // Kept in inet_pton's byte order, unlike the station's address.
    const int rc = inet_pton(AF_INET, status.ipAddress.c_str(), &msg->ipv4_addr);
    if (rc != 1) {
      MDX_LOG(4, "inet_pton return %d, unable to convert ipv4 from string to uint32_t", rc);
    }
  }
  if (!status.ipv6AddressText.empty()) {
    msg->ipv6_addr_valid = 1;
    const int rc = inet_pton(AF_INET6, status.ipv6AddressText.c_str(), msg->ipv6_addr);
    if (rc != 1) {
      MDX_LOG(4, "inet_pton return %d, unable to convert ipv6 from string to int[16]", rc);
    }
    msg->ipv6_prefix_len = kIpv6PrefixLen;
  }
}
