// Converting a record between the host's byte order and the opposite one, in place.

#include "row2/row2_flip.h"

#include <cstdint>

#include "datatypes/type_catalogue.h"
#include "kyv/row2.h"
#include "row2/byte_order.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

namespace {

// Both counts are in host order.
std::size_t entriesOf(const void* record) { return std::size_t{columnCount(record)} + optionCount(record); }

void reverseColumn(unsigned char* value, Kind kind, std::size_t size) {
  if (kind == Kind::FixedDecimal) {
    reverseDecimal(value);
  } else {
    reverseValue(value, size);  // strings and binary values have size 0
  }
}

void reverseWords(unsigned char* bytes, std::int64_t length) {
  for (; length >= kLatencyWordSize; length -= kLatencyWordSize, bytes += kLatencyWordSize) {
    reverseWord<std::uint32_t>(bytes);
  }
}

// The latency words are the only option content that has a byte order.
void reverseOptions(void* record) {
  if ((load<std::uint32_t>(at(record, kFlagsOffset)) & kInstrumentLatencyFlag) == 0) return;
  const OptionExtent latencies = latencyExtent(record);
  reverseWords(at(record, latencies.begin), latencies.length);
}

}  // namespace

void reverseHeaderWord(void* record, std::size_t offset) { reverseWord<std::uint32_t>(at(record, offset)); }

void reverseTable(void* record, std::size_t entries) {
  for (std::size_t i = 0; i <= entries; ++i) reverseHeaderWord(record, entryOffset(i));
}

void reverseColumns(void* record, const unsigned int* types) {
  const std::uint32_t columns = columnCount(record);
  for (std::uint32_t i = 0; i < columns; ++i) {
    const std::int32_t offset = tableEntry(record, i);
    if (offset <= 0) continue;
    const TypeRow& type = typeRow(types[i]);
    reverseColumn(at(record, static_cast<std::size_t>(offset)), type.kind, type.size);
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
