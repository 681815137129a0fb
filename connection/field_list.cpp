#include "connection/field_list.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kyv_internal {

namespace {

constexpr std::size_t kSmallestText = 32;       // bytes first allocated for a field
constexpr std::size_t kLargestKeptText = 4096;  // bytes kept for the next text

// The block: bytes for each usual text, and what one text may need at most while it is printed.
constexpr std::size_t kPrintingRoom = 1024;
constexpr std::size_t kUsualText = 64;
constexpr std::size_t kSmallestBlock = 1024;

}  // namespace

void FieldList::grow(std::size_t count) {
  storage_.resize(count);
  fields_.resize(count);
}

bool FieldList::makeRoom(std::size_t index, std::size_t size, PaddedMemory& replaced) {
  Storage& storage = storage_[index];
  if (storage.capacity > size) return true;
  const std::size_t capacity = std::max({kSmallestText, size + 1, storage.capacity * 2});
  PaddedMemory memory = allocatePadded(capacity);
  if (memory == nullptr) {
    setNull(index);
    return false;
  }
  replaced = std::exchange(storage.memory, std::move(memory));
  storage.capacity = capacity;
  keepsLongText_ |= capacity > kLargestKeptText;
  return true;
}

bool FieldList::assign(std::size_t index, std::string_view text) {
  if (fields_[index].data != nullptr) return replace(index, text);
  if (blockUsed_ == 0) growBlock(std::max(fields_.size() * kUsualText, kSmallestBlock));
  char* const room = blockRoom(text.size() + 1);
  if (room == nullptr) return assignOwn(index, text);
  std::memcpy(room, text.data(), text.size());
  takeFromBlock(index, text.size());
  return true;
}

// A text that is not longer takes the place of the former one.
bool FieldList::replace(std::size_t index, std::string_view text) {
  const RowField former = fields_[index];
  if (text.size() > former.size) return assignOwn(index, text);
  const bool isOwn = former.data == storage_[index].memory.get();
  char* const memory = isOwn ? storage_[index].memory.get() : block_.get() + (former.data - block_.get());
  std::memmove(memory, text.data(), text.size());
  memory[text.size()] = 0;
  setText(index, memory, text.size());
  return true;
}

bool FieldList::assignOwn(std::size_t index, std::string_view text) {
  PaddedMemory replaced;
  if (!makeRoom(index, text.size(), replaced)) return false;
  char* const memory = storage_[index].memory.get();
  std::memmove(memory, text.data(), text.size());
  memory[text.size()] = 0;
  setText(index, memory, text.size());
  return true;
}

char* FieldList::prepare(std::size_t index, std::size_t size) {
  PaddedMemory replaced;
  if (!makeRoom(index, size, replaced)) return nullptr;
  char* const memory = storage_[index].memory.get();
  memory[size] = 0;
  setText(index, memory, size);
  return memory;
}

void FieldList::startRecord(std::size_t count) {
  extend(count);
  growBlock(kPrintingRoom + count * kUsualText);
}

// Sees to a block of that size, if there is memory. REQUIRES: no text lies in the block.
void FieldList::growBlock(std::size_t size) {
  if (size <= blockSize_) return;
  block_ = allocatePadded(size);
  blockSize_ = block_ != nullptr ? size : 0;
}

void FieldList::clear(std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) setNull(i);
  blockUsed_ = 0;
  if (std::exchange(keepsLongText_, false)) dropLongTexts();
}

void FieldList::dropLongTexts() {
  for (Storage& storage : storage_) {
    if (storage.capacity > kLargestKeptText) storage = {};
  }
}

}  // namespace kyv_internal
