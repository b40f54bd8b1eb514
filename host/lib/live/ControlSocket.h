#pragma once

#include <memory>
#include <string>
#include <vector>

struct wpa_ctrl;

namespace nexhost {

// Milliseconds on the monotonic clock.
long long monotonicMs();

// What ends a wait before its timeout: a descriptor turning readable (the stop signal's
// pipe) or a time on the monotonic clock. -1: none.
struct StopWhen {
  int fd = -1;
  long long atMs = -1;
};

// One client connection to a wpa_supplicant control interface, opened, attached and closed
// with wpa_supplicant's own client library (wpa_ctrl). Requests do not use the library's
// wpa_ctrl_request: it waits a fixed 10 s, restarts that wait after a signal and takes a
// late reply to an earlier command as its own. They send on the library's socket and wait
// for the reply here, polling it together with the caller's StopWhen.
//
// Every datagram is taken whole, any byte included, up to kMaxDatagramBytes; a longer
// one is refused (kOversize) rather than cut.
class ControlSocket {
 public:
  enum class Status {
    kOk,
    kTimeout,   // no reply in time (for receiveNow: nothing waiting)
    kStopped,   // the StopWhen came first
    kGone,      // the supplicant's socket refuses us: it went away (failure() says how)
    kOversize,  // a datagram over kMaxDatagramBytes came, and was dropped
    kError,     // a local failure that says nothing about the supplicant
  };

  // Null, with `error` set, when the socket cannot be reached (missing, denied, stale).
  static std::unique_ptr<ControlSocket> open(const std::string& serverPath, std::string* error);
  ~ControlSocket();
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;

  // Drops replies that came after their request gave up, sends `command` and waits up to
  // `timeoutMs` for its reply, skipping events. Nothing is sent once `stop` has come.
  Status request(const std::string& command, std::string* reply, int timeoutMs,
                 const StopWhen& stop = {});
  Status send(const std::string& command, long long deadlineMs, const StopWhen& stop);
  // The next reply (events skipped) until `deadlineMs` or `stop`.
  Status awaitReply(std::string* reply, long long deadlineMs, const StopWhen& stop);

  // Subscribes this socket to events (wpa_ctrl_attach). After that, use it only for
  // events and for DETACH: replies and events share the socket.
  bool attach(std::string* error);
  // DETACH, waiting at most `timeoutMs` for its answer (the library would wait 10 s).
  void detach(int timeoutMs);

  // The datagram waiting on the socket, without waiting: kTimeout when none is.
  Status receiveNow(std::string* datagram);

  // For poll(): readable when a datagram is waiting.
  int fd() const;
  const std::string& serverPath() const { return serverPath_; }
  // How the last kGone or kError came about ("Connection refused").
  const std::string& failure() const { return failure_; }

 private:
  ControlSocket(wpa_ctrl* ctrl, std::string serverPath);
  // Waits until the socket is ready for `events` (POLLIN, POLLOUT), `deadlineMs` passes
  // (kTimeout, or kStopped when it is the StopWhen's time) or stop.fd turns readable.
  Status waitFor(short events, long long deadlineMs, const StopWhen& stop);
  Status failed(Status status, int error);

  wpa_ctrl* ctrl_;
  std::string serverPath_;
  std::string failure_;
  std::vector<char> buffer_;  // one byte over the limit, to see an oversize datagram
};

}  // namespace nexhost
