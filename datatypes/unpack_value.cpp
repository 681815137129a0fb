// Packed bytes to text, and into a holder.

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

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

// A date or time as wide as the settings say: 4 or 8 bytes.
std::int64_t loadSeconds(const unsigned char* value, std::size_t size) {
  return size == sizeof(std::int32_t) ? load<std::int32_t>(value) : load<std::int64_t>(value);
}

char* copyText(std::string_view text, char* out) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

char* printFloatIn(TextStyle style, double value, char* out) {
  return style == TextStyle::Exact
             ? printFloatExact(value, out)
             : printFloat(value, DataTypes::g_decimalSize, DataTypes::g_tolerance, out, kMaxValueText);
}

// A decimal that claims more places than a type code can: zeros follow the point.
char* printManyPlaces(Coefficient coefficient, std::size_t scale, char* out) {
  char digits[kMaxDecimalText];
  char* const end = printDecimal(coefficient, kMaxDecimalScale, digits);
  const char* const fraction = std::find(digits, end, '.') + 1;
  out = std::copy(static_cast<const char*>(digits), fraction, out);
  out = std::fill_n(out, scale - kMaxDecimalScale, '0');
  return std::copy(fraction, static_cast<const char*>(end), out);
}

// Precision and scale of the type code win over those in the value, when the code has them.
char* printPackedDecimal(unsigned int type, const unsigned char* value, char* out) {
  const Coefficient coefficient =
      makeCoefficient(load<std::uint64_t>(value), load<std::uint64_t>(value + kDecimalLowOffset));
  const unsigned int scale =
      precisionOf(type) != 0 ? scaleOf(type) : load<std::uint16_t>(value + kDecimalScaleOffset) & 0xFF;
  return scale <= kMaxDecimalScale ? printDecimal(coefficient, static_cast<int>(scale), out)
                                   : printManyPlaces(coefficient, scale, out);
}

}  // namespace

char* printValue(ColumnType column, const unsigned char* value, const FormatSet& formats, TextStyle style, char* out) {
  const ZeroFraction zero = style == TextStyle::Exact ? ZeroFraction::Omitted : ZeroFraction::Printed;
  switch (column.kind) {
    case Kind::Int16:
      return printInteger(load<std::int16_t>(value), out);
    case Kind::Integer:
      return printInteger(load<std::int32_t>(value), out);
    case Kind::Long:
    case Kind::Interval:
      return printInteger(load<std::int64_t>(value), out);
    case Kind::Float:
      return printFloatIn(style, load<double>(value), out);
    case Kind::Money:
      return printMoney(load<std::int64_t>(value), moneyScale(column.type), out);
    case Kind::Boolean:
      return copyText(*value != 0 ? "true" : "false", out);
    case Kind::Date:
      return out + printDate(loadSeconds(value, DataTypes::g_dateSize), *formats.date, out);
    case Kind::Time:
      return out + printDate(loadSeconds(value, DataTypes::g_timeSize), *formats.time, out);
    case Kind::Timestamp:
      return out + printTimestamp(load<std::int64_t>(value), *formats.timestamp, zero, out);
    case Kind::BigDateTime:
      return out + printBigDateTime(load<std::int64_t>(value), *formats.bigdatetime, zero, out);
    case Kind::FixedDecimal:
      return printPackedDecimal(column.type, value, out);
    case Kind::String:
    case Kind::Binary:
    case Kind::None:
      break;
  }
  return out;
}

// The default text of a date or time kind; of any other kind the text that rows give it.
char* printDefault(const ColumnType& column, const unsigned char* value, ZoneSuffix zone, char* out) {
  switch (column.kind) {
    case Kind::Date:
      return printDefaultDate(loadSeconds(value, storedSize(column)), zone, out);
    case Kind::Time:
      return printDefaultTime(loadSeconds(value, storedSize(column)), zone, out);
    case Kind::Timestamp:
      return printDefaultTimestamp(load<std::int64_t>(value), zone, out);
    case Kind::BigDateTime:
      return printDefaultBigDateTime(load<std::int64_t>(value), zone, out);
    default:
      return printValue(column, value, {}, TextStyle::Row, out);
  }
}

std::string_view packedString(std::span<const unsigned char> value) {
  const void* const end = std::memchr(value.data(), 0, value.size());
  const std::size_t length =
      end == nullptr ? value.size() : static_cast<std::size_t>(static_cast<const unsigned char*>(end) - value.data());
  return {static_cast<const char*>(static_cast<const void*>(value.data())), length};
}

std::span<const unsigned char> packedBytes(std::span<const unsigned char> value) {
  if (value.size() < kBinaryPrefixSize) return {};
  const std::size_t length = bigEndian(load<std::uint32_t>(value.data()));
  const auto bytes = value.subspan(kBinaryPrefixSize);
  return bytes.first(std::min(length, bytes.size()));
}

}  // namespace kyv_internal

namespace DataTypes {

namespace {

using kyv_internal::Kind;
using kyv_internal::ZoneSuffix;

constexpr std::size_t kTextBuffer = kyv_internal::kMaxValueText + 1;

using ValueBytes = std::array<unsigned char, kyv_internal::kDecimalSize>;

// Copies at most `outSize` - 1 characters and a terminator.
void copyBounded(std::string_view text, char* out, unsigned long outSize) {
  if (outSize != 0) out[text.copy(out, outSize - 1)] = 0;
}

// A value in host order, whatever order it was stored in.
ValueBytes hostOrder(const kyv_internal::ColumnType& column, bool swap, const unsigned char* data) {
  ValueBytes value{};
  const std::size_t size = kyv_internal::storedSize(column);
  std::memcpy(value.data(), data, size);
  if (!swap) return value;
  if (column.kind == Kind::FixedDecimal) {
    kyv_internal::reverseDecimal(value.data());
  } else {
    kyv_internal::reverseValue(value.data(), size);
  }
  return value;
}

bool hasDefaultText(Kind kind) { return kind != Kind::String && kind != Kind::Binary && kind != Kind::None; }

char* newText(std::string_view text) {
  char* const copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (copy == nullptr) return nullptr;
  copyBounded(text, copy, text.size() + 1);
  return copy;
}

char* newHexText(const unsigned char* data) {
  const unsigned int length = getLengthFromPackedBinary(data);
  const unsigned long size = getHexStringSizeForBuffer(length);
  kyv_internal::MallocPtr<char> text(static_cast<char*>(std::malloc(size)));
  const char* error = nullptr;
  if (text == nullptr) return nullptr;
  convertBinaryToHexString(size, data + kyv_internal::kBinaryPrefixSize, length, text.get(), error);
  return text.release();
}

// Replaces the low bytes of a slot.
template <class T>
void setLowBytes(std::uint64_t& slot, const unsigned char* value) {
  constexpr std::uint64_t kMask = static_cast<T>(-1);
  slot = (slot & ~kMask) | kyv_internal::load<T>(value);
}

void unpackDecimal(const unsigned char* value, DataValue& out) {
  out.value = kyv_internal::load<std::uint64_t>(value);
  out.low = kyv_internal::load<std::uint64_t>(value + kyv_internal::kDecimalLowOffset);
  out.precisionScale = kyv_internal::load<std::uint64_t>(value + kyv_internal::kDecimalScaleOffset);
}

void unpackFixedSize(std::size_t size, const unsigned char* value, DataValue& out) {
  switch (size) {
    case 1:
      return setLowBytes<std::uint8_t>(out.value, value);
    case 2:
      return setLowBytes<std::uint16_t>(out.value, value);
    case 4:
      return setLowBytes<std::uint32_t>(out.value, value);
    case 8:
      return setLowBytes<std::uint64_t>(out.value, value);
    default:
      return;
  }
}

void unpackByKind(unsigned int type, unsigned char* value, DataValue& out) {
  switch (kyv_internal::kindOf(type)) {
    case Kind::String:
      out.value = std::bit_cast<std::uint64_t>(value);
      return;
    case Kind::Binary:
      out.low = getLengthFromPackedBinary(value);
      out.value = std::bit_cast<std::uint64_t>(value + kyv_internal::kBinaryPrefixSize);
      return;
    case Kind::FixedDecimal:
      return unpackDecimal(value, out);
    default:
      return unpackFixedSize(kyv_internal::sizeOf(type), value, out);
  }
}

// The bytes of a holder as a record would have them.
ValueBytes storageOf(const kyv_internal::ColumnType& column, const DataValue& value) {
  ValueBytes bytes{};
  if (column.kind == Kind::FixedDecimal) {
    kyv_internal::store(bytes.data(), value.value);
    kyv_internal::store(bytes.data() + kyv_internal::kDecimalLowOffset, value.low);
    kyv_internal::store(bytes.data() + kyv_internal::kDecimalScaleOffset, value.precisionScale);
    return bytes;
  }
  const std::size_t size = kyv_internal::storedSize(column);
  const std::size_t skip = std::endian::native == std::endian::big ? sizeof value.value - size : 0;
  std::memcpy(bytes.data(), kyv_internal::at(&value.value, skip), size);
  return bytes;
}

}  // namespace

void convertToString(const unsigned int& type, bool swap, bool zoneSuffix, unsigned char* data, char* out,
                     unsigned long outSize) {
  const kyv_internal::ColumnType column = kyv_internal::columnTypeOf(type);
  if (!hasDefaultText(column.kind) || outSize == 0) return;
  const ValueBytes value = hostOrder(column, swap, data);
  if (column.kind == Kind::Float) {  // can be longer than any buffer of ours
    *kyv_internal::printFloat(kyv_internal::load<double>(value.data()), g_decimalSize, g_tolerance, out, outSize - 1) =
        0;
    return;
  }
  char text[kTextBuffer];
  const ZoneSuffix zone = zoneSuffix ? ZoneSuffix::Yes : ZoneSuffix::No;
  const char* const end = kyv_internal::printDefault(column, value.data(), zone, text);
  copyBounded({text, static_cast<std::size_t>(end - text)}, out, outSize);
}

void convertToString(const unsigned int& type, bool swap, bool zoneSuffix, DataValue& value, char* out,
                     unsigned long outSize) {
  const kyv_internal::ColumnType column = kyv_internal::columnTypeOf(type);
  if (value.null || !hasDefaultText(column.kind)) return;
  ValueBytes bytes = storageOf(column, value);
  convertToString(type, swap, zoneSuffix, bytes.data(), out, outSize);
}

void convertDoubleToString(const unsigned int& /*type*/, bool swap, DataValue& value, char* out,
                           unsigned long outSize) {
  if (value.null) return copyBounded({}, out, outSize);
  char text[50];
  const auto bits = swap ? kyv_internal::reversed(value.value) : value.value;
  const char* const end = kyv_internal::printFloatShort(std::bit_cast<double>(bits), text);
  copyBounded({text, static_cast<std::size_t>(end - text)}, out, outSize);
}

char* unpackToNewString(unsigned char* data, const unsigned int& type, const char* dateFormat,
                        const char* timestampFormat, const char* bigdatetimeFormat, const char* timeFormat) {
  const kyv_internal::ColumnType column = kyv_internal::columnTypeOf(type);
  if (column.kind == Kind::String) return strdup(static_cast<const char*>(static_cast<const void*>(data)));
  if (column.kind == Kind::Binary) return newHexText(data);
  const kyv_internal::SingleFormat format(column.kind, {dateFormat, timestampFormat, bigdatetimeFormat, timeFormat});
  char text[kTextBuffer];
  const char* const end = kyv_internal::printValue(column, data, format.set(), kyv_internal::TextStyle::Row, text);
  return newText({text, static_cast<std::size_t>(end - text)});
}

int convertBinaryToHexString(unsigned long outSize, const unsigned char* bytes, unsigned int length, char* out,
                             const char*& error) {
  if (out == nullptr) return -1;
  if (outSize < getHexStringSizeForBuffer(length)) {
    error = "output buffer is too small for binary to hex-string conversion";
    return -1;
  }
  char* const end = kyv_internal::printHex({bytes, length}, out);
  *end = 0;
  return static_cast<int>(end - out);
}

bool convertBinaryToHexString(const unsigned char* bytes, unsigned int length, std::string& out) {
  out.resize(2 * std::size_t{length});
  kyv_internal::printHex({bytes, length}, out.data());
  return true;
}

unsigned long getHexStringSizeForBuffer(unsigned int length) { return 2UL * length + 1; }

void unpackValue(const TypeEnum& type, unsigned char* value, DataValue& out) {
  out.null = value == nullptr;
  if (value != nullptr) unpackByKind(type, value, out);
}

void unpackValue(const unsigned int& type, unsigned char* value, DataValue& out) {
  unpackValue(static_cast<TypeEnum>(type), value, out);
  const unsigned int precision = kyv_internal::precisionOf(type);
  if (value != nullptr && kyv_internal::kindOf(type) == Kind::FixedDecimal && precision != 0) {
    out.precisionScale = (precision & 0xFF) << 8 | kyv_internal::scaleOf(type);
  }
}

unsigned int getLengthFromPackedBinary(const unsigned char* value) {
  return value == nullptr ? 0 : kyv_internal::bigEndian(kyv_internal::load<std::uint32_t>(value));
}

}  // namespace DataTypes
