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
#include "datatypes/usual_number.h"
#include "datatypes/usual_time.h"
#include "datatypes/value_codec.h"
#include "kyv/data_value.h"
#include "row2/byte_order.h"
#include "row2/line_pieces.h"
#include "row2/row2_layout.h"
#include "services/malloc_ptr.h"

namespace kyv_internal {

namespace {

// Where the values of one text go: memory of a caller's, which may be too small.
struct ValueMemory {
  unsigned char* position;
  const unsigned char* end;

  bool hasRoom(std::size_t bytes) const { return static_cast<std::size_t>(end - position) >= bytes; }
};

// Where the values of a row go: memory of the row's size, with kTextSlack bytes behind it that may be overwritten.
struct RecordMemory {
  unsigned char* position;

  static constexpr bool hasRoom(std::size_t) { return true; }
};

void copyText(std::string_view text, const ValueMemory& out) {
  if (!text.empty()) std::memcpy(out.position, text.data(), text.size());
}

// In blocks: most texts are one, and how long they are decides no jump.
void copyText(PaddedText text, const RecordMemory& out) {
  std::size_t done = 0;
  do {
    std::memcpy(out.position + done, text.data() + done, kTextSlack);
    done += kTextSlack;
  } while (done < text.size());
}

enum class ByteOrder : bool { Host, Opposite };

constexpr const char* kOverflow = "output buffer overflow";
constexpr const char* kQuoted = "quotes are still around the text";  // never seen: another way is taken then
constexpr const char* kUnknownType = "conversion to unknown type";
constexpr const char* kBadBinary = "DataType::convertFromStringAndPack() could not convert binary data from hex.";

template <std::size_t size>
using UnsignedOf =
    std::conditional_t<size == 8, std::uint64_t, std::conditional_t<size == 4, std::uint32_t, std::uint16_t>>;

// The one place where a fixed-size value meets the capacity and the byte order.
template <class Stored, ByteOrder order, class Value, class Memory>
const char* storePacked(const Parsed<Value>& parsed, Memory& out) {
  if (parsed.error != nullptr) return parsed.error;
  if (!out.hasRoom(sizeof(Stored))) return kOverflow;
  const auto value = static_cast<Stored>(parsed.value);
  if constexpr (sizeof(Stored) == 1) {
    store(out.position, value);
  } else {
    const auto bits = std::bit_cast<UnsignedOf<sizeof(Stored)>>(value);
    store(out.position, order == ByteOrder::Host ? bits : reversed(bits));
  }
  out.position += sizeof(Stored);
  return nullptr;
}

template <class Text, class Memory>
const char* packString(Text text, Memory& out) {
  if (!out.hasRoom(text.size() + 1)) return kOverflow;
  copyText(text, out);
  out.position[text.size()] = 0;
  out.position += text.size() + 1;
  return nullptr;
}

// Bytes of a binary value, white space in its text counted too: a text with enough of it fails.
std::size_t binaryEstimate(std::string_view text) { return text.size() / 2; }

// The length is written before the digits are looked at. The position stays before it.
template <class Memory>
const char* packBinaryLength(std::size_t estimate, Memory& out) {
  if (!out.hasRoom(kBinaryPrefixSize + estimate)) return kOverflow;
  store(out.position, bigEndian(static_cast<std::uint32_t>(estimate)));
  return nullptr;
}

// After a failure some digits may have been written.
template <class Memory>
const char* packBinary(std::string_view text, Memory& out) {
  const std::size_t estimate = binaryEstimate(text);
  if (const char* error = packBinaryLength(estimate, out)) return error;
  const Parsed<std::size_t> written = parseHex(text, {out.position + kBinaryPrefixSize, estimate});
  if (written.error != nullptr || written.value != estimate) return kBadBinary;
  out.position += kBinaryPrefixSize + estimate;
  return nullptr;
}

const char* packOnlyBinaryLength(std::string_view text, ValueMemory& out) {
  const char* const error = packBinaryLength(binaryEstimate(text), out);
  return error != nullptr ? error : kBadBinary;
}

void storeDecimal(unsigned char* out, Coefficient coefficient, unsigned int precision, unsigned int scale) {
  store(out, highWord(coefficient));
  store(out + kDecimalLowOffset, lowWord(coefficient));
  store(out + kDecimalScaleOffset, static_cast<std::uint16_t>((precision & 0xFF) << 8 | scale));
  std::memset(out + kDecimalUnusedOffset, 0, kDecimalSize - kDecimalUnusedOffset);
}

template <ByteOrder order, class Text, class Memory>
const char* packDecimal(unsigned int type, Text text, Memory& out) {
  const unsigned int precision = precisionOf(type);
  const unsigned int scale = scaleOf(type);
  const auto parsed = parseDecimal(text, static_cast<int>(precision), static_cast<int>(scale));
  if (parsed.error != nullptr) return parsed.error;
  if (!out.hasRoom(kDecimalSize)) return kOverflow;
  storeDecimal(out.position, parsed.value, precision, scale);
  if (order == ByteOrder::Opposite) reverseDecimal(out.position);
  out.position += kDecimalSize;
  return nullptr;
}

// Whether quotes must be taken off a text first. No number and no word begins with one, so that only types of any
// characters have to ask.
constexpr bool isQuoted(std::string_view) { return false; }
inline bool isQuoted(LinePiece piece) { return beginsWithQuote(piece); }

// Converts a text and writes the packed value, moving the position behind it. Otherwise the static message that says
// why not; then nothing was written, except perhaps a binary value's length and bytes.
template <ByteOrder order, class Text, class Memory>
[[gnu::always_inline]] inline const char* pack(const ColumnType& column, Text text, const FormatSet& formats,
                                               Memory& out) {
  switch (column.kind) {
    case Kind::Int16:
      return storePacked<std::int16_t, order>(parseInteger(text, kInt16Rules), out);
    case Kind::Integer:
      return storePacked<std::int32_t, order>(parseInteger(text, kIntegerRules), out);
    case Kind::Long:
      return storePacked<std::int64_t, order>(parseInteger(text, kLongRules), out);
    case Kind::Interval:
      return storePacked<std::int64_t, order>(parseInteger(text, kIntervalRules), out);
    case Kind::Float:
      return storePacked<double, order>(parseFloat(text), out);
    case Kind::Money:
      return storePacked<std::int64_t, order>(parseMoney(text, moneyScale(column.type)), out);
    case Kind::Boolean:
      return storePacked<std::uint8_t, order>(parseBoolean(text), out);
    case Kind::Date:
      return isQuoted(text) ? kQuoted : storePacked<std::int64_t, order>(parseDate(text, *formats.date), out);
    case Kind::Time:
      return isQuoted(text) ? kQuoted : storePacked<std::int64_t, order>(parseTime(text, *formats.time), out);
    case Kind::Timestamp:
      return isQuoted(text) ? kQuoted : storePacked<std::int64_t, order>(parseTimestamp(text, *formats.timestamp), out);
    case Kind::BigDateTime:
      return isQuoted(text) ? kQuoted
                            : storePacked<std::int64_t, order>(parseBigDateTime(text, *formats.bigdatetime), out);
    case Kind::String:
      return isQuoted(text) ? kQuoted : packString(text, out);
    case Kind::Binary:
      return packBinary(text, out);
    case Kind::FixedDecimal:
      return packDecimal<order>(column.type, text, out);
    case Kind::None:
      break;
  }
  return kUnknownType;
}

// The same for one text of a caller's.
const char* packText(const ColumnType& column, std::string_view text, const FormatSet& formats, bool swap,
                     ValueMemory& out) {
  // A record that fails is thrown away; here the bytes are a caller's, and stay as they are.
  if (column.kind == Kind::Binary && !holdsHexBytes(text, binaryEstimate(text))) return packOnlyBinaryLength(text, out);
  return swap ? pack<ByteOrder::Opposite>(column, text, formats, out)
              : pack<ByteOrder::Host>(column, text, formats, out);
}

// A record's values, written one behind another, and their entries in its offset table.
class ColumnWriter {
 public:
  ColumnWriter(std::size_t columns, const FormatSet& formats, unsigned char* record)
      : formats_(formats), record_(record), entry_(record + kTableOffset), out_{record + payloadOffset(columns)} {}

  void addNull() { addEntry(0); }
  // Null, or the message that says why the text is no value.
  template <class Text>
  [[gnu::always_inline]] const char* add(const ColumnType& column, Text text) {
    addEntry(size());
    return pack<ByteOrder::Host>(column, text, formats_, out_);
  }
  // Returns the bytes of the record.
  std::size_t finish(const RecordHead& head) {
    addEntry(size());
    store(record_, head);
    store(record_ + kLengthOffset, static_cast<std::int32_t>(size()));
    return size();
  }

 private:
  std::size_t size() const { return static_cast<std::size_t>(out_.position - record_); }
  void addEntry(std::size_t offset) {
    store(entry_, static_cast<std::int32_t>(offset));
    entry_ += kEntrySize;
  }

  const FormatSet& formats_;
  unsigned char* const record_;
  unsigned char* entry_;
  RecordMemory out_;
};

// All ways to pack a row are compiled twice, so that newer processors use their shorter instructions; which of the two
// runs is decided when the library is loaded, which is too early for the thread sanitizer. Clang has no such functions
// without external linkage.
#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__)
[[gnu::target_clones("arch=x86-64-v3", "default")]] PackedFields packAllFields(const RecordHead& head,
                                                                               std::span<const ColumnType> columns,
                                                                               std::span<const RowField> fields,
                                                                               const FormatSet& formats,
                                                                               unsigned char* record);
[[gnu::target_clones("arch=x86-64-v3", "default")]] std::size_t packWholeLine(const RecordHead& head,
                                                                              std::span<const ColumnType> columns,
                                                                              std::span<const char> line,
                                                                              char separator, const FormatSet& formats,
                                                                              unsigned char* record);
[[gnu::target_clones("arch=x86-64-v3", "default")]] PackedLines packAllLines(const RecordHead& head,
                                                                             std::span<const ColumnType> columns,
                                                                             TextPieces& text, const FormatSet& formats,
                                                                             std::size_t room,
                                                                             std::span<unsigned char> memory);
#endif

PackedFields packAllFields(const RecordHead& head, std::span<const ColumnType> columns,
                           std::span<const RowField> fields, const FormatSet& formats, unsigned char* record) {
  ColumnWriter writer(columns.size(), formats, record);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].data == nullptr) {
      writer.addNull();
    } else if (const char* const error = writer.add(columns[i], fields[i].text())) {
      return {.column = i, .error = error};
    }
  }
  return {.bytes = writer.finish(head)};
}

// The record's size, or 0 for an unusual line.
template <class Pieces>
[[gnu::always_inline]] inline std::size_t packPieces(const RecordHead& head, std::span<const ColumnType> columns,
                                                     Pieces& pieces, const FormatSet& formats, unsigned char* record) {
  ColumnWriter writer(columns.size(), formats, record);
  LinePiece piece;
  for (const ColumnType& column : columns) {
    if (!pieces.next(piece)) return 0;
    if (piece.empty()) {
      writer.addNull();
    } else if (writer.add(column, piece) != nullptr) {
      return 0;
    }
  }
  return pieces.atLineEnd() ? writer.finish(head) : 0;
}

std::size_t packWholeLine(const RecordHead& head, std::span<const ColumnType> columns, std::span<const char> line,
                          char separator, const FormatSet& formats, unsigned char* record) {
  LinePieces pieces(line, separator);
  return packPieces(head, columns, pieces, formats, record);
}

// The pieces are found through a copy, which the compiler can tell from the records.
PackedLines packAllLines(const RecordHead& head, std::span<const ColumnType> columns, TextPieces& text,
                         const FormatSet& formats, std::size_t room, std::span<unsigned char> memory) {
  TextPieces pieces(text);
  PackedLines done;
  while (memory.size() - done.bytes >= room) {
    const std::size_t size = packPieces(head, columns, pieces, formats, memory.data() + done.bytes);
    done.stopped = size == 0;
    if (done.stopped) break;
    done.bytes += size;
    ++done.lines;
    pieces.nextLine();
  }
  text = pieces;
  return done;
}

}  // namespace

// A function that exists twice loses its hidden visibility, unless nobody outside sees it anyway.

PackedFields packFields(const RecordHead& head, std::span<const ColumnType> columns, std::span<const RowField> fields,
                        const FormatSet& formats, unsigned char* record) {
  return packAllFields(head, columns, fields, formats, record);
}

std::size_t packLine(const RecordHead& head, std::span<const ColumnType> columns, std::span<const char> line,
                     char separator, const FormatSet& formats, unsigned char* record) {
  return packWholeLine(head, columns, line, separator, formats, record);
}

PackedLines packLines(const RecordHead& head, std::span<const ColumnType> columns, TextPieces& text,
                      const FormatSet& formats, std::size_t room, std::span<unsigned char> memory) {
  return packAllLines(head, columns, text, formats, room, memory);
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
  const kyv_internal::ColumnType column = kyv_internal::columnTypeOf(type);
  const kyv_internal::SingleFormat format(column.kind, {dateFormat, timestampFormat, bigdatetimeFormat, timeFormat});
  kyv_internal::ValueMemory packed{out, out + capacity};
  const char* const message = kyv_internal::packText(column, text, format.set(), swap, packed);
  if (message == nullptr) return static_cast<unsigned int>(packed.position - out);
  error = message;
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
