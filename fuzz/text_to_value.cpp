// Any text as a value of any type. The functions that convert it agree, in both byte orders; nothing is written past
// the bytes that they count, nor on failure; what was converted can be printed, and is read back the same where the
// text of a type is exact.
//
// Input: the type and the format, each by one character (see kTypes and kFormats); for the format after the last a line
// with any format; then the text.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "datatypes/civil_time.h"
#include "datatypes/row_formats.h"
#include "datatypes/type_catalogue.h"
#include "fuzz/fuzz_input.h"
#include "kyv/data_value.h"
#include "row2/byte_order.h"
#include "row2/row2_layout.h"
#include "services/malloc_ptr.h"

namespace {

using kyv_fuzz::require;
using kyv_internal::Kind;
using Bytes = std::vector<unsigned char>;

constexpr unsigned int kFailed = 0xFFFFFFFF;
constexpr unsigned char kUntouched = 0xA5;
constexpr std::size_t kMostBesidesText = 32;  // bytes of a value that is no text
constexpr std::size_t kTextRoom = 1024;

// The types: every base type, an unknown one and a few decimals, the last ones with more digits than a name can tell.
struct Digits {
  int precision;
  int scale;
};
constexpr Digits kDecimals[] = {{10, 2}, {1, 0}, {34, 0}, {34, 34}, {18, 6}, {3, 5}, {38, 10}, {255, 63}, {16383, 63}};
constexpr std::size_t kPlainTypes = DataTypes::kTypeCount + 1;

unsigned int typeOf(std::size_t choice) {
  if (choice < kPlainTypes) return static_cast<unsigned int>(choice);
  const Digits& digits = kDecimals[choice - kPlainTypes];
  return DataTypes::createFixedDecimal(digits.precision, digits.scale);
}

constexpr const char* kFormats[] = {nullptr,    "%Y-%m-%d %H:%M:%S", "%s",           "%H:%M:%S",      "%d.%m.%Y",
                                    "%Y%m%d%H", "%d-%b-%y %I:%M %p", "%a %e %B %Ey", "%U %w %C %y %j"};

// A text with all that its conversion needs.
struct Case {
  unsigned int type;
  const char* text;
  const char* format;      // of every type but time
  const char* timeFormat;  // null: the process's

  Kind kind() const { return kyv_internal::kindOf(type); }
};

struct Result {
  Bytes bytes;
  const char* error;

  bool operator==(const Result& other) const {
    return bytes == other.bytes && (error == nullptr) == (other.error == nullptr) &&
           (error == nullptr || std::strcmp(error, other.error) == 0);
  }
};

bool untouched(Bytes::const_iterator from, Bytes::const_iterator to) {
  return std::all_of(from, to, [](unsigned char byte) { return byte == kUntouched; });
}

// Converts into memory of exactly `capacity` bytes, of which those that do not count must stay as they were.
Result pack(const Case& value, bool swap, std::size_t capacity) {
  Result result{Bytes(capacity, kUntouched), nullptr};
  Bytes& out = result.bytes;
  const unsigned int count =
      DataTypes::convertFromStringAndPack(value.type, swap, value.text, out.data(), capacity, result.error,
                                          value.format, value.format, value.format, value.timeFormat);
  require((count == kFailed) == (result.error != nullptr), "an error is set when a conversion fails, and only then");
  const std::size_t written = count == kFailed ? 0 : count;
  require(written <= capacity, "no more bytes are counted than there is room for");
  // A binary value's length may be there before its digits turn out to be none.
  const std::size_t kept = count == kFailed && value.kind() == Kind::Binary ? kyv_internal::kBinaryPrefixSize : written;
  require(untouched(out.begin() + static_cast<std::ptrdiff_t>(std::min(kept, capacity)), out.end()),
          "only counted bytes are written");
  out.resize(written);
  return result;
}

Bytes inOtherOrder(Kind kind, Bytes bytes) {
  if (bytes.empty() || kind == Kind::String || kind == Kind::Binary) return bytes;
  if (kind == Kind::FixedDecimal)
    kyv_internal::reverseDecimal(bytes.data());
  else
    std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

void checkOrderAndRoom(const Case& value, const Result& packed) {
  const std::size_t size = packed.bytes.size();
  const Result swapped{inOtherOrder(value.kind(), packed.bytes), packed.error};
  require(pack(value, true, std::strlen(value.text) + kMostBesidesText) == swapped, "the byte order changes no result");
  if (packed.error != nullptr) return;
  require(pack(value, false, size) == packed, "a value needs no more room than it takes");
  if (size > 0) require(pack(value, false, size - 1).error != nullptr, "a value that does not fit is refused");
}

void checkAppending(const Case& value, const Result& packed) {
  Bytes out(packed.bytes.size(), kUntouched);
  const char* error = "left over";
  const unsigned int count = DataTypes::packAndAppendValue(out.data(), out.size(), value.text, value.type, value.format,
                                                           value.format, value.format, value.timeFormat, error);
  require((error == nullptr) == (packed.error == nullptr), "packAndAppendValue fails when packing does");
  require(count == packed.bytes.size() && out == packed.bytes, "packAndAppendValue packs the same bytes");
}

void checkHolder(const Case& value, const Result& packed) {
  DataTypes::DataValue held;
  for (int i = 0; i < 2; ++i) {  // the second time it gives up what it owns
    const char* error = nullptr;
    const bool converted = DataTypes::convertFromString(value.type, value.text, held, error, value.format, value.format,
                                                        value.format, value.timeFormat);
    require(converted == (error == nullptr), "convertFromString sets an error when it fails, and only then");
    // White space in a binary value can be held but not packed.
    const bool mayDiffer = value.kind() == Kind::Binary && converted;
    require(mayDiffer || converted == (packed.error == nullptr), "what packs can be held");
  }
  const kyv_internal::MallocPtr<char> owned(held.null || kyv_internal::sizeOf(value.type) != 0 ? nullptr : held.text());
  if (packed.error != nullptr) return;
  if (value.kind() == Kind::String) return require(std::strcmp(held.text(), value.text) == 0, "a text is copied");
  Bytes bytes = packed.bytes;
  DataTypes::DataValue read;
  DataTypes::unpackValue(value.type, bytes.data(), read);
  if (value.kind() == Kind::Binary)
    return require(held.low == read.low && std::equal(held.bytes(), held.bytes() + held.low, read.bytes()),
                   "a held binary value is the packed one");
  require(held.value == read.value && held.low == read.low && held.precisionScale == read.precisionScale && !held.null,
          "a held value is the packed one");
}

std::string textOf(const Case& value, Bytes bytes) {
  const kyv_internal::MallocPtr<char> text(DataTypes::unpackToNewString(bytes.data(), value.type, value.format,
                                                                        value.format, value.format, value.timeFormat));
  require(text != nullptr, "every value has a text");
  return text.get();
}

// In memory of exactly `room` bytes.
std::string defaultTextOf(const Case& value, bool swap, bool zone, Bytes bytes, std::size_t room) {
  std::vector<char> out(room, '\0');
  DataTypes::convertToString(value.type, swap, zone, bytes.data(), out.data(), room);
  require(std::find(out.begin(), out.end(), '\0') != out.end(), "the default text is terminated");
  return out.data();
}

bool isDate(Kind kind) {
  return kind == Kind::Date || kind == Kind::Time || kind == Kind::Timestamp || kind == Kind::BigDateTime;
}

void checkPrinting(const Case& value, const Bytes& bytes) {
  const Kind kind = value.kind();
  const std::string text = textOf(value, bytes);
  if (kind == Kind::String) return require(text == value.text, "a string prints as itself");
  if (kind == Kind::Binary) return;
  require(text.size() < kTextRoom, "a text has a limit");
  const std::string standard = defaultTextOf(value, false, false, bytes, kTextRoom);
  require(isDate(kind) || standard == text, "values but dates have one text");
  require(defaultTextOf(value, true, false, inOtherOrder(kind, bytes), kTextRoom) == standard, "orders print alike");
  require(defaultTextOf(value, false, true, bytes, kTextRoom) == (isDate(kind) ? standard + "+00" : standard),
          "only dates and times have a zone");
  for (const std::size_t room : {std::size_t{1}, std::size_t{7}, standard.size() + 1})
    require(defaultTextOf(value, false, false, bytes, room) == standard.substr(0, room - 1), "a long text is cut");
}

void checkShortFloat(const Bytes& bytes) {
  constexpr unsigned int kFloat = DataTypes::kFloat;
  Bytes copy = bytes;
  DataTypes::DataValue held;
  DataTypes::unpackValue(kFloat, copy.data(), held);
  std::vector<char> out(50, 'x');
  DataTypes::convertDoubleToString(kFloat, false, held, out.data(), out.size());
  require(std::find(out.begin(), out.end(), '\0') != out.end(), "a float's text is terminated");
}

// Whether the default formats tell all of a value: a calendar date of the years 1 to 9999, a time of one day. Dates and
// times have 8 bytes.
bool isTold(Kind kind, const Bytes& bytes) {
  const auto count = kyv_internal::load<std::int64_t>(bytes.data());
  const std::int64_t perSecond = kind == Kind::Timestamp ? 1000 : kind == Kind::BigDateTime ? 1'000'000 : 1;
  const std::int64_t day = kyv_internal::kSecondsPerDay * perSecond;
  if (kind == Kind::Time) return count >= 0 && count < day;
  const auto first = kyv_internal::daysFromCivil(1, 1, 1);
  const auto behind = kyv_internal::daysFromCivil(10000, 1, 1);
  return count >= first * day && count < behind * day;
}

bool isExact(Kind kind, const Bytes& bytes) {
  return isDate(kind) ? isTold(kind, bytes) : kind != Kind::String && kind != Kind::Float;
}

void checkReadingBack(const Case& value, const Bytes& bytes) {
  Case printed = value;
  printed.format = kyv_internal::kDefaultDateFormat;
  printed.timeFormat = kyv_internal::kDefaultTimeFormat;
  const std::string text = textOf(printed, bytes);
  printed.text = text.c_str();
  require(pack(printed, false, bytes.size()).bytes == bytes, "a printed value is read back the same");
}

void check(const Case& value) {
  const Result packed = pack(value, false, std::strlen(value.text) + kMostBesidesText);
  checkOrderAndRoom(value, packed);
  checkAppending(value, packed);
  checkHolder(value, packed);
  if (packed.error != nullptr) return;
  checkPrinting(value, packed.bytes);
  if (value.kind() == Kind::Float) checkShortFloat(packed.bytes);
  if (isExact(value.kind(), packed.bytes)) checkReadingBack(value, packed.bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const unsigned int type = typeOf(input.choice(kPlainTypes + std::size(kDecimals)));
  const std::size_t format = input.choice(std::size(kFormats) + 1);
  const std::string ownFormat = format == std::size(kFormats) ? input.line() : "";
  const std::string text = input.text();
  const std::vector<char> exactly = kyv_fuzz::terminated(text);
  const char* const chosen = format == std::size(kFormats) ? ownFormat.c_str() : kFormats[format];
  check({type, exactly.data(), chosen, chosen});
  return 0;
}
