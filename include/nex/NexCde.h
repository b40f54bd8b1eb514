#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "nex/NexApi.h"

// Why the decision engine judges a profile's quality as not met. Only 10..15 carry a
// meaning the modem knows.
enum NexWQEResultReason : int32_t {
  NEX_WQE_RESULT_NONE = 0,
  NEX_WQE_RESULT_LOW_RSSI = 10,
  NEX_WQE_RESULT_HIGH_LATENCY = 11,
  NEX_WQE_RESULT_HIGH_PACKET_LOSS = 12,
  NEX_WQE_RESULT_NO_INTERNET = 13,
  NEX_WQE_RESULT_CAPTIVE_PORTAL = 14,
  NEX_WQE_RESULT_OTHER = 15,
};

// Interface kinds of CasWlanNetConfigType::netType.
constexpr int32_t CAS_NET_TYPE_STATION = 1;
constexpr int32_t CAS_NET_TYPE_STATION_ALT = 254;
constexpr int32_t CAS_NET_TYPE_SOFTAP = 100;
constexpr int32_t CAS_NET_TYPE_P2P = 101;

// The engine's WLAN configuration record, handed to the CAS callbacks. It holds no
// pointers, so with the explicit reserved bytes its layout is the same on 32-bit and
// 64-bit targets. The plug-in reads only the named fields.
struct CasWlanNetConfigType {
  uint8_t reserved_0[24];
  int32_t netType;           // 1 or 254 station, 100 soft AP, 101 P2P
  uint8_t reserved_28[16];
  uint32_t ipv4Address;      // network byte order, 0 = none
  uint8_t ipv6Address[16];   // all zero = none
  uint8_t reserved_64[4];
  uint8_t linkFlag;
  uint8_t reserved_69[11];
  uint8_t enabled;           // quality met / interface up
  uint8_t reserved_81[7];
  char bssidText[25];        // NUL-terminated "xx:xx:xx:xx:xx:xx"
  char ssidText[35];         // NUL-terminated; at most 32 characters are used
  uint32_t dns1Ipv4;         // network byte order, 0 = none
  uint32_t dns2Ipv4;
  uint8_t dns1Ipv6[16];      // all zero = none
  uint8_t dns2Ipv6[16];
  int32_t connState;         // 0, 1 and 4 are told apart
  uint8_t reserved_192[4];
  int32_t resultReason;      // NexWQEResultReason
  uint8_t fullConnection;
  char locationCountryCode[2];  // first byte 0 = none
  uint8_t reserved_203[1];
};

#define CAS_ASSERT_AT(field, offset) \
  static_assert(offsetof(CasWlanNetConfigType, field) == (offset), #field " must sit at " #offset)
CAS_ASSERT_AT(netType, 24);
CAS_ASSERT_AT(ipv4Address, 44);
CAS_ASSERT_AT(ipv6Address, 48);
CAS_ASSERT_AT(linkFlag, 68);
CAS_ASSERT_AT(enabled, 80);
CAS_ASSERT_AT(bssidText, 88);
CAS_ASSERT_AT(ssidText, 113);
CAS_ASSERT_AT(dns1Ipv4, 148);
CAS_ASSERT_AT(dns2Ipv4, 152);
CAS_ASSERT_AT(dns1Ipv6, 156);
CAS_ASSERT_AT(dns2Ipv6, 172);
CAS_ASSERT_AT(connState, 188);
CAS_ASSERT_AT(resultReason, 196);
CAS_ASSERT_AT(fullConnection, 200);
CAS_ASSERT_AT(locationCountryCode, 201);
static_assert(sizeof(CasWlanNetConfigType) == 204, "CasWlanNetConfigType is 204 bytes");
#undef CAS_ASSERT_AT

struct QualityClientOverrides {
  int16_t rssiHighOverride;
  int16_t rssiLowOverride;
};

// Identifies one registration with the engine; rebuilt on the stack for every call. It
// holds two pointers, so its layout differs by target: on 32-bit targets callback sits at
// 8 and context at 12 (16 bytes); on 64-bit targets callback sits at 8 and context at 16
// (24 bytes). The host library must be built for the same target as the plug-in.
struct CasClientCb {
  int32_t type;      // always 2
  int32_t reserved;  // always 0
  void (*callback)(void*, void*);
  void* context;
};

static_assert(offsetof(CasClientCb, callback) == 8, "callback follows the two words");
static_assert(offsetof(CasClientCb, context) == 8 + sizeof(void*), "context after callback");
static_assert(sizeof(CasClientCb) == 8 + 2 * sizeof(void*), "CasClientCb size");

class NexCdeCas;

// The connectivity decision engine.
class NEX_API NexCde {
 public:
  explicit NexCde(nexhost::Engine& engine);
  // Null when the device has no engine.
  static NexCde* getInstance();
  NexCdeCas* getCasInstance();

 private:
  nexhost::Engine* engine_;
};

// The engine's client-registration part.
class NEX_API NexCdeCas {
 public:
  explicit NexCdeCas(nexhost::Engine& engine);

  // callback(on, context) on each Wi-Fi on/off change.
  int registerForWifiStateChangeNotification(void (*callback)(bool, void*), void* context);
  // callback(CasWlanNetConfigType*, context) whenever the engine has news for the client.
  int registerForWifiNotification(CasClientCb& client, const char* name,
                                  QualityClientOverrides& overrides,
                                  const std::string& operatorName,
                                  void (*callback)(void*, void*), void* context);
  int deregisterForNoninternetService(const CasClientCb& client, const void* name,
                                      const std::string& operatorName,
                                      QualityClientOverrides overrides, void* context);
  int deregisterForWlanNetConfigChange(const CasClientCb& client);

 private:
  nexhost::Engine* engine_;
};
