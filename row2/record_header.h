#pragma once

// A record's header, read in either byte order without trusting the record.

#include <cstddef>
#include <cstdint>

#include "row2/byte_order.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

enum class WordOrder : bool { Host, Opposite };

template <WordOrder order, class Word>
Word loadIn(const void* bytes) {
  const Word word = load<Word>(bytes);
  return order == WordOrder::Host ? word : reversed(word);
}

struct RecordHeader {
  std::int32_t length;  // bytes; a lying record may claim less than none
  std::int32_t opcode;
  std::uint32_t flags;
  std::uint32_t columns;
  std::uint32_t options;

  bool isHostOrder() const { return (flags & kBigEndianFlag) == kHostByteOrderFlag; }
  std::size_t entries() const { return std::size_t{columns} + options; }
  std::int32_t payload() const { return static_cast<std::int32_t>(payloadOffset(entries())); }  // below 2 to the 27th
};

// The header's word at an offset; 0 in a record that is too short for it.
inline std::uint32_t headerWord(const void* record, std::size_t offset) {
  const auto length = load<std::int32_t>(at(record, kLengthOffset));
  const auto need = static_cast<std::int32_t>(offset + sizeof(std::uint32_t));
  return length >= need ? load<std::uint32_t>(at(record, offset)) : 0;
}

// The record has its length word, and as many bytes as that says. Length, operation and flags have the host's order in
// every record.
template <WordOrder order>
RecordHeader headerOf(const void* record) {
  const std::uint32_t stored = headerWord(record, kCountsOffset);
  const std::uint32_t counts = order == WordOrder::Host ? stored : reversed(stored);
  return {load<std::int32_t>(at(record, kLengthOffset)), static_cast<std::int32_t>(headerWord(record, kOpcodeOffset)),
          headerWord(record, kFlagsOffset), counts & kColumnCountMask, counts >> kOptionCountShift};
}

// An entry of the offset table.
template <WordOrder order>
std::int32_t tableEntryIn(const void* record, std::size_t index) {
  return static_cast<std::int32_t>(loadIn<order, std::uint32_t>(at(record, entryOffset(index))));
}

}  // namespace kyv_internal
