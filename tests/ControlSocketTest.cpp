// The live supplicant transport against a small wpa_supplicant stand-in on a UNIX
// datagram socket: requests and replies, timeouts, unsolicited events, the ATTACHed event
// socket, and how the plug-in's scan filters reach the supplicant.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "nexhost/ControlSocket.h"
#include "nexhost/LiveSupplicant.h"

namespace {

using nexhost::ControlSocket;

// Answers each scripted request with its datagrams (events first, if a test wants them
// in the way); unscripted requests get no answer. ATTACH subscribes the sender.
class FakeSupplicant {
 public:
  FakeSupplicant() {
    char dir[] = "/tmp/nexhost-test-XXXXXX";
    dir_ = mkdtemp(dir);
    path = dir_ + "/wlan0";
    fd_ = socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    thread_ = std::thread([this] { serve(); });
  }
  ~FakeSupplicant() {
    stop_ = true;
    thread_.join();
    close(fd_);
    unlink(path.c_str());
    rmdir(dir_.c_str());
  }

  void on(const std::string& request, std::vector<std::string> datagrams, int delayMs = 0) {
    std::lock_guard<std::mutex> lock(mutex_);
    script_[request] = std::move(datagrams);
    delayMs_[request] = delayMs;
  }
  std::vector<std::string> received() {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
  }
  void sendEvent(const std::string& text) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const sockaddr_un& a : attached_) {
      sendto(fd_, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&a), sizeof a);
    }
  }

  std::string path;

 private:
  void serve() {
    while (!stop_) {
      pollfd p{fd_, POLLIN, 0};
      if (poll(&p, 1, 20) <= 0) continue;
      char buffer[4096];
      sockaddr_un from{};
      socklen_t fromLen = sizeof from;
      const ssize_t n =
          recvfrom(fd_, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &fromLen);
      if (n < 0) continue;
      const std::string request(buffer, static_cast<std::size_t>(n));
      std::unique_lock<std::mutex> lock(mutex_);
      received_.push_back(request);
      std::vector<std::string> answer;
      if (request == "ATTACH") {
        attached_.push_back(from);
        answer = {"OK\n"};
      } else if (request == "DETACH") {
        answer = {"OK\n"};
      } else if (script_.count(request) != 0) {
        answer = script_[request];
        const int delay = delayMs_[request];
        lock.unlock();
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        lock.lock();
      }
      for (const std::string& d : answer) {
        sendto(fd_, d.data(), d.size(), 0, reinterpret_cast<sockaddr*>(&from), fromLen);
      }
    }
  }

  std::string dir_;
  int fd_ = -1;
  std::atomic<bool> stop_{false};
  std::thread thread_;
  std::mutex mutex_;
  std::map<std::string, std::vector<std::string>> script_;
  std::map<std::string, int> delayMs_;
  std::vector<std::string> received_;
  std::vector<sockaddr_un> attached_;
};

std::unique_ptr<ControlSocket> openOrFail(const std::string& path) {
  std::string error;
  auto socket = ControlSocket::open(path, &error);
  EXPECT_NE(socket, nullptr) << error;
  return socket;
}

TEST(ControlSocketTest, RequestGetsItsReplyPastUnsolicitedEvents) {
  struct Case {
    const char* name;
    std::vector<std::string> datagrams;
    std::string reply;
  } cases[] = {
      {"plain reply", {"PONG\n"}, "PONG\n"},
      {"events before the reply",
       {"<3>CTRL-EVENT-BSS-ADDED 0 02:00:00:00:00:00", "<2>CTRL-EVENT-SCAN-STARTED ", "PONG\n"},
       "PONG\n"},
      {"empty reply (BSS of an unknown BSSID)", {""}, ""},
  };
  for (const Case& c : cases) {
    FakeSupplicant server;
    server.on("PING", c.datagrams);
    auto socket = openOrFail(server.path);
    std::string reply = "stale";
    EXPECT_EQ(socket->request("PING", &reply, 2000), ControlSocket::Status::kOk) << c.name;
    EXPECT_EQ(reply, c.reply) << c.name;
  }
}

TEST(ControlSocketTest, RequestWithoutAnswerTimesOut) {
  FakeSupplicant server;
  server.on("PING", {"<3>CTRL-EVENT-BSS-ADDED 0 02:00:00:00:00:00"});  // an event is no reply
  auto socket = openOrFail(server.path);
  std::string reply;
  EXPECT_EQ(socket->request("PING", &reply, 100), ControlSocket::Status::kTimeout);
}

TEST(ControlSocketTest, LateReplyDoesNotAnswerTheNextRequest) {
  FakeSupplicant server;
  server.on("PING", {"PONG\n"}, 200);
  server.on("STATUS", {"wpa_state=COMPLETED\n"});
  auto socket = openOrFail(server.path);
  std::string reply;
  EXPECT_EQ(socket->request("PING", &reply, 50), ControlSocket::Status::kTimeout);
  std::this_thread::sleep_for(std::chrono::milliseconds(400));  // the PONG is now waiting
  EXPECT_EQ(socket->request("STATUS", &reply, 2000), ControlSocket::Status::kOk);
  EXPECT_EQ(reply, "wpa_state=COMPLETED\n");
}

TEST(ControlSocketTest, UnreachableSocketGivesAClearError) {
  std::string error;
  EXPECT_EQ(ControlSocket::open("/tmp/nexhost-no-such-dir/wlan0", &error), nullptr);
  EXPECT_NE(error.find("/tmp/nexhost-no-such-dir/wlan0"), std::string::npos) << error;
  EXPECT_NE(error.find("No such file or directory"), std::string::npos) << error;
}

TEST(ControlSocketTest, DeniedSocketGivesAClearError) {
  char dir[] = "/tmp/nexhost-test-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  chmod(dir, 0755);
  const std::string path = std::string(dir) + "/wlan0";
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  chmod(path.c_str(), 0);
  auto denied = [&] {
    std::string error;
    return ControlSocket::open(path, &error) == nullptr &&
           error.find(path + ": Permission denied") != std::string::npos;
  };
  if (geteuid() != 0) {
    EXPECT_TRUE(denied());
  } else {
    // Root is never denied: ask as an unprivileged user.
    const pid_t child = fork();
    if (child == 0) {
      if (setgid(65534) != 0 || setuid(65534) != 0) _exit(2);
      _exit(denied() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  }
  close(fd);
  unlink(path.c_str());
  rmdir(dir);
}

class LiveSupplicantTest : public ::testing::Test {
 protected:
  void openLive() {
    std::string error;
    ASSERT_TRUE(live.open(&error)) << error;
  }
  // Waits until the event socket is readable, then lets the backend handle it.
  int handleEventsSoon() {
    pollfd p{live.eventFd(), POLLIN, 0};
    poll(&p, 1, 2000);
    return live.handleEvents();
  }

  FakeSupplicant server;
  nexhost::Clock clock;
  nexhost::Trace trace{clock};
  nexhost::LiveSupplicant live{trace, {server.path, "", 2000}};
};

TEST_F(LiveSupplicantTest, ScanResultsEventOnTheAttachedSocketFiresScanReady) {
  openLive();
  int fired = 0;
  live.registerScanReady([](void*, void* count) { ++*static_cast<int*>(count); }, &fired);
  server.sendEvent("<2>CTRL-EVENT-SCAN-STARTED ");
  server.sendEvent("<2>CTRL-EVENT-SCAN-RESULTS ");
  EXPECT_EQ(handleEventsSoon(), 1);
  EXPECT_EQ(fired, 1);
  const auto requests = server.received();
  EXPECT_EQ(std::count(requests.begin(), requests.end(), "ATTACH"), 1);
}

TEST_F(LiveSupplicantTest, TerminatingSupplicantEndsTheSession) {
  openLive();
  server.sendEvent("<2>CTRL-EVENT-TERMINATING ");
  EXPECT_EQ(handleEventsSoon(), -1);
}

TEST_F(LiveSupplicantTest, CommandRepliesAndFailures) {
  openLive();
  server.on("STATUS", {"wpa_state=COMPLETED\n"});
  server.on("SIGNAL_POLL", {"FAIL\n"});
  server.on("NOPE", {"UNKNOWN COMMAND\n"});
  struct Case {
    supplicantType_t type;
    const char* command;
    bool ok;
    const char* text;
  } cases[] = {
      {SUPPLICANT_STA, "STATUS", true, "wpa_state=COMPLETED\n"},
      {SUPPLICANT_STA, "SIGNAL_POLL", false, "FAIL\n"},
      {SUPPLICANT_STA, "NOPE", false, "UNKNOWN COMMAND\n"},
      {SUPPLICANT_P2P, "STATUS", false, ""},  // no P2P socket configured
  };
  for (const Case& c : cases) {
    const auto reply = live.command(c.type, c.command);
    EXPECT_EQ(reply.ok, c.ok) << c.command;
    EXPECT_EQ(reply.text, c.text) << c.command;
  }
  EXPECT_FALSE(live.connect(SUPPLICANT_P2P));
}

TEST_F(LiveSupplicantTest, ScanFiltersReachTheSupplicant) {
  openLive();
  struct Case {
    const char* bssids;
    const char* frequencies;
    const char* set;
    const char* scan;
  } cases[] = {
      {"02:00:00:00:00:00,02:00:00:00:02:00", "2437,5180",
       "SET bssid_filter 02:00:00:00:00:00 02:00:00:00:02:00", "SCAN freq=2437,5180"},
      {"ff:ff:ff:ff:ff:ff", "1,3", "SET bssid_filter ", "SCAN freq=2400-2500,5150-5895"},
      {"02:00:00:00:00:00,ff:ff:ff:ff:ff:ff", "65535", "SET bssid_filter ", "SCAN"},
      {"", "", "SET bssid_filter ", "SCAN"},
  };
  for (const Case& c : cases) {
    server.on(c.set, {"OK\n"});
    server.on(c.scan, {"OK\n"});
    EXPECT_TRUE(live.setBssidFilter(c.bssids)) << c.bssids;
    live.setFrequencyFilter(c.frequencies);
    EXPECT_TRUE(live.command(SUPPLICANT_STA, "SCAN").ok) << c.frequencies;
    const auto got = server.received();
    ASSERT_GE(got.size(), 2u);
    EXPECT_EQ(got[got.size() - 2], c.set);
    EXPECT_EQ(got.back(), c.scan);
  }
}

TEST(ScanFilterTextTest, FrequencyCodesBecomeScanFrequencies) {
  struct Case {
    const char* codes;
    const char* freq;
  } cases[] = {
      {"2412,2437", "2412,2437"},
      {"1", "2400-2500"},
      {"2", "3650-3700"},
      {"3", "5150-5895"},
      {"2412,,5180", "2412,5180"},  // empty items skipped
      {",,", ""},
      {"2412,65535,5180", ""},           // any frequency lifts the restriction
      {"5180,2412,5180", "5180,2412"},   // repeats dropped, order kept
      {"1,2412,x,0", "2400-2500,2412"},  // unreadable and zero codes skipped
  };
  for (const Case& c : cases) {
    EXPECT_EQ(nexhost::scanFrequencies(c.codes), c.freq) << c.codes;
  }
}

TEST(ScanFilterTextTest, BroadcastBssidClearsTheBssidFilter) {
  struct Case {
    const char* text;
    const char* value;
  } cases[] = {
      {"02:00:00:00:00:00", "02:00:00:00:00:00"},
      {"02:00:00:00:00:00,,02:00:00:00:02:00", "02:00:00:00:00:00 02:00:00:00:02:00"},
      {"FF:FF:FF:FF:FF:FF", ""},
      {"02:00:00:00:00:00,ff:ff:ff:ff:ff:ff", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(nexhost::bssidFilterValue(c.text), c.value) << c.text;
  }
}

}  // namespace
