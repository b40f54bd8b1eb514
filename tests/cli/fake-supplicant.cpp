// A wpa_supplicant stand-in for nexhost live's command-line tests: answers every command
// on a UNIX datagram socket at PATH (PING with PONG, the scan results with no network,
// anything else with OK) until it is killed.
//
//   fake-supplicant PATH
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

const char* replyTo(const std::string& command) {
  if (command == "PING") return "PONG\n";
  if (command == "SCAN_RESULTS") return "bssid / frequency / signal level / flags / ssid\n";
  if (command == "STATUS") return "wpa_state=DISCONNECTED\n";
  return "OK\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: fake-supplicant PATH\n");
    return 2;
  }
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, argv[1], sizeof address.sun_path - 1);
  unlink(argv[1]);
  if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    std::perror("fake-supplicant");
    return 1;
  }
  for (;;) {
    char request[4096];
    sockaddr_un from{};
    socklen_t fromSize = sizeof from;
    const ssize_t size =
        recvfrom(fd, request, sizeof request, 0, reinterpret_cast<sockaddr*>(&from), &fromSize);
    if (size < 0) continue;
    const std::string text(request, static_cast<std::size_t>(size));
    const char* reply = replyTo(text.substr(0, text.find(' ')));
    sendto(fd, reply, std::strlen(reply), 0, reinterpret_cast<sockaddr*>(&from), fromSize);
  }
}
