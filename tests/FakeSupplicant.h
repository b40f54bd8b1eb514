// A small wpa_supplicant stand-in on a UNIX datagram socket, for the live transport's
// tests.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
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

// Answers each scripted request with its datagrams (events first, if a test wants them
// in the way); unscripted requests get no answer. ATTACH subscribes the sender; PING gets
// PONG. One request at a time, each after its delay, as the real one does.
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
    die(true);
    rmdir(dir_.c_str());
  }

  // Ends like a killed supplicant: its socket closes, and its file stays unless removed.
  void die(bool removeSocket) {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    std::lock_guard<std::mutex> lock(mutex_);
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
    if (removeSocket) unlink(path.c_str());
  }
  // Stops answering anything, socket open (a hung supplicant).
  void hang() { hung_ = true; }
  // Every answer waits this long, unless its request has a delay of its own.
  void setReplyDelay(int ms) { replyDelayMs_ = ms; }

  void on(const std::string& request, std::vector<std::string> datagrams, int delayMs = 0) {
    std::lock_guard<std::mutex> lock(mutex_);
    script_[request] = std::move(datagrams);
    delayMs_[request] = delayMs;
  }
  std::vector<std::string> received() {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
  }
  // Whether `request` arrives within `ms` milliseconds.
  bool waitFor(const std::string& request, int ms) {
    for (int waited = 0;; waited += 10) {
      const auto got = received();
      if (std::find(got.begin(), got.end(), request) != got.end()) return true;
      if (waited >= ms) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  // To every ATTACHed client; dropped when its queue is full, as the real one does.
  void sendEvent(const std::string& text) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const sockaddr_un& a : attached_) {
      sendto(fd_, text.data(), text.size(), MSG_DONTWAIT, reinterpret_cast<const sockaddr*>(&a),
             sizeof a);
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
      if (n < 0 || hung_) continue;
      const std::string request(buffer, static_cast<std::size_t>(n));
      std::unique_lock<std::mutex> lock(mutex_);
      received_.push_back(request);
      std::vector<std::string> answer;
      int delay = replyDelayMs_;
      if (request == "ATTACH") {
        attached_.push_back(from);
        answer = {"OK\n"};
      } else if (request == "DETACH" && script_.count(request) == 0) {
        answer = {"OK\n"};
      } else if (request == "PING" && script_.count(request) == 0) {
        answer = {"PONG\n"};
      } else if (script_.count(request) != 0) {
        answer = script_[request];
        if (delayMs_[request] != 0) delay = delayMs_[request];
      }
      lock.unlock();
      const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(delay);
      while (!stop_ && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      }
      lock.lock();
      for (const std::string& d : answer) {
        sendto(fd_, d.data(), d.size(), 0, reinterpret_cast<sockaddr*>(&from), fromLen);
      }
    }
  }

  std::string dir_;
  int fd_ = -1;
  std::atomic<bool> stop_{false};
  std::atomic<bool> hung_{false};
  std::atomic<int> replyDelayMs_{0};
  std::thread thread_;
  std::mutex mutex_;
  std::map<std::string, std::vector<std::string>> script_;
  std::map<std::string, int> delayMs_;
  std::vector<std::string> received_;
  std::vector<sockaddr_un> attached_;
};
