#pragma once

#include <cstdint>
#include <string>

#include "dsd/dsd_messages_v01.h"

// A WQE profile as the manager hands it to its quality request.
struct ProfileInfoType {
  dsd_wqe_profile_type_enum_v01 profileType;
  int16_t rssiHighOverride;  // 1 when the modem gave none
  int16_t rssiLowOverride;   // 1 when the modem gave none
  std::string operatorName;  // "ROW" without an ICCID and for the default profile
};
