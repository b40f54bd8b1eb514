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
