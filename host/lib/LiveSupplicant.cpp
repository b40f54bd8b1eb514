#include "nexhost/LiveSupplicant.h"

#include <strings.h>

#include <cstdlib>
#include <set>
#include <vector>

#include "nexhost/Modem.h"

namespace nexhost {

namespace {

constexpr const char* kScanResultsEvent = "CTRL-EVENT-SCAN-RESULTS";
constexpr const char* kTerminatingEvent = "CTRL-EVENT-TERMINATING";

std::vector<std::string> splitItems(const std::string& text) {
  std::vector<std::string> items;
  std::size_t start = 0;
  for (;;) {
    const std::size_t comma = text.find(',', start);
    std::string item = text.substr(start, comma == std::string::npos ? comma : comma - start);
    const std::size_t first = item.find_first_not_of(" \t");
    const std::size_t last = item.find_last_not_of(" \t");
    if (first != std::string::npos) items.push_back(item.substr(first, last - first + 1));
    if (comma == std::string::npos) return items;
    start = comma + 1;
  }
}

// A whole band as the range of its edges in MHz.
const char* bandRange(unsigned long code) {
  switch (code) {
    case 1:
      return "2400-2500";
    case 2:
      return "3650-3700";
    case 3:
      return "5150-5895";
    default:
      return nullptr;
  }
}

constexpr unsigned long kAnyFrequency = 65535;

}  // namespace

std::string scanFrequencies(const std::string& filter) {
  std::string list;
  std::set<std::string> seen;
  for (const std::string& item : splitItems(filter)) {
    char* end = nullptr;
    const unsigned long code = std::strtoul(item.c_str(), &end, 10);
    if (end == item.c_str() || *end != '\0' || code == 0 || code > kAnyFrequency) continue;
    if (code == kAnyFrequency) return "";
    const char* band = bandRange(code);
    const std::string range = band != nullptr ? band : std::to_string(code);
    if (!seen.insert(range).second) continue;
    if (!list.empty()) list += ",";
    list += range;
  }
  return list;
}

std::string bssidFilterValue(const std::string& filter) {
  std::string value;
  for (const std::string& item : splitItems(filter)) {
    if (strcasecmp(item.c_str(), "ff:ff:ff:ff:ff:ff") == 0) return "";
    if (!value.empty()) value += " ";
    value += item;
  }
  return value;
}

LiveSupplicant::LiveSupplicant(Trace& trace, Options options)
    : SupplicantBackend(trace), options_(std::move(options)) {}

LiveSupplicant::~LiveSupplicant() {
  if (events_) events_->detach(options_.timeoutMs);
}

bool LiveSupplicant::open(std::string* error) {
  station_ = ControlSocket::open(options_.stationPath, error);
  if (!station_) return false;
  events_ = ControlSocket::open(options_.stationPath, error);
  if (!events_) return false;
  if (!events_->attach(options_.timeoutMs, error)) {
    events_.reset();
    return false;
  }
  return true;
}

ControlSocket* LiveSupplicant::socketFor(supplicantType_t type) {
  return type == SUPPLICANT_P2P ? p2p_.get() : station_.get();
}

SupplicantBackend::Reply LiveSupplicant::command(supplicantType_t type, const std::string& text) {
  std::string wire = text;
  if (text == NexSupplicantWrapper::scanCmd && !scanFrequencies_.empty()) {
    wire += " freq=" + scanFrequencies_;
  }
  Reply reply;
  Json record{{"interface", interfaceName(type)}, {"command", printableBytes(wire)}};
  ControlSocket* socket = socketFor(type);
  if (socket == nullptr) {
    record["error"] = "not connected";
  } else {
    const ControlSocket::Status status = socket->request(wire, &reply.text, options_.timeoutMs);
    if (status == ControlSocket::Status::kTimeout) record["error"] = "timeout";
    if (status == ControlSocket::Status::kError) record["error"] = "socket error";
    // The supplicant answers a refused command with FAIL... or UNKNOWN COMMAND.
    reply.ok = status == ControlSocket::Status::kOk && reply.text.compare(0, 4, "FAIL") != 0 &&
               reply.text.compare(0, 15, "UNKNOWN COMMAND") != 0;
  }
  recordCommand(std::move(record), text, reply);
  return reply;
}

bool LiveSupplicant::connect(supplicantType_t type) {
  bool ok = true;
  if (type == SUPPLICANT_P2P) {
    std::string error;
    if (!p2p_ && !options_.p2pPath.empty()) p2p_ = ControlSocket::open(options_.p2pPath, &error);
    ok = p2p_ != nullptr;
  } else {
    ok = station_ != nullptr;
  }
  trace().record("supplicant", Json{{"interface", interfaceName(type)}, {"connect", ok}});
  return ok;
}

bool LiveSupplicant::disconnect(supplicantType_t type) {
  // The station sockets stay open for the whole session; only P2P follows the plug-in.
  if (type == SUPPLICANT_P2P) p2p_.reset();
  trace().record("supplicant", Json{{"interface", interfaceName(type)}, {"disconnect", true}});
  return true;
}

bool LiveSupplicant::setBssidFilter(const std::string& bssids) {
  trace().record("supplicant", Json{{"bssid_filter", printableBytes(bssids)}});
  return command(SUPPLICANT_STA, "SET bssid_filter " + bssidFilterValue(bssids)).ok;
}

bool LiveSupplicant::setFrequencyFilter(const std::string& frequencies) {
  trace().record("supplicant", Json{{"frequency_filter", printableBytes(frequencies)}});
  scanFrequencies_ = scanFrequencies(frequencies);
  return true;
}

int LiveSupplicant::handleEvents() {
  if (!events_) return 0;
  int scans = 0;
  std::string event;
  for (;;) {
    const ControlSocket::Status status = events_->receiveEvent(&event, 0);
    if (status == ControlSocket::Status::kError) return -1;
    if (status == ControlSocket::Status::kTimeout) return scans;
    if (event.compare(0, std::string(kTerminatingEvent).size(), kTerminatingEvent) == 0) return -1;
    if (event.compare(0, std::string(kScanResultsEvent).size(), kScanResultsEvent) == 0) {
      ++scans;
      fireScanReady();
    }
  }
}

}  // namespace nexhost
