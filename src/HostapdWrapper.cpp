#define MDX_LOG_MODULE_ID 10359
#include "HostapdWrapper.h"

#include <cstring>

#include "Log.h"
#include "nex/NexUtils.h"

namespace {

constexpr int kChipsetWithSoftApInterface = 4;
constexpr int32_t kOutputCapacity = 1000;
constexpr int32_t kForkExecMode = 2;
const char kSoftApInterface[] = " -i softap0 ";
const char kStationInterface[] = " -i wlan0 ";

}  // namespace

HostapdWrapper* HostapdWrapper::instancePtr = nullptr;
const std::string HostapdWrapper::statusCmd = "STATUS";
const std::string HostapdWrapper::HOSTAPD_CLI_CMD =
    "hostapd_cli -p /data/vendor/wifi/hostapd/ctrl -s /data/vendor/wifi/hostapd/ctrl";

HostapdWrapper* HostapdWrapper::getInstance() {
  if (instancePtr == nullptr) instancePtr = new HostapdWrapper();
  return instancePtr;
}

void HostapdWrapper::deleteInstance() {
  if (instancePtr == nullptr) return;
  delete instancePtr;
  instancePtr = nullptr;
}

bool HostapdWrapper::execHostapdCommand(std::string command, std::string& response) {
  char output[kOutputCapacity];
  std::memset(output, 0, sizeof output);
  // Asked afresh every time: the chipset decides which interface carries the soft AP.
  const char* selector = NexUtils::getWlanChipsetType() == kChipsetWithSoftApInterface
                             ? kSoftApInterface
                             : kStationInterface;
  const std::string commandLine = HOSTAPD_CLI_CMD + selector + command;

  NexForkExecOpt options;
  std::memset(&options, 0, sizeof options);
  options.outputBuffer = output;
  options.outputCapacity = kOutputCapacity;
  options.mode = kForkExecMode;

  const int result = NexUtils::forkExec(commandLine.c_str(), &options);
  if (result != 0) {
    MDX_LOG(4, "forkExec failed with error %d", result);
    return false;
  }
  output[kOutputCapacity - 1] = '\0';  // whatever the host wrote, the text ends here
  response.append(output);             // appended: the caller's text stays in front
  MDX_LOG(0, "Command : %s and Response: %s", command.c_str(), response.c_str());
  return true;
}

// Both hooks share one body on purpose: the driver is managed elsewhere.
static int noDriverAction() { return 0; }
int WifiUtility::loadDriver() { return noDriverAction(); }
int WifiUtility::unloadDriver() { return noDriverAction(); }
