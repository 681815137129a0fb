// The one pass over a record that nobody trusts yet, in either byte order.

#include <string>
#include <utility>

#include "datatypes/decimal_text.h"
#include "datatypes/digit_block.h"
#include "datatypes/type_catalogue.h"
#include "kyv/row2.h"
#include "row2/record_checks.h"

namespace kyv_internal {

namespace {

using Magnitude = unsigned __int128;

constexpr unsigned int kMostDigits = 34;  // of a decimal

// 10 to the power of up to 34.
constexpr Magnitude powerOfTen(unsigned int exponent) {
  constexpr unsigned int kHalf = kMostDigits / 2;
  const unsigned int low = exponent < kHalf ? exponent : kHalf;
  return Magnitude{kPowersOfTen[low]} * kPowersOfTen[exponent - low];
}

constexpr bool hasAtMost(unsigned int digits, Coefficient value) {
  const Magnitude magnitude = value < 0 ? -static_cast<Magnitude>(value) : static_cast<Magnitude>(value);
  return magnitude < powerOfTen(digits);
}

// How many digits a decimal may have: as many as the schema says where it does, else as its value says where it does.
unsigned int digitsOf(unsigned int type, unsigned int storedPrecision) {
  const unsigned int precision = precisionOf(type) != 0 ? precisionOf(type) : storedPrecision;
  return precision == 0 || precision > kMostDigits ? kMostDigits : precision;
}

// What a record's values have to be, besides lying within it.
template <WordOrder order>
class ValueChecks {
 public:
  ValueChecks(const void* record, const RecordHeader& header, const RecordSchema& schema, RecordFault fault)
      : record_(record), header_(header), schema_(schema), fault_(fault) {}

  bool absent(std::size_t index, std::int32_t entry) const {
    if (index < header_.columns) return schema_.allowsNone(index) || fault_.noValue(index, entry);
    return !isLatency(index) || fault_.latencyLength(0, entryOffset(index));
  }

  bool value(std::size_t index, ValueExtent extent) const {
    if (index < header_.columns) return columnValue(index, extent);
    return !isLatency(index) || checkLatencyLength(extent.length(), static_cast<std::size_t>(extent.begin), fault_);
  }

 private:
  bool isLatency(std::size_t index) const {
    return (header_.flags & kInstrumentLatencyFlag) != 0 && index == latencyIndex(header_.columns, header_.flags);
  }

  bool columnValue(std::size_t column, ValueExtent value) const {
    const unsigned int type = schema_.types[schema_.index(column)];
    const TypeRow& row = typeRow(type);
    if (row.kind == Kind::String) return checkString(record_, header_, column, value, fault_);
    const std::size_t need = row.kind == Kind::Binary ? kBinaryPrefixSize : row.size;
    if (value.length() < static_cast<std::int64_t>(need)) return fault_.valueLength(column, type, value, need);
    if (row.kind == Kind::Binary) return binaryValue(column, value);
    return row.kind != Kind::FixedDecimal || decimalValue(column, type, value);
  }

  bool binaryValue(std::size_t column, ValueExtent value) const {
    const std::uint32_t prefix = bigEndian(load<std::uint32_t>(bytes(value)));
    return std::int64_t{prefix} + std::int64_t{kBinaryPrefixSize} <= value.length() ||
           fault_.binaryPrefix(column, value, prefix);
  }

  bool decimalValue(std::size_t column, unsigned int type, ValueExtent value) const {
    const auto digits = loadIn<order, std::uint16_t>(bytes(value) + kDecimalScaleOffset);
    const unsigned int precision = digits >> 8, scale = digits & 0xFF;
    if (precision > kMostDigits || scale > precision) return fault_.decimalDigits(column, value, precision, scale);
    const unsigned int most = digitsOf(type, precision);
    const Coefficient coefficient = makeCoefficient(loadIn<order, std::uint64_t>(bytes(value)),
                                                    loadIn<order, std::uint64_t>(bytes(value) + kDecimalLowOffset));
    return hasAtMost(most, coefficient) || fault_.decimalValue(column, value, most);
  }

  const unsigned char* bytes(ValueExtent value) const { return at(record_, static_cast<std::size_t>(value.begin)); }

  const void* record_;
  const RecordHeader& header_;
  const RecordSchema& schema_;
  RecordFault fault_;
};

template <WordOrder order>
bool checkRecord(const void* record, const RecordSchema& schema, RecordFault fault) {
  const RecordHeader header = headerOf<order>(record);
  if (!checkRoom(header, fault) || !checkOpcode(header, fault) || !checkColumnCount(header, schema, fault) ||
      !checkOptionCount(header, fault)) {
    return false;
  }
  return walkTable<order>(record, header, fault, ValueChecks<order>(record, header, schema, fault));
}

bool checkUntrusted(std::span<const std::byte> bytes, const RecordSchema& schema, RecordFault fault) {
  if (schema.types == nullptr && (schema.fixedColumns != 0 || schema.repeatColumns != 0)) {
    return fault.noTypes("validateUntrusted");
  }
  if (bytes.size() < sizeof(std::int32_t)) return fault.tooShort({static_cast<std::int32_t>(bytes.size()), 0, 0, 0, 0});
  const void* const record = bytes.data();
  const auto length = load<std::int32_t>(at(record, kLengthOffset));
  if (length > 0 && static_cast<std::size_t>(length) > bytes.size()) return fault.beyondBytes(length, bytes.size());
  const bool host = headerOf<WordOrder::Host>(record).isHostOrder();
  return host ? checkRecord<WordOrder::Host>(record, schema, fault)
              : checkRecord<WordOrder::Opposite>(record, schema, fault);
}

}  // namespace

}  // namespace kyv_internal

bool Row2::validateUntrusted(Fault& fault, std::span<const std::byte> bytes, int fixedColumns, int repeatColumns,
                             const unsigned int* types, const bool* nullable) {
  const kyv_internal::RecordSchema schema{fixedColumns, repeatColumns, types, nullable};
  return kyv_internal::checkUntrusted(bytes, schema, kyv_internal::RecordFault(fault));
}

bool Row2::validateUntrusted(std::string& error, std::span<const std::byte> bytes, int fixedColumns, int repeatColumns,
                             const unsigned int* types, const bool* nullable) {
  Fault fault;
  if (validateUntrusted(fault, bytes, fixedColumns, repeatColumns, types, nullable)) return true;
  error = std::move(fault.message);
  return false;
}
