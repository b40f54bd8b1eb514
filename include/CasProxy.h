#pragma once

#include <cstdint>
#include <string>

#include "ProfileInfoType.h"
#include "WifiMeasurementRequest.h"
#include "dsd/dsd_messages_v01.h"
#include "nex/NexCde.h"

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
  NexMdxDsd* client;
  WifiInfoProvider* provider;
  dsd_wqe_profile_type_enum_v01 profileType;
  QualityClientOverrides overrides;
  std::string operatorName;
  NexCdeCas* cas = nullptr;
  char cachedSsid[33] = {};
  char p2pCachedSsid[33] = {};
};
