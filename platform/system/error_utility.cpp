#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include "kyv/system.h"
#include "platform/system/message_bundle.h"
#include "platform/system/message_places.h"

namespace DALVON::Kyv {

namespace {

namespace fs = std::filesystem;

// The folder of this library, empty when it cannot be told. Without symbolic links: /lib may be one to /usr/lib, which
// has other neighbours.
fs::path libraryFolder() {
  Dl_info library{};
  if (dladdr(reinterpret_cast<const void*>(&ErrorUtility::initialize), &library) == 0) return {};
  std::error_code error;
  const fs::path path = fs::canonical(library.dli_fname, error);
  if (error == std::errc::not_enough_memory) throw std::bad_alloc();
  return path.parent_path();
}

fs::path messagesFolder() {
  std::error_code error;
  // A process with more rights than its caller takes no data from where the caller says.
  if (const char* given = secure_getenv("KYV_MESSAGES_DIR"); given != nullptr && *given != '\0') {
    return fs::absolute(given, error);
  }
  const fs::path library = libraryFolder();
  if (library.empty()) return {};
  const fs::path beside = library / "kyv/messages";
  return fs::is_directory(beside, error) ? beside : library / kyv_internal::kMessagesFromLibrary;
}

// All modules that were asked for.
class Catalogue {
 public:
  ModuleErrors& module(const std::string& name) {
    const std::lock_guard lock(mutex_);
    return modules_.try_emplace(name, folder_, name).first->second;
  }

 private:
  const std::string folder_ = messagesFolder();
  std::mutex mutex_;
  std::map<std::string, ModuleErrors> modules_;
};

// Never destroyed: destructors of static objects may still ask for messages.
Catalogue& catalogue() {
  static Catalogue& instance = *std::make_unique<Catalogue>().release();
  return instance;
}

using Parameters = std::vector<std::string_view>;

std::string compose(const kyv_internal::MessageBundle& bundle, const std::string& id, const Parameters& parameters) {
  if (std::optional<std::string> message = bundle.format(id, parameters)) return *std::move(message);
  std::string text = id;
  for (const std::string_view parameter : parameters) text.append(1, ' ').append(parameter);
  return text;
}

}  // namespace

void ErrorUtility::initialize() { catalogue(); }

ModuleErrors* ErrorUtility::getModuleErrors(const std::string& module) { return &catalogue().module(module); }

ModuleErrors::ModuleErrors(const std::string& folder, const std::string& module)
    : bundle_(std::make_unique<const kyv_internal::MessageBundle>(folder, module)) {}

ModuleErrors::~ModuleErrors() = default;

std::string ModuleErrors::getMessage(const std::string& id) const { return compose(*bundle_, id, {}); }

std::string ModuleErrors::getMessage(const std::string& id, const std::string& p1) const {
  return compose(*bundle_, id, {p1});
}

std::string ModuleErrors::getMessage(const std::string& id, const std::string& p1, const std::string& p2) const {
  return compose(*bundle_, id, {p1, p2});
}

std::string ModuleErrors::getMessage(const std::string& id, const std::string& p1, const std::string& p2,
                                     const std::string& p3) const {
  return compose(*bundle_, id, {p1, p2, p3});
}

std::string ModuleErrors::getMessage(const std::string& id, const std::string& p1, const std::string& p2,
                                     const std::string& p3, const std::string& p4) const {
  return compose(*bundle_, id, {p1, p2, p3, p4});
}

std::string ModuleErrors::getMessage(const std::string& id, const std::string& p1, const std::string& p2,
                                     const std::string& p3, const std::string& p4, const std::string& p5) const {
  return compose(*bundle_, id, {p1, p2, p3, p4, p5});
}

std::string ModuleErrors::getMessage(const std::string& id, const char* const* parameters, int count) const {
  Parameters texts;
  for (int i = 0; i < count; ++i) texts.emplace_back(parameters[i] == nullptr ? "" : parameters[i]);
  return compose(*bundle_, id, texts);
}

}  // namespace DALVON::Kyv
