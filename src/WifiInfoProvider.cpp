#include "WifiInfoProvider.h"

#include "Log.h"
#include "nex/NexSupplicantWrapper.h"

WifiInfoProvider* WifiInfoProvider::instPtr = nullptr;

WifiInfoProvider* WifiInfoProvider::getInstance() {
  if (instPtr == nullptr) instPtr = new WifiInfoProvider();
  return instPtr;
}

void WifiInfoProvider::initializeLinks(NexSupplicantWrapper* newSupplicant) {
  supplicant = newSupplicant;
  if (supplicant != nullptr) supplicant->registerForScanReadyCb(&scanResultsReadyCb, this);
  MDX_LOG(1, "WifiInfoProvider intialize done");
}

void WifiInfoProvider::scanResultsReadyCb(void* /*data*/, void* /*context*/) {
  MDX_LOG(1, "WifiInfoProvider scanResultsReadyCb called");
}

void WifiInfoProvider::cleanUp() {
  callback = nullptr;
  callbackContext = nullptr;
}
