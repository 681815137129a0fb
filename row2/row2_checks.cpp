// The checks of a record that its receiver chooses from, and the two entry points that run some of them in order.
//
// A check never reads outside the bytes that the record's length word claims, whatever the other words say.

#include <string>
#include <utility>

#include "datatypes/type_catalogue.h"
#include "kyv/row2.h"
#include "row2/record_checks.h"
#include "row2/row2_flip.h"

namespace {

using kyv_internal::at;
using kyv_internal::Kind;
using kyv_internal::RecordFault;
using kyv_internal::RecordHeader;
using kyv_internal::RecordSchema;
using kyv_internal::ValueExtent;
using kyv_internal::WordOrder;

RecordHeader hostHeader(const void* record) { return kyv_internal::headerOf<WordOrder::Host>(record); }

// Runs a check and hands on its message alone.
template <class Check>
bool withMessage(std::string& error, Check check) {
  Row2::Fault fault;
  if (check(RecordFault(fault))) return true;
  error = std::move(fault.message);
  return false;
}

struct OffsetsAlone {
  static bool absent(std::size_t, std::int32_t) { return true; }
  static bool value(std::size_t, ValueExtent) { return true; }
};

bool checkOffsets(const void* record, RecordFault fault) {
  const RecordHeader header = hostHeader(record);
  return checkRoom(header, fault) && kyv_internal::walkTable<WordOrder::Host>(record, header, fault, OffsetsAlone());
}

// Required as is: the message names the type at the column's own index, the check takes the one at its schema index.
bool checkValue(const void* record, const RecordHeader& header, const RecordSchema& schema, std::size_t column,
                ValueExtent value, RecordFault fault) {
  const kyv_internal::TypeRow& type = kyv_internal::typeRow(schema.types[schema.index(column)]);
  if (type.kind == Kind::String) return checkString(record, header, column, value, fault);
  if (type.kind == Kind::Binary || value.length() >= type.size) return true;
  return fault.valueLength(column, schema.types[column], value, type.size);
}

bool checkTypes(const void* record, const RecordSchema& schema, RecordFault fault) {
  const RecordHeader header = hostHeader(record);
  if (schema.types == nullptr || header.columns == 0) return true;
  if (!checkRoom(header, fault)) return false;
  // Without groups, the schema says nothing of columns behind the fixed ones.
  if (schema.repeatColumns == 0 && std::int64_t{header.columns} > schema.fixedColumns) {
    return fault.columnCount(header, schema);
  }
  for (std::size_t i = 0; i < header.columns; ++i) {
    const std::int32_t entry = kyv_internal::tableEntry(record, i);
    if (entry <= 0) {
      if (!schema.allowsNone(i)) return fault.noValue(i, entry);
      continue;
    }
    const ValueExtent value{entry, kyv_internal::nextPositiveEntry(record, i, header.entries())};
    if (!checkValue(record, header, schema, i, value, fault)) return false;
  }
  return true;
}

bool checkOptionSizes(const void* record, RecordFault fault) {
  const RecordHeader header = hostHeader(record);
  if ((header.flags & kyv_internal::kInstrumentLatencyFlag) == 0) return true;
  if (!checkRoom(header, fault)) return false;
  const kyv_internal::OptionExtent latencies = kyv_internal::latencyExtent(record);
  return checkLatencyLength(latencies.length, latencies.begin, fault);
}

// Checks each part of a record of the opposite byte order as soon as it is in host order.
bool checkAndFlip(Row2* record, const RecordSchema& schema, RecordFault fault) {
  // The words that are reversed first: a record without them is too short for anything.
  if (const RecordHeader header = hostHeader(record);
      header.length < static_cast<std::int32_t>(kyv_internal::kTableOffset)) {
    return fault.tooShort(header);
  }
  const auto flags = kyv_internal::load<std::uint32_t>(at(record, kyv_internal::kFlagsOffset));
  kyv_internal::store(at(record, kyv_internal::kFlagsOffset),
                      (flags & ~kyv_internal::kBigEndianFlag) | kyv_internal::kHostByteOrderFlag);
  kyv_internal::reverseHeaderWord(record, kyv_internal::kCountsOffset);
  const RecordHeader header = hostHeader(record);
  if (!checkColumnCount(header, schema, fault) || !checkRoom(header, fault) || !checkOptionCount(header, fault)) {
    return false;
  }
  kyv_internal::reverseHeaderWord(record, kyv_internal::kStreamIdOffset);
  kyv_internal::reverseTable(record, header.entries());
  if (!checkOffsets(record, fault) || !checkTypes(record, schema, fault)) return false;
  kyv_internal::reverseColumns(record, schema.types);
  if (!kyv_internal::hasOptions(record)) return true;
  if (!checkOptionSizes(record, fault)) return false;
  record->flipOptionsToNativeByteOrder();
  std::string unused;
  return record->validateOptionContents(unused);
}

}  // namespace

bool Row2::validateOpcode(std::string& error) const {
  return withMessage(error, [&](RecordFault fault) { return checkOpcode(hostHeader(this), fault); });
}

bool Row2::validateColumnCount(std::string& error, int fixedColumns, int repeatColumns) const {
  const RecordHeader header = hostHeader(this);
  const RecordSchema schema{fixedColumns, repeatColumns, nullptr, nullptr};
  return withMessage(
      error, [&](RecordFault fault) { return checkColumnCount(header, schema, fault) && checkRoom(header, fault); });
}

bool Row2::validateOptionCount(std::string& error) const {
  return withMessage(error, [&](RecordFault fault) { return checkOptionCount(hostHeader(this), fault); });
}

bool Row2::validateColumnOffsets(std::string& error) const {
  return withMessage(error, [&](RecordFault fault) { return checkOffsets(this, fault); });
}

bool Row2::validateColumnTypes(std::string& error, int fixedColumns, int repeatColumns, const unsigned int* types,
                               const bool* nullable) const {
  const RecordSchema schema{fixedColumns, repeatColumns, types, nullable};
  return withMessage(error, [&](RecordFault fault) { return checkTypes(this, schema, fault); });
}

bool Row2::validateOptionSizes(std::string& error) const {
  return withMessage(error, [&](RecordFault fault) { return checkOptionSizes(this, fault); });
}

// Required as is: no content is looked at.
bool Row2::validateOptionContents(std::string&) const { return true; }

// Required as is: the schema is ignored, and nothing is checked but the option count and the offsets.
bool Row2::validateVar(std::string& error, int, int, const unsigned int*, const bool*) const {
  return withMessage(
      error, [&](RecordFault fault) { return checkOptionCount(hostHeader(this), fault) && checkOffsets(this, fault); });
}

bool Row2::validateVarToNativeByteOrder(std::string& error, int fixedColumns, int repeatColumns,
                                        const unsigned int* types, const bool* nullable) {
  const RecordSchema schema{fixedColumns, repeatColumns, types, nullable};
  if (types != nullptr && hostHeader(this).isHostOrder()) {
    return validateVar(error, fixedColumns, repeatColumns, types, nullable);
  }
  return withMessage(error, [&](RecordFault fault) {
    // Required as is: the message calls the operation by a shorter name.
    return types == nullptr ? fault.noTypes("validateToNativeByteOrder") : checkAndFlip(this, schema, fault);
  });
}
