#pragma once

// How delimited text is written: what the command line says, else the schema file, else a row's own defaults.

#include <optional>
#include <string>
#include <string_view>

#include "kyv/time_model.h"

namespace kyv_internal {

enum class ModelUse { kPrint, kRead };

struct TextLayout {
  std::optional<char> separator;
  std::optional<bool> header;  // the first line holds column names
  std::optional<bool> quoted;  // fields as RFC 4180 has them
  std::optional<std::string> dateFormat;
  std::optional<std::string> timestampFormat;
  std::optional<std::string> timeFormat;
  std::optional<std::string> dateModel;  // in place of the format
  std::optional<std::string> timestampModel;
  std::optional<std::string> timeModel;
  bool service = false;  // lines begin with stream name and operation letter

  // What `winner` says, and where it says nothing, what `other` does.
  static TextLayout merge(const TextLayout& winner, const TextLayout& other) {
    TextLayout merged = winner;
    if (!merged.separator) merged.separator = other.separator;
    if (!merged.header) merged.header = other.header;
    if (!merged.quoted) merged.quoted = other.quoted;
    merged.service = winner.service || other.service;
    for (const Spelling& spelling : kSpellings) {
      if (winner.*spelling.format || winner.*spelling.model) continue;
      merged.*spelling.format = other.*spelling.format;
      merged.*spelling.model = other.*spelling.model;
    }
    return merged;
  }

  // For a row or a record printer.
  template <class Converter>
  void applyFormats(Converter& converter) const {
    if (dateFormat) converter.setDateFormat(dateFormat->c_str());
    if (timestampFormat) converter.setTimestampFormat(timestampFormat->c_str());
    if (timeFormat) converter.setTimeFormat(timeFormat->c_str());
    if (dateModel) converter.setDateModel(kyv::TimeModel(*dateModel));
    if (timestampModel) converter.setTimestampModel(kyv::TimeModel(*timestampModel));
    if (timeModel) converter.setTimeModel(kyv::TimeModel(*timeModel));
  }

  // Whether all models can be used for this. False with a message that names the first that cannot.
  [[nodiscard]] bool checkModels(ModelUse use, std::string& error) const;

  // How the values of one type are written: by a format or by a model.
  struct Spelling {
    const char* type;
    std::optional<std::string> TextLayout::*format;
    std::optional<std::string> TextLayout::*model;
  };
  static const Spelling kSpellings[3];
};

inline constexpr char kDefaultSeparator = ',';

// Whether a line, with or without its end, is empty.
inline bool isBlankLine(std::string_view line) {
  return line.empty() || line == "\n" || line == "\r\n" || line == "\r";
}

// Why a text cannot separate fields, or null when it can.
const char* refuseSeparator(std::string_view separator);

}  // namespace kyv_internal
