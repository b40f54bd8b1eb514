// What live mode takes from a wpa_supplicant: a reply and a burst of events, through the
// real control sockets. The input is datagrams separated by the byte 0x1e: the first is
// the reply to a command, the rest are sent as events. A stand-in answers on a UNIX
// datagram socket in this process; the checks compare what the host made of them with
// what the text functions say they mean.
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <mutex>
#include <thread>

#include "FuzzSupport.h"
#include "live/LiveSupplicant.h"

namespace {

constexpr char kSeparator = '\x1e';
constexpr std::size_t kMaxEvents = 8;  // the kernel queues few datagrams per socket
// Sent after a reply that looks like an event, which the host skips, to end its wait.
const std::string kAfterReply = "END";

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts(1);
  for (char c : text) {
    if (c == kSeparator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

// Answers ATTACH and DETACH with OK and any other request with the current reply (and
// kAfterReply). Remembers the ATTACHed client, to send it events.
class StandIn {
 public:
  StandIn() {
    char dir[] = "/tmp/nexhost-fuzz-XXXXXX";
    path = std::string(mkdtemp(dir)) + "/wlan0";
    fd_ = socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    if (bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) std::abort();
    std::thread([this] { serve(); }).detach();
  }

  void setReply(const std::string& reply) {
    std::lock_guard<std::mutex> lock(mutex_);
    reply_ = reply;
  }
  bool sendEvent(const std::string& event) {
    std::lock_guard<std::mutex> lock(mutex_);
    return sendto(fd_, event.data(), event.size(), MSG_DONTWAIT,
                  reinterpret_cast<const sockaddr*>(&attached_), sizeof attached_) >= 0;
  }

  std::string path;

 private:
  void serve() {
    for (;;) {
      char request[256];
      sockaddr_un from{};
      socklen_t length = sizeof from;
      const ssize_t n =
          recvfrom(fd_, request, sizeof request, 0, reinterpret_cast<sockaddr*>(&from), &length);
      if (n < 0) continue;
      const std::string text(request, static_cast<std::size_t>(n));
      std::lock_guard<std::mutex> lock(mutex_);
      if (text == "ATTACH") attached_ = from;
      std::vector<std::string> answer{reply_};
      if (text == "ATTACH" || text == "DETACH") answer = {"OK\n"};
      if (nexhost::isUnsolicited(answer[0])) answer.push_back(kAfterReply);
      for (const std::string& d : answer) {
        sendto(fd_, d.data(), d.size(), 0, reinterpret_cast<sockaddr*>(&from), length);
      }
    }
  }

  int fd_;
  std::mutex mutex_;
  std::string reply_;
  sockaddr_un attached_{};
};

struct Session {
  nexhost::Clock clock;
  nexhost::Trace trace{clock};
  std::unique_ptr<nexhost::LiveSupplicant> live;
  int scanReady = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Never destroyed: the stand-in's thread outlives the last input.
  static StandIn& standIn = *new StandIn;
  static Session& session = *new Session;
  // A supplicant that said it terminates is gone for good: start over with a new one.
  if (!session.live || session.live->gone()) {
    session.live.reset();
    session.live = std::make_unique<nexhost::LiveSupplicant>(
        session.trace, nexhost::LiveSupplicant::Options{standIn.path, "", 2000});
    std::string error;
    if (!session.live->open(&error)) std::abort();
    session.live->registerScanReady([](void*, void* n) { ++*static_cast<int*>(n); },
                                    &session.scanReady);
  }
  nexhost::LiveSupplicant& live = *session.live;
  session.trace.clear();  // memory stays flat over millions of inputs

  const std::vector<std::string> parts = split(textOf(data, size));
  // The reply arrives whole, whatever its bytes; one that looks like an event is skipped.
  standIn.setReply(parts[0]);
  const auto reply = live.command(SUPPLICANT_STA, "STATUS");
  const std::string& expected = nexhost::isUnsolicited(parts[0]) ? kAfterReply : parts[0];
  FUZZ_CHECK(reply.text == expected);
  FUZZ_CHECK(reply.ok == !nexhost::replyRefused(expected));

  // Events: the scan-results ones before any terminating one fire scan-ready once.
  std::size_t sent = 0;
  int scanResults = 0;
  bool terminates = false;
  for (std::size_t i = 1; i < parts.size() && sent < kMaxEvents; ++i) {
    if (!standIn.sendEvent(parts[i])) break;
    ++sent;
    if (terminates || !nexhost::isUnsolicited(parts[i])) continue;
    const std::string text = nexhost::eventText(parts[i]);
    FUZZ_CHECK(text.size() <= parts[i].size() &&
               parts[i].compare(parts[i].size() - text.size(), text.size(), text) == 0);
    switch (nexhost::eventKind(text)) {
      case nexhost::EventKind::kScanResults:
        ++scanResults;
        break;
      case nexhost::EventKind::kTerminating:
        terminates = true;
        break;
      case nexhost::EventKind::kOther:
        break;
    }
  }
  if (sent == 0) return 0;
  pollfd p{live.eventFd(), POLLIN, 0};
  FUZZ_CHECK(poll(&p, 1, 2000) == 1);
  std::size_t seen = 0;
  const int before = session.scanReady;
  const int result = live.handleEvents([&] { ++seen; });
  FUZZ_CHECK(result == (terminates ? -1 : scanResults > 0 ? 1 : 0));
  FUZZ_CHECK(session.scanReady - before == (result == 1 ? 1 : 0));
  FUZZ_CHECK(terminates || seen == sent);
  return 0;
}
