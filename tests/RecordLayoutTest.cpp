// What the records look like in memory on the target the tests run on (x86_64, and armhf
// and aarch64 under emulation): byte order, where the host's pointer-holding records put
// their words for this pointer width, and that bytes of 0x80 and above decode the same
// whether plain char is signed (x86) or unsigned (ARM).
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "RawMeasurement.h"
#include "TestHost.h"
#include "WifiInfoProvider.h"
#include "WifiParser.h"
#include "dsd/dsd_messages_v01.h"
#include "nex/NexCde.h"
#include "nex/NexUtils.h"
#include "nexhost/Modem.h"

namespace {

constexpr bool kPointers64 = sizeof(void*) == 8;

// The little-endian value of `size` bytes at `offset`.
uint64_t readLE(const void* record, std::size_t offset, std::size_t size) {
  const auto* bytes = static_cast<const uint8_t*>(record) + offset;
  uint64_t value = 0;
  for (std::size_t i = size; i-- > 0;) value = value << 8 | bytes[i];
  return value;
}

void writeLE(void* record, std::size_t offset, std::size_t size, uint64_t value) {
  auto* bytes = static_cast<uint8_t*>(record) + offset;
  for (std::size_t i = 0; i < size; ++i, value >>= 8) bytes[i] = static_cast<uint8_t>(value);
}

struct Word {
  const char* field;
  std::size_t offset;
  std::size_t size;
  uint64_t value;
};

TEST(RecordLayoutTest, ModemRecordsAreLittleEndianAtTheirWireOffsets) {
  dsd_start_wifi_meas_ind_msg_v01 start;
  std::memset(&start, 0, sizeof start);
  start.meas_param_mask = 0x0102030405060785ull;
  start.wifi_ident[1].bssid_list[2].channel_list[3] = 0xA5C3;
  start.sampling_interval = -2;
  start.alpha = 0.5f;
  const Word startWords[] = {
      {"meas_param_mask", 8, 8, 0x0102030405060785ull},
      {"wifi_ident[1].bssid_list[2].channel_list[3]", 52 + 748 + 44 + 2 * 44 + 12 + 6, 2, 0xA5C3},
      {"sampling_interval", 6040, 4, 0xFFFFFFFEu},
      {"alpha", 6056, 4, 0x3F000000u},  // IEEE 754 single 0.5
  };
  for (const Word& w : startWords) {
    EXPECT_EQ(readLE(&start, w.offset, w.size), w.value) << w.field;
  }

  dsd_wifi_meas_report_req_msg_v01 report;
  std::memset(&report, 0, sizeof report);
  report.report_id = 0xFFFFFFFEu;
  report.bss_info[57].reported_params = 5;
  report.bss_info[57].rssi = -95;
  report.bss_info[57].channel_utilization = 0x00FF;
  const std::size_t last = 64 + 57 * 48;
  const Word reportWords[] = {
      {"report_id", 4, 4, 0xFFFFFFFEu},
      {"bss_info[57].reported_params", last + 16, 8, 5},
      {"bss_info[57].rssi", last + 24, 2, 0xFFA1u},
      {"bss_info[57].channel_utilization", last + 30, 2, 0x00FF},
  };
  for (const Word& w : reportWords) {
    EXPECT_EQ(readLE(&report, w.offset, w.size), w.value) << w.field;
  }
}

// The engine hands this record over as bytes at fixed offsets; no pointers, so one table
// serves every target.
TEST(RecordLayoutTest, EngineConfigFieldsReadFromTheirDeliveredOffsets) {
  uint8_t delivered[sizeof(CasWlanNetConfigType)] = {};
  writeLE(delivered, 24, 4, 254);
  writeLE(delivered, 44, 4, 0x0100A8C0u);  // 192.168.0.1 as the network sends it
  delivered[48] = 0xFE;
  delivered[68] = 1;
  delivered[80] = 1;
  std::memcpy(delivered + 88, "fe:80:00:7f:81:ff", 18);
  std::memcpy(delivered + 113, "caf\xC3\xA9", 6);
  writeLE(delivered, 148, 4, 0x08080808u);
  delivered[156] = 0xFD;
  writeLE(delivered, 188, 4, 4);
  writeLE(delivered, 196, 4, 0xFFFFFFF6u);  // -10
  delivered[200] = 1;
  delivered[201] = 'D';
  delivered[202] = 'E';

  CasWlanNetConfigType config;
  std::memcpy(&config, delivered, sizeof config);
  EXPECT_EQ(config.netType, 254);
  EXPECT_EQ(config.ipv4Address, 0x0100A8C0u);
  EXPECT_EQ(config.ipv6Address[0], 0xFE);
  EXPECT_EQ(config.linkFlag, 1);
  EXPECT_EQ(config.enabled, 1);
  EXPECT_STREQ(config.bssidText, "fe:80:00:7f:81:ff");
  EXPECT_STREQ(config.ssidText, "caf\xC3\xA9");
  EXPECT_EQ(config.dns1Ipv4, 0x08080808u);
  EXPECT_EQ(config.dns1Ipv6[0], 0xFD);
  EXPECT_EQ(config.connState, 4);
  EXPECT_EQ(config.resultReason, -10);
  EXPECT_EQ(config.fullConnection, 1);
  EXPECT_EQ(std::string(config.locationCountryCode, 2), "DE");
}

// Pointer-holding host records: where each word lands for this target's pointer width,
// filled the way the plug-in fills them.
TEST(RecordLayoutTest, HostRecordsWithPointersFollowThePointerWidth) {
  char output[1000];
  NexForkExecOpt options;
  std::memset(&options, 0, sizeof options);
  options.outputBuffer = output;
  options.outputCapacity = sizeof output;
  options.mode = 2;
  const auto buffer = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(output));
  const std::size_t p = sizeof(void*);
  const Word forkWords[] = {
      {"flags", 0, 4, 0},
      {"outputBuffer", kPointers64 ? 8u : 4u, p, buffer},
      {"outputCapacity", kPointers64 ? 16u : 8u, 4, 1000},
      {"reserved1[3]", kPointers64 ? 32u : 24u, 4, 0},
      {"mode", kPointers64 ? 36u : 28u, 4, 2},
      {"reserved2[1]", kPointers64 ? 44u : 36u, 4, 0},
  };
  for (const Word& w : forkWords) {
    EXPECT_EQ(readLE(&options, w.offset, w.size), w.value) << "NexForkExecOpt." << w.field;
  }
  EXPECT_EQ(sizeof options, kPointers64 ? 48u : 40u);

  int context = 0;
  CasClientCb client{2, 0, [](void*, void*) {}, &context};
  const Word clientWords[] = {
      {"type", 0, 4, 2},
      {"reserved", 4, 4, 0},
      {"callback", 8, p, static_cast<uint64_t>(reinterpret_cast<uintptr_t>(client.callback))},
      {"context", kPointers64 ? 16u : 12u, p,
       static_cast<uint64_t>(reinterpret_cast<uintptr_t>(&context))},
  };
  for (const Word& w : clientWords) {
    EXPECT_EQ(readLE(&client, w.offset, w.size), w.value) << "CasClientCb." << w.field;
  }
  EXPECT_EQ(sizeof client, kPointers64 ? 24u : 16u);
}

// Bytes of 0x80 and above in text and address fields: a decoder that widens a plain char
// sign-extends it on x86 only, so each of these would print ffffff.. or go negative there.
TEST(RecordLayoutTest, HighBytesRoundTripThroughTheRecordDecoders) {
  dsd_wifi_meas_report_req_msg_v01 report;
  std::memset(&report, 0, sizeof report);
  const char ssid[] = "\xC3\xA9t\xC3\xA9\xFF\x80";
  report.ssid_len = sizeof ssid - 1;
  std::memcpy(report.ssid, ssid, report.ssid_len);
  report.bss_info_valid = 1;
  report.bss_info_len = 1;
  const uint8_t bssid[6] = {0x80, 0xFF, 0x7F, 0x00, 0xA5, 0x5A};
  std::memcpy(report.bss_info[0].bssid, bssid, 6);
  report.bss_info[0].frequency = 0xFFFF;
  report.bss_info[0].rssi = -128;
  report.bss_info[0].channel_utilization = 0xFF;

  dsd_wlan_available_req_msg_v01 available;
  std::memset(&available, 0, sizeof available);
  std::memcpy(available.hessid, bssid, 6);
  available.country_code[0] = '\xC3';
  available.country_code[1] = '\xBF';
  available.ipv4_addr = 0xC0A800FFu;

  const nexhost::Json r = nexhost::decode(report);
  const nexhost::Json a = nexhost::decode(available);
  struct Case {
    const char* what;
    nexhost::Json decoded;
    nexhost::Json expected;
  } cases[] = {
      {"report ssid", r["ssid"], "\\xc3\\xa9t\\xc3\\xa9\\xff\\x80"},
      {"report bssid", r["bss_info"][0]["bssid"], "80:ff:7f:00:a5:5a"},
      {"report frequency", r["bss_info"][0]["frequency"], 65535},
      {"report rssi", r["bss_info"][0]["rssi"], -128},
      {"report channel utilization", r["bss_info"][0]["channel_utilization"], 255},
      {"availability hessid", a["hessid"], "80:ff:7f:00:a5:5a"},
      {"availability country code", a["country_code"], "\\xc3\\xbf"},
      {"availability ipv4", a["ipv4_addr"], "192.168.0.255"},
  };
  for (const Case& c : cases) EXPECT_EQ(c.decoded, c.expected) << c.what;
}

using IndicationBytesTest = PluginTest;

// The modem's start indication: SSID bytes compared against 0xFF, BSSID octets and channel
// codes with their top bit set.
TEST_F(IndicationBytesTest, HighBytesDecodeTheSameWhateverCharSignedness) {
  struct Case {
    std::string ssidField;  // the 32-byte field, NUL-padded
    std::string ssid;
  } cases[] = {
      {std::string(32, '\xFF'), "AnySSID"},
      {std::string(31, '\xFF') + '\xFE', std::string(31, '\xFF') + '\xFE'},
      {std::string("\xFF"
                   "ab"),
       "\xFF"
       "ab"},
      {std::string("caf\xC3\xA9"), "caf\xC3\xA9"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.ssid);
    dsd_start_wifi_meas_ind_msg_v01 ind = rssiIndication(7);
    ind.wifi_ident_valid = 1;
    ind.wifi_ident_len = 1;
    dsd_wifi_ident_type_v01& network = ind.wifi_ident[0];
    std::memcpy(network.ssid_info.ssid, c.ssidField.data(), c.ssidField.size());
    network.bssid_list_len = 1;
    const uint8_t bssid[6] = {0x80, 0xFF, 0x7F, 0x00, 0xA5, 0x5A};
    std::memcpy(network.bssid_list[0].bssid, bssid, 6);
    network.bssid_list[0].channel_list_len = 3;
    network.bssid_list[0].channel_list[0] = 0xFFFF;
    network.bssid_list[0].channel_list[1] = 5180;
    network.bssid_list[0].channel_list[2] = 0x8000;

    WifiMeasurementRequest::RawMeasurement raw(host.client(), host.com, host.timer,
                                               host.supplicant(), *WifiInfoProvider::getInstance(),
                                               ind, nullptr);
    ASSERT_TRUE(raw.isConfigParamOk());
    raw.parseMeasurementRequestMdxMessage();
    ASSERT_EQ(raw.requestReports().size(), 1u);
    const MeasurementRequestReport& report = raw.requestReports().front();
    EXPECT_EQ(report.ssid, c.ssid);
    EXPECT_EQ(raw.bssidFilterText(), "80:ff:7f:00:a5:5a");
    EXPECT_EQ(raw.channelFilterText(), "65535,5180,32768");
    const std::set<uint16_t> codes = {5180, 0x8000, 0xFFFF};
    ASSERT_EQ(report.bssidChannels.count("80:ff:7f:00:a5:5a"), 1u);
    EXPECT_EQ(report.bssidChannels.at("80:ff:7f:00:a5:5a"), codes);
  }
}

TEST(RecordLayoutTest, IccidOctetsAboveSevenBitDecodeByNibble) {
  struct Case {
    uint8_t octets[10];
    uint8_t count;
    const char* digits;
  } cases[] = {
      {{0x98, 0x44, 0x80, 0x09}, 4, "89440890"},
      {{0x99, 0x98}, 2, "9989"},
      {{0xA9, 0xF1, 0xFF}, 3, "901000"},  // upper nibbles above 9 read as 0
  };
  for (const Case& c : cases) {
    EXPECT_STREQ(WifiParser::BCDToString(c.octets, c.count), c.digits) << c.digits;
  }
}

}  // namespace

// Every record kind, filled with bytes of every value, goes to hex as a modem log prints it
// (upper case, spaced pairs) and back to the same bytes, found by its length alone, and
// decodes to the same fields.
TEST(RecordLayoutTest, EveryRecordKindRoundTripsThroughHex) {
  for (const nexhost::RecordKind& kind : nexhost::recordKinds()) {
    SCOPED_TRACE(kind.type);
    std::vector<uint8_t> bytes(kind.size);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 37 + 11);
    const nexhost::Json fields = nexhost::decodeMessage(kind.type, bytes.data(), bytes.size());
    std::string pasted;
    for (char c : nexhost::hexText(bytes.data(), bytes.size())) {
      pasted += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      if (pasted.size() % 3 == 2) pasted += ' ';
    }
    std::string error;
    const auto back = nexhost::bytesFromHex(pasted, &error);
    ASSERT_TRUE(back) << error;
    EXPECT_EQ(*back, bytes);
    EXPECT_EQ(nexhost::recordKindOfSize(back->size()), &kind);
    EXPECT_EQ(nexhost::decodeMessage(kind.type, back->data(), back->size()), fields);
  }
}
