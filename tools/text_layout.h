#pragma once

// How delimited text is written: what the command line says, else the schema file, else a row's own defaults.

#include <optional>
#include <string>
#include <string_view>

namespace kyv_internal {

struct TextLayout {
  std::optional<char> separator;
  std::optional<bool> header;  // the first line holds column names
  std::optional<bool> quoted;  // fields as RFC 4180 has them
  std::optional<std::string> dateFormat;
  std::optional<std::string> timestampFormat;
  std::optional<std::string> timeFormat;
  bool service = false;  // lines begin with stream name and operation letter

  // What `winner` says, and where it says nothing, what `other` does.
  static TextLayout merge(const TextLayout& winner, const TextLayout& other) {
    return {winner.separator ? winner.separator : other.separator,
            winner.header ? winner.header : other.header,
            winner.quoted ? winner.quoted : other.quoted,
            winner.dateFormat ? winner.dateFormat : other.dateFormat,
            winner.timestampFormat ? winner.timestampFormat : other.timestampFormat,
            winner.timeFormat ? winner.timeFormat : other.timeFormat,
            winner.service || other.service};
  }

  // For a row or a record printer.
  template <class Converter>
  void applyFormats(Converter& converter) const {
    if (dateFormat) converter.setDateFormat(dateFormat->c_str());
    if (timestampFormat) converter.setTimestampFormat(timestampFormat->c_str());
    if (timeFormat) converter.setTimeFormat(timeFormat->c_str());
  }
};

inline constexpr char kDefaultSeparator = ',';

// Whether a line, with or without its end, is empty.
inline bool isBlankLine(std::string_view line) {
  return line.empty() || line == "\n" || line == "\r\n" || line == "\r";
}

// Why a text cannot separate fields, or null when it can.
const char* refuseSeparator(std::string_view separator);

}  // namespace kyv_internal
