// Proving a record safe that nobody trusts yet, in either byte order. A record as builders write them is accepted by
// one short walk over its offset table; what that walk does not accept is walked once more, to be accepted after all or
// to be told what is wrong.

#include <algorithm>
#include <array>
#include <cstdint>
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

// What the bytes of a type's value have to be, besides lying in the record.
enum class Content : std::uint8_t { Any, String, Binary, Decimal };  // the last two are rare

struct ValueRule {
  std::uint8_t need = 1;  // bytes, at the least; a value without any would overlap the next one
  Content content = Content::Any;
};

constexpr ValueRule ruleOf(const TypeRow& row) {
  if (row.kind == Kind::String) return {1, Content::String};
  if (row.kind == Kind::Binary) return {kBinaryPrefixSize, Content::Binary};
  if (row.kind == Kind::FixedDecimal) return {row.size, Content::Decimal};
  return {std::max(row.size, std::uint8_t{1})};
}

// By base type.
constexpr std::array<ValueRule, 256> kValueRules = [] {
  std::array<ValueRule, 256> rules{};
  for (const TypeRow& row : kTypeRows) rules[row.base] = ruleOf(row);
  return rules;
}();

std::uint32_t binaryPrefix(const unsigned char* value) { return bigEndian(load<std::uint32_t>(value)); }

bool binaryFits(const unsigned char* value, std::int64_t length) {
  return std::int64_t{binaryPrefix(value)} + std::int64_t{kBinaryPrefixSize} <= length;
}

struct StoredDecimal {
  Coefficient coefficient;
  unsigned int precision;
  unsigned int scale;

  bool hasValidDigits() const { return precision <= kMostDigits && scale <= precision; }
  // How many digits there may be: as many as the schema says where it does, else as the value says where it does.
  unsigned int mostDigits(unsigned int type) const {
    const unsigned int digits = precisionOf(type) != 0 ? precisionOf(type) : precision;
    return digits == 0 || digits > kMostDigits ? kMostDigits : digits;
  }
  bool fits(unsigned int type) const { return hasAtMost(mostDigits(type), coefficient); }
};

template <WordOrder order>
StoredDecimal loadDecimal(const unsigned char* value) {
  const unsigned int digits = loadIn<order, std::uint16_t>(value + kDecimalScaleOffset);
  return {makeCoefficient(loadIn<order, std::uint64_t>(value), loadIn<order, std::uint64_t>(value + kDecimalLowOffset)),
          digits >> 8, digits & 0xFF};
}

// --- Records as builders write them ---------------------------------------------------------------------------------

// Of a binary value or a decimal that is long enough.
template <WordOrder order>
[[gnu::noinline]] bool hasSoundContent(Content content, unsigned int type, const unsigned char* value,
                                       std::int32_t length) {
  if (content == Content::Binary) return binaryFits(value, length);
  const StoredDecimal decimal = loadDecimal<order>(value);
  return decimal.hasValidDigits() && decimal.fits(type);
}

// Whether nothing is wrong with the values of a record without options that has room for its table. The walk goes
// backwards: so a value's end is known when its beginning is, and one comparison tells that offsets rise and that the
// value is long enough. The bytes looked at lie in the record even where the offsets make no sense.
template <WordOrder order>
bool hasSoundColumns(const unsigned char* record, std::int32_t length, std::size_t columns, const unsigned int* types,
                     const bool* nullable) {
  std::int32_t end = tableEntryIn<order>(record, columns);
  if (end < 0 || end > length) return false;
// Unrolled, so that each column's branches are foretold by that column's past.
#pragma GCC unroll 8
  for (std::size_t left = columns; left > 0; --left) {
    const std::size_t i = left - 1;
    const std::int32_t begin = tableEntryIn<order>(record, i);
    if (begin <= 0) {
      if (nullable != nullptr && !nullable[i]) return false;
      continue;
    }
    const ValueRule rule = kValueRules[baseOf(types[i])];
    if (end - begin < rule.need) return false;
    if (rule.content == Content::String && record[end - 1] != 0) return false;
    if (rule.content > Content::String) [[unlikely]] {
      if (!hasSoundContent<order>(rule.content, types[i], record + begin, end - begin)) return false;
    }
    end = begin;
  }
  return end >= static_cast<std::int32_t>(payloadOffset(columns));
}

// Whether bytes begin with a record in which nothing is wrong, nor out of the ordinary: it has no options and no groups
// of columns.
bool isUsual(std::span<const std::byte> bytes, const RecordSchema& schema) {
  if (schema.types == nullptr || bytes.size() < payloadOffset(0)) return false;
  const unsigned char* const record = at(bytes.data(), 0);
  const auto length = load<std::int32_t>(record + kLengthOffset);
  const auto flags = load<std::uint32_t>(record + kFlagsOffset);
  const auto columns = static_cast<std::uint32_t>(schema.fixedColumns);
  if (length < 0 || static_cast<std::size_t>(length) > bytes.size() || columns > kColumnCountMask ||
      payloadOffset(columns) > static_cast<std::size_t>(length) || (flags & kOptionFlags) != 0 ||
      !isOpcode(load<std::int32_t>(record + kOpcodeOffset))) {
    return false;
  }
  const auto counts = load<std::uint32_t>(record + kCountsOffset);  // those of columns alone
  if ((flags & kBigEndianFlag) == kHostByteOrderFlag) {
    return counts == columns &&
           hasSoundColumns<WordOrder::Host>(record, length, columns, schema.types, schema.nullable);
  }
  return reversed(counts) == columns &&
         hasSoundColumns<WordOrder::Opposite>(record, length, columns, schema.types, schema.nullable);
}

// --- All records ----------------------------------------------------------------------------------------------------

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
    const ValueRule rule = kValueRules[baseOf(type)];
    if (rule.content == Content::String) return checkString(record_, header_, column, value, fault_);
    if (value.length() < rule.need) return fault_.valueLength(column, type, value, rule.need);
    if (rule.content == Content::Binary) return binaryValue(column, value);
    return rule.content != Content::Decimal || decimalValue(column, type, value);
  }

  bool binaryValue(std::size_t column, ValueExtent value) const {
    return binaryFits(bytes(value), value.length()) || fault_.binaryPrefix(column, value, binaryPrefix(bytes(value)));
  }

  bool decimalValue(std::size_t column, unsigned int type, ValueExtent value) const {
    const auto decimal = loadDecimal<order>(bytes(value));
    if (!decimal.hasValidDigits()) return fault_.decimalDigits(column, value, decimal.precision, decimal.scale);
    return decimal.fits(type) || fault_.decimalValue(column, value, decimal.mostDigits(type));
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
  return checkRoom(header, fault) && checkOpcode(header, fault) && checkColumnCount(header, schema, fault) &&
         checkOptionCount(header, fault) &&
         walkTable<order>(record, header, fault, ValueChecks<order>(record, header, schema, fault));
}

[[gnu::noinline]] bool checkUntrusted(std::span<const std::byte> bytes, const RecordSchema& schema, RecordFault fault) {
  if (schema.types == nullptr && (schema.fixedColumns != 0 || schema.repeatColumns != 0)) {
    return fault.noTypes("validateUntrusted");
  }
  if (bytes.size() < sizeof(std::int32_t)) return fault.tooShort({static_cast<std::int32_t>(bytes.size()), 0, 0, 0, 0});
  const void* const record = bytes.data();
  const auto length = load<std::int32_t>(at(record, kLengthOffset));
  if (length > 0 && static_cast<std::size_t>(length) > bytes.size()) return fault.beyondBytes(length, bytes.size());
  const bool host = (headerWord(record, kFlagsOffset) & kBigEndianFlag) == kHostByteOrderFlag;
  return host ? checkRecord<WordOrder::Host>(record, schema, fault)
              : checkRecord<WordOrder::Opposite>(record, schema, fault);
}

}  // namespace

}  // namespace kyv_internal

bool Row2::validateUntrusted(Fault& fault, std::span<const std::byte> bytes, int fixedColumns, int repeatColumns,
                             const unsigned int* types, const bool* nullable) {
  const kyv_internal::RecordSchema schema{fixedColumns, repeatColumns, types, nullable};
  return kyv_internal::isUsual(bytes, schema) ||
         kyv_internal::checkUntrusted(bytes, schema, kyv_internal::RecordFault(fault));
}

bool Row2::validateUntrusted(std::string& error, std::span<const std::byte> bytes, int fixedColumns, int repeatColumns,
                             const unsigned int* types, const bool* nullable) {
  Fault fault;
  if (validateUntrusted(fault, bytes, fixedColumns, repeatColumns, types, nullable)) return true;
  error = std::move(fault.message);
  return false;
}
