#pragma once

#include <memory>
#include <string>

namespace nexhost {

// One client connection to a wpa_supplicant control interface: a UNIX datagram socket
// bound to a private path and connected to the supplicant's socket. Replies that start
// with '<' are unsolicited events; a request skips them while it waits for its answer.
class ControlSocket {
 public:
  enum class Status { kOk, kTimeout, kError };

  // Null, with `error` set, when the socket cannot be reached (missing, denied, stale).
  static std::unique_ptr<ControlSocket> open(const std::string& serverPath, std::string* error);
  ~ControlSocket();
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;

  // Sends `command` and waits up to `timeoutMs` for its reply.
  Status request(const std::string& command, std::string* reply, int timeoutMs);

  // Subscribes this socket to events ("ATTACH" answered "OK"). After that, use it only
  // for events: replies and events share the socket.
  bool attach(int timeoutMs, std::string* error);
  void detach(int timeoutMs);

  // The next event, without its "<level>" prefix. kTimeout when none came in time.
  Status receiveEvent(std::string* event, int timeoutMs);

  // For poll(): readable when an event (or a late reply) is waiting.
  int fd() const { return fd_; }
  const std::string& serverPath() const { return serverPath_; }

 private:
  ControlSocket(int fd, std::string localPath, std::string serverPath)
      : fd_(fd), localPath_(std::move(localPath)), serverPath_(std::move(serverPath)) {}
  // One datagram, waiting up to `timeoutMs` (restarted after a signal).
  Status receive(std::string* text, long long deadlineMs);

  int fd_;
  std::string localPath_;
  std::string serverPath_;
};

// True for an unsolicited event datagram ("<3>CTRL-EVENT-...").
inline bool isUnsolicited(const std::string& datagram) {
  return !datagram.empty() && datagram[0] == '<';
}

// The event text after its "<level>" prefix.
std::string stripEventLevel(const std::string& datagram);

}  // namespace nexhost
