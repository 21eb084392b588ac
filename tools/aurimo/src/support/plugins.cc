#include "support/plugins.h"

#include <dlfcn.h>

#include <filesystem>
#include <map>
#include <mutex>
#include <system_error>

namespace aurimo::tool {

void* pluginSymbol(const std::string& name, const char* symbol, std::string& problem) {
  static std::mutex mutex;
  static std::map<std::string, void*> loaded;  // never closed: their code may be running on other threads
  std::lock_guard lock(mutex);
  void*& handle = loaded[name];
  if (!handle) {
    std::error_code error;
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
      problem = "cannot find the program's folder: " + error.message();
      return nullptr;
    }
    const std::string path = (executable.parent_path() / ("aurimo-" + name + ".so")).string();
    handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
      const char* reason = ::dlerror();
      problem = reason ? reason : "cannot load " + path;  // dlerror() names the file
      return nullptr;
    }
  }
  void* entry = ::dlsym(handle, symbol);
  if (!entry) problem = "aurimo-" + name + ".so has no " + symbol;
  return entry;
}

}  // namespace aurimo::tool
