// Text to packed bytes, and text into a holder.

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <type_traits>

#include "datatypes/boolean_text.h"
#include "datatypes/datetime_text.h"
#include "datatypes/decimal_text.h"
#include "datatypes/hex_text.h"
#include "datatypes/money_text.h"
#include "datatypes/number_text.h"
#include "datatypes/row_formats.h"
#include "datatypes/type_catalogue.h"
#include "datatypes/value_codec.h"
#include "kyv/data_value.h"
#include "row2/byte_order.h"
#include "row2/row2_layout.h"
#include "services/malloc_ptr.h"

namespace kyv_internal {

namespace {

constexpr const char* kOverflow = "output buffer overflow";
constexpr const char* kUnknownType = "conversion to unknown type";
constexpr const char* kBadBinary = "DataType::convertFromStringAndPack() could not convert binary data from hex.";

template <std::size_t size>
using UnsignedOf =
    std::conditional_t<size == 8, std::uint64_t, std::conditional_t<size == 4, std::uint32_t, std::uint16_t>>;

// The one place where a fixed-size value meets the capacity and the byte order.
template <class Stored, class Value>
Packed storePacked(const Parsed<Value>& parsed, ByteOrder order, std::span<unsigned char> out) {
  if (parsed.error != nullptr) return {0, parsed.error};
  if (out.size() < sizeof(Stored)) return {0, kOverflow};
  const auto value = static_cast<Stored>(parsed.value);
  if constexpr (sizeof(Stored) == 1) {
    store(out.data(), value);
  } else {
    const auto bits = std::bit_cast<UnsignedOf<sizeof(Stored)>>(value);
    store(out.data(), order == ByteOrder::Host ? bits : reversed(bits));
  }
  return {sizeof(Stored), nullptr};
}

Packed packString(std::string_view text, std::span<unsigned char> out) {
  if (out.size() <= text.size()) return {0, kOverflow};
  std::memcpy(out.data(), text.data(), text.size());
  out[text.size()] = 0;
  return {static_cast<std::uint32_t>(text.size() + 1), nullptr};
}

// The length is written before the digits are converted, and counts white space too: a text with enough of it fails.
Packed packBinary(std::string_view text, std::span<unsigned char> out) {
  const std::size_t estimate = text.size() / 2;
  if (out.size() < kBinaryPrefixSize + estimate) return {0, kOverflow};
  store(out.data(), bigEndian(static_cast<std::uint32_t>(estimate)));
  const Parsed<std::size_t> written = parseHex(text, out.subspan(kBinaryPrefixSize, estimate));
  if (written.error != nullptr || written.value != estimate) return {0, kBadBinary};
  return {static_cast<std::uint32_t>(kBinaryPrefixSize + estimate), nullptr};
}

void storeDecimal(unsigned char* out, Coefficient coefficient, unsigned int precision, unsigned int scale) {
  store(out, highWord(coefficient));
  store(out + kDecimalLowOffset, lowWord(coefficient));
  store(out + kDecimalScaleOffset, static_cast<std::uint16_t>((precision & 0xFF) << 8 | scale));
  std::memset(out + kDecimalUnusedOffset, 0, kDecimalSize - kDecimalUnusedOffset);
}

Packed packDecimal(unsigned int type, std::string_view text, ByteOrder order, std::span<unsigned char> out) {
  const unsigned int precision = precisionOf(type);
  const unsigned int scale = scaleOf(type);
  const auto parsed = parseDecimal(text, static_cast<int>(precision), static_cast<int>(scale));
  if (parsed.error != nullptr) return {0, parsed.error};
  if (out.size() < kDecimalSize) return {0, kOverflow};
  storeDecimal(out.data(), parsed.value, precision, scale);
  if (order == ByteOrder::Opposite) reverseDecimal(out.data());
  return {kDecimalSize, nullptr};
}

}  // namespace

std::size_t packedSize(unsigned int type, std::string_view text) {
  const TypeRow& row = typeRow(type);
  if (row.kind == Kind::String) return text.size() + 1;
  if (row.kind == Kind::Binary) return text.size() / 2 + kBinaryPrefixSize;
  return row.size;
}

Packed packText(unsigned int type, std::string_view text, const PercentFormat* format, ByteOrder order,
                std::span<unsigned char> out) {
  switch (kindOf(type)) {
    case Kind::Int16:
      return storePacked<std::int16_t>(parseInteger(text, kInt16Rules), order, out);
    case Kind::Integer:
      return storePacked<std::int32_t>(parseInteger(text, kIntegerRules), order, out);
    case Kind::Long:
      return storePacked<std::int64_t>(parseInteger(text, kLongRules), order, out);
    case Kind::Interval:
      return storePacked<std::int64_t>(parseInteger(text, kIntervalRules), order, out);
    case Kind::Float:
      return storePacked<double>(parseFloat(text), order, out);
    case Kind::Money:
      return storePacked<std::int64_t>(parseMoney(text, moneyScale(type)), order, out);
    case Kind::Boolean:
      return storePacked<std::uint8_t>(parseBoolean(text), order, out);
    case Kind::Date:
      return storePacked<std::int64_t>(parseDate(text, *format), order, out);
    case Kind::Time:
      return storePacked<std::int64_t>(parseTime(text, *format), order, out);
    case Kind::Timestamp:
      return storePacked<std::int64_t>(parseTimestamp(text, *format), order, out);
    case Kind::BigDateTime:
      return storePacked<std::int64_t>(parseBigDateTime(text, *format), order, out);
    case Kind::String:
      return packString(text, out);
    case Kind::Binary:
      return packBinary(text, out);
    case Kind::FixedDecimal:
      return packDecimal(type, text, order, out);
    case Kind::None:
      break;
  }
  return {0, kUnknownType};
}

}  // namespace kyv_internal

namespace DataTypes {

namespace {

using kyv_internal::Kind;
using kyv_internal::MallocPtr;

constexpr unsigned int kFailed = 0xFFFFFFFF;
constexpr const char* kNoStringMemory = "DataType::convertFromString() could not allocate memory for string copy.";
constexpr const char* kNoBinaryMemory = "DataType::convertFromString() could not allocate memory for binary value.";
constexpr const char* kBadBinaryText = "DataType::convertFromString() could not convert binary data from hex.";

bool failWith(const char*& error, const char* message) {
  error = message;
  return false;
}

// Releases what a string or binary holder owns.
void release(DataValue& value) {
  if (!value.null) std::free(value.text());
  value.null = true;
}

bool holdString(const char* text, DataValue& value, const char*& error) {
  release(value);
  char* const copy = strdup(text);
  if (copy == nullptr) return failWith(error, kNoStringMemory);
  value.value = std::bit_cast<std::uint64_t>(copy);
  value.null = false;
  return true;
}

bool holdBinary(const char* text, DataValue& value, const char*& error) {
  release(value);
  const unsigned int capacity = getBinaryDataSizeFromHexString(text);
  MallocPtr<unsigned char> bytes(static_cast<unsigned char*>(std::malloc(capacity + 1)));
  if (bytes == nullptr) return failWith(error, kNoBinaryMemory);
  const unsigned int length = convertBinaryFromHexString(text, bytes.get(), capacity, error);
  if (length == kFailed) return failWith(error, kBadBinaryText);
  value.value = std::bit_cast<std::uint64_t>(bytes.release());
  value.low = length;
  value.null = false;
  return true;
}

}  // namespace

unsigned int convertFromStringAndPack(const unsigned int& type, bool swap, const char* text, unsigned char* out,
                                      unsigned long capacity, const char*& error, const char* dateFormat,
                                      const char* timestampFormat, const char* bigdatetimeFormat,
                                      const char* timeFormat) {
  const auto format = kyv_internal::compiledFormat(kyv_internal::kindOf(type),
                                                   {dateFormat, timestampFormat, bigdatetimeFormat, timeFormat});
  const kyv_internal::Packed packed =
      kyv_internal::packText(type, text, format ? &*format : nullptr,
                             swap ? kyv_internal::ByteOrder::Opposite : kyv_internal::ByteOrder::Host, {out, capacity});
  if (packed.error == nullptr) return packed.bytes;
  error = packed.error;
  return kFailed;
}

unsigned int packAndAppendValue(unsigned char* out, unsigned long capacity, const char* text, const unsigned int& type,
                                const char* dateFormat, const char* timestampFormat, const char* bigdatetimeFormat,
                                const char* timeFormat, const char*& error) {
  error = nullptr;
  const unsigned int bytes = convertFromStringAndPack(type, false, text, out, capacity, error, dateFormat,
                                                      timestampFormat, bigdatetimeFormat, timeFormat);
  return bytes == kFailed ? 0 : bytes;
}

bool convertFromString(const unsigned int& type, const char* text, DataValue& value, const char*& error,
                       const char* dateFormat, const char* timestampFormat, const char* bigdatetimeFormat,
                       const char* timeFormat) {
  const Kind kind = kyv_internal::kindOf(type);
  if (kind == Kind::String) return holdString(text, value, error);
  if (kind == Kind::Binary) return holdBinary(text, value, error);
  std::array<unsigned char, kyv_internal::kDecimalSize> packed{};
  if (convertFromStringAndPack(type, false, text, packed.data(), packed.size(), error, dateFormat, timestampFormat,
                               bigdatetimeFormat, timeFormat) == kFailed) {
    return false;
  }
  unpackValue(type, packed.data(), value);
  return true;
}

unsigned int getBinaryDataSizeFromHexString(const char* text) {
  return text == nullptr ? 0 : static_cast<unsigned int>(std::strlen(text) / 2);
}

unsigned int convertBinaryFromHexString(const char* text, unsigned char* out, unsigned int capacity,
                                        const char*& error) {
  const auto written = kyv_internal::parseHex(text, {out, capacity});
  if (written.error == nullptr) return static_cast<unsigned int>(written.value);
  error = written.error;
  return kFailed;
}

}  // namespace DataTypes
