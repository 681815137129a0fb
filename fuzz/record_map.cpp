// Any bytes as what is there of a record. Its map labels every byte once, finds fault where the library does, and is
// small; what is shown of it stays within lines and markup, whatever the record and its schema hold.
//
// Input: the first column's type and how many columns, one character each; then the record.

#include "record_map.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "kyv/data_types.h"
#include "kyv/row2.h"
#include "record_view.h"
#include "tests/support/bytes.h"
#include "tests/support/record_cover.h"

namespace {

using kyv_fuzz::require;
using kyv_internal::RecordMap;

constexpr std::size_t kMostColumns = 8;
constexpr std::size_t kMostMapped = 20;  // so that small inputs reach the limit

// Every other name would leave its line or its place in a page.
std::string nameOf(std::size_t column) {
  return (column % 2 == 0 ? "<u>\x1B[2J\xFF\n&" : "c") + std::to_string(column);
}

kyv::StreamSchema schemaFrom(std::size_t firstType, std::size_t count) {
  std::vector<kyv::StreamColumn> columns;
  for (std::size_t i = 0; i < count; ++i) {
    columns.push_back({nameOf(i), static_cast<unsigned int>((firstType + i) % DataTypes::kTypeCount)});
  }
  return {nameOf(0), 5, columns};
}

bool libraryPasses(std::string_view bytes, const kyv::StreamSchema& schema) {
  std::vector<unsigned int> types;
  for (int i = 0; i < schema.getColumnCount(); ++i) types.push_back(schema.getColumnType(i));
  Row2::Fault fault;
  return Row2::validateUntrusted(fault, std::as_bytes(std::span(bytes)), schema.getColumnCount(), 0, types.data(),
                                 nullptr);
}

void checkTexts(const RecordMap& map) {
  std::string all;
  for (const kyv_internal::RecordPart& part : map.parts) all += part.name + part.text + part.fault;
  static_cast<void>(nlohmann::json(all).dump());  // throws at what is no UTF-8
}

bool isHarmless(const std::string& text) {
  return std::none_of(text.begin(), text.end(), [](char byte) {
    return byte != '\n' && (static_cast<unsigned char>(byte) < ' ' || byte == '\x7F');
  });
}

void checkViews(const RecordMap& map) {
  constexpr std::size_t kMostBytesEach = 4000;
  const std::size_t most = (map.parts.size() + map.segments.size()) * kMostBytesEach;
  const std::string text = makeTextView(kyv_internal::Colour::kNone)->record(map, 1, 0);
  require(isHarmless(text), "a terminal is shown text and line ends only");
  require(text.size() < most, "what a terminal is shown is bounded");
  const std::string section = kyv_internal::makePageView("f", "s")->record(map, 1, 0);
  require(isHarmless(section), "a page holds text and line ends only");
  require(section.find("<u>") == std::string::npos, "no name becomes markup");
  require(section.size() < most, "a page is bounded");
  require(kyv_internal::makeRawView()->record(map, 1, 0).starts_with("Len:"), "all bytes can be dumped");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const std::size_t firstType = input.choice(DataTypes::kTypeCount);
  const kyv::StreamSchema schema = schemaFrom(firstType, input.choice(kMostColumns + 1));
  const std::vector<char> exactly(input.bytes().begin(), input.bytes().end());
  const std::string_view bytes(exactly.data(), exactly.size());
  kyv_internal::ValueDecoder values(schema, {});
  const RecordMap map = kyv_internal::mapRecord(bytes, values, kMostMapped);
  require(kyv_test::coversEachByteOnce(map), "every byte lies in one segment");
  require(map.faults().empty() == libraryPasses(bytes, schema), "a map finds fault where the library does");
  checkTexts(map);
  checkViews(map);
  return 0;
}
