#pragma once

// A record printed in both forms of text, for the targets that make or are given records.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "fuzz/fuzz_input.h"
#include "kyv/byte_buffer.h"
#include "kyv/record_printer.h"

namespace kyv_fuzz {

struct PrintedRecord {
  bool accepted;  // whether its operation has a letter
  std::string delimited;
  std::string json;
};

// Prints behind other text, and sees to what is true of all records.
inline PrintedRecord printRecord(kyv::RecordPrinter& printer, const void* record) {
  constexpr std::string_view kBefore = "before";
  kyv::ByteBuffer delimited, json;
  ConnectionErrors errors;
  delimited.append(kBefore);
  json.append(kBefore);
  const bool accepted = printer.appendDelimited(record, 1, errors, delimited);
  require(printer.appendJson(record, 1, errors, json) == accepted, "both forms accept a record, or none");
  require(errors.size() == (accepted ? 0 : 2), "a refused record has a message in each form");
  require(delimited.view().starts_with(kBefore) && json.view().starts_with(kBefore), "text is appended");
  const auto added = [&](const kyv::ByteBuffer& text) { return std::string(text.view().substr(kBefore.size())); };
  if (!accepted) {
    require(added(delimited).empty() && added(json).empty(), "a refused record prints nothing");
    return {};
  }
  require(added(delimited).ends_with('\n'), "a delimited record is a line");
  require(added(json).find('\n') == json.size() - kBefore.size() - 1, "a record in JSON is one line");
  require(nlohmann::json::accept(added(json)), "a record in JSON is JSON");
  return {true, added(delimited), added(json)};
}

}  // namespace kyv_fuzz
