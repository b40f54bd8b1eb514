#include "WifiMeasurementRequest.h"

#include <utility>

#include "CasProxy.h"
#include "Log.h"
#include "RawMeasurement.h"

WifiMeasurementRequest::WifiMeasurementRequest(NexMdxDsd& client, NexCom& com, NexTimer& timer,
                                               NexSupplicantWrapper& supplicant,
                                               WifiInfoProvider& infoProvider,
                                               dsd_start_wifi_meas_ind_msg_v01& ind,
                                               CompletionCallback callback)
    : client(&client), timer(&timer), supplicant(&supplicant) {
  MDX_LOG(2, "WifiMeasurementRequest Xtor Raw");
  impl = new RawMeasurement(client, com, timer, supplicant, infoProvider, ind, callback);
}

WifiMeasurementRequest::WifiMeasurementRequest(NexMdxDsd& client, NexCom& com, NexTimer& timer,
                                               NexSupplicantWrapper& supplicant,
                                               WifiInfoProvider& infoProvider,
                                               ProfileInfoType profile,
                                               CompletionCallback callback)
    : client(&client), timer(&timer), supplicant(&supplicant) {
  MDX_LOG(2, "WifiMeasurementRequest Xtor Quality");
  ProfileInfoType copy = profile;
  impl = new CasProxy(client, com, timer, supplicant, infoProvider, std::move(copy), callback);
}

// The worker outlives its front by design: the owner has stopped it already.
WifiMeasurementRequest::~WifiMeasurementRequest() { MDX_LOG(2, "WifiMeasurementRequest D-Xtor"); }

bool WifiMeasurementRequest::startMeasurement() {
  MDX_LOG(0, "%s:%d", "startMeasurement", __LINE__);
  return impl->startMeasurement();
}

void WifiMeasurementRequest::stopMeasurement() {
  MDX_LOG(0, "%s:%d", "stopMeasurement", __LINE__);
  impl->stopMeasurement();
}
