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

std::string Plugin::besideHostLibrary() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&Plugin::besideHostLibrary), &info) == 0 ||
      info.dli_fname == nullptr) {
    return "libmdxwifi.so";  // left to the loader's search path
  }
  std::string path = info.dli_fname;
  const std::size_t slash = path.rfind('/');
  path.erase(slash == std::string::npos ? 0 : slash + 1);
  return path + "libmdxwifi.so";
}

// The plug-in's singletons live until the process ends, as on the handset: never unload.
Plugin::~Plugin() = default;

}  // namespace nexhost
