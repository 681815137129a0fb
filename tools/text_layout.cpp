#include "text_layout.h"

#include "kyv/string_utility.h"

namespace kyv_internal {

using DALVON::Kyv::strprintf;

const TextLayout::Spelling TextLayout::kSpellings[3] = {
    {"date", &TextLayout::dateFormat, &TextLayout::dateModel},
    {"timestamp", &TextLayout::timestampFormat, &TextLayout::timestampModel},
    {"time", &TextLayout::timeFormat, &TextLayout::timeModel}};

bool TextLayout::checkModels(ModelUse use, std::string& error) const {
  for (const Spelling& spelling : kSpellings) {
    const std::optional<std::string>& text = this->*spelling.model;
    if (!text) continue;
    const kyv::TimeModel model(*text);
    const kyv::ModelFault fault = use == ModelUse::kPrint ? model.formatFault() : model.parseFault();
    if (!fault) continue;
    error = strprintf("%s model \"%s\": \"%s\": %s", spelling.type, text->c_str(),
                      text->substr(fault.position, fault.length).c_str(), fault.message);
    return false;
  }
  return true;
}

const char* refuseSeparator(std::string_view separator) {
  const bool oneCharacter = separator.size() == 1 && static_cast<signed char>(separator.front()) >= 0;
  if (!oneCharacter) return "must be one ASCII character";
  const bool special = std::string_view("\"\r\n\0", 4).find(separator.front()) != std::string_view::npos;
  return special ? "cannot be a quote, a line end or NUL" : nullptr;
}

}  // namespace kyv_internal
