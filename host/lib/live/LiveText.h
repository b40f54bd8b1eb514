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

}  // namespace nexhost
