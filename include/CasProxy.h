#pragma once

#include <cstdint>
#include <string>

#include "ProfileInfoType.h"
#include "WifiMeasurementRequest.h"
#include "dsd/dsd_messages_v01.h"
#include "nex/NexCde.h"

// The worker behind a WQE profile: registers it with the decision engine and relays the
// engine's verdicts to the modem. For the default profile (0) it also turns every WLAN
// configuration change into an availability record and Wi-Fi on/off into data settings.
class WifiMeasurementRequest::CasProxy : public WifiMeasurementRequest::MeasurementImpl {
 public:
  CasProxy(NexMdxDsd& client, NexCom& com, NexTimer& timer, NexSupplicantWrapper& supplicant,
           WifiInfoProvider& infoProvider, ProfileInfoType profile, CompletionCallback callback);
  ~CasProxy() override;

  bool startMeasurement() override;
  void stopMeasurement() override;

  static void updateWqeProfileStatus(void* config, void* context);
  static void updateWifiStatus(void* config, void* context);
  static void updateWifiStateChangeCb(bool on, void* context);
  static void sendDefaultWqeProfileStatus(CasProxy* proxy, void* config);
  static uint32_t getMdxStatusCode(NexWQEResultReason reason);
  void sendReport();

  void buildSTAInfo(void* config, dsd_wlan_available_req_msg_v01* msg);
  void buildSoftAPInfo(void* config, dsd_wlan_available_req_msg_v01* msg);
  void buildP2pInfo(void* config, dsd_wlan_available_req_msg_v01* msg);

  static int clientId;  // never used

 private:
  // The registration identity; rebuilt for every call, the same each time.
  CasClientCb clientCb();
  void formatClientName(char (&name)[10]) const;
  void sendStationQualityStatus(const CasWlanNetConfigType& net);
  static void clearSsidCache(char (&cache)[33]);

  NexMdxDsd* client;
  WifiInfoProvider* provider;
  dsd_wqe_profile_type_enum_v01 profileType;
  QualityClientOverrides overrides;
  std::string operatorName;
  NexCdeCas* cas = nullptr;
  char cachedSsid[33] = {};     // last station or soft AP name; shared by both
  char p2pCachedSsid[33] = {};  // last P2P group name
};
