#include "connection/field_list.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kyv_internal {

namespace {

constexpr std::size_t kSmallestText = 32;       // bytes first allocated for a field
constexpr std::size_t kLargestKeptText = 4096;  // bytes kept for the next text

// A record's block: what one text may need at most while it is printed, and bytes for each usual text.
constexpr std::size_t kPrintingRoom = 1024;
constexpr std::size_t kUsualText = 64;

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
    fields_[index] = {};
    return false;
  }
  replaced = std::exchange(storage.memory, std::move(memory));
  storage.capacity = capacity;
  keepsLongText_ |= capacity > kLargestKeptText;
  return true;
}

bool FieldList::assign(std::size_t index, std::string_view text) {
  PaddedMemory replaced;
  if (!makeRoom(index, text.size(), replaced)) return false;
  char* const memory = storage_[index].memory.get();
  std::memmove(memory, text.data(), text.size());
  memory[text.size()] = 0;
  fields_[index] = {memory, text.size()};
  return true;
}

char* FieldList::prepare(std::size_t index, std::size_t size) {
  PaddedMemory replaced;
  if (!makeRoom(index, size, replaced)) return nullptr;
  char* const memory = storage_[index].memory.get();
  memory[size] = 0;
  fields_[index] = {memory, size};
  return memory;
}

void FieldList::startRecord(std::size_t count) {
  extend(count);
  const std::size_t size = kPrintingRoom + count * kUsualText;
  if (size <= blockSize_) return;
  block_ = allocatePadded(size);
  blockSize_ = block_ != nullptr ? size : 0;
}

void FieldList::clear(std::size_t count) {
  std::fill_n(fields_.begin(), count, RowField());
  blockUsed_ = 0;
  if (std::exchange(keepsLongText_, false)) dropLongTexts();
}

void FieldList::dropLongTexts() {
  for (Storage& storage : storage_) {
    if (storage.capacity > kLargestKeptText) storage = {};
  }
}

}  // namespace kyv_internal
