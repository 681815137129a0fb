#include "platform/system/message_bundle.h"

#include <unicode/fmtable.h>
#include <unicode/msgfmt.h>
#include <unicode/unistr.h>

#include <new>

namespace kyv_internal {

namespace {

// ICU's strings do not throw when memory is exhausted, and count as empty then.
void check(const icu::UnicodeString& text, UErrorCode status) {
  if (status == U_MEMORY_ALLOCATION_ERROR || text.isBogus()) throw std::bad_alloc();
}

// Whether the format has read the whole pattern; without memory for a copy it reads an empty one.
bool hasPattern(const icu::MessageFormat& message, const icu::UnicodeString& pattern) {
  icu::UnicodeString read;
  return message.toPattern(read) == pattern && !pattern.isBogus();
}

// Parameters are plain text, whatever they contain: only the pattern is read for braces and quotes.
std::vector<icu::Formattable> formattable(const std::vector<std::string_view>& parameters) {
  std::vector<icu::Formattable> values;
  values.reserve(parameters.size());
  for (const std::string_view parameter : parameters) {
    UErrorCode status = U_ZERO_ERROR;
    check(values.emplace_back(icu::UnicodeString::fromUTF8(parameter)).getString(status), status);
  }
  return values;
}

}  // namespace

MessageBundle::MessageBundle(const std::string& folder, const std::string& module)
    : texts_((folder + '/' + module).c_str(), locale_, opening_) {
  if (opening_ == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
}

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
  check(text, status);
  if (U_SUCCESS(status) && !hasPattern(message, pattern)) throw std::bad_alloc();
  if (U_FAILURE(status)) return std::nullopt;
  std::string utf8;
  return text.toUTF8String(utf8);
}

}  // namespace kyv_internal
