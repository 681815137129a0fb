#pragma once

// The offset table of a record that nobody has checked: each entry with what is wrong with it.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "record_words.h"

namespace kyv_internal {

struct TableEntry {
  std::size_t index;                   // in the table: the columns, the options, the end of data
  std::optional<std::int32_t> offset;  // nothing where the bytes end before it
  std::int32_t next = 0;               // the next positive entry, or the end of data; where the value ends
  std::string fault;                   // empty for a sound one
};

struct OffsetTable {
  std::vector<TableEntry> entries;  // of the first columns, all options, and the end of data
  std::size_t hiddenColumns = 0;    // those without an entry above
  std::size_t hiddenMissing = 0;    // those among them whose entries are not there
  std::size_t hiddenFaults = 0;     // those whose entries are there and not sound
};

// Entries are kept of at most `mostColumns` columns. REQUIRES: the table fits into the record.
OffsetTable readOffsetTable(const RecordWords& record, std::size_t mostColumns);

}  // namespace kyv_internal
