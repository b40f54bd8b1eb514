// The live supplicant transport against a small wpa_supplicant stand-in on a UNIX
// datagram socket: requests and replies, timeouts, unsolicited events, the ATTACHed event
// socket, and how the plug-in's scan filters reach the supplicant.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "FakeSupplicant.h"
#include "framework/FilterCommands.h"
#include "live/ControlSocket.h"
#include "live/LiveSupplicant.h"

namespace {

using nexhost::ControlSocket;

std::unique_ptr<ControlSocket> openOrFail(const std::string& path) {
  std::string error;
  auto socket = ControlSocket::open(path, &error);
  EXPECT_NE(socket, nullptr) << error;
  return socket;
}

TEST(ControlSocketTest, RequestGetsItsWholeReplyPastUnsolicitedEvents) {
  const std::string longest(nexhost::kMaxDatagramBytes, 'x');
  struct Case {
    const char* name;
    std::vector<std::string> datagrams;
    ControlSocket::Status status;
    std::string reply;
  } cases[] = {
      {"plain reply", {"PONG\n"}, ControlSocket::Status::kOk, "PONG\n"},
      {"events before the reply",
       {"<3>CTRL-EVENT-BSS-ADDED 0 02:00:00:00:00:00", "IFNAME=wlan0 <2>CTRL-EVENT-SCAN-STARTED ",
        "PONG\n"},
       ControlSocket::Status::kOk,
       "PONG\n"},
      {"empty reply (BSS of an unknown BSSID)", {""}, ControlSocket::Status::kOk, ""},
      {"any byte, a NUL included",
       {std::string("ssid=a\0b\xff\n", 11)},
       ControlSocket::Status::kOk,
       std::string("ssid=a\0b\xff\n", 11)},
      {"the longest reply taken", {longest}, ControlSocket::Status::kOk, longest},
      {"one byte longer: refused, not cut",
       {longest + "y"},
       ControlSocket::Status::kOversize,
       "untouched"},
  };
  for (const Case& c : cases) {
    FakeSupplicant server;
    server.on("PING", c.datagrams);
    auto socket = openOrFail(server.path);
    std::string reply = "untouched";
    EXPECT_EQ(socket->request("PING", &reply, 2000), c.status) << c.name;
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

// Each way a socket cannot be reached is told in its own words, naming the path.
TEST(ControlSocketTest, UnreachableSocketSaysWhy) {
  char dirTemplate[] = "/tmp/nexhost-socket-test-XXXXXX";
  ASSERT_NE(mkdtemp(dirTemplate), nullptr);
  const std::string dir = dirTemplate;
  // A socket left behind by a supplicant that stopped: bound, then closed, not removed.
  const std::string stale = dir + "/wlan1";
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s", stale.c_str());
  ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  close(fd);
  const std::string file = dir + "/notes";
  std::fclose(std::fopen(file.c_str(), "w"));
  const struct {
    std::string path;
    std::string says;
  } cases[] = {
      {dir, "a directory, not a control socket (name the interface: -p " + dir +
                " -i IFACE; sockets there: wlan1)"},
      {dir + "/wlan0", "No such file or directory (no such socket; sockets in " + dir + ": wlan1)"},
      {"/tmp/nexhost-no-such-dir/wlan0",
       "No such file or directory (no directory /tmp/nexhost-no-such-dir: is wpa_supplicant "
       "running, with ctrl_interface=/tmp/nexhost-no-such-dir?)"},
      {stale, "Connection refused (a stale socket: nobody listens on it"},
      {file, "a regular file, not a control socket"},
  };
  for (const auto& c : cases) {
    std::string error;
    EXPECT_EQ(ControlSocket::open(c.path, &error), nullptr) << c.path;
    EXPECT_EQ(error.rfind("cannot reach wpa_supplicant at " + c.path + ": ", 0), 0u) << error;
    EXPECT_NE(error.find(c.says), std::string::npos) << error;
  }
  unlink(stale.c_str());
  unlink(file.c_str());
  rmdir(dir.c_str());
}

class LiveSupplicantTest : public ::testing::Test {
 protected:
  void openLive() {
    std::string error;
    ASSERT_TRUE(live.open(&error)) << error;
  }
  // Waits until the event socket is readable, then lets the backend handle it.
  int handleEventsSoon(const std::function<void()>& beforeEach = nullptr) {
    pollfd p{live.eventFd(), POLLIN, 0};
    poll(&p, 1, 2000);
    return live.handleEvents(beforeEach);
  }

  FakeSupplicant server;
  nexhost::Clock clock;
  nexhost::Trace trace{clock};
  nexhost::LiveSupplicant live{trace, {server.path, "", 2000}};
};

// Results that came while the plug-in was busy are read in one go: one scan-ready.
TEST_F(LiveSupplicantTest, WaitingScanResultsEventsFireScanReadyOnce) {
  openLive();
  int fired = 0;
  live.registerScanReady([](void*, void* count) { ++*static_cast<int*>(count); }, &fired);
  std::vector<nexhost::Event> seen;
  trace.addObserver([](const nexhost::Event& e,
                       void* out) { static_cast<std::vector<nexhost::Event>*>(out)->push_back(e); },
                    &seen);
  server.sendEvent("<2>CTRL-EVENT-SCAN-STARTED ");
  server.sendEvent("<2>CTRL-EVENT-SCAN-RESULTS ");
  server.sendEvent("<3>CTRL-EVENT-BSS-ADDED 0 02:00:00:00:00:00");
  server.sendEvent("<2>CTRL-EVENT-SCAN-RESULTS ");
  int before = 0;
  EXPECT_EQ(handleEventsSoon([&] { ++before; }), 1);
  EXPECT_EQ(fired, 1);
  EXPECT_EQ(before, 4);  // the clock moves before each event
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].data["events"], 2);
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
