#pragma once

// The bytes of a record: every position, every flag, and the loads and stores that reach them. Nothing else in the
// library knows where a record keeps what.
//
//   OFFSET                    SIZE  DESCRIPTION
//   0                         4     length of the record in bytes, this header included (signed)
//   4                         4     operation code (signed)
//   8                         4     stream identifier
//   12                        4     flags
//   16                        4     low 24 bits: columns; high 8 bits: options present
//   20                        4 n   offset table, n = columns + options + 1, signed: columns in order, options in slot
//   order,
//                                   end of data. Positive: bytes from the record's start; 0: NULL; negative: shine
//                                   through
//   24 + 4 (columns + options)      payload: the values, in table order
//
// Values follow the record's byte order (flag 0x10), but for the length prefix of a binary value, which is big-endian.
// A value's length is not stored: it ends where the next positive entry of the table begins.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kyv_internal {

inline constexpr std::size_t kLengthOffset = 0;
inline constexpr std::size_t kOpcodeOffset = 4;
inline constexpr std::size_t kStreamIdOffset = 8;
inline constexpr std::size_t kFlagsOffset = 12;
inline constexpr std::size_t kCountsOffset = 16;
inline constexpr std::size_t kTableOffset = 20;
inline constexpr std::size_t kEntrySize = 4;

inline constexpr std::uint32_t kColumnCountMask = 0x00FFFFFF;
inline constexpr unsigned int kOptionCountShift = 24;

inline constexpr std::uint32_t kShineThroughFlag = 0x1;
inline constexpr std::uint32_t kBigEndianFlag = 0x10;
inline constexpr std::uint32_t kFirstOptionFlag = 0x100;
inline constexpr std::uint32_t kOptionFlags = 0xFF00;
inline constexpr std::uint32_t kInstrumentLatencyFlag = 0x200;
inline constexpr std::int64_t kLatencyWordSize = 4;
inline constexpr std::int64_t kLeastLatencySize = 16;
inline constexpr unsigned int kOptionSlots = 8;

inline constexpr std::uint32_t kHostByteOrderFlag = std::endian::native == std::endian::big ? kBigEndianFlag : 0;

inline constexpr std::size_t kBinaryPrefixSize = 4;

// A stored decimal: high word, low word, then precision in the high byte of a 16-bit word and scale in its low byte.
inline constexpr std::size_t kDecimalSize = 24;
inline constexpr std::size_t kDecimalLowOffset = 8;
inline constexpr std::size_t kDecimalScaleOffset = 16;
inline constexpr std::size_t kDecimalUnusedOffset = 18;

// A record's bytes before its table; its length is written last.
using RecordHead = std::array<unsigned char, kTableOffset>;

// Where the values begin: after the offset table and its end-of-data entry.
constexpr std::size_t payloadOffset(std::size_t entries) { return kTableOffset + kEntrySize * (entries + 1); }

constexpr std::size_t entryOffset(std::size_t index) { return kTableOffset + kEntrySize * index; }

// A number at any address, aligned or not.
template <class T>
T load(const void* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

template <class T>
void store(void* bytes, T value) {
  std::memcpy(bytes, &value, sizeof value);
}

inline const unsigned char* at(const void* record, std::size_t offset) {
  return static_cast<const unsigned char*>(record) + offset;
}
inline unsigned char* at(void* record, std::size_t offset) { return static_cast<unsigned char*>(record) + offset; }

inline std::uint32_t columnCount(const void* record) {
  return load<std::uint32_t>(at(record, kCountsOffset)) & kColumnCountMask;
}
inline std::uint32_t optionCount(const void* record) {
  return load<std::uint32_t>(at(record, kCountsOffset)) >> kOptionCountShift;
}
inline std::int32_t tableEntry(const void* record, std::size_t index) {
  return load<std::int32_t>(at(record, entryOffset(index)));
}

// The next positive entry after `index`, in a table of `entries` columns and options; the end of data at the latest.
inline std::int32_t nextPositiveEntry(const void* record, std::size_t index, std::size_t entries) {
  for (++index; index < entries; ++index) {
    if (const std::int32_t entry = tableEntry(record, index); entry > 0) return entry;
  }
  return tableEntry(record, entries);
}

// Where the entry of the latency option stands in the table of a record that has it: options are in slot order, and it
// is in slot 1.
constexpr std::size_t latencyIndex(std::uint32_t columns, std::uint32_t flags) {
  return std::size_t{columns} + ((flags & kFirstOptionFlag) != 0 ? 1 : 0);
}

struct OptionExtent {
  std::size_t begin = 0;
  std::int64_t length = 0;  // bytes; negative when the offsets make no sense
};

// The latency option's content in a record that has the option and is as long as its table; nothing without content.
inline OptionExtent latencyExtent(const void* record) {
  const std::size_t entries = std::size_t{columnCount(record)} + optionCount(record);
  const std::size_t index = latencyIndex(columnCount(record), load<std::uint32_t>(at(record, kFlagsOffset)));
  if (index >= entries) return {};
  const std::int32_t begin = tableEntry(record, index);
  if (begin <= 0) return {};
  return {static_cast<std::size_t>(begin), std::int64_t{nextPositiveEntry(record, index, entries)} - begin};
}

}  // namespace kyv_internal
