#pragma once

#include <memory>
#include <string>

#include "framework/ClientManager.h"

namespace nexhost {

// The plug-in loaded as the handset loads it: dlopen, then its exported init.
class Plugin {
 public:
  // Null, with `error` set, when the library or its init cannot be found.
  static std::unique_ptr<Plugin> load(const std::string& path, std::string* error);
  // The plug-in that ships with this libnex: the libmdxwifi.so in the same directory, in
  // the build tree and in an installed tree alike, wherever that tree was moved.
  static std::string besideHostLibrary();
  ~Plugin();
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  ClientManager* manager() const { return manager_; }

 private:
  Plugin(void* handle, ClientManager* manager) : handle_(handle), manager_(manager) {}
  void* handle_;
  ClientManager* manager_;
};

}  // namespace nexhost
