#include "value_decoder.h"

#include <algorithm>
#include <utility>

#include "kyv/data_types.h"
#include "kyv/data_value.h"
#include "kyv/string_utility.h"
#include "printable_text.h"
#include "row2/byte_order.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr std::size_t kMostTextBytes = 240;
constexpr std::size_t kMostHexBytes = 64;
constexpr unsigned int kBaseTypeMask = 0xFF;

// Stands in no text of a value, so that a printed value is quoted for few other reasons.
constexpr char kNoSeparator = '\x1F';

const unsigned char* unsignedBytes(std::string_view bytes) { return at(static_cast<const void*>(bytes.data()), 0); }

std::string hexText(std::string_view bytes) {
  std::string hex;
  const std::size_t shown = std::min(bytes.size(), kMostHexBytes);
  DataTypes::convertBinaryToHexString(unsignedBytes(bytes), static_cast<unsigned int>(shown), hex);
  return shown < bytes.size() ? hex + " ..." : hex;
}

DecodedValue sound(const std::string& text, std::size_t used) { return {text, used, "", true}; }

DecodedValue unreadable(std::string_view bytes, const std::string& fault) { return {"", bytes.size(), fault, false}; }

DecodedValue decodeString(std::string_view bytes) {
  const std::size_t end = bytes.find('\0');
  const std::string_view text = bytes.substr(0, end);
  DecodedValue value = sound('"' + escapedClipped(text, kMostTextBytes) + '"', std::min(text.size() + 1, bytes.size()));
  if (bytes.back() != 0) {
    value.fault = strprintf("its last byte is 0x%02X, a string's is 0", static_cast<unsigned char>(bytes.back()));
  }
  return value;
}

DecodedValue decodeBinary(std::string_view bytes) {
  if (bytes.size() < kBinaryPrefixSize)
    return unreadable(bytes, "it has no room for its length, a binary's first 4 bytes");
  const std::size_t length = DataTypes::getLengthFromPackedBinary(unsignedBytes(bytes));
  const std::string_view content = bytes.substr(kBinaryPrefixSize);
  DecodedValue value = sound(length == 0 ? "no bytes" : hexText(content.substr(0, length)),
                             kBinaryPrefixSize + std::min(length, content.size()));
  if (length > content.size()) {
    value.fault = strprintf("its first 4 bytes promise %zu more, %zu follow", length, content.size());
  }
  return value;
}

void reverseNumber(unsigned int baseType, unsigned char* value, std::size_t size) {
  if (baseType == DataTypes::kFixedDecimal) return reverseDecimal(value);
  reverseValue(value, size);
}

// A sound record in host order with this value as its only column.
std::string recordOfOne(std::string_view value) {
  const std::size_t begin = payloadOffset(1);
  const auto end = static_cast<std::int32_t>(begin + value.size());
  std::string record(begin, '\0');
  store(record.data() + kLengthOffset, end);
  store(record.data() + kOpcodeOffset, std::int32_t{StreamInterface::Insert});
  store(record.data() + kFlagsOffset, kHostByteOrderFlag);
  store(record.data() + kCountsOffset, std::uint32_t{1});
  store(record.data() + entryOffset(0), static_cast<std::int32_t>(begin));
  store(record.data() + entryOffset(1), end);
  return record.append(value);
}

// The text of a line's only field.
std::string fieldOf(std::string_view line) {
  line.remove_suffix(1);  // the line feed
  if (!line.starts_with('"')) return std::string(line);
  std::string text;
  for (std::size_t i = 1; i + 1 < line.size(); ++i) {
    text += line[i];
    if (line[i] == '"') ++i;  // quotes are doubled
  }
  return text;
}

}  // namespace

ValueDecoder::ValueDecoder(const kyv::StreamSchema& schema, TextLayout layout)
    : schema_(schema), layout_(std::move(layout)) {}

DecodedValue ValueDecoder::decode(std::size_t column, std::string_view bytes, bool swapped) {
  const unsigned int type = schema_.getColumnType(static_cast<int>(column));
  switch (type & kBaseTypeMask) {
    case DataTypes::kString:
      return decodeString(bytes);
    case DataTypes::kBinary:
      return decodeBinary(bytes);
    case DataTypes::kUndefined:
      return sound("", bytes.size());
    default:
      return decodeNumber(type, bytes, swapped);
  }
}

DecodedValue ValueDecoder::decodeNumber(unsigned int type, std::string_view bytes, bool swapped) {
  const std::size_t size = DataTypes::g_column_lengths[type & kBaseTypeMask];
  if (bytes.size() < size) {
    return unreadable(bytes, strprintf("it has %zu bytes, a value of this type takes %zu", bytes.size(), size));
  }
  std::string value(bytes.substr(0, size));
  if (swapped) reverseNumber(type & kBaseTypeMask, at(value.data(), 0), size);
  return sound(escaped(print(type, value)), size);
}

std::string ValueDecoder::print(unsigned int type, std::string_view value) {
  ConnectionErrors unused;
  kyv::ByteBuffer line;
  printerOf(type).appendDelimited(recordOfOne(value).data(), 1, unused, line);
  return fieldOf(line.view());
}

kyv::RecordPrinter& ValueDecoder::printerOf(unsigned int type) {
  std::unique_ptr<kyv::RecordPrinter>& printer = printers_[type];
  if (printer == nullptr) {
    printer = std::make_unique<kyv::RecordPrinter>(kyv::StreamSchema(schema_.getStreamName(), 0, {{"value", type}}));
    layout_.applyFormats(*printer);
    printer->setSeparator(kNoSeparator);
  }
  return *printer;
}

}  // namespace kyv_internal
