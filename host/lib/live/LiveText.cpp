#include "live/LiveText.h"

namespace nexhost {

namespace {

constexpr const char* kInterfacePrefix = "IFNAME=";

bool startsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

bool isUnsolicited(const std::string& datagram) {
  return startsWith(datagram, "<") || startsWith(datagram, kInterfacePrefix);
}

std::string eventText(const std::string& datagram) {
  std::size_t start = 0;
  if (startsWith(datagram, kInterfacePrefix)) {
    const std::size_t blank = datagram.find(' ');
    start = blank == std::string::npos ? datagram.size() : blank + 1;
  }
  if (datagram.compare(start, 1, "<") == 0) {
    const std::size_t close = datagram.find('>', start);
    if (close != std::string::npos) start = close + 1;
  }
  return datagram.substr(start);
}

EventKind eventKind(const std::string& text) {
  if (startsWith(text, "CTRL-EVENT-SCAN-RESULTS")) return EventKind::kScanResults;
  if (startsWith(text, "CTRL-EVENT-TERMINATING")) return EventKind::kTerminating;
  return EventKind::kOther;
}

bool replyRefused(const std::string& reply) {
  return startsWith(reply, "FAIL") || startsWith(reply, "UNKNOWN COMMAND");
}

}  // namespace nexhost
