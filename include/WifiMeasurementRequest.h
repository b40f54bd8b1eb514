#pragma once

#include "ProfileInfoType.h"
#include "dsd/dsd_messages_v01.h"

class NexCom;
class NexMdxDsd;
class NexSupplicantWrapper;
class NexTimer;
class WifiInfoProvider;

// The request the manager files in its table: a thin front that creates its worker (a
// raw measurement or a quality proxy) and forwards start and stop to it. The worker is
// deliberately never freed by the front.
class WifiMeasurementRequest {
 public:
  class MeasurementImpl {
   public:
    virtual bool startMeasurement() = 0;
    virtual void stopMeasurement() = 0;
    virtual ~MeasurementImpl() = default;
  };
  class RawMeasurement;
  class CasProxy;

  using CompletionCallback = void (*)(void*, void*);

  // "Raw": a raw Wi-Fi measurement for the modem's start indication.
  WifiMeasurementRequest(NexMdxDsd& client, NexCom& com, NexTimer& timer,
                         NexSupplicantWrapper& supplicant, WifiInfoProvider& infoProvider,
                         dsd_start_wifi_meas_ind_msg_v01& ind, CompletionCallback callback);
  // "Quality": a WQE profile registered with the decision engine.
  WifiMeasurementRequest(NexMdxDsd& client, NexCom& com, NexTimer& timer,
                         NexSupplicantWrapper& supplicant, WifiInfoProvider& infoProvider,
                         ProfileInfoType profile, CompletionCallback callback);
  ~WifiMeasurementRequest();

  WifiMeasurementRequest(const WifiMeasurementRequest&) = delete;
  WifiMeasurementRequest& operator=(const WifiMeasurementRequest&) = delete;

  bool startMeasurement();
  void stopMeasurement();

  MeasurementImpl* worker() const { return impl; }

 private:
  NexMdxDsd* client;
  NexTimer* timer;
  NexSupplicantWrapper* supplicant;
  MeasurementImpl* impl;
};
