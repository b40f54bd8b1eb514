#pragma once

#include <cstdint>
#include <map>

#include "ProfileInfoType.h"
#include "dsd/dsd_messages_v01.h"

class NexCom;
class NexMdxDsd;
class NexSupplicantWrapper;
class NexTimer;
class WifiInfoProvider;
class WifiMeasurementRequest;

// Raw measurement entries use this profile type; WQE profile entries use their number.
constexpr int32_t kRawRequestProfileType = INT32_MAX;

struct WifiMeasurementRequestKey {
  NexMdxDsd* client;
  uint32_t measurement_id;  // 0 for WQE profiles
  int32_t profile_type;

  bool operator<(const WifiMeasurementRequestKey& other) const;
};

struct WifiMeasurementRequestInfo {
  int32_t state;  // raw: 0; profiles: 1 initialised, 2 started
  WifiMeasurementRequest* request;
};

using WifiRequestTable = std::map<WifiMeasurementRequestKey, WifiMeasurementRequestInfo>;

// The host-facing singleton. The order of the virtual operations is the interface the
// host was built against: never reorder, insert or remove one.
class MdxWifiClientMgr {
 public:
  static MdxWifiClientMgr* getInstance();

  virtual ~MdxWifiClientMgr();
  virtual bool startWifiMeasurement(NexMdxDsd* client, dsd_start_wifi_meas_ind_msg_v01& ind);
  virtual void wqeProfileInit(NexMdxDsd* client, dsd_wqe_profile_init_ind_msg_v01& ind);
  virtual void setWqeProfile(NexMdxDsd* client, dsd_wqe_profile_type_ind_msg_v01& ind);
  virtual void stopWifiMeasurement(NexMdxDsd* client, dsd_stop_wifi_meas_ind_msg_v01& ind);
  virtual void initializeLinks(NexCom* com, NexTimer* timer, NexSupplicantWrapper* supplicant);
  virtual void createDefaultProfile(NexMdxDsd* client);
  virtual void stopAllRequests(NexMdxDsd* client);

  bool createWqeProfile(NexMdxDsd* client, ProfileInfoType info);
  bool startWqeProfile(NexMdxDsd* client, dsd_wqe_profile_type_enum_v01 profile);
  void destroyWqeProfile(NexMdxDsd* client, dsd_wqe_profile_type_enum_v01 profile);

  // Completion callback handed to every request; deliberately does nothing.
  static void deleteClient(void* context, void* data);

  const WifiRequestTable& requests() const { return requestTable; }

  MdxWifiClientMgr() = default;
  MdxWifiClientMgr(const MdxWifiClientMgr&) = delete;
  MdxWifiClientMgr& operator=(const MdxWifiClientMgr&) = delete;

 private:
  static MdxWifiClientMgr* instPtr;

  WifiRequestTable requestTable;
  NexCom* com = nullptr;
  NexTimer* timer = nullptr;
  NexSupplicantWrapper* supplicant = nullptr;
  WifiInfoProvider* infoProvider = nullptr;
};

// The plug-in's two exports.
extern "C" __attribute__((visibility("default"))) MdxWifiClientMgr* init();
extern "C" __attribute__((visibility("default"))) const char* default_operator;
