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

// The output is appended to the caller's text, at most 999 bytes of it; a failed run leaves
// the text alone.
TEST_F(HostapdWrapperTest, OutputIsAppendedWithinTheBufferAndAFailureAddsNothing) {
  struct Case {
    std::string output;
    int exitCode;
    bool ok;
    std::string response;
  } cases[] = {
      {"state=ENABLED\n", 0, true, "before|state=ENABLED\n"},
      {"", 0, true, "before|"},
      {std::string(1500, 'x'), 0, true, "before|" + std::string(999, 'x')},
      {"ignored", 3, false, "before|"},
  };
  for (const Case& c : cases) {
    host.platform.forkScripts[kPrefix + " -i wlan0 STATUS"] = {{c.output, c.exitCode}};
    std::string response = "before|";
    EXPECT_EQ(HostapdWrapper::getInstance()->execHostapdCommand("STATUS", response), c.ok);
    EXPECT_EQ(response, c.response) << c.output.size();
  }
  const nexhost::LogLine* line = host.logger.find("forkExec failed with error 3");
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->level, 4);
  EXPECT_EQ(line->module, 10359);
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
