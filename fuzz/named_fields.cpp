// Any names and texts as the fields of a named row. A row by order with the texts that the columns' names had last
// gives the same record, or the same messages; what was set can be asked for; rows used again, after rows of other
// names, give the same.
//
// Input: how many columns, one character; then lines, in turn a name and a text, of one row after another. A line of
// only "!" in place of a name ends a row. A name of one digit, from '0' on, is short for that column's name.

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "fuzz/row_outcome.h"
#include "kyv/connection_row_by_names.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/data_types.h"
#include "kyv/stream_schema.h"
#include "tests/support/test_schema.h"

namespace {

using kyv_fuzz::convert;
using kyv_fuzz::Outcome;
using kyv_fuzz::require;

using Columns = std::vector<kyv_test::TestSchema::Column>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kOperationName = "KYV_OPS";
constexpr const char* kFlagsName = "KYV_FLAGS";

// A reserved name and a name that stands twice are columns too, and so are two that share their hash.
const Columns kColumns = {{"Id", DataTypes::kLong},        {"Name", DataTypes::kString}, {"a\x08", DataTypes::kMoney2},
                          {"b\x03", DataTypes::kBinary},   {"", DataTypes::kString},     {"Name", DataTypes::kInteger},
                          {"KYV_OPS", DataTypes::kString}, {"Day", DataTypes::kDate}};

void setFields(ConnectionRowByNames& row, const Pairs& pairs) {
  row.clearData();
  for (const auto& [name, text] : pairs) {
    const std::vector<char> nameCopy = kyv_fuzz::terminated(name), textCopy = kyv_fuzz::terminated(text);
    require(row.setFieldAsString(nameCopy.data(), textCopy.data()), "any field can be set");
  }
}

Outcome convertByOrder(ConnectionRowType& schema, const std::map<std::string, std::string>& fields) {
  const auto textOf = [&](const char* name) {
    const auto field = fields.find(name);
    return field != fields.end() ? field->second.c_str() : nullptr;
  };
  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);
  const char* const operation = textOf(kOperationName);
  if (operation != nullptr) row.setOp(*operation);
  row.setFlagsAsString(textOf(kFlagsName));
  for (int i = 0; i < schema.getColumnCount(); ++i) row.setFieldAsString(i, textOf(schema.getColumnName(i)));
  return convert(row);
}

void checkFields(ConnectionRowByNames& row, const std::map<std::string, std::string>& fields) {
  for (const auto& [name, text] : fields) {
    const char* found = nullptr;
    require(row.getFieldAsString(name.c_str(), &found) && text == found, "the last text of a name is its text");
  }
  std::string none = "before";
  require(!row.getFieldAsString("no name of a line feed\n", none) && none.empty(), "other names have no text");
}

// One row of the input, by a row that has seen the rows before it. The schema that never changes and the one that may
// take turns with it.
void check(ConnectionRowByNames& row, kyv::StreamSchema& fixed, kyv_test::TestSchema& changing, const Pairs& pairs) {
  std::map<std::string, std::string> fields;
  for (const auto& [name, text] : pairs) fields[name] = text;
  const Outcome expected = convertByOrder(fixed, fields);
  require(expected.record.empty() != expected.messages.empty(), "a row gives a record or a message");
  setFields(row, pairs);
  checkFields(row, fields);
  require(convert(row) == expected, "a row with former names gives what a row by order gives");
  require(convert(row) == expected, "a row can be converted again");
  row.setStreamType(&changing, false);
  require(convert(row) == expected, "a schema that may change gives the same");
  std::swap(changing.columns.front().name, changing.columns.back().name);
  require(convert(row) == convertByOrder(changing, fields), "a schema's names are asked for anew");
  std::swap(changing.columns.front().name, changing.columns.back().name);
  row.setStreamType(&fixed, false);
}

std::string nameOf(const std::string& line) {
  const auto column = static_cast<std::size_t>(line.empty() ? -1 : line.front() - '0');
  return line.size() == 1 && column < kColumns.size() ? kColumns[column].name : line;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const std::size_t count = 1 + input.choice(kColumns.size());
  const Columns columns(kColumns.begin(), kColumns.begin() + static_cast<std::ptrdiff_t>(count));
  kyv_test::TestSchema changing(columns);
  std::vector<kyv::StreamColumn> fixedColumns;
  for (const auto& column : columns) fixedColumns.push_back({column.name, column.type});
  kyv::StreamSchema fixed(changing.getStreamName(), changing.getStreamId(), fixedColumns);

  ConnectionRowByNames row;
  row.setStreamType(&fixed, false);
  Pairs pairs;
  while (!input.bytes().empty()) {
    const std::string line = input.line();
    if (line != "!") {
      pairs.emplace_back(nameOf(line), input.line());
      continue;
    }
    check(row, fixed, changing, pairs);
    pairs.clear();
  }
  check(row, fixed, changing, pairs);
  return 0;
}
