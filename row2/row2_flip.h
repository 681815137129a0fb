#pragma once

// The steps of a conversion between byte orders, in place.

#include <cstddef>

namespace kyv_internal {

// Reverses a word of the header.
void reverseHeaderWord(void* record, std::size_t offset);

// Reverses the offset table: `entries` columns and options, and the end of data.
void reverseTable(void* record, std::size_t entries);

// Reverses the columns' values, of one type each. Counts and offsets are in host order.
void reverseColumns(void* record, const unsigned int* types);

// Whether a flag says that there are options.
bool hasOptions(const void* record);

}  // namespace kyv_internal
