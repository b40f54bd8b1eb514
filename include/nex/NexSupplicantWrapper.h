#pragma once

#include <cstdint>
#include <string>

#include "nex/NexApi.h"

// Which wpa_supplicant control interface a command goes to.
enum supplicantType_t : int32_t {
  SUPPLICANT_STA = 0,
  SUPPLICANT_P2P = 1,
};

// The host's wpa_supplicant control wrapper. Every operation returns non-zero on
// success.
class NEX_API NexSupplicantWrapper {
 public:
  // Must stay the first member: the RSSI (dBm) of the last successful signal poll.
  int16_t rssi;

  explicit NexSupplicantWrapper(nexhost::SupplicantBackend& backend);

  static const std::string scanCmd;
  static const std::string scanResultCmd;
  static const std::string statusCmd;
  static const std::string signalPollCmd;

  // Sends a command on the station interface and discards the reply.
  int sendCommandToSupplicant(std::string command);
  // Sends a command and writes the NUL-terminated reply into `reply`; `*replyLen` is the
  // room on entry (the terminator not counted) and the reply length on return.
  int sendCommandToSupplicant(std::string command, char* reply, unsigned int* replyLen);
  int sendCommandToSupplicant(std::string command, char* reply, unsigned int* replyLen,
                              supplicantType_t type);

  int connectToSupplicant(supplicantType_t type);
  int disconnectFromSupplicant(supplicantType_t type);

  // Restrict the next scan; an empty text lifts the restriction. (The first name is the
  // host's own spelling.)
  int setBssidFileterForScan(std::string bssids);
  int setFrequencyFilterForScan(std::string frequencies);

  // callback(data, context) runs whenever scan results are ready.
  int registerForScanReadyCb(void (*callback)(void*, void*), void* context);

 private:
  nexhost::SupplicantBackend* backend_;
};
