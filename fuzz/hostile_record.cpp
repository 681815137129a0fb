// Any bytes as a record. Reading it, with and without guaranteed delivery, and printing it reads nothing outside the
// length that it claims (the address sanitizer watches), changes nothing in it, and gives what one can work with.
//
// Input: the first column's type, how many columns, which of them is the sequence number and which the opcode (0 for
// none), whether dates have 4 bytes ('1') or 8 ('0'), one character each; then the record. A length word that claims
// more than there is becomes the record's size.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "fuzz/printed_record.h"
#include "fuzz/record_input.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/record_printer.h"
#include "kyv/stream_schema.h"
#include "tests/support/type_settings.h"

namespace {

using kyv_fuzz::kTypes;
using kyv_fuzz::require;
using Bytes = std::vector<unsigned char>;

constexpr std::size_t kMostColumns = 8;

std::vector<kyv::StreamColumn> columnsFrom(std::size_t firstType, std::size_t count) {
  std::vector<kyv::StreamColumn> columns;
  for (std::size_t i = 0; i < count; ++i)
    columns.push_back({std::to_string(i + 1), kyv_fuzz::typeOf((firstType + i) % kTypes)});
  return columns;
}

struct Case {
  kyv::StreamSchema& schema;
  std::size_t sequenceColumn;  // 0 for none, else one more than its index; so is the next one
  std::size_t opcodeColumn;

  void prepareForDelivery(ConnectionRowByOrder& row) const {
    row.enableGDMode();
    if (sequenceColumn != 0) row.setSequenceNumberColumnName(std::to_string(sequenceColumn).c_str());
    if (opcodeColumn != 0) row.setOpcodeColumnName(std::to_string(opcodeColumn).c_str());
  }

  int columns() const { return schema.getColumnCount(); }
  int deliveryColumns() const { return (sequenceColumn != 0) + (opcodeColumn != 0 && opcodeColumn != sequenceColumn); }
};

bool checkReading(const Case& test, Bytes& record) {
  ConnectionRowByOrder row;
  row.setStreamType(&test.schema, false);
  ConnectionErrors errors;
  const bool read = row.fromRow(record.data(), 1, &errors);
  require(read == errors.empty(), "a refused record has a message");
  require(row.size() == (read ? test.columns() : 0), "a record has a field for every column, a refused one none");
  return read;
}

void checkDelivery(const Case& test, Bytes& record, bool readable) {
  ConnectionRowByOrder row, sequence;
  for (ConnectionRowByOrder* each : {&row, &sequence}) {
    each->setStreamType(&test.schema, false);
    test.prepareForDelivery(*each);
  }
  ConnectionErrors errors;
  const bool read = row.fromRow(record.data(), 1, &errors);
  require(readable || !read, "guaranteed delivery reads no more records");
  require(row.size() == (read ? test.columns() - test.deliveryColumns() : 0), "delivery columns are no fields");
  errors.clear();
  require(sequence.getSequenceNumberfromRow(record.data(), &errors) && errors.empty(), "a sequence number can be read");
  require(sequence.size() == 0, "a sequence number is no field");
  require(!read || row.getSequenceNumber() == sequence.getSequenceNumber(), "there is one sequence number");
}

void checkPrinting(const Case& test, const Bytes& record, bool readable) {
  kyv::RecordPrinter printer(test.schema);
  for (const bool withService : {false, true}) {
    printer.setWithService(withService);
    require(kyv_fuzz::printRecord(printer, record.data()).accepted == readable, "what can be read can be printed");
  }
}

void check(const Case& test, std::string_view bytes) {
  Bytes record = kyv_fuzz::recordOf(bytes);
  const Bytes before = record;
  const bool readable = checkReading(test, record);
  checkDelivery(test, record, readable);
  checkPrinting(test, record, readable);
  require(record == before, "a record that is read stays as it was");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const kyv_test::TypeSettingsGuard guard;
  kyv_fuzz::FuzzInput input(data, size);
  const std::size_t firstType = input.choice(kTypes);
  const std::size_t columns = input.choice(kMostColumns + 1);
  const std::size_t sequenceColumn = input.choice(columns + 1);
  const std::size_t opcodeColumn = input.choice(columns + 1);
  if (input.choice(2) == 1) DataTypes::setDateSize(4);
  kyv::StreamSchema schema("Trades", 5, columnsFrom(firstType, columns));
  check({schema, sequenceColumn, opcodeColumn}, input.bytes());
  return 0;
}
