#pragma once

#include <string>

#include "nex/NexApi.h"

class NEX_API OperatorLookup {
 public:
  // The operator whose SIM carries this ICCID (digit text), or "ERROR".
  static std::string lookupOperator(const std::string& iccid);
};
