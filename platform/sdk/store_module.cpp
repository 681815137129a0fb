#include "platform/sdk/store_module.h"

#include <dlfcn.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <new>
#include <system_error>

#include "platform/sdk/settings.h"

namespace kyv_internal {

namespace {

namespace fs = std::filesystem;

// The folder of this library. Without symbolic links: /lib may be one to /usr/lib, which has other neighbours.
fs::path libraryFolder() {
  Dl_info library{};
  if (dladdr(std::bit_cast<const void*>(&openStore), &library) == 0) return {};
  std::error_code error;
  const fs::path path = fs::canonical(library.dli_fname, error);
  if (error == std::errc::not_enough_memory) throw std::bad_alloc();
  return path.parent_path();
}

bool isModuleName(const std::string& name) {
  return std::all_of(name.begin(), name.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

fs::path modulePath(const std::string& folder, const std::string& name) {
  return (folder.empty() ? libraryFolder() : fs::path(folder)) / ("libkyv_store_" + name + ".so");
}

// dlopen gives the same module again when it is open already.
OpenStore findOpenStore(const fs::path& path, Failure& failure) {
  void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const function = module != nullptr ? dlsym(module, kOpenStoreName) : nullptr;
  if (function != nullptr) return std::bit_cast<OpenStore>(function);
  const char* const reason = dlerror();
  fail(failure, KYV_ERROR_STORE, "the store cannot be opened: %s", reason != nullptr ? reason : "it has no entry");
  return nullptr;
}

}  // namespace

OpenStore findStoreModule(const std::string& name, const Settings& settings, Failure& failure) {
  if (isModuleName(name)) return findOpenStore(modulePath(settings.get("KYV_STORE_MODULES"), name), failure);
  fail(failure, KYV_ERROR_USAGE, "KYV_STORE is '%s', which is no store's name", name.c_str());
  return nullptr;
}

std::unique_ptr<EventStore> openStore(const ProjectAddress& project, Failure& failure) {
  Settings settings;
  if (!settings.read(failure)) return nullptr;
  const std::string chosen = settings.get("KYV_STORE");
  const OpenStore open = findStoreModule(chosen.empty() ? "sqlite" : chosen, settings, failure);
  return std::unique_ptr<EventStore>(open != nullptr ? open(project, settings, failure) : nullptr);
}

std::unique_ptr<EventStore> reopenStore(const ProjectAddress& project, Failure& failure) {
  ProjectAddress existing = project;
  existing.ifMissing = IfMissing::Fail;
  return openStore(existing, failure);
}

}  // namespace kyv_internal
