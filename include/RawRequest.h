// The modem's start indication for a raw measurement, decoded into a plain value: whether
// the request may start, its periods and weight, its mode, one scan filter per network and
// the filter texts for the supplicant. Decoding needs nothing from the host but its logger
// (lines are dropped when none is set), so it is tested on indications alone.
#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "WifiScanResult.h"
#include "dsd/dsd_messages_v01.h"

struct RawRequest {
  // False when the indication asks for nothing, or not for RSSI: the measurement refuses
  // to start, and its networks are left undecoded (no filters, no lines about them).
  bool configParamOk = false;
  uint32_t measurementId = 0;
  // The periods go to the host timer as given, in its unit, even 0 or negative. The weight
  // of the previous average is taken only from inside (0, 1). Each default stands where
  // the indication leaves its value out, or gives a weight outside that range.
  int32_t samplingInterval = 2;
  int32_t reportingInterval = 5;
  float alpha = 0.5f;
  // Scan reports, unless the first network's SSID is all zeros: then reports of the
  // connected link with its averaged RSSI.
  bool isScanReport = true;
  // One filter per network entry, in entry order.
  std::list<MeasurementRequestReport> reports;
  // The BSSIDs and the channel codes of the last network entry, comma-separated; a BSSID
  // without codes leaves an empty item among the codes.
  std::string bssidFilter;
  std::string channelFilter;
};

// Decodes `indication`, logging what it finds in the order the modem team reads in the
// trace: the configuration, then (only when configParamOk) each network and the filters.
// Counts beyond the record's arrays are cut to the arrays.
RawRequest decodeRawRequest(const dsd_start_wifi_meas_ind_msg_v01& indication);

// True when all 32 bytes of the SSID field are 0xFF: any network.
bool isAnySsid(const dsd_wifi_ident_ssid_type_v01& ssid);

// The SSID field as text, at most its 32 bytes: it is NUL-terminated only when shorter.
std::string ssidFieldText(const dsd_wifi_ident_ssid_type_v01& ssid);
