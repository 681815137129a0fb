// Converting a record between the host's byte order and the opposite one, in place.

#include <cstdint>

#include "datatypes/type_catalogue.h"
#include "kyv/row2.h"
#include "row2/byte_order.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

namespace {

void reverseHeaderWord(void* record, std::size_t offset) { reverseWord<std::uint32_t>(at(record, offset)); }

// Both counts are in host order.
std::size_t entriesOf(const void* record) { return columnCount(record) + optionCount(record); }

void reverseTable(void* record, std::size_t entries) {
  for (std::size_t i = 0; i <= entries; ++i) reverseHeaderWord(record, entryOffset(i));
}

void reverseColumn(unsigned char* value, Kind kind, std::size_t size) {
  if (kind == Kind::FixedDecimal) {
    reverseDecimal(value);
  } else {
    reverseValue(value, size);  // strings and binary values have size 0
  }
}

// Counts and offsets are in host order.
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

void reverseWords(unsigned char* bytes, std::int32_t length) {
  for (std::int32_t done = 0; length - done >= 4; done += 4) reverseWord<std::uint32_t>(bytes + done);
}

// The latency words are the only option content that has a byte order. They are in slot 1, so their entry is the first
// of the options, or the second when slot 0 is there too.
void reverseOptions(void* record) {
  const std::uint32_t flags = load<std::uint32_t>(at(record, kFlagsOffset));
  if ((flags & kInstrumentLatencyFlag) == 0) return;
  const std::size_t index = columnCount(record) + ((flags & kFirstOptionFlag) != 0 ? 1 : 0);
  const std::int32_t offset = tableEntry(record, index);
  if (offset <= 0) return;
  const std::int32_t length = nextPositiveEntry(record, index, entriesOf(record)) - offset;
  reverseWords(at(record, static_cast<std::size_t>(offset)), length);
}

}  // namespace

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
