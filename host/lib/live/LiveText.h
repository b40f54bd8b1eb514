#pragma once

#include <cstddef>
#include <string>

// The texts live mode exchanges with wpa_supplicant: how a datagram is told apart as a reply
// or an event, which events matter, and how the plug-in's scan filters become commands.
// Pure functions on byte strings: any byte may appear, a NUL included, and nothing is cut.
namespace nexhost {

// The longest datagram (reply or event) taken from a control socket. wpa_supplicant's own
// replies stop at 4096 bytes; anything past this limit is refused whole.
constexpr std::size_t kMaxDatagramBytes = 65536;

// True for an unsolicited event ("<3>CTRL-EVENT-...", or "IFNAME=wlan0 <3>..." from a
// global control interface), as the client library tells them from replies.
bool isUnsolicited(const std::string& datagram);

// The event's text after its "IFNAME=..." and "<level>" prefixes.
std::string eventText(const std::string& datagram);

enum class EventKind { kScanResults, kTerminating, kOther };
// What an event (as eventText gives it) means to the host.
EventKind eventKind(const std::string& text);

// The supplicant answers a refused command with FAIL... or UNKNOWN COMMAND.
bool replyRefused(const std::string& reply);

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
