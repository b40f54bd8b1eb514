#include "WifiInfoProvider.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "HostapdWrapper.h"
#include "Log.h"
#include "WifiParser.h"
#include "nex/NexSupplicantWrapper.h"

namespace {

constexpr unsigned int kReplyBufferSize = 4096;

// A reply buffer with room for 4095 characters and the terminator. It is not zeroed: a
// query costs the host's reply, not 4 KiB of zeros. Whatever the host does, the text ends
// where the host says it wrote up to, and a failed command reads as an empty text.
struct ReplyBuffer {
  char text[kReplyBufferSize];
  unsigned int length = kReplyBufferSize - 1;
  ReplyBuffer() { text[0] = '\0'; }
  bool end(int ok) {
    text[ok == 0 ? 0 : std::min(length, kReplyBufferSize - 1)] = '\0';
    return ok != 0;
  }
};

// The host takes the command by value: a command built for one query is handed over, not
// copied.
bool sendTo(NexSupplicantWrapper* supplicant, std::string command, ReplyBuffer& reply) {
  return reply.end(
      supplicant->sendCommandToSupplicant(std::move(command), reply.text, &reply.length));
}

bool sendTo(NexSupplicantWrapper* supplicant, std::string command, ReplyBuffer& reply,
            supplicantType_t type) {
  return reply.end(
      supplicant->sendCommandToSupplicant(std::move(command), reply.text, &reply.length, type));
}

WifiStatus unknownStationStatus() {
  WifiStatus status;
  status.wifiMode = -1;
  return status;
}

}  // namespace

WifiInfoProvider* WifiInfoProvider::instPtr = nullptr;

WifiInfoProvider* WifiInfoProvider::getInstance() {
  if (instPtr == nullptr) instPtr = new WifiInfoProvider();
  return instPtr;
}

void WifiInfoProvider::initializeLinks(NexSupplicantWrapper* newSupplicant) {
  supplicant = newSupplicant;
  parser = WifiParser::getInstance();
  if (supplicant != nullptr) supplicant->registerForScanReadyCb(&scanResultsReadyCb, this);
  hostapd = HostapdWrapper::getInstance();
  if (hostapd == nullptr) MDX_LOG(4, "hostapd instance is Null");
  MDX_LOG(1, "WifiInfoProvider intialize done");
}

void WifiInfoProvider::startScan(std::list<MeasurementRequestReport>& requestReports,
                                 std::string freqFilter, std::string bssidFilter,
                                 unsigned int /*requestNumber*/, ScanReportCallback newCallback,
                                 void* context) {
  callback = newCallback;
  callbackContext = context;
  if (&requestReports != &reports) reports = requestReports;
  MDX_LOG(1, "LTEU callback startScan called");
  if (supplicant == nullptr) {
    MDX_LOG(3, "SupplicantWrapper instance is null");
    return;
  }
  supplicant->setBssidFileterForScan(bssidFilter);
  supplicant->setFrequencyFilterForScan(freqFilter);
  // A refused scan simply never reports ready.
  ReplyBuffer reply;
  sendTo(supplicant, NexSupplicantWrapper::scanCmd, reply);
}

void WifiInfoProvider::scanResultsReadyCb(void* /*data*/, void* context) {
  MDX_LOG(1, "WifiInfoProvider scanResultsReadyCb called");
  if (context == nullptr) return;
  auto* self = static_cast<WifiInfoProvider*>(context);

  // A failed command leaves the zeroed buffer: parsed as an empty listing.
  ReplyBuffer reply;
  if (self->supplicant != nullptr)
    sendTo(self->supplicant, NexSupplicantWrapper::scanResultCmd, reply);
  // One store, refilled scan after scan: once it has grown to a scan's size, a scan costs
  // it no allocation.
  WifiScanResult& result = self->scanStore;
  if (self->parser != nullptr) {
    self->parser->parseScanData(reply.text, result);
  } else {
    result.clear();
  }
  result.filterData(self->reports);
  addBssLoadInfoToFilterData(self, result);
  if (self->callback != nullptr && self->callbackContext != nullptr) {
    self->callback(&result, self->callbackContext);
  }
}

void WifiInfoProvider::addBssLoadInfoToFilterData(WifiInfoProvider* provider,
                                                  WifiScanResult& result) {
  if (provider->reports.empty()) return;
  // Only the first request decides, by design.
  const bool bssLoadRequested = provider->reports.front().bssLoadRequested;
  MDX_LOG(4, "scanResultsReadyCb isBssLoadMask: %d", static_cast<int>(bssLoadRequested));
  if (!bssLoadRequested) return;
  for (auto& [ssid, bssids] : result.filteredBySsid) {
    for (SelectedBss& info : bssids) {
      info.bssLoad = provider->getBssLoadInfo(info.bssid);
      info.bssLoadValid = info.bssLoad.channelUtilization < kBssLoadUnknown;
    }
  }
}

void WifiInfoProvider::cleanUp() {
  callback = nullptr;
  callbackContext = nullptr;
}

WifiStatus WifiInfoProvider::getSTAStatus() {
  WifiStatus status = unknownStationStatus();
  if (supplicant == nullptr) {
    MDX_LOG(3, "SupplicantWrapper instance is null");
    return status;
  }
  ReplyBuffer signalPoll;
  if (!sendTo(supplicant, NexSupplicantWrapper::signalPollCmd, signalPoll)) {
    MDX_LOG(1, "Signal Poll command returned error");
    return status;
  }
  if (parser != nullptr) parser->parseSignalPollCmdData(signalPoll.text, status);

  ReplyBuffer linkStatus;
  if (!sendTo(supplicant, NexSupplicantWrapper::statusCmd, linkStatus)) {
    MDX_LOG(1, "Status command returned error");
    return status;
  }
  if (parser != nullptr) parser->parseStatusCmdData(linkStatus.text, status);
  if (status.bssid.empty()) return status;  // not associated

  ReplyBuffer bss;
  if (!sendTo(supplicant, "BSS " + status.bssid, bss)) {
    MDX_LOG(1, "Bss command returned error");
    return status;
  }
  if (parser != nullptr) parser->parseBssCmdWifiInfo(bss.text, status);
  return status;
}

WifiStatus WifiInfoProvider::getP2pStatus() {
  WifiStatus status;  // wifiMode stays 0 here, unlike the station query
  if (supplicant == nullptr) {
    MDX_LOG(3, "SupplicantWrapper instance is null");
    return status;
  }
  if (supplicant->connectToSupplicant(SUPPLICANT_P2P) == 0) {
    MDX_LOG(1, "Error: connectToSupplicant error");
    supplicant->disconnectFromSupplicant(SUPPLICANT_P2P);
    return status;
  }
  ReplyBuffer reply;
  if (!sendTo(supplicant, NexSupplicantWrapper::statusCmd, reply, SUPPLICANT_P2P)) {
    MDX_LOG(1, "Error: sendCommandToSupplicant error");
  } else {
    if (parser != nullptr) parser->parseStatusCmdData(reply.text, status);
    MDX_LOG(0, "Response: BSSID: %s, Frequency: %d, SSID: %s", status.bssid.c_str(),
            static_cast<int>(status.frequency), status.ssid.c_str());
  }
  supplicant->disconnectFromSupplicant(SUPPLICANT_P2P);
  return status;
}

WifiStatus WifiInfoProvider::getAPStatus() {
  WifiStatus status;
  if (hostapd == nullptr) {
    MDX_LOG(3, "HostapdWrapper instance is null");
    return status;
  }
  std::string response;
  if (!hostapd->execHostapdCommand(HostapdWrapper::statusCmd, response)) {
    MDX_LOG(1, "Status command returned error");
    return status;
  }
  if (parser != nullptr) parser->parseApStatusCmdData(response.c_str(), status);
  MDX_LOG(0, "Response: BSSID: %s, Frequency: %d, SSID: %s", status.bssid.c_str(),
          static_cast<int>(status.frequency), status.ssid.c_str());
  return status;
}

BssLoad WifiInfoProvider::getBssLoadInfo(const std::string& bssid) {
  std::string command;
  if (!bssid.empty()) command = "BSS " + bssid;  // an empty BSSID sends an empty command
  BssLoad load = {};
  if (supplicant == nullptr) {
    MDX_LOG(4, "SupplicantWrapper instance is null");
    return load;
  }
  ReplyBuffer reply;
  if (!sendTo(supplicant, std::move(command), reply)) {
    MDX_LOG(1, "Signal Poll command returned error");
    return load;
  }
  if (parser != nullptr) parser->parseBssLoadCmdData(reply.text, load);
  return load;
}
