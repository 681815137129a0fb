#pragma once

// The texts of an ordered row's fields, each owned, padded, terminated and at an address that stays while the text
// does. They lie one behind another in one block, as long as it has room for them, which is until the fields are
// cleared; other texts have memory of their own. All memory is kept and used again, so that a row in use allocates
// nothing; only uncommonly long texts are given back.

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "row2/row_field.h"

namespace kyv_internal {

class FieldList {
 public:
  FieldList() = default;
  FieldList(const FieldList&) = delete;
  FieldList& operator=(const FieldList&) = delete;

  // The first `count` fields, one per position.
  std::span<const RowField> fields(std::size_t count) const { return {fields_.data(), count}; }

  // The text of a field, terminated, or null.
  const char* text(std::size_t index) const { return fields_[index].data; }

  // Characters of all texts.
  std::size_t textBytes() const { return textBytes_; }

  // At least `count` fields; new ones are null.
  void extend(std::size_t count) {
    if (count > fields_.size()) grow(count);
  }

  // Makes a copy of the text the field's text; false, and a null field, when memory is exhausted. The text may lie in
  // the field itself.
  [[nodiscard]] bool assign(std::size_t index, std::string_view text);

  // Room for a text of `size` characters, terminated already, which is the field's text from now on; null, and a null
  // field, when memory is exhausted.
  [[nodiscard]] char* prepare(std::size_t index, std::size_t size);

  // To be called on cleared fields before those of a record are read: at least `count` of them, and a block in which
  // they can be printed.
  void startRecord(std::size_t count);

  // Where the block has room for `bytes` more, or null.
  char* blockRoom(std::size_t bytes) { return blockSize_ - blockUsed_ >= bytes ? block_.get() + blockUsed_ : nullptr; }
  // Makes the first `size` characters there the field's text. REQUIRES: there is room for them and a terminator.
  void takeFromBlock(std::size_t index, std::size_t size) {
    char* const text = block_.get() + blockUsed_;
    text[size] = 0;
    setText(index, text, size);
    blockUsed_ += size + 1;
  }

  void setNull(std::size_t index) { setText(index, nullptr, 0); }

  // Makes the first `count` fields null.
  void clear(std::size_t count);

 private:
  struct Storage {
    PaddedMemory memory;
    std::size_t capacity = 0;
  };

  void setText(std::size_t index, const char* text, std::size_t size) {
    textBytes_ += size - fields_[index].size;
    fields_[index] = {text, size};
  }
  void grow(std::size_t count);
  void growBlock(std::size_t size);
  bool assignOwn(std::size_t index, std::string_view text);
  bool replace(std::size_t index, std::string_view text);
  void dropLongTexts();
  // Sees to memory for `size` characters and a terminator; what the field had before is in `replaced` when that is new.
  bool makeRoom(std::size_t index, std::size_t size, PaddedMemory& replaced);

  std::vector<RowField> fields_;
  std::vector<Storage> storage_;  // one for each field
  std::size_t textBytes_ = 0;
  bool keepsLongText_ = false;  // some storage is uncommonly big
  PaddedMemory block_;
  std::size_t blockSize_ = 0;
  std::size_t blockUsed_ = 0;
};

}  // namespace kyv_internal
