#pragma once

// Texts by name: the fields of a named row. Names and texts are copied, and what was copied stays where it is, replaced
// or not, until all fields are forgotten; the memory is kept for the next ones.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "datatypes/padded_text.h"
#include "row2/row_field.h"

namespace kyv_internal {

// Copies texts into blocks of memory that never move, and pads them.
class TextStore {
 public:
  // The copy has a terminator behind it. Throws when memory is exhausted.
  std::string_view keep(std::string_view text);
  // Forgets all copies and keeps one block.
  void clear();

 private:
  std::vector<PaddedMemory> blocks_;
  std::size_t capacity_ = 0;  // of the last block
  std::size_t used_ = 0;      // of the last block
};

class NamedFields {
 public:
  NamedFields();

  // The text of a name from now on.
  void set(std::string_view name, std::string_view text);
  // Null for a name without a text.
  const RowField* find(std::string_view name) const;
  void clear();

 private:
  static constexpr std::uint32_t kEnd = 0xFFFFFFFF;

  struct Entry {
    std::string_view name;
    RowField text;
    std::uint32_t next;  // in the same bucket
  };

  std::size_t bucketOf(std::string_view name) const;
  std::uint32_t indexOf(std::string_view name) const;
  void add(const Entry& entry);
  void grow();

  std::vector<Entry> entries_;
  std::vector<std::uint32_t> buckets_;  // the newest entry of each, or kEnd
  TextStore texts_;
};

}  // namespace kyv_internal
