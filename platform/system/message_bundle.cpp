#include "platform/system/message_bundle.h"

#include <unicode/fmtable.h>
#include <unicode/msgfmt.h>
#include <unicode/unistr.h>

namespace kyv_internal {

namespace {

// Parameters are plain text, whatever they contain: only the pattern is read for braces and quotes.
std::vector<icu::Formattable> formattable(const std::vector<std::string_view>& parameters) {
  std::vector<icu::Formattable> values;
  values.reserve(parameters.size());
  for (const std::string_view parameter : parameters) values.emplace_back(icu::UnicodeString::fromUTF8(parameter));
  return values;
}

}  // namespace

MessageBundle::MessageBundle(const std::string& folder, const std::string& module)
    : texts_((folder + '/' + module).c_str(), locale_, opening_) {}

std::optional<std::string> MessageBundle::format(const std::string& id,
                                                 const std::vector<std::string_view>& parameters) const {
  // ICU reads a key up to its first NUL byte and would find the text of a shorter id.
  if (U_FAILURE(opening_) || id.find('\0') != std::string::npos) return std::nullopt;

  // After a failure each further ICU call does nothing, so that one check at the end is enough.
  UErrorCode status = U_ZERO_ERROR;
  const icu::UnicodeString pattern = texts_.getStringEx(id.c_str(), status);
  const icu::MessageFormat message(pattern, locale_, status);
  const std::vector<icu::Formattable> values = formattable(parameters);
  icu::UnicodeString text;
  icu::FieldPosition position(icu::FieldPosition::DONT_CARE);
  message.format(values.data(), static_cast<int32_t>(values.size()), text, position, status);
  if (U_FAILURE(status)) return std::nullopt;
  std::string utf8;
  return text.toUTF8String(utf8);
}

}  // namespace kyv_internal
