#pragma once

// One typed value between text and its packed form: the dispatch by kind that all converters share.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "datatypes/datetime_text.h"
#include "datatypes/percent_format.h"
#include "datatypes/type_code.h"

namespace kyv_internal {

enum class ByteOrder : bool { Host, Opposite };

// Bytes written, or the static message that says why none were.
struct [[nodiscard]] Packed {
  std::uint32_t bytes = 0;
  const char* error = nullptr;
};

// Bytes that a text takes when packed as a type. Exact for every text that packs.
std::size_t packedSize(unsigned int type, std::string_view text);

// Converts a text and writes the packed value. `format` is the one of the type's kind: date, time, timestamp and
// bigdatetime need one. Nothing is written on failure, except perhaps a binary value's length.
Packed packText(unsigned int type, std::string_view text, const PercentFormat* format, ByteOrder order,
                std::span<unsigned char> out);

// How values become text.
enum class TextStyle : std::uint8_t {
  Row,    // as rows give it: floats with g_decimalSize places, times with a fraction
  Exact,  // floats with as many digits as they need, no zero fraction
};

// Longest text of a value that is neither a string nor binary.
inline constexpr std::size_t kMaxValueText = kMaxFormattedText;

// Writes the text of a packed value in host order that is neither a string nor binary, without terminator; `out` has
// room for kMaxValueText characters. Returns the number of characters; 0 for a kind without text. The value has its
// type's size.
std::size_t printValue(unsigned int type, const unsigned char* value, const PercentFormat* format, TextStyle style,
                       char* out);

// Writes the default text of such a value: what printValue gives in the row style, but dates and times in the default
// formats.
std::size_t printDefault(unsigned int type, const unsigned char* value, ZoneSuffix zone, char* out);

// Bytes that printing reads.
std::size_t storedSize(unsigned int type);

// The text inside a packed string: up to its terminator, or all of it without one.
std::string_view packedString(std::span<const unsigned char> value);

// The bytes inside a packed binary value: as many as its prefix says, at most what is there.
std::span<const unsigned char> packedBytes(std::span<const unsigned char> value);

}  // namespace kyv_internal
