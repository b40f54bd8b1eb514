#include "MdxWifiClientMgr.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "Log.h"
#include "WifiInfoProvider.h"
#include "WifiMeasurementRequest.h"
#include "WifiParser.h"
#include "nex/OperatorLookup.h"

namespace {

const std::string kLookupError = "ERROR";
const char kDefaultOperatorName[] = "ROW";
constexpr int32_t kProfileInitialised = 1;
constexpr int32_t kProfileStarted = 2;

// Profile p (4..35) is selected by mask bit p + 28; bits 0..31 select nothing.
bool profileBitSet(uint64_t mask, int32_t profile) {
  return ((mask >> (profile + 28)) & 1u) != 0;
}

// Every raw request front is made here, and only here. One whose start is refused leaves
// the table without being freed, by design: the leak checker's suppression names this
// function, so that no other allocation of the start path is hidden with it.
__attribute__((noinline)) WifiMeasurementRequest* newRawRequest(
    NexMdxDsd& client, NexCom& com, NexTimer& timer, NexSupplicantWrapper& supplicant,
    WifiInfoProvider& infoProvider, dsd_start_wifi_meas_ind_msg_v01& ind,
    WifiMeasurementRequest::CompletionCallback callback) {
  return new WifiMeasurementRequest(client, com, timer, supplicant, infoProvider, ind, callback);
}

}  // namespace

const char* default_operator = kDefaultOperatorName;

MdxWifiClientMgr* MdxWifiClientMgr::instPtr = nullptr;

extern "C" MdxWifiClientMgr* init() { return MdxWifiClientMgr::getInstance(); }

bool WifiMeasurementRequestKey::operator<(const WifiMeasurementRequestKey& other) const {
  const uintptr_t mine = reinterpret_cast<uintptr_t>(client);
  const uintptr_t theirs = reinterpret_cast<uintptr_t>(other.client);
  if (mine != theirs) return mine < theirs;
  if (measurement_id != other.measurement_id) return measurement_id < other.measurement_id;
  return profile_type < other.profile_type;
}

MdxWifiClientMgr* MdxWifiClientMgr::getInstance() {
  if (instPtr == nullptr) instPtr = new MdxWifiClientMgr();
  return instPtr;
}

// Frees the table only: the requests it points to stay alive, and instPtr is left as is.
MdxWifiClientMgr::~MdxWifiClientMgr() = default;

void MdxWifiClientMgr::initializeLinks(NexCom* newCom, NexTimer* newTimer,
                                       NexSupplicantWrapper* newSupplicant) {
  com = newCom;
  timer = newTimer;
  supplicant = newSupplicant;
  infoProvider = WifiInfoProvider::getInstance();
  if (infoProvider != nullptr) infoProvider->initializeLinks(newSupplicant);
  MDX_LOG(1, "MdxWifiClientMgr::initializeLinks");
}

bool MdxWifiClientMgr::startWifiMeasurement(NexMdxDsd* client,
                                            dsd_start_wifi_meas_ind_msg_v01& ind) {
  MDX_LOG(1, "%s:%d %s", __FILE__, __LINE__, "startWifiMeasurement");
  const WifiMeasurementRequestKey key{client, ind.wifi_meas_id, kRawRequestProfileType};
  if (requestTable.count(key) != 0) {
    MDX_LOG(3, "Measurement ID: %d already exists", static_cast<int>(ind.wifi_meas_id));
    return false;
  }
  WifiMeasurementRequest* request = newRawRequest(*client, *com, *timer, *supplicant, *infoProvider,
                                                  ind, &MdxWifiClientMgr::deleteClient);
  requestTable.insert({key, WifiMeasurementRequestInfo{0, request}});
  if (request->startMeasurement()) return true;
  // A refused request leaves the table but is deliberately neither stopped nor freed.
  requestTable.erase(key);
  return false;
}

void MdxWifiClientMgr::stopWifiMeasurement(NexMdxDsd* client,
                                           dsd_stop_wifi_meas_ind_msg_v01& ind) {
  MDX_LOG(1, "%s:%d %s", __FILE__, __LINE__, "stopWifiMeasurement");
  auto it = requestTable.find({client, ind.wifi_meas_id, kRawRequestProfileType});
  if (it == requestTable.end()) return;
  WifiMeasurementRequest* request = it->second.request;
  requestTable.erase(it);
  if (request != nullptr) {
    request->stopMeasurement();
    delete request;
  }
}

void MdxWifiClientMgr::stopAllRequests(NexMdxDsd* client) {
  for (auto it = requestTable.begin(); it != requestTable.end();) {
    auto next = std::next(it);
    if (it->first.client == client && it->first.profile_type != DSD_WQE_PROFILE_DEFAULT_V01) {
      WifiMeasurementRequest* request = it->second.request;
      if (request != nullptr) {
        request->stopMeasurement();
        delete request;
      }
      requestTable.erase(it);
    }
    it = next;
  }
}

void MdxWifiClientMgr::deleteClient(void* /*context*/, void* /*data*/) {}

void MdxWifiClientMgr::wqeProfileInit(NexMdxDsd* client, dsd_wqe_profile_init_ind_msg_v01& ind) {
  if (ind.profile_type - 4u >= 32u) {
    MDX_LOG(4, "Invalid profile number %d", static_cast<int>(ind.profile_type));
    return;
  }
  const int32_t profile = static_cast<int32_t>(ind.profile_type);
  if (requestTable.count({client, 0, profile}) != 0) {
    MDX_LOG(3, "Profile %llu already initialized/started",
            static_cast<unsigned long long>(profile));
    return;
  }
  ProfileInfoType info;
  info.profileType = static_cast<dsd_wqe_profile_type_enum_v01>(profile);
  info.rssiHighOverride = ind.rssi_high_override_valid ? ind.rssi_high_override : int16_t{1};
  info.rssiLowOverride = ind.rssi_low_override_valid ? ind.rssi_low_override : int16_t{1};
  if (ind.iccid_valid) {
    // The digit text lives in a shared static buffer: take a copy before the lookup.
    const std::string iccid =
        WifiParser::BCDToString(ind.iccid, static_cast<uint8_t>(ind.iccid_len & 0xFFu));
    const std::string name = OperatorLookup::lookupOperator(iccid);
    if (name.size() == kLookupError.size() &&
        std::memcmp(name.data(), kLookupError.data(), name.size()) == 0) {
      MDX_LOG(4, "Invalid Naming Convention for operator");
      return;
    }
    info.operatorName = name;
    MDX_LOG(1, "String ICCID %s, String operator %s", iccid.c_str(), name.c_str());
  } else {
    info.operatorName = kDefaultOperatorName;
  }
  createWqeProfile(client, info);
}

bool MdxWifiClientMgr::createWqeProfile(NexMdxDsd* client, ProfileInfoType info) {
  const int32_t profile = info.profileType;
  WifiMeasurementRequest* request =
      new WifiMeasurementRequest(*client, *com, *timer, *supplicant, *infoProvider,
                                 std::move(info), &MdxWifiClientMgr::deleteClient);
  // First wins: on a duplicate key the new request is neither kept nor freed.
  requestTable.insert(
      {{client, 0, profile}, WifiMeasurementRequestInfo{kProfileInitialised, request}});
  return true;
}

void MdxWifiClientMgr::setWqeProfile(NexMdxDsd* client, dsd_wqe_profile_type_ind_msg_v01& ind) {
  const uint64_t mask = ind.profile_mask;
  MDX_LOG(2, "setWqeProfile %llu ", static_cast<unsigned long long>(mask));
  for (int32_t profile = DSD_WQE_PROFILE_FIRST_V01; profile <= DSD_WQE_PROFILE_LAST_V01;
       ++profile) {
    auto it = requestTable.find({client, 0, profile});
    if (profileBitSet(mask, profile)) {
      if (it == requestTable.end()) {
        // Deliberately ends the whole operation: higher profiles are not looked at.
        MDX_LOG(4, "Profile %llu not yet initialized", static_cast<unsigned long long>(profile));
        return;
      }
      if (it->second.state == kProfileInitialised) {
        MDX_LOG(2, "Profile %d started ", static_cast<int>(profile));
        startWqeProfile(client, static_cast<dsd_wqe_profile_type_enum_v01>(profile));
      }
    } else if (it != requestTable.end()) {
      MDX_LOG(2, "Profile %d stopped ", static_cast<int>(profile));
      WifiMeasurementRequest* request = it->second.request;
      requestTable.erase(it);
      if (request != nullptr) {
        request->stopMeasurement();
        delete request;
      }
    }
  }
}

bool MdxWifiClientMgr::startWqeProfile(NexMdxDsd* client, dsd_wqe_profile_type_enum_v01 profile) {
  const WifiMeasurementRequestKey key{client, 0, profile};
  WifiMeasurementRequestInfo& entry = requestTable[key];
  WifiMeasurementRequest* request = entry.request;
  if (request == nullptr) {
    MDX_LOG(4, "Unable to start the request for profile %llu",
            static_cast<unsigned long long>(profile));
    requestTable.erase(key);
    return false;
  }
  if (request->startMeasurement()) {
    entry.state = kProfileStarted;
    return true;
  }
  MDX_LOG(4, "Unable to start the request for profile %llu",
          static_cast<unsigned long long>(profile));
  requestTable.erase(key);
  delete request;
  return false;
}

void MdxWifiClientMgr::destroyWqeProfile(NexMdxDsd* client, dsd_wqe_profile_type_enum_v01 profile) {
  const WifiMeasurementRequestKey key{client, 0, profile};
  WifiMeasurementRequest* request = requestTable[key].request;
  requestTable.erase(key);
  if (request != nullptr) {
    request->stopMeasurement();
    delete request;
  }
}

void MdxWifiClientMgr::createDefaultProfile(NexMdxDsd* client) {
  ProfileInfoType info;
  info.profileType = DSD_WQE_PROFILE_DEFAULT_V01;
  info.rssiHighOverride = 1;
  info.rssiLowOverride = 1;
  info.operatorName = kDefaultOperatorName;
  createWqeProfile(client, info);
  startWqeProfile(client, DSD_WQE_PROFILE_DEFAULT_V01);
}
