// The hostapd_cli runner: interface choice, output capture, failures.
#include <gtest/gtest.h>

#include "HostapdWrapper.h"
#include "TestHost.h"

namespace {

const std::string kPrefix =
    "hostapd_cli -p /data/vendor/wifi/hostapd/ctrl -s /data/vendor/wifi/hostapd/ctrl";

using HostapdWrapperTest = PluginTest;

TEST_F(HostapdWrapperTest, ChipsetTypeFourSelectsTheSoftApInterface) {
  struct Case {
    int chipset;
    std::string line;
  } cases[] = {
      {4, kPrefix + " -i softap0 STATUS"}, {0, kPrefix + " -i wlan0 STATUS"},
      {3, kPrefix + " -i wlan0 STATUS"},   {5, kPrefix + " -i wlan0 STATUS"},
      {-1, kPrefix + " -i wlan0 STATUS"},
  };
  for (const Case& c : cases) {
    host.platform.chipsetType = c.chipset;
    std::string response;
    HostapdWrapper::getInstance()->execHostapdCommand("STATUS", response);
    ASSERT_FALSE(host.platform.forkedCommands().empty());
    EXPECT_EQ(host.platform.forkedCommands().back(), c.line) << "chipset " << c.chipset;
  }
}

TEST_F(HostapdWrapperTest, AppendsOutputToTheCallersText) {
  host.platform.forkScripts[kPrefix + " -i wlan0 STATUS"] = {{"state=ENABLED\n", 0}};
  std::string response = "before|";
  EXPECT_TRUE(HostapdWrapper::getInstance()->execHostapdCommand("STATUS", response));
  EXPECT_EQ(response, "before|state=ENABLED\n");
  const nexhost::LogLine* line =
      host.logger.find("Command : STATUS and Response: before|state=ENABLED\n");
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->module, 10359);
}

TEST_F(HostapdWrapperTest, FailedForkLeavesTheResponseAndLogsTheCode) {
  host.platform.forkScripts[kPrefix + " -i wlan0 STATUS"] = {{"ignored", 3}};
  std::string response = "kept";
  EXPECT_FALSE(HostapdWrapper::getInstance()->execHostapdCommand("STATUS", response));
  EXPECT_EQ(response, "kept");
  const nexhost::LogLine* line = host.logger.find("forkExec failed with error 3");
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->level, 4);
  EXPECT_EQ(line->module, 10359);
}

TEST_F(HostapdWrapperTest, OutputIsCutAtTheBufferCapacity) {
  host.platform.forkScripts[kPrefix + " -i wlan0 STATUS"] = {{std::string(1500, 'x'), 0}};
  std::string response;
  EXPECT_TRUE(HostapdWrapper::getInstance()->execHostapdCommand("STATUS", response));
  EXPECT_EQ(response.size(), 999u);
}

TEST_F(HostapdWrapperTest, EmptyOutputStillSucceeds) {
  host.platform.forkScripts[kPrefix + " -i wlan0 STATUS"] = {{"", 0}};
  std::string response;
  EXPECT_TRUE(HostapdWrapper::getInstance()->execHostapdCommand("STATUS", response));
  EXPECT_EQ(response, "");
}

TEST(HostapdWrapperInstanceTest, DeleteInstanceMakesANewOneAndIsHarmlessTwice) {
  HostapdWrapper* first = HostapdWrapper::getInstance();
  EXPECT_EQ(HostapdWrapper::getInstance(), first);
  HostapdWrapper::deleteInstance();
  HostapdWrapper::deleteInstance();
  HostapdWrapper* second = HostapdWrapper::getInstance();
  EXPECT_NE(second, nullptr);
  EXPECT_EQ(WifiUtility::loadDriver(), 0);
  EXPECT_EQ(WifiUtility::unloadDriver(), 0);
}

}  // namespace
