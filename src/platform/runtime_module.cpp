#include "velmar/runtime_module.h"

#include <dlfcn.h>

#include <cstdlib>
#include <map>
#include <mutex>
#include <system_error>

namespace velmar {
namespace {

struct Loaded {
  KivResult result = S_OK;
  void* handle = nullptr;
  std::string error;
};

// The first folder that has the file decides: a module there that does not
// load is reported, not passed over for an older one further on.
Loaded Load(const std::string& file) {
  std::string searched;
  for (const std::filesystem::path& folder : RuntimeModuleFolders()) {
    const std::filesystem::path path = folder / file;
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) {
      searched += " " + folder.string();
      continue;
    }
    // Its symbols stay its own: one runtime never binds to another's.
    if (void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return {S_OK, handle, {}};
    const char* why = ::dlerror();
    return {E_MOD_NOT_FOUND, nullptr, file + " does not load: " + (why ? why : path.string())};
  }
  return {E_MOD_NOT_FOUND, nullptr, file + " not found in" + searched};
}

}  // namespace

std::filesystem::path LibraryBinaryFolder() {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&LibraryBinaryFolder), &info) && info.dli_fname) {
    std::filesystem::path self(info.dli_fname);
    if (self.is_absolute()) return self.parent_path();
  }
  std::error_code ec;
  std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
  return ec ? std::filesystem::path() : exe.parent_path();
}

std::vector<std::filesystem::path> RuntimeModuleFolders() {
  if (const char* only = std::getenv("VELMAR_MODULE_DIR"); only && *only) return {only};
  std::vector<std::filesystem::path> folders;
  if (std::filesystem::path beside = LibraryBinaryFolder(); !beside.empty()) {
    folders.push_back(beside);
    folders.push_back((beside / ".." / VELMAR_MODULE_LIBDIR).lexically_normal());
  }
  folders.emplace_back(VELMAR_MODULE_BUILD_DIR);
  folders.emplace_back(VELMAR_MODULE_INSTALL_DIR);
  return folders;
}

KivResult LoadRuntimeModuleEntry(const std::string& file, const char* entry, void** address, std::string* error) {
  static std::mutex mutex;
  static auto* modules = new std::map<std::string, Loaded>();  // never unloaded
  std::lock_guard lock(mutex);
  auto it = modules->find(file);
  if (it == modules->end()) it = modules->emplace(file, Load(file)).first;
  const Loaded& loaded = it->second;
  *address = nullptr;
  if (Failed(loaded.result)) {
    if (error) *error = loaded.error;
    return loaded.result;
  }
  *address = ::dlsym(loaded.handle, entry);
  if (!*address) {
    if (error) *error = file + " has no entry " + entry;
    return E_PROC_NOT_FOUND;
  }
  return S_OK;
}

}  // namespace velmar
