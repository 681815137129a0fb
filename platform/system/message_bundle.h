#pragma once

// The texts of one message module in the language of the environment: an ICU resource bundle whose strings are
// MessageFormat patterns. ICU's inheritance (de_AT, de, root) finds the nearest language, English at the root.
//
// Threads: constant after construction; any thread may format.

#include <unicode/locid.h>
#include <unicode/resbund.h>
#include <unicode/utypes.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kyv_internal {

class MessageBundle {
 public:
  // `folder` is absolute: ICU looks up relative names among its own data. Throws when memory is exhausted, as format
  // does.
  MessageBundle(const std::string& folder, const std::string& module);

  // The finished text in UTF-8. Nothing when there is no text under `id`, or when it is no pattern for plain texts.
  [[nodiscard]] std::optional<std::string> format(const std::string& id,
                                                  const std::vector<std::string_view>& parameters) const;

 private:
  UErrorCode opening_ = U_ZERO_ERROR;
  icu::Locale locale_;
  icu::ResourceBundle texts_;
};

}  // namespace kyv_internal
