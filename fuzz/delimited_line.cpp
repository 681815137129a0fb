// Any line as a record. A line copied into the row, one that stays the caller's, and one among others in a text give
// the same record, or the same messages; a record that came out is read into fields and printed in both forms; its
// fields, and those that the tool reads in the printed line, make the same record again.
//
// Input: how many columns, the separator, whether the line begins with stream name and operation ('1') or not ('0'),
// one character each; then the line.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "fuzz/printed_record.h"
#include "fuzz/row_outcome.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_csv.h"
#include "kyv/data_types.h"
#include "kyv/record_printer.h"
#include "kyv/stream_schema.h"
#include "quoted_reader.h"
#include "tests/support/appended_lines.h"
#include "text_layout.h"

namespace {

using kyv_fuzz::Outcome;
using kyv_fuzz::require;

const std::vector<kyv::StreamColumn> kColumns = {{"Id", DataTypes::kLong},
                                                 {"Name", DataTypes::kString},
                                                 {"Price", DataTypes::kMoney2},
                                                 {"Raw", DataTypes::kBinary},
                                                 {"Note", DataTypes::kString},
                                                 {"Good", DataTypes::kBoolean},
                                                 {"Amount", DataTypes::createFixedDecimal(10, 2)},
                                                 {"Small", DataTypes::kInt16},
                                                 {"Weight", DataTypes::kFloat},
                                                 {"Day", DataTypes::kDate},
                                                 {"Seen", DataTypes::kTimestamp},
                                                 {"Clock", DataTypes::kTime},
                                                 {"Exact", DataTypes::kBigDateTime}};

// The first columns, whose values a text tells in full: a row's floats have six places, and dates of the year 10000 and
// times of the next day come out of 23:59:61.
constexpr std::size_t kToldByRow = 8;
constexpr std::size_t kToldByPrinter = 9;

struct Case {
  kyv::StreamSchema& schema;
  char separator;
  bool withService;
  std::string line;

  void prepare(ConnectionRowCsv& row) const {
    row.setStreamType(&schema, false);
    row.setSeparator(separator);
    row.setWithService(withService);
  }
};

Outcome convertOwnLine(const Case& test) {
  ConnectionRowCsv row;
  test.prepare(row);
  std::vector<char> line = kyv_fuzz::terminated(test.line);
  row.setBuffer(line.data());
  return kyv_fuzz::convert(row);
}

// The line lies in memory of exactly its size. A row that has converted it once converts it again.
Outcome convertCallersLine(const Case& test) {
  constexpr std::string_view kBefore = "before";
  ConnectionRowCsv row;
  test.prepare(row);
  const std::vector<char> line(test.line.begin(), test.line.end());
  Outcome outcome;
  for (int i = 0; i < 2; ++i) {
    ConnectionErrors errors;
    kyv::ByteBuffer out;
    out.append(kBefore);
    const bool converted = row.appendRow({line.data(), line.size()}, 1, errors, out);
    require(out.view().starts_with(kBefore), "a record is appended");
    require(converted == (out.size() > kBefore.size()), "nothing is appended for a refused line");
    require(std::string_view(line.data(), line.size()) == test.line, "the caller's line is not altered");
    const Outcome again{std::string(out.view().substr(kBefore.size())), errors.report(), row.failedColumn()};
    require(i == 0 || again == outcome, "a row can be used again");
    outcome = again;
  }
  return outcome;
}

// What a record holds, as texts.
struct Row {
  char operation;
  std::vector<std::optional<std::string>> fields;  // nothing for a NULL column
};

Row readByRow(const Case& test, const std::string& record) {
  std::vector<unsigned char> bytes = kyv_test::exactly(record);
  ConnectionRowByOrder row;
  row.setStreamType(&test.schema, false);
  ConnectionErrors errors;
  require(row.fromRow(bytes.data(), 1, &errors) && errors.empty(), "a record can be read");
  Row read{row.getOp(), {}};
  for (int i = 0; i < row.size(); ++i) {
    const char* text = nullptr;
    row.getFieldAsString(i, &text);
    read.fields.push_back(text != nullptr ? std::optional<std::string>(text) : std::nullopt);
  }
  return read;
}

// Prints the record and reads the line's fields. The first column's field is there even when there is no column.
Row readByPrinter(const Case& test, const std::string& record) {
  const std::vector<unsigned char> bytes = kyv_test::exactly(record);
  kyv::RecordPrinter printer(test.schema);
  printer.setSeparator(test.separator);
  printer.setWithService(true);
  const kyv_fuzz::PrintedRecord printed = kyv_fuzz::printRecord(printer, bytes.data());
  require(printed.accepted, "a record can be printed");
  if (kyv_internal::refuseSeparator({&test.separator, 1}) != nullptr) return {};
  kyv_internal::QuotedReader reader(test.separator);
  const kyv_internal::QuotedRecord line = reader.read(printed.delimited);
  require(line.fault == kyv_internal::QuotedFault::kNone, "a printed line has no fault");
  require(line.size == printed.delimited.size(), "a record prints as one line");
  const auto& fields = reader.fields();
  require(fields.size() > 2 && fields[0].text == test.schema.getStreamName(), "a line begins with the stream name");
  Row read{fields[1].text.front(), {}};
  for (std::size_t i = 2; i < fields.size(); ++i) {
    const bool null = fields[i].text.empty() && !fields[i].quoted;
    read.fields.push_back(null ? std::nullopt : std::optional<std::string>(fields[i].text));
  }
  return read;
}

// The record of these texts, empty when there is none.
std::string recordOf(const Case& test, const Row& fields) {
  ConnectionRowByOrder row;
  row.setStreamType(&test.schema, false);
  row.setOp(fields.operation);
  for (const std::optional<std::string>& field : fields.fields)
    row.appendFieldAsString(field ? field->c_str() : nullptr);
  return kyv_fuzz::convert(row).record;
}

void checkTexts(const Case& test, const std::string& record) {
  const auto columns = static_cast<std::size_t>(test.schema.getColumnCount());
  const Row byRow = readByRow(test, record);
  require(byRow.fields.size() == columns, "a record has a field for every column");
  require(columns > kToldByRow || recordOf(test, byRow) == record, "a record's fields make it again");
  const Row byPrinter = readByPrinter(test, record);
  if (byPrinter.fields.empty() || columns == 0) return;
  require(byPrinter.fields.size() == columns, "a line has a field for every column");
  require(columns > kToldByPrinter || recordOf(test, byPrinter) == record, "a printed record can be read back");
}

// With text enough around it that the line is converted where it is.
void checkAmongOthers(const Case& test) {
  const std::string others(96, '.');
  const std::string text = others + "\n" + test.line + "\n" + test.line + "\n" + others;
  ConnectionRowCsv row;
  test.prepare(row);
  require(kyv_test::appendManyAtOnce(row, text) == kyv_test::appendOneByOne(row, text), "lines convert as each does");
}

void check(const Case& test) {
  checkAmongOthers(test);
  const Outcome outcome = convertOwnLine(test);
  require(outcome == convertCallersLine(test), "a line gives the same wherever it lies");
  require(outcome.record.empty() != outcome.messages.empty(), "a line gives a record or a message");
  if (outcome.record.empty()) return;
  checkTexts(test, outcome.record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const std::size_t columns = input.choice(kColumns.size() + 1);
  kyv::StreamSchema schema("Trades", 5, {kColumns.begin(), kColumns.begin() + static_cast<std::ptrdiff_t>(columns)});
  const char separator = input.character();
  const bool withService = input.choice(2) == 1;
  check({schema, separator, withService, input.text()});
  return 0;
}
