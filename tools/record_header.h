#pragma once

// The little that the tool itself reads of a binary record; docs/record_layout.md draws the whole. Records are in host
// byte order, one after another without padding.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kyv_internal {

inline constexpr std::size_t kRecordLengthBytes = 4;  // a record begins with its length, header included
inline constexpr std::int64_t kLeastRecordBytes = 24;
inline constexpr std::size_t kColumnCountOffset = 16;
inline constexpr std::uint32_t kColumnCountMask = 0xFFFFFF;

// `record` needs kRecordLengthBytes bytes.
inline std::int64_t recordLength(const char* record) {
  std::int32_t length = 0;
  std::memcpy(&length, record, sizeof length);
  return length;
}

// `record` needs kLeastRecordBytes bytes.
inline std::uint32_t recordColumns(const char* record) {
  std::uint32_t word = 0;
  std::memcpy(&word, record + kColumnCountOffset, sizeof word);
  return word & kColumnCountMask;
}

}  // namespace kyv_internal
