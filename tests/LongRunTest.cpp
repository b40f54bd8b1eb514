// nexhost over long and large runs: memory flat in virtual time, timers at logarithmic cost.
#include <gtest/gtest.h>
#include <malloc.h>

#include <ctime>

#include "Indications.h"
#include "MdxWifiClientMgr.h"
#include "TestHost.h"

namespace {

long long heapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<long long>(info.uordblks + info.hblkhd);
}

double cpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

// A scan measurement with BSS load and a connected one, sampled and reported every unit,
// watched as nexhost watches them: every event to an observer, warnings and errors traced.
TEST(LongRunTest, MemoryStaysFlatInVirtualTime) {
  nexhost::Host host;
  std::size_t reports = 0;
  host.trace.addObserver(
      [](const nexhost::Event& e, void* n) { *static_cast<std::size_t*>(n) += e.kind == "modem"; },
      &reports);
  host.logger.setTraceLevel(3);
  nexhost::ScriptedSupplicant& supplicant = *host.scripted();
  supplicant.setReply("SCAN", "OK");
  supplicant.setReply("SCAN_RESULTS", readTestData("hwsim/scan_results.txt"));
  supplicant.setReply("BSS 02:00:00:00:00:00", readTestData("hwsim/bss.txt"));
  supplicant.setReply("SIGNAL_POLL", readTestData("hwsim/signal_poll.txt"));
  supplicant.setReply("STATUS", readTestData("hwsim/status.txt"));
  supplicant.setScanReadyDelay(0);
  MdxWifiClientMgr* manager = MdxWifiClientMgr::getInstance();
  manager->initializeLinks(&host.com, &host.timer, &host.supplicant());
  auto scan = testind::indication(
      1, DSD_WIFI_MEAS_PARAM_RSSI_V01 | DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01, {testind::anySsid()});
  auto link = testind::indication(2, DSD_WIFI_MEAS_PARAM_RSSI_V01, {testind::connected()});
  for (auto* ind : {&scan, &link}) {
    testind::setIntervals(*ind, 1, 1);
    ASSERT_TRUE(manager->startWifiMeasurement(&host.client(), *ind));
  }
  host.scheduler.advanceBy(50);  // allocator pools and the plug-in's stores reach their size
  const long long before = heapInUse();
  host.scheduler.advanceBy(500);
  EXPECT_LT(heapInUse() - before, 64 * 1024);
  EXPECT_GT(reports, 1000u);
  manager->stopAllRequests(&host.client());
}

// 100,000 firings of timers due every unit: 20,000 timers cost about what 2,000 do, as a
// firing costs a logarithm of what is pending (a walk over every timer made it ten times).
TEST(LongRunTest, ManyTimersFireInLogarithmicTime) {
  auto cpuSecondsFor = [](int timers) {
    nexhost::Clock clock;
    nexhost::Trace trace{clock};
    nexhost::Scheduler scheduler{clock, trace};
    long long fired = 0;
    auto count = [](void* n) {
      ++*static_cast<long long*>(n);
      return 0;
    };
    for (int i = 0; i < timers; ++i) scheduler.addTimer(1, count, &fired);
    const double start = cpuSeconds();
    scheduler.advanceBy(100000 / timers);
    EXPECT_EQ(fired, 100000);
    return cpuSeconds() - start;
  };
  const double few = cpuSecondsFor(2000);
  EXPECT_LT(cpuSecondsFor(20000), 3 * few + 0.05);
}

}  // namespace
