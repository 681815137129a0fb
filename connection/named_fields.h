#pragma once

// Texts by name: the fields of a named row. Names and texts are copied, and what was copied stays where it is, replaced
// or not, until all fields are forgotten.
//
// Sources deliver the same names again and again, mostly in the same order. So the names outlast their fields, in slots
// of their own, and each remembers which one was set after it: a name that comes where it came before is compared, not
// looked up. Names that come no more are forgotten in time.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "datatypes/padded_text.h"
#include "row2/row_field.h"

namespace kyv_internal {

// Copies texts into blocks of memory that never move, and pads them. One block is kept, as big as all texts need
// unless they are uncommonly long.
class TextStore {
 public:
  // The copy has a terminator behind it. Throws when memory is exhausted.
  std::string_view keep(std::string_view text);
  // Forgets all copies.
  void clear();
  // How many bytes the copies take, or little more.
  std::size_t bytes() const { return full_ + used_; }

 private:
  void addBlock(std::size_t size);

  std::vector<PaddedMemory> blocks_;
  char* block_ = nullptr;     // the last block
  std::size_t capacity_ = 0;  // of it
  std::size_t used_ = 0;      // of it
  std::size_t full_ = 0;      // capacity of the blocks before
  std::size_t wanted_ = 0;    // bytes that the next block should have
};

class NamedFields {
 public:
  // A name's place, the same as long as version() is.
  using Slot = std::uint32_t;
  static constexpr Slot kNone = 0;  // never has a text
  static constexpr Slot kOperation = 1;
  static constexpr Slot kFlags = 2;

  NamedFields();

  // The text of a name from now on.
  void set(const char* name, std::string_view text);
  // The slot of a name that is known, whether or not it has a text; kNone for another.
  Slot slotOf(std::string_view name) const;
  const char* name(Slot slot) const { return names_[slot].text.data(); }
  // The text of a slot, null without one.
  const RowField& text(Slot slot) const { return texts_[slot]; }
  std::uint64_t version() const { return version_; }
  void clear();

 private:
  struct Name {
    std::string_view text;  // terminated
    Slot follower;          // what was set next, the last time
    Slot next;              // in the same bucket
  };
  struct Bucket {
    Slot newest = kNone;
    std::uint32_t length = 0;  // of the chain
  };

  std::size_t bucketOf(std::string_view name) const;
  Slot add(std::string_view name);
  void link(Slot slot);
  void grow();
  void forgetNames();

  std::vector<Name> names_;      // of each slot
  std::vector<RowField> texts_;  // of each slot
  std::vector<Bucket> buckets_;
  std::map<std::string_view, Slot> crowded_;  // what found its chain full: names that somebody chose to collide
  TextStore keptNames_;
  TextStore keptTexts_;
  std::size_t fieldCount_ = 0;  // slots with a text
  Slot last_ = kNone;           // what was set last
  std::uint64_t version_ = 0;
};

}  // namespace kyv_internal
