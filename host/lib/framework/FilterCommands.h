#pragma once

#include <string>

// How the plug-in's scan filters become wpa_supplicant commands, the same for the scripted
// supplicant and the live one. Pure functions on byte strings.
namespace nexhost {

// The scan-frequency list of a SCAN command for the plug-in's frequency filter text:
// comma-separated channel codes, where 1, 2 and 3 are the whole 2.4, 3.6 and 5 GHz bands,
// 65535 is any frequency (no restriction at all), anything else a frequency in MHz. Empty
// and unreadable items are skipped, repeats dropped. Empty result: scan everything.
std::string scanFrequencies(const std::string& filter);

// The value of "SET bssid_filter" for the plug-in's comma-separated BSSID text: the
// BSSIDs separated by blanks, or empty (no filter) when the text is empty or names the
// broadcast BSSID, which matches every access point.
std::string bssidFilterValue(const std::string& filter);

}  // namespace nexhost
