#include "nexhost/ControlSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace nexhost {

namespace {

// wpa_supplicant replies fit in 4096 bytes; the extra room shows a longer one as cut.
constexpr std::size_t kDatagramRoom = 8192;

long long monotonicMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

bool fillAddress(const std::string& path, sockaddr_un* address) {
  std::memset(address, 0, sizeof *address);
  address->sun_family = AF_UNIX;
  if (path.size() >= sizeof address->sun_path) return false;
  std::memcpy(address->sun_path, path.c_str(), path.size() + 1);
  return true;
}

std::string reachError(const std::string& path, int error) {
  std::string text = "cannot reach wpa_supplicant at " + path + ": " + std::strerror(error);
  if (error == ENOENT) text += " (is wpa_supplicant running with this ctrl_interface?)";
  if (error == EACCES || error == EPERM) text += " (run as root or join the socket's group)";
  if (error == ECONNREFUSED) text += " (stale socket: nobody listens on it)";
  return text;
}

}  // namespace

std::string stripEventLevel(const std::string& datagram) {
  if (!isUnsolicited(datagram)) return datagram;
  const std::size_t close = datagram.find('>');
  return close == std::string::npos ? datagram : datagram.substr(close + 1);
}

std::unique_ptr<ControlSocket> ControlSocket::open(const std::string& serverPath,
                                                   std::string* error) {
  sockaddr_un server{};
  if (!fillAddress(serverPath, &server)) {
    *error = "control socket path too long: " + serverPath;
    return nullptr;
  }
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    *error = std::string("cannot create a UNIX datagram socket: ") + std::strerror(errno);
    return nullptr;
  }
  // The supplicant answers to our address, so the socket needs a path of its own.
  static std::atomic<int> counter{0};
  const std::string localPath =
      "/tmp/nexhost-" + std::to_string(getpid()) + "-" + std::to_string(counter++);
  sockaddr_un local{};
  fillAddress(localPath, &local);
  unlink(localPath.c_str());
  if (bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
    *error = "cannot bind " + localPath + ": " + std::strerror(errno);
    close(fd);
    return nullptr;
  }
  if (connect(fd, reinterpret_cast<sockaddr*>(&server), sizeof server) != 0) {
    *error = reachError(serverPath, errno);
    close(fd);
    unlink(localPath.c_str());
    return nullptr;
  }
  return std::unique_ptr<ControlSocket>(new ControlSocket(fd, localPath, serverPath));
}

ControlSocket::~ControlSocket() {
  close(fd_);
  unlink(localPath_.c_str());
}

ControlSocket::Status ControlSocket::receive(std::string* text, long long deadlineMs) {
  for (;;) {
    long long left = deadlineMs - monotonicMs();
    if (left < 0) left = 0;
    pollfd p{fd_, POLLIN, 0};
    const int ready = poll(&p, 1, static_cast<int>(left));
    if (ready < 0 && errno == EINTR) continue;
    if (ready < 0) return Status::kError;
    if (ready == 0) return Status::kTimeout;
    char buffer[kDatagramRoom];
    const ssize_t n = recv(fd_, buffer, sizeof buffer, 0);
    if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (n < 0) return Status::kError;
    text->assign(buffer, static_cast<std::size_t>(n));
    return Status::kOk;
  }
}

ControlSocket::Status ControlSocket::request(const std::string& command, std::string* reply,
                                             int timeoutMs) {
  // A reply that came after an earlier request gave up must not answer this one.
  char stale[kDatagramRoom];
  while (recv(fd_, stale, sizeof stale, MSG_DONTWAIT) > 0) {
  }
  if (send(fd_, command.data(), command.size(), 0) < 0) return Status::kError;
  const long long deadline = monotonicMs() + timeoutMs;
  for (;;) {
    std::string datagram;
    const Status status = receive(&datagram, deadline);
    if (status != Status::kOk) return status;
    if (isUnsolicited(datagram)) continue;
    *reply = std::move(datagram);
    return Status::kOk;
  }
}

bool ControlSocket::attach(int timeoutMs, std::string* error) {
  std::string reply;
  const Status status = request("ATTACH", &reply, timeoutMs);
  if (status == Status::kOk && reply.compare(0, 2, "OK") == 0) return true;
  *error = "wpa_supplicant at " + serverPath_ + " refused ATTACH" +
           (status == Status::kTimeout ? " (no answer)" : ": " + reply);
  return false;
}

void ControlSocket::detach(int timeoutMs) {
  std::string reply;
  request("DETACH", &reply, timeoutMs);
}

ControlSocket::Status ControlSocket::receiveEvent(std::string* event, int timeoutMs) {
  const long long deadline = monotonicMs() + timeoutMs;
  for (;;) {
    std::string datagram;
    const Status status = receive(&datagram, deadline);
    if (status != Status::kOk) return status;
    if (!isUnsolicited(datagram)) continue;  // a late reply to ATTACH or DETACH
    *event = stripEventLevel(datagram);
    return Status::kOk;
  }
}

}  // namespace nexhost
