#pragma once

// The words of a record that nobody has checked, in host order whatever the record's own. What the record says of
// itself (its length, how many columns) is told as it says it; only what is there is ever read.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "record_header.h"
#include "row2/byte_order.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

class RecordWords {
 public:
  // `bytes` is what is there of the record. They must outlive this.
  explicit RecordWords(std::string_view bytes) : bytes_(bytes) {
    flags_ = static_cast<std::uint32_t>(hostWord(kFlagsOffset).value_or(0));
    swapped_ = isThere(kFlagsOffset) && (flags_ & kBigEndianFlag) != kHostByteOrderFlag;
    counts_ = static_cast<std::uint32_t>(word(kCountsOffset).value_or(0));
  }

  std::size_t there() const { return bytes_.size(); }
  bool isThere(std::size_t offset) const { return offset + kEntrySize <= bytes_.size(); }

  // The length, operation or flags, which have the host's byte order always; nothing where the bytes end before it.
  std::optional<std::int32_t> hostWord(std::size_t offset) const {
    if (!isThere(offset)) return std::nullopt;
    return load<std::int32_t>(at(bytes_.data(), offset));
  }
  // Any other word, which has the record's byte order.
  std::optional<std::int32_t> word(std::size_t offset) const {
    if (!isThere(offset)) return std::nullopt;
    const auto stored = load<std::uint32_t>(at(bytes_.data(), offset));
    return static_cast<std::int32_t>(swapped_ ? reversed(stored) : stored);
  }

  // Whether the record's byte order is not the host's.
  bool swapped() const { return swapped_; }
  std::uint32_t flags() const { return flags_; }
  std::size_t columns() const { return counts_ & kColumnCountMask; }
  std::size_t options() const { return counts_ >> kOptionCountShift; }
  std::size_t entries() const { return columns() + options(); }
  std::size_t payload() const { return payloadOffset(entries()); }
  // As the record says; 0 when that is negative.
  std::size_t length() const { return static_cast<std::size_t>(std::max(hostWord(kLengthOffset).value_or(0), 0)); }
  // Whether a record may have the length; else there is none, whatever the other words say.
  bool lengthIsPossible() const { return length() >= payloadOffset(0) && length() <= kMostRecordBytes; }
  // Without, nothing of table and values can be told.
  bool tableFits() const { return isThere(kCountsOffset) && lengthIsPossible() && payload() <= length(); }

  // Entries of the offset table for which there are bytes, however many the record has.
  std::size_t roomForEntries() const { return (std::max(there(), kTableOffset) - kTableOffset) / kEntrySize; }

  // As much of a range as is there.
  std::string_view clipped(std::size_t begin, std::size_t end) const {
    begin = std::min(begin, there());
    return bytes_.substr(begin, std::min(end, there()) - begin);
  }

 private:
  std::string_view bytes_;
  std::uint32_t flags_ = 0;
  std::uint32_t counts_ = 0;
  bool swapped_ = false;
};

}  // namespace kyv_internal
