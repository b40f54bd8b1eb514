#pragma once

#include <string>

// Runs one hostapd_cli command against the device's soft access point through the
// host's fork/exec utility.
class HostapdWrapper {
 public:
  static HostapdWrapper* getInstance();
  static void deleteInstance();

  static const std::string statusCmd;        // "STATUS"
  static const std::string HOSTAPD_CLI_CMD;  // the tool and its control directories

  // Appends the tool's output to `response` (not cleared first); false when the host's
  // utility reports a failure.
  bool execHostapdCommand(std::string command, std::string& response);

 private:
  HostapdWrapper() = default;
  static HostapdWrapper* instancePtr;
};

// Driver hooks of the same unit; both deliberately do nothing.
class WifiUtility {
 public:
  static int loadDriver();
  static int unloadDriver();
};
