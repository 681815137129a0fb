#pragma once

// Projects of their own for each test, in a folder that goes away, served by a store of the build tree.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/sdk/store_module.h"
#include "store_modules.h"

namespace kyv_test {

// Where files need not reach a disk: for tests that make very many.
inline std::filesystem::path folderInMemory() {
  const std::filesystem::path memory = "/dev/shm";
  return std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
}

class StoreFolder {
 public:
  explicit StoreFolder(const std::string& store = "sqlite",
                       const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
    setenv("KYV_STORE", store.c_str(), 1);
    setenv("KYV_STORE_MODULES", kStoreModules, 1);
    std::string name = parent / "kyv_store_XXXXXX";
    folder_ = mkdtemp(name.data());
    setenv("KYV_STORE_DIR", folder_.c_str(), 1);
    setenv("XDG_CONFIG_HOME", folder_.c_str(), 1);
  }
  ~StoreFolder() {
    std::filesystem::remove_all(folder_);
    for (const char* name : {"KYV_STORE", "KYV_STORE_MODULES", "KYV_STORE_DIR", "XDG_CONFIG_HOME"}) unsetenv(name);
  }
  StoreFolder(const StoreFolder&) = delete;
  StoreFolder& operator=(const StoreFolder&) = delete;

  const std::filesystem::path& path() const { return folder_; }

 private:
  std::filesystem::path folder_;
};

// Unlike any other test's, should a store outlive the folder.
inline kyv_internal::ProjectAddress newProject() {
  static int count = 0;
  return {"localhost:0", "test", "p" + std::to_string(getpid()), std::to_string(++count)};
}

}  // namespace kyv_test
