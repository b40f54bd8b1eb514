#pragma once

#include "dsd/dsd_messages_v01.h"
#include "nex/NexCom.h"
#include "nex/NexMdxDsd.h"
#include "nex/NexSupplicantWrapper.h"
#include "nex/NexTimer.h"

namespace nexhost {

// The host's own view of the object the plug-in's init() returns: nine virtual slots, in
// the order the host was built against. The host never sees the plug-in's headers.
class ClientManager {
 public:
  virtual ~ClientManager() = default;  // slots 1 and 2
  virtual bool startWifiMeasurement(NexMdxDsd* client, dsd_start_wifi_meas_ind_msg_v01& ind) = 0;
  virtual void wqeProfileInit(NexMdxDsd* client, dsd_wqe_profile_init_ind_msg_v01& ind) = 0;
  virtual void setWqeProfile(NexMdxDsd* client, dsd_wqe_profile_type_ind_msg_v01& ind) = 0;
  virtual void stopWifiMeasurement(NexMdxDsd* client, dsd_stop_wifi_meas_ind_msg_v01& ind) = 0;
  virtual void initializeLinks(NexCom* com, NexTimer* timer, NexSupplicantWrapper* supplicant) = 0;
  virtual void createDefaultProfile(NexMdxDsd* client) = 0;
  virtual void stopAllRequests(NexMdxDsd* client) = 0;
};

using InitFunction = ClientManager* (*)();

}  // namespace nexhost
