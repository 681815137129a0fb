// Converting a record between the host's byte order and the opposite one, in place.

#include "row2/row2_flip.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "datatypes/type_catalogue.h"
#include "kyv/row2.h"
#include "row2/byte_order.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

namespace {

// Both counts are in host order.
std::size_t entriesOf(const void* record) { return std::size_t{columnCount(record)} + optionCount(record); }

// Bytes of a value that have a byte order, by base type; 0 where a value has none to reverse.
constexpr std::array<std::uint8_t, 256> kReversedSizes = [] {
  std::array<std::uint8_t, 256> sizes{};
  for (const TypeRow& row : kTypeRows) sizes[row.base] = row.size > 1 ? row.size : 0;
  return sizes;
}();

[[gnu::noinline]] void reverseRareColumn(unsigned char* value, std::size_t size) {
  if (size == sizeof(std::uint16_t)) return reverseWord<std::uint16_t>(value);
  reverseDecimal(value);
}

void reverseColumn(unsigned char* value, std::size_t size) {
  if (size == sizeof(std::uint64_t)) [[likely]] {
    reverseWord<std::uint64_t>(value);
  } else if (size == sizeof(std::uint32_t)) {
    reverseWord<std::uint32_t>(value);
  } else if (size != 0) [[unlikely]] {
    reverseRareColumn(value, size);
  }
}

// Reverses each whole word of 32 bits, two at a time.
void reverseWords(unsigned char* bytes, std::size_t size) {
  constexpr std::size_t kPair = 2 * sizeof(std::uint32_t);
  for (; size >= kPair; size -= kPair, bytes += kPair) {
    store(bytes, std::rotl(reversed(load<std::uint64_t>(bytes)), 32));
  }
  if (size >= sizeof(std::uint32_t)) reverseWord<std::uint32_t>(bytes);
}

// The latency words are the only option content that has a byte order.
void reverseOptions(void* record) {
  if ((load<std::uint32_t>(at(record, kFlagsOffset)) & kInstrumentLatencyFlag) == 0) return;
  const OptionExtent latencies = latencyExtent(record);
  if (latencies.length > 0) reverseWords(at(record, latencies.begin), static_cast<std::size_t>(latencies.length));
}

}  // namespace

void reverseHeaderWord(void* record, std::size_t offset) { reverseWord<std::uint32_t>(at(record, offset)); }

void reverseTable(void* record, std::size_t entries) {
  unsigned char* const table = at(record, kTableOffset);
  reverseWords(table, kEntrySize * (entries + 1));
}

void reverseColumns(void* record, const unsigned int* types) {
  const std::uint32_t columns = columnCount(record);
// Unrolled, so that each column's branches are foretold by that column's past.
#pragma GCC unroll 8
  for (std::uint32_t i = 0; i < columns; ++i) {
    const std::int32_t offset = tableEntry(record, i);
    if (offset <= 0) continue;
    reverseColumn(at(record, static_cast<std::size_t>(offset)), kReversedSizes[baseOf(types[i])]);
  }
}

bool hasOptions(const void* record) { return (load<std::uint32_t>(at(record, kFlagsOffset)) & kOptionFlags) != 0; }

}  // namespace kyv_internal

const unsigned int Row2::_byteOrderMask = 0x000000FF;

void Row2::flipToNativeByteOrder(const unsigned int* types) {
  kyv_internal::reverseHeaderWord(this, kyv_internal::kStreamIdOffset);
  kyv_internal::reverseHeaderWord(this, kyv_internal::kCountsOffset);
  kyv_internal::reverseTable(this, kyv_internal::entriesOf(this));
  kyv_internal::reverseColumns(this, types);
  if (kyv_internal::hasOptions(this)) flipOptionsToNativeByteOrder();
}

// The same steps the other way round: counts and offsets are read before they are reversed.
void Row2::flipFromNativeByteOrder(const unsigned int* types) {
  kyv_internal::reverseColumns(this, types);
  if (kyv_internal::hasOptions(this)) flipOptionsFromNativeByteOrder();
  kyv_internal::reverseTable(this, kyv_internal::entriesOf(this));
  kyv_internal::reverseHeaderWord(this, kyv_internal::kCountsOffset);
  kyv_internal::reverseHeaderWord(this, kyv_internal::kStreamIdOffset);
}

void Row2::flipOptionsToNativeByteOrder() { kyv_internal::reverseOptions(this); }

void Row2::flipOptionsFromNativeByteOrder() { kyv_internal::reverseOptions(this); }
