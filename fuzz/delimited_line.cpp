// Any line as a record. A line copied into the row and one that stays the caller's give the same record, or the same
// messages; a record that came out is read into fields and printed in both forms, and its fields make the same record
// again.
//
// Input: how many columns, the separator, whether the line begins with stream name and operation ('1') or not ('0'),
// one character each; then the line.

#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "fuzz/printed_record.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_csv.h"
#include "kyv/data_types.h"
#include "kyv/record_printer.h"
#include "kyv/stream_schema.h"
#include "services/malloc_ptr.h"
#include "tests/support/bytes.h"

namespace {

using kyv_fuzz::require;

const std::vector<kyv::StreamColumn> kColumns = {{"Id", DataTypes::kLong},
                                                 {"Name", DataTypes::kString},
                                                 {"Price", DataTypes::kMoney2},
                                                 {"Raw", DataTypes::kBinary},
                                                 {"Note", DataTypes::kString},
                                                 {"Good", DataTypes::kBoolean},
                                                 {"Amount", DataTypes::createFixedDecimal(10, 2)},
                                                 {"Small", DataTypes::kInt16},
                                                 {"Day", DataTypes::kDate},
                                                 {"Weight", DataTypes::kFloat},
                                                 {"Seen", DataTypes::kTimestamp},
                                                 {"Clock", DataTypes::kTime},
                                                 {"Exact", DataTypes::kBigDateTime}};

// What became of a line.
struct Outcome {
  std::string record;  // empty without one
  std::string messages;
  int failedColumn;

  bool operator==(const Outcome&) const = default;
};

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
  ConnectionErrors errors;
  const kyv_internal::MallocPtr<void> record(row.toRow(1, &errors));
  return {record != nullptr ? kyv_test::recordBytes(record.get()) : "", errors.report(), row.failedColumn()};
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

// Whether an ordered row's texts tell all of the values: floats have six places, and dates of the year 10000 and times
// of the next day come out of 23:59:61.
bool textsAreExact(const kyv::StreamSchema& schema) {
  constexpr int kFirstInexact = 8;
  return schema.getColumnCount() <= kFirstInexact;
}

void checkFields(const Case& test, const std::string& record) {
  std::vector<unsigned char> bytes = kyv_test::exactly(record);
  ConnectionRowByOrder row;
  row.setStreamType(&test.schema, false);
  ConnectionErrors errors;
  require(row.fromRow(bytes.data(), 1, &errors) && errors.empty(), "a record can be read");
  require(row.size() == test.schema.getColumnCount(), "a record has a field for every column");
  const kyv_internal::MallocPtr<void> again(row.toRow(1, &errors));
  if (!textsAreExact(test.schema)) return;
  require(again != nullptr && kyv_test::recordBytes(again.get()) == record, "a record's fields make it again");
}

void checkPrinting(const Case& test, const std::string& record) {
  kyv::RecordPrinter printer(test.schema);
  printer.setSeparator(test.separator);
  printer.setWithService(test.withService);
  const std::vector<unsigned char> bytes = kyv_test::exactly(record);
  require(kyv_fuzz::printRecord(printer, bytes.data()).accepted, "a record can be printed");
}

void check(const Case& test) {
  const Outcome outcome = convertOwnLine(test);
  require(outcome == convertCallersLine(test), "a line gives the same wherever it lies");
  require(outcome.record.empty() != outcome.messages.empty(), "a line gives a record or a message");
  if (outcome.record.empty()) return;
  checkFields(test, outcome.record);
  checkPrinting(test, outcome.record);
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
