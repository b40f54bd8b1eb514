#include "CasProxy.h"

#include "Log.h"

int WifiMeasurementRequest::CasProxy::clientId = 0;

WifiMeasurementRequest::CasProxy::CasProxy(NexMdxDsd& client, NexCom& /*com*/,
                                           NexTimer& /*timer*/,
                                           NexSupplicantWrapper& /*supplicant*/,
                                           WifiInfoProvider& infoProvider,
                                           ProfileInfoType profile,
                                           CompletionCallback /*callback*/)
    : client(&client),
      provider(&infoProvider),
      profileType(profile.profileType),
      overrides{profile.rssiHighOverride, profile.rssiLowOverride},
      operatorName(profile.operatorName) {
  MDX_LOG(2, "CasProxy Xtor for profile %d RSSI high override %d RSSI Low override %d",
          static_cast<int>(profileType), static_cast<int>(overrides.rssiHighOverride),
          static_cast<int>(overrides.rssiLowOverride));
}

WifiMeasurementRequest::CasProxy::~CasProxy() { MDX_LOG(2, "CasProxy D-Xtor"); }

bool WifiMeasurementRequest::CasProxy::startMeasurement() {
  if (cas == nullptr) {
    MDX_LOG(1, "CAS is NULL");
    return false;
  }
  return true;
}

void WifiMeasurementRequest::CasProxy::stopMeasurement() {
  MDX_LOG(2, "Request deregistered for profile: %d", static_cast<int>(profileType));
}
