// Any bytes as a record that claims any length, in either byte order. validateUntrusted looks at no byte that is not
// there (the address sanitizer watches) and changes none. What it passes, the required checks pass, in both byte
// orders; it turns into the other order and back without a change; and it can be read, printed, dumped and unpacked
// within its bytes. What it refuses has a message, and the other checks read nothing behind its length word.
//
// Input: the first column's type, how many fixed columns, how many in a group, where NULL is allowed ('0' everywhere
// without saying so, '1' everywhere, '2' in every other column), whether the length word becomes the number of bytes
// ('1'), one character each; then the record.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "fuzz/printed_record.h"
#include "fuzz/record_input.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/data_value.h"
#include "kyv/record_printer.h"
#include "kyv/row2.h"
#include "kyv/stream_schema.h"
#include "row2/byte_order.h"
#include "tests/support/written.h"

namespace {

using kyv_fuzz::kTypes;
using kyv_fuzz::require;
using Bytes = std::vector<unsigned char>;

constexpr std::size_t kMostColumns = 8;
constexpr std::size_t kMostGroup = 4;

struct Schema {
  std::size_t fixed = 0;
  std::size_t group = 0;
  std::vector<unsigned int> types;
  std::unique_ptr<bool[]> nullable;

  int fixedColumns() const { return static_cast<int>(fixed); }
  int groupColumns() const { return static_cast<int>(group); }

  // One type for each column of a record.
  std::vector<unsigned int> typesOf(std::size_t columns) const {
    std::vector<unsigned int> all;
    for (std::size_t i = 0; i < columns; ++i) all.push_back(types[i < fixed ? i : (i - fixed) % group + fixed]);
    all.shrink_to_fit();
    return all;
  }
};

Schema schemaFrom(kyv_fuzz::FuzzInput& input) {
  Schema schema;
  const std::size_t firstType = input.choice(kTypes);
  schema.fixed = input.choice(kMostColumns + 1);
  schema.group = input.choice(kMostGroup + 1);
  const std::size_t rule = input.choice(3);
  const std::size_t count = schema.fixed + schema.group;
  if (rule != 0) schema.nullable = std::make_unique<bool[]>(count);
  for (std::size_t i = 0; i < count; ++i) {
    schema.types.push_back(kyv_fuzz::typeOf((firstType + i) % kTypes));
    if (rule != 0) schema.nullable[i] = rule == 1 || i % 2 == 0;
  }
  schema.types.shrink_to_fit();
  return schema;
}

Row2* asRecord(Bytes& bytes) { return static_cast<Row2*>(static_cast<void*>(bytes.data())); }

Bytes exactly(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

std::int32_t lengthOf(const Bytes& bytes) { return kyv_internal::load<std::int32_t>(bytes.data()); }

bool isHostOrder(const Bytes& bytes) {
  const auto flags = kyv_internal::load<std::uint32_t>(bytes.data() + kyv_internal::kFlagsOffset);
  return (flags & kyv_internal::kBigEndianFlag) == kyv_internal::kHostByteOrderFlag;
}

void turnFlag(Bytes& bytes) {
  unsigned char* const flags = bytes.data() + kyv_internal::kFlagsOffset;
  kyv_internal::store(flags, kyv_internal::load<std::uint32_t>(flags) ^ kyv_internal::kBigEndianFlag);
}

// The same columns as one group: records with groups are not taken by the library's short walk over usual records.
bool passesAsGroup(const Schema& schema, const Bytes& bytes) {
  if (schema.fixed == 0 || schema.group != 0) return true;
  Row2::Fault fault;
  return Row2::validateUntrusted(fault, std::as_bytes(std::span(bytes)), 0, schema.fixedColumns(), schema.types.data(),
                                 schema.nullable.get());
}

bool passes(const Schema& schema, const Bytes& bytes, Row2::Fault& fault) {
  const Bytes copy = exactly(bytes);
  const bool passed = Row2::validateUntrusted(fault, std::as_bytes(std::span(copy)), schema.fixedColumns(),
                                              schema.groupColumns(), schema.types.data(), schema.nullable.get());
  require(copy == bytes, "a record that is checked stays as it was");
  require(!passed || passesAsGroup(schema, copy), "the short walk accepts nothing that the full checks refuse");
  return passed;
}

void dumpEverything(Bytes& bytes) {
  const Row2* const record = asRecord(bytes);
  const int size = static_cast<int>(bytes.size());
  for (const int length : {size, size / 2, 0, -1}) {
    const auto dump = [&](std::FILE* out) { Row2::dumpRow2(out, record, length, size); };
    require(!kyv_test::written(dump).empty(), "a dump has text");
  }
}

// All the required checks but those that convert, of a record in host order. Whether all pass.
bool passesAll(const Schema& schema, const std::vector<unsigned int>& types, Bytes& bytes, std::string& error) {
  const Row2* const record = asRecord(bytes);
  const bool* const nullable = schema.nullable.get();
  const int fixed = schema.fixedColumns(), group = schema.groupColumns();
  const bool results[] = {
      record->validateOpcode(error),
      record->validateColumnCount(error, fixed, group),
      record->validateOptionCount(error),
      record->validateColumnOffsets(error),
      record->validateColumnTypes(error, fixed, group, types.data(), nullable),
      record->validateOptionSizes(error),
      record->validateOptionContents(error),
  };
  const bool narrow = record->validateVar(error, fixed, group, types.data(), nullable);
  require(narrow == (results[2] && results[3]), "validateVar checks option count and offsets");
  return std::all_of(std::begin(results), std::end(results), [](bool result) { return result; });
}

// --- What passes ----------------------------------------------------------------------------------------------------

void unpackColumns(Bytes& bytes, const std::vector<unsigned int>& types) {
  for (std::size_t i = 0; i < types.size(); ++i) {
    const std::int32_t offset = kyv_internal::tableEntry(bytes.data(), i);
    unsigned char* const value = offset > 0 ? bytes.data() + offset : nullptr;
    DataTypes::DataValue unpacked;
    DataTypes::unpackValue(types[i], value, unpacked);
    if (value == nullptr) continue;
    const std::size_t left = bytes.size() - static_cast<std::size_t>(offset);
    const auto kind = kyv_internal::kindOf(types[i]);
    if (kind == kyv_internal::Kind::String) {
      require(std::strlen(static_cast<const char*>(static_cast<const void*>(value))) < left, "a string ends inside");
    } else if (kind == kyv_internal::Kind::Binary) {
      require(DataTypes::getLengthFromPackedBinary(value) + kyv_internal::kBinaryPrefixSize <= left,
              "a binary value ends inside");
    }
  }
}

void readAndPrint(Bytes& bytes, const std::vector<unsigned int>& types) {
  std::vector<kyv::StreamColumn> columns;
  for (std::size_t i = 0; i < types.size(); ++i) columns.push_back({std::to_string(i), types[i]});
  kyv::StreamSchema schema("Any", 1, columns);
  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);
  ConnectionErrors errors;
  require(row.fromRow(bytes.data(), 1, &errors) && errors.empty(), "a sound record can be read");
  require(row.size() == static_cast<int>(types.size()), "a sound record has its fields");
  kyv::RecordPrinter printer(schema);
  require(kyv_fuzz::printRecord(printer, bytes.data()).accepted, "a sound record can be printed");
}

Bytes flipped(const Bytes& bytes, const std::vector<unsigned int>& types) {
  Bytes copy = exactly(bytes);
  if (isHostOrder(bytes)) {
    asRecord(copy)->flipFromNativeByteOrder(types.data());
  } else {
    asRecord(copy)->flipToNativeByteOrder(types.data());
  }
  turnFlag(copy);
  return copy;
}

void checkSound(const Schema& schema, const Bytes& bytes) {
  const std::size_t columns = [&] {
    const auto counts = kyv_internal::load<std::uint32_t>(bytes.data() + kyv_internal::kCountsOffset);
    return (isHostOrder(bytes) ? counts : kyv_internal::reversed(counts)) & kyv_internal::kColumnCountMask;
  }();
  const std::vector<unsigned int> types = schema.typesOf(columns);
  const Bytes other = flipped(bytes, types);
  require(flipped(other, types) == bytes, "a record turned twice is as it was");
  Row2::Fault fault;
  require(passes(schema, other, fault), "a sound record is sound in both byte orders");

  Bytes host = exactly(isHostOrder(bytes) ? bytes : other);
  Bytes foreign = exactly(isHostOrder(bytes) ? other : bytes);
  const Bytes before = host;
  std::string error;
  require(passesAll(schema, types, host, error), "a sound record passes all checks");
  const unsigned int none = 0;
  for (Bytes* const each : {&host, &foreign}) {
    require(asRecord(*each)->validateVarToNativeByteOrder(error, schema.fixedColumns(), schema.groupColumns(),
                                                          types.empty() ? &none : types.data(), schema.nullable.get()),
            "a sound record of either order can be converted");
    require(*each == before, "converting while checking is what the flip does");
  }
  readAndPrint(host, types);
  unpackColumns(host, types);
  dumpEverything(host);
  dumpEverything(foreign = other);
  require(host == before, "a record that is read stays as it was");
}

// --- What does not, whose length word claims no more than there is --------------------------------------------------

void checkUnsound(const Schema& schema, Bytes bytes, const std::string& message) {
  // More groups than the schema knows take their types from the record's number of columns.
  const std::vector<unsigned int> types =
      schema.typesOf(schema.group != 0 ? bytes.size() / kyv_internal::kEntrySize : schema.fixed);
  std::string error;
  const bool all = passesAll(schema, types, bytes, error);
  const bool hasFlags = bytes.size() >= kyv_internal::kCountsOffset;
  if (all && hasFlags && isHostOrder(bytes)) {
    require(message.find("BINARY") != std::string::npos || message.find("DECIMAL") != std::string::npos,
            "only insides of values are checked more closely");
  }
  dumpEverything(bytes);
  const unsigned int none = 0;
  asRecord(bytes)->validateVarToNativeByteOrder(error, schema.fixedColumns(), schema.groupColumns(),
                                                types.empty() ? &none : types.data(), schema.nullable.get());
}

// As many bytes as the length word says, which says no more than there is.
Bytes clamped(const Bytes& bytes) {
  Bytes record = kyv_fuzz::recordOf(kyv_test::textOf(bytes));
  record.resize(static_cast<std::size_t>(std::max(lengthOf(record), static_cast<std::int32_t>(sizeof(std::int32_t)))));
  return exactly(record);
}

void check(const Schema& schema, const Bytes& bytes) {
  Row2::Fault fault;
  if (!passes(schema, bytes, fault)) {
    require(!fault.message.empty(), "a refused record has a message");
    require(fault.position < std::max(bytes.size(), std::size_t{1}), "a fault lies in the record");
  }
  const Bytes record = clamped(bytes);
  if (passes(schema, record, fault)) {
    checkSound(schema, record);
  } else {
    checkUnsound(schema, record, fault.message);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const Schema schema = schemaFrom(input);
  const bool setLength = input.choice(2) == 1;
  Bytes bytes = kyv_test::exactly(input.bytes());
  if (setLength && bytes.size() >= sizeof(std::int32_t)) {
    kyv_internal::store(bytes.data(), static_cast<std::int32_t>(bytes.size()));
  }
  check(schema, bytes);
  return 0;
}
