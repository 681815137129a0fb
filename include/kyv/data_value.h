#pragma once

// Values and their text: converts text to typed values (packed as a record stores them, or into a holder) and back.
//
// Failures come back as results, with a pointer to a static English message where the function has a `const char*&`;
// nothing throws but exhausted memory. Text out of and into numbers does not depend on the process's locale.
//
// Formats are "%"-style, as the C library's strptime and strftime have them in the "C" locale. "%s" alone means seconds
// since 1970-01-01 00:00:00 UTC. All times are UTC.
//
// Threads: every function may be called from any thread at once; they read the settings of data_types.h.

#include <bit>
#include <cstdint>
#include <ctime>
#include <string>

#include "kyv/data_types.h"
#include "kyv/export.h"

namespace DataTypes {

// One typed value in memory. A new one is NULL. Plain data: no destructor frees. A string or binary holder whose NULL
// mark is clear owns its buffer (from malloc) and gives it up with free() when convertFromString stores a new value;
// whoever unpacks a borrowed string into a holder marks it NULL before it is filled again.
struct DataValue {
  std::uint64_t value = 0;           // the value; a pointer to text or bytes; or a decimal's high word
  std::uint64_t low = 0;             // bytes of a binary value (32-bit), or a decimal's low word
  std::uint64_t precisionScale = 0;  // of a decimal: precision in the high byte of a 16-bit word, scale in the low
  bool null = true;                  // owns no storage

  char* text() const { return std::bit_cast<char*>(value); }
  unsigned char* bytes() const { return std::bit_cast<unsigned char*>(value); }
};

// A decimal number: a 128-bit two's-complement coefficient scaled by a number of places. A plain value.
class KYV_EXPORT FixedDecimalValue {
 public:
  FixedDecimalValue() = default;
  FixedDecimalValue(std::uint64_t high, std::uint64_t low, int precision, int scale)
      : high_(high), low_(low), precision_(precision), scale_(scale) {}

  // Reads an optional sign, digits and optionally "." and digits (at least one digit in all; no exponent, no blanks).
  // Places beyond `scale` are dropped without rounding. False, leaving the value unchanged, for any other text or when
  // the number needs more than `precision` digits.
  [[nodiscard]] bool setDecimalValue(int precision, int scale, const char* text);

  std::uint64_t high() const { return high_; }
  std::uint64_t low() const { return low_; }
  int precision() const { return precision_; }
  int scale() const { return scale_; }

  // All digits of the coefficient with the point before the last scale() of them.
  std::string toString() const;

 private:
  std::uint64_t high_ = 0;
  std::uint64_t low_ = 0;
  int precision_ = 0;
  int scale_ = 0;
};

// --- Text to value --------------------------------------------------------------------------------------------------

// Converts `text` and writes the packed value at `out`; `swap` writes it in the byte order opposite to the host's. A
// null date format means g_date_format, a null timestamp format the date format, a null bigdatetime format the
// timestamp format, a null time format g_time_format. Returns the bytes written, or all ones with `error` set; then
// nothing was written, except perhaps the length of a binary value.
KYV_EXPORT unsigned int convertFromStringAndPack(const unsigned int& type, bool swap, const char* text,
                                                 unsigned char* out, unsigned long capacity, const char*& error,
                                                 const char* dateFormat, const char* timestampFormat,
                                                 const char* bigdatetimeFormat, const char* timeFormat);

// The same in host order, for strings too (the text and its terminating 0). Clears `error` first. Returns the bytes
// written, or 0 with `error` set.
KYV_EXPORT unsigned int packAndAppendValue(unsigned char* out, unsigned long capacity, const char* text,
                                           const unsigned int& type, const char* dateFormat,
                                           const char* timestampFormat, const char* bigdatetimeFormat,
                                           const char* timeFormat, const char*& error);

// Fills a holder, releasing what it owned. False with `error` set.
KYV_EXPORT bool convertFromString(const unsigned int& type, const char* text, DataValue& value, const char*& error,
                                  const char* dateFormat, const char* timestampFormat, const char* bigdatetimeFormat,
                                  const char* timeFormat);

// Half the text's length, rounded down; 0 for null. White space counts, so this can be more than the bytes it holds.
KYV_EXPORT unsigned int getBinaryDataSizeFromHexString(const char* text);

// Hexadecimal text to bytes, skipping white space. Returns the bytes written, or all ones with `error` set.
KYV_EXPORT unsigned int convertBinaryFromHexString(const char* text, unsigned char* out, unsigned int capacity,
                                                   const char*& error);

// Split a text at its last "." into the part before it and a fraction of exactly three (six) characters, padded with
// "0". Both are new buffers that the caller releases with free(). Always true.
KYV_EXPORT bool splitTimestamp(const char* text, char*& datetime, char*& fraction);
KYV_EXPORT bool splitBigdatetime(const char* text, char*& datetime, char*& fraction);

// Parses a text with the C library's "%" conversions in the "C" locale. `out` starts at 1970-01-01 00:00:00; fields
// that the format does not name stay there. Returns the end of the text, or null, leaving `out` unchanged, when it does
// not match up to its end (white space may be left over).
KYV_EXPORT const char* strptime(const char* text, const char* format, std::tm* out);

// Seconds since 1970-01-01 00:00:00 UTC of a broken-down time, in the proleptic Gregorian calendar.
KYV_EXPORT long long tm2sec(const std::tm* time);

// --- Value to text --------------------------------------------------------------------------------------------------

// "0000" to "9999".
KYV_EXPORT extern const char four2ascii[10000][4];

// Writes the default text of a packed value into `out`, terminated and cut to `outSize`. `swap` says that the value is
// in the other byte order; `zoneSuffix` appends "+00" to dates and times. Types without a text form here (string,
// binary, codes without a type) write nothing.
KYV_EXPORT void convertToString(const unsigned int& type, bool swap, bool zoneSuffix, unsigned char* data, char* out,
                                unsigned long outSize);
// The same for a held value; a NULL one writes nothing.
KYV_EXPORT void convertToString(const unsigned int& type, bool swap, bool zoneSuffix, DataValue& value, char* out,
                                unsigned long outSize);

// The text of a held float with 15 significant digits: with an exponent when its magnitude is at most 1e-15 or at least
// 1e16. A NULL one writes the empty text.
KYV_EXPORT void convertDoubleToString(const unsigned int& type, bool swap, DataValue& value, char* out,
                                      unsigned long outSize);

// The text of a packed value as a new string that the caller releases with free(); dates and times in the given formats
// (null: as for convertFromStringAndPack). Null only when memory is exhausted.
KYV_EXPORT char* unpackToNewString(unsigned char* data, const unsigned int& type, const char* dateFormat,
                                   const char* timestampFormat, const char* bigdatetimeFormat, const char* timeFormat);

// Upper-case hexadecimal text of `length` bytes, terminated. Returns the characters written without the terminator, or
// -1 with `error` set when `outSize` is too small; -1 for a null `out`.
KYV_EXPORT int convertBinaryToHexString(unsigned long outSize, const unsigned char* bytes, unsigned int length,
                                        char* out, const char*& error);
// Replaces `out` by the hexadecimal text. True.
KYV_EXPORT bool convertBinaryToHexString(const unsigned char* bytes, unsigned int length, std::string& out);

// Bytes of a buffer for the hexadecimal text of `length` bytes, terminator included.
KYV_EXPORT unsigned long getHexStringSizeForBuffer(unsigned int length);

// --- Reading a record's values --------------------------------------------------------------------------------------

// Fills a holder from a packed value in host order; a null `value` marks it NULL and changes nothing else. Strings and
// binary values stay in the record: the holder points at them and does not own them.
KYV_EXPORT void unpackValue(const TypeEnum& type, unsigned char* value, DataValue& out);
// The same; a decimal whose type code has a precision takes precision and scale from the code, not from the record.
KYV_EXPORT void unpackValue(const unsigned int& type, unsigned char* value, DataValue& out);

// The length prefix of a packed binary value; 0 for null.
KYV_EXPORT unsigned int getLengthFromPackedBinary(const unsigned char* value);

}  // namespace DataTypes
