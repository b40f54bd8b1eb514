#include "framework/Plugin.h"

#include <dlfcn.h>

namespace nexhost {

std::unique_ptr<Plugin> Plugin::load(const std::string& path, std::string* error) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    if (error != nullptr) *error = dlerror();
    return nullptr;
  }
  void* entry = dlsym(handle, "init");
  if (entry == nullptr) {
    if (error != nullptr) *error = path + ": no symbol 'init'";
    dlclose(handle);
    return nullptr;
  }
  auto init = reinterpret_cast<InitFunction>(entry);
  return std::unique_ptr<Plugin>(new Plugin(handle, init()));
}

// The plug-in's singletons live until the process ends, as on the handset: never unload.
Plugin::~Plugin() = default;

}  // namespace nexhost
