#include "live/LiveSupplicant.h"

#include <algorithm>

#include "framework/FilterCommands.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

// DETACH at the end waits no longer than this: a supplicant that does not answer it
// must not hold the exit.
constexpr int kDetachWaitMs = 200;

}  // namespace

LiveSupplicant::LiveSupplicant(Trace& trace, Options options)
    : SupplicantBackend(trace), options_(std::move(options)) {}

LiveSupplicant::~LiveSupplicant() {
  if (events_ && !gone()) events_->detach(std::min(options_.timeoutMs, kDetachWaitMs));
}

bool LiveSupplicant::open(std::string* error) {
  station_ = ControlSocket::open(options_.stationPath, error);
  if (!station_) return false;
  events_ = ControlSocket::open(options_.stationPath, error);
  if (!events_) return false;
  if (!events_->attach(error)) {
    events_.reset();
    return false;
  }
  return true;
}

ControlSocket* LiveSupplicant::socketFor(supplicantType_t type) {
  return type == SUPPLICANT_P2P ? p2p_.get() : station_.get();
}

void LiveSupplicant::markGone(const std::string& reason) {
  if (goneReason_.empty()) goneReason_ = reason;
}

void LiveSupplicant::setStopWhen(StopWhen stop) {
  stop_ = stop;
  stopped_ = false;
}

SupplicantBackend::Reply LiveSupplicant::command(supplicantType_t type, const std::string& text) {
  std::string wire = text;
  if (text == NexSupplicantWrapper::scanCmd && !scanFrequencies_.empty()) {
    wire += " freq=" + scanFrequencies_;
  }
  Reply reply;
  std::string& error = reply.error;
  ControlSocket* socket = socketFor(type);
  if (socket == nullptr) {
    error = "not connected";
  } else if (gone()) {
    error = "supplicant gone";
  } else if (stopped_) {
    error = "stopped";
  } else {
    switch (socket->request(wire, &reply.text, options_.timeoutMs, stop_)) {
      case ControlSocket::Status::kOk:
        reply.ok = !replyRefused(reply.text);
        break;
      case ControlSocket::Status::kTimeout:
        error = "timeout";
        break;
      case ControlSocket::Status::kStopped:
        error = "stopped";
        stopped_ = true;
        break;
      case ControlSocket::Status::kOversize:
        error = "reply over " + std::to_string(kMaxDatagramBytes) + " bytes";
        break;
      case ControlSocket::Status::kGone:
        error = "supplicant gone";
        if (type == SUPPLICANT_P2P) {
          p2p_.reset();  // the P2P interface went; the station may live on
        } else {
          markGone("its control socket refuses commands (" + socket->failure() + ")");
        }
        break;
      case ControlSocket::Status::kError:
        error = "socket error: " + socket->failure();
        break;
    }
  }
  if (wire != text) reply.sent = wire;
  recordCommand(Json{{"interface", interfaceName(type)}, {"command", printableBytes(wire)}}, text,
                reply);
  return reply;
}

bool LiveSupplicant::checkAlive() {
  if (gone()) return false;
  if (stopped_ || !station_) return true;
  const long long deadline = monotonicMs() + options_.timeoutMs;
  std::string reply;
  ControlSocket::Status status = station_->request("PING", &reply, options_.timeoutMs, stop_);
  // A reply to an earlier command that gave up may come first: wait on for the PONG.
  while ((status == ControlSocket::Status::kOk && reply.compare(0, 4, "PONG") != 0) ||
         status == ControlSocket::Status::kOversize) {
    status = station_->awaitReply(&reply, deadline, stop_);
  }
  switch (status) {
    case ControlSocket::Status::kTimeout:
      markGone("no answer to PING in " + std::to_string(options_.timeoutMs) + " ms");
      return false;
    case ControlSocket::Status::kGone:
      markGone("its control socket refuses commands (" + station_->failure() + ")");
      return false;
    case ControlSocket::Status::kStopped:
      stopped_ = true;
      return true;
    default:
      return true;
  }
}

bool LiveSupplicant::connect(supplicantType_t type) {
  bool ok = true;
  if (type == SUPPLICANT_P2P) {
    std::string error;
    if (!p2p_ && !options_.p2pPath.empty()) p2p_ = ControlSocket::open(options_.p2pPath, &error);
    ok = p2p_ != nullptr;
  } else {
    ok = station_ != nullptr && !gone();
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
  return front().command(SUPPLICANT_STA, "SET bssid_filter " + bssidFilterValue(bssids)).ok;
}

bool LiveSupplicant::setFrequencyFilter(const std::string& frequencies) {
  trace().record("supplicant", Json{{"frequency_filter", printableBytes(frequencies)}});
  scanFrequencies_ = scanFrequencies(frequencies);
  return true;
}

int LiveSupplicant::handleEvents(const std::function<void()>& beforeEach) {
  if (!events_) return 0;
  int scanResults = 0;
  for (int handled = 0; handled < kMaxEventsPerWake && !gone() && !stopped_; ++handled) {
    std::string datagram;
    const ControlSocket::Status status = events_->receiveNow(&datagram);
    if (status == ControlSocket::Status::kTimeout) break;  // none waiting
    if (status == ControlSocket::Status::kGone || status == ControlSocket::Status::kError) {
      markGone("its event socket failed (" + events_->failure() + ")");
      break;
    }
    if (beforeEach) beforeEach();
    if (status == ControlSocket::Status::kOversize) {
      trace().record("supplicant",
                     Json{{"event", "dropped"},
                          {"reason", "over " + std::to_string(kMaxDatagramBytes) + " bytes"}});
      continue;
    }
    if (!isUnsolicited(datagram)) continue;  // a late reply to ATTACH
    switch (eventKind(eventText(datagram))) {
      case EventKind::kTerminating:
        markGone("it terminated (CTRL-EVENT-TERMINATING)");
        break;
      case EventKind::kScanResults:
        ++scanResults;
        break;
      case EventKind::kOther:
        break;
    }
  }
  if (gone()) return -1;
  if (scanResults == 0 || stopped_) return 0;
  front().scanResultsArrived(scanResults);
  return 1;
}

}  // namespace nexhost
