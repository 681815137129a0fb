#include "load_messages.h"

#include <memory>
#include <vector>

#include "kyv/flat.h"

namespace kyv_internal {

std::string userMessage(const char* id, std::initializer_list<std::string> parameters) {
  std::vector<std::string> copies(parameters);
  std::vector<char*> texts;
  texts.reserve(copies.size());
  for (std::string& copy : copies) texts.push_back(copy.data());
  const std::unique_ptr<char, void (*)(char*)> text(
      getL10NMessageWithMultParams(id, static_cast<int>(texts.size()), texts.data()), deleteL10NMessage);
  return text == nullptr ? id : text.get();
}

}  // namespace kyv_internal
