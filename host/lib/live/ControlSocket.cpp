#include "live/ControlSocket.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <stddef.h>  // wpa_ctrl.h uses size_t without declaring it
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <wpa_ctrl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>

#include "live/LiveText.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

constexpr int kMaxStaleDatagrams = 64;

// The control sockets in `dir`, named for an error ("wlan0, p2p-dev-wlan0"), at most 8.
std::string socketsIn(const std::string& dir) {
  std::vector<std::string> names;
  if (DIR* d = opendir(dir.c_str())) {
    while (const dirent* entry = readdir(d)) {
      struct stat st {};
      const std::string path = dir + "/" + entry->d_name;
      if (::stat(path.c_str(), &st) == 0 && S_ISSOCK(st.st_mode)) names.push_back(entry->d_name);
    }
    closedir(d);
  }
  std::sort(names.begin(), names.end());
  std::string list;
  for (std::size_t i = 0; i < names.size() && i < 8; ++i) {
    list += (i == 0 ? "" : ", ") + printableBytes(names[i]);
  }
  if (names.size() > 8) list += ", ...";
  return list.empty() ? "none" : list;
}

// Why a control socket cannot be reached, in the words that point to the fix: a
// directory given for a socket, a missing socket (and which are there) or directory, a
// file that is no socket, a socket nobody listens on, a denied permission.
std::string reachError(const std::string& path, int error) {
  const std::string head = "cannot reach wpa_supplicant at " + path + ": ";
  struct stat st {};
  const bool exists = ::stat(path.c_str(), &st) == 0;
  if (exists && S_ISDIR(st.st_mode)) {
    return head + "a directory, not a control socket (name the interface: -p " + path +
           " -i IFACE; sockets there: " + socketsIn(path) + ")";
  }
  if (exists && !S_ISSOCK(st.st_mode)) {
    return head + (S_ISREG(st.st_mode) ? "a regular file" : "a FIFO or device") +
           ", not a control socket";
  }
  const std::size_t slash = path.rfind('/');
  const std::string dir =
      slash == std::string::npos ? "." : path.substr(0, std::max<std::size_t>(slash, 1));
  std::string text =
      head + (error != 0 ? std::strerror(error) : "the client library could not open it");
  if (error == ENOENT) {
    struct stat dirStat {};
    if (::stat(dir.c_str(), &dirStat) != 0 || !S_ISDIR(dirStat.st_mode)) {
      text += " (no directory " + dir + ": is wpa_supplicant running, with ctrl_interface=" + dir +
              "?)";
    } else {
      text += " (no such socket; sockets in " + dir + ": " + socketsIn(dir) + ")";
    }
  }
  if (error == EACCES || error == EPERM) text += " (run as root or join the socket's group)";
  if (error == ECONNREFUSED) {
    text += " (a stale socket: nobody listens on it; wpa_supplicant stopped without removing it)";
  }
  return text;
}

// Errors of a connected datagram socket whose peer closed its socket: the first send
// after that is refused, later ones find the socket disconnected.
bool peerGone(int error) {
  return error == ECONNREFUSED || error == ENOTCONN || error == ECONNRESET || error == EPIPE ||
         error == ENOENT || error == EDESTADDRREQ;
}

bool stopHasCome(const StopWhen& stop) {
  if (stop.atMs >= 0 && monotonicMs() >= stop.atMs) return true;
  if (stop.fd < 0) return false;
  pollfd p{stop.fd, POLLIN, 0};
  return poll(&p, 1, 0) > 0;
}

}  // namespace

long long monotonicMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

std::unique_ptr<ControlSocket> ControlSocket::open(const std::string& serverPath,
                                                   std::string* error) {
  if (serverPath.size() >= sizeof(sockaddr_un::sun_path)) {
    *error = "control socket path too long (at most " +
             std::to_string(sizeof(sockaddr_un::sun_path) - 1) +
             " bytes): " + printableBytes(serverPath);
    return nullptr;
  }
  errno = 0;
  wpa_ctrl* ctrl = wpa_ctrl_open(serverPath.c_str());
  if (ctrl == nullptr) {
    // A path, or a socket's name, may hold any byte; the error line stays ASCII.
    *error = printableBytes(reachError(serverPath, errno));
    return nullptr;
  }
  // hostapd_cli runs as a child: it must not inherit the supplicant's sockets.
  fcntl(wpa_ctrl_get_fd(ctrl), F_SETFD, FD_CLOEXEC);
  return std::unique_ptr<ControlSocket>(new ControlSocket(ctrl, serverPath));
}

ControlSocket::ControlSocket(wpa_ctrl* ctrl, std::string serverPath)
    : ctrl_(ctrl), serverPath_(std::move(serverPath)), buffer_(kMaxDatagramBytes + 1) {}

ControlSocket::~ControlSocket() { wpa_ctrl_close(ctrl_); }

int ControlSocket::fd() const { return wpa_ctrl_get_fd(ctrl_); }

ControlSocket::Status ControlSocket::failed(Status status, int error) {
  failure_ = std::strerror(error);
  return status;
}

ControlSocket::Status ControlSocket::waitFor(short events, long long deadlineMs,
                                             const StopWhen& stop) {
  for (;;) {
    long long until = deadlineMs;
    bool untilIsStop = false;
    if (stop.atMs >= 0 && stop.atMs <= until) {
      until = stop.atMs;
      untilIsStop = true;
    }
    const long long left = until - monotonicMs();
    pollfd fds[2] = {{fd(), events, 0}, {stop.fd, POLLIN, 0}};
    const int ready = poll(fds, stop.fd >= 0 ? 2 : 1,
                           static_cast<int>(std::max(0LL, std::min<long long>(left, INT_MAX))));
    if (ready < 0 && errno == EINTR) continue;
    if (ready < 0) return failed(Status::kError, errno);
    if (stop.fd >= 0 && fds[1].revents != 0) return Status::kStopped;
    // An error condition counts as ready: the read or write that follows says what it is.
    if (fds[0].revents != 0) return Status::kOk;
    if (ready == 0 && left <= 0) return untilIsStop ? Status::kStopped : Status::kTimeout;
  }
}

ControlSocket::Status ControlSocket::send(const std::string& command, long long deadlineMs,
                                          const StopWhen& stop) {
  if (stopHasCome(stop)) return Status::kStopped;
  for (;;) {
    if (::send(fd(), command.data(), command.size(), MSG_NOSIGNAL) >= 0) return Status::kOk;
    const int error = errno;
    if (error == EINTR) continue;
    if (error == EAGAIN || error == EWOULDBLOCK) {
      // The supplicant's queue is full: it is busy, not gone. Wait until it takes more.
      const Status status = waitFor(POLLOUT, deadlineMs, stop);
      if (status != Status::kOk) return status;
      continue;
    }
    return failed(peerGone(error) ? Status::kGone : Status::kError, error);
  }
}

ControlSocket::Status ControlSocket::receiveNow(std::string* datagram) {
  std::size_t length = buffer_.size();
  while (wpa_ctrl_recv(ctrl_, buffer_.data(), &length) != 0) {
    const int error = errno;
    if (error == EINTR) continue;
    if (error == EAGAIN || error == EWOULDBLOCK) return Status::kTimeout;
    return failed(peerGone(error) ? Status::kGone : Status::kError, error);
  }
  if (length > kMaxDatagramBytes) return Status::kOversize;
  datagram->assign(buffer_.data(), length);
  return Status::kOk;
}

ControlSocket::Status ControlSocket::awaitReply(std::string* reply, long long deadlineMs,
                                                const StopWhen& stop) {
  for (;;) {
    Status status = waitFor(POLLIN, deadlineMs, stop);
    if (status != Status::kOk) return status;
    std::string datagram;
    status = receiveNow(&datagram);
    if (status == Status::kTimeout) continue;  // woken, but someone else took it
    if (status != Status::kOk) return status;
    if (isUnsolicited(datagram)) continue;
    *reply = std::move(datagram);
    return Status::kOk;
  }
}

ControlSocket::Status ControlSocket::request(const std::string& command, std::string* reply,
                                             int timeoutMs, const StopWhen& stop) {
  // A reply that came after an earlier request gave up must not answer this one. (A
  // bounded drain: a peer that sends without pause cannot hold the request here.)
  std::string stale;
  for (int dropped = 0; dropped < kMaxStaleDatagrams; ++dropped) {
    const Status status = receiveNow(&stale);
    if (status != Status::kOk && status != Status::kOversize) break;
  }
  const long long deadline = monotonicMs() + timeoutMs;
  const Status status = send(command, deadline, stop);
  if (status != Status::kOk) return status;
  return awaitReply(reply, deadline, stop);
}

bool ControlSocket::attach(std::string* error) {
  const int result = wpa_ctrl_attach(ctrl_);
  if (result == 0) return true;
  *error = "wpa_supplicant at " + serverPath_ + " refused ATTACH" +
           (result == -2 ? " (no answer in 10 s)" : "");
  return false;
}

void ControlSocket::detach(int timeoutMs) {
  std::string reply;
  request("DETACH", &reply, timeoutMs);
}

}  // namespace nexhost
