#include "CasProxy.h"

#include <cstdio>
#include <cstring>

#include "Log.h"
#include "nex/NexMdxDsd.h"

int WifiMeasurementRequest::CasProxy::clientId = 0;

namespace {

constexpr int32_t kClientType = 2;

// Modem reason codes for the engine's reasons 10..15; 13 and 14 are swapped on purpose
// and 15 shares 14's code.
constexpr uint32_t kModemReasonCodes[] = {1, 2, 3, 5, 4, 4};
constexpr int32_t kFirstMappedReason = NEX_WQE_RESULT_LOW_RSSI;
constexpr int32_t kLastMappedReason = NEX_WQE_RESULT_OTHER;

constexpr int32_t kConnStateConnected = 1;

bool isDefaultProfile(dsd_wqe_profile_type_enum_v01 profile) {
  return profile == DSD_WQE_PROFILE_DEFAULT_V01;
}

}  // namespace

WifiMeasurementRequest::CasProxy::CasProxy(NexMdxDsd& client, NexCom& /*com*/, NexTimer& /*timer*/,
                                           NexSupplicantWrapper& /*supplicant*/,
                                           WifiInfoProvider& infoProvider, ProfileInfoType profile,
                                           CompletionCallback /*callback*/)
    : client(&client),
      provider(&infoProvider),
      profileType(profile.profileType),
      overrides{profile.rssiHighOverride, profile.rssiLowOverride},
      operatorName(profile.operatorName) {
  MDX_LOG(2, "CasProxy Xtor for profile %d RSSI high override %d RSSI Low override %d",
          static_cast<int>(profileType), static_cast<int>(overrides.rssiHighOverride),
          static_cast<int>(overrides.rssiLowOverride));
  NexCde* engine = NexCde::getInstance();
  clearSsidCache(cachedSsid);
  clearSsidCache(p2pCachedSsid);
  if (engine == nullptr) return;
  cas = engine->getCasInstance();
  // Only the default profile follows Wi-Fi on/off; the registration lives as long as the
  // process.
  if (cas != nullptr && isDefaultProfile(profileType)) {
    cas->registerForWifiStateChangeNotification(&updateWifiStateChangeCb, this);
  }
}

WifiMeasurementRequest::CasProxy::~CasProxy() { MDX_LOG(2, "CasProxy D-Xtor"); }

CasClientCb WifiMeasurementRequest::CasProxy::clientCb() {
  CasClientCb cb;
  cb.type = kClientType;
  cb.reserved = 0;
  cb.callback = isDefaultProfile(profileType) ? &updateWifiStatus : &updateWqeProfileStatus;
  cb.context = this;
  return cb;
}

void WifiMeasurementRequest::CasProxy::formatClientName(char (&name)[10]) const {
  // The engine knows modem profiles 4..35 as profile1..profile32, which always fit its
  // 10-byte name; the wider scratch only keeps the compiler sure of that.
  char text[24] = {};
  std::snprintf(text, sizeof text, "profile%d", static_cast<int>(profileType) - 3);
  std::memcpy(name, text, sizeof name - 1);
  name[sizeof name - 1] = '\0';
}

bool WifiMeasurementRequest::CasProxy::startMeasurement() {
  if (cas == nullptr) {
    MDX_LOG(1, "CAS is NULL");
    return false;
  }
  CasClientCb cb = clientCb();
  if (isDefaultProfile(profileType)) {
    cas->registerForWifiNotification(cb, nullptr, overrides, operatorName, &updateWifiStatus, this);
  } else {
    char name[10];
    formatClientName(name);
    cas->registerForWifiNotification(cb, name, overrides, operatorName, &updateWqeProfileStatus,
                                     this);
  }
  return true;
}

void WifiMeasurementRequest::CasProxy::stopMeasurement() {
  // Without an engine there is nothing to deregister from, but the profile still goes.
  if (cas != nullptr) {
    const CasClientCb cb = clientCb();
    if (isDefaultProfile(profileType)) {
      cas->deregisterForWlanNetConfigChange(cb);
    } else {
      char name[10];
      formatClientName(name);
      cas->deregisterForNoninternetService(cb, name, operatorName, overrides, this);
    }
  }
  MDX_LOG(2, "Request deregistered for profile: %d", static_cast<int>(profileType));
}

void WifiMeasurementRequest::CasProxy::updateWifiStateChangeCb(bool on, void* context) {
  if (context == nullptr) {
    MDX_LOG(4, "CasProxy is null");
    return;
  }
  auto* self = static_cast<CasProxy*>(context);
  MDX_LOG(0, "Wifi State: %d", static_cast<int>(on));
  dsd_notify_data_settings_req_msg_v01 msg;
  std::memset(&msg, 0, sizeof msg);
  msg.wifi_state_valid = 1;
  msg.wifi_state = on ? 1 : 0;
  self->client->sendNotifyDataSettings(msg);
}

void WifiMeasurementRequest::CasProxy::updateWqeProfileStatus(void* config, void* context) {
  if (config == nullptr || context == nullptr) {
    MDX_LOG(3, "CasProxy/CasWlanNetConfigType is null");
    return;
  }
  auto* self = static_cast<CasProxy*>(context);
  const auto* net = static_cast<const CasWlanNetConfigType*>(config);
  dsd_set_wqe_profile_quality_status_req_msg_v01 msg;
  std::memset(&msg, 0, sizeof msg);
  msg.profile_type = static_cast<uint32_t>(self->profileType);
  msg.quality_status_valid = 1;
  msg.reason_valid = 1;
  if (net->enabled != 0) {
    msg.quality_status = 0;
    msg.reason = 0;
  } else {
    msg.quality_status = 1;
    msg.reason = getMdxStatusCode(static_cast<NexWQEResultReason>(net->resultReason));
  }
  self->client->sendWqeProfileStatus(msg);
}

void WifiMeasurementRequest::CasProxy::updateWifiStatus(void* config, void* context) {
  if (config == nullptr || context == nullptr) {
    MDX_LOG(4, "CasProxy/CasWlanNetConfigType is null");
    return;
  }
  auto* self = static_cast<CasProxy*>(context);
  const auto* net = static_cast<const CasWlanNetConfigType*>(config);
  dsd_wlan_available_req_msg_v01 msg;
  std::memset(&msg, 0, sizeof msg);
  msg.connection_type_valid = 1;
  switch (net->netType) {
    case CAS_NET_TYPE_STATION:
    case CAS_NET_TYPE_STATION_ALT:
      msg.connection_type = DSD_WLAN_CONN_STATION_V01;
      self->buildSTAInfo(config, &msg);
      MDX_LOG(2, "sta info message got built and sending wqe profile");
      self->sendStationQualityStatus(*net);
      break;
    case CAS_NET_TYPE_SOFTAP:
      msg.connection_type = DSD_WLAN_CONN_SOFTAP_V01;
      MDX_LOG(2, "getting hostapd info");
      self->buildSoftAPInfo(config, &msg);
      break;
    case CAS_NET_TYPE_P2P:
      self->buildP2pInfo(config, &msg);
      break;
    default:
      // An unknown kind still tells the modem something changed.
      break;
  }
  self->client->sendWifiAvailableStatus(msg);
}

void WifiMeasurementRequest::CasProxy::sendDefaultWqeProfileStatus(CasProxy* proxy, void* config) {
  if (proxy == nullptr || config == nullptr) {
    MDX_LOG(3, "self pointer or CasWlanNetConfigType is null");
    return;
  }
  proxy->sendStationQualityStatus(*static_cast<const CasWlanNetConfigType*>(config));
}

void WifiMeasurementRequest::CasProxy::sendStationQualityStatus(const CasWlanNetConfigType& net) {
  dsd_set_wqe_profile_quality_status_req_msg_v01 msg;
  std::memset(&msg, 0, sizeof msg);
  msg.profile_type = static_cast<uint32_t>(profileType);
  msg.quality_status_valid = 1;
  msg.reason_valid = 0;
  msg.reason = 0;
  // Quality is met only on a connected link with the flag set and full connectivity.
  const bool good =
      net.connState == kConnStateConnected && net.linkFlag != 0 && net.fullConnection != 0;
  msg.quality_status = good ? 0 : 1;
  client->sendWqeProfileStatus(msg);
}

uint32_t WifiMeasurementRequest::CasProxy::getMdxStatusCode(NexWQEResultReason reason) {
  const int32_t r = static_cast<int32_t>(reason);
  if (r < kFirstMappedReason || r > kLastMappedReason) return 0;
  return kModemReasonCodes[r - kFirstMappedReason];
}

void WifiMeasurementRequest::CasProxy::sendReport() { MDX_LOG(0, "%s:%d", "sendReport", __LINE__); }
