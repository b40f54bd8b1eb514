// What the benchmarks feed the plug-in: the composed scan listing, the recorded
// wpa_supplicant and hostapd replies, and element texts.
#pragma once

#include <string>
#include <vector>

namespace bench {

// A recorded reply from tests/data/hwsim/.
const std::string& recorded(const std::string& name);
// The composed SCAN_RESULTS reply: 46 access points over 2.4 and 5 GHz.
const std::string& scanResults();

struct ScanLine {
  std::string bssid;
  int frequency;
  std::string ssid;
};
// The listing's lines, in order.
const std::vector<ScanLine>& scanLines();
// A SCAN_RESULTS reply of `count` access points: the composed listing's lines over and
// over, each repeat with BSSIDs of its own.
std::string scanResultsOf(std::size_t count);

// The value of the first "ie=" line of a BSS reply.
std::string elementsOf(const std::string& bssReply);
// 512 bytes of elements as hex text: what a busy access point with many capabilities
// sends (SSID, rates, country, BSS load, HT, VHT, HE, RSN, interworking, vendor elements).
const std::string& composedElements();
// 4 KiB of element text made to cost the walks most per byte: short elements of every id
// they parse, mixed-case and non-hex digits, and a last element cut short.
const std::string& hostileElements();

}  // namespace bench
