#include "connection/named_fields.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "services/c_string_hash.h"

namespace kyv_internal {

namespace {

constexpr std::size_t kFirstNames = 100;  // names that are expected
constexpr std::size_t kFirstBuckets = 193;
constexpr std::size_t kBlockBytes = 4096;

RowField fieldOf(std::string_view text) { return {text.data(), text.size()}; }

}  // namespace

std::string_view TextStore::keep(std::string_view text) {
  const std::size_t size = text.size() + 1;
  if (capacity_ - used_ < size) {
    const std::size_t capacity = std::max(size, kBlockBytes);
    PaddedMemory block = allocatePadded(capacity);
    if (block == nullptr) throw std::bad_alloc();
    blocks_.push_back(std::move(block));
    capacity_ = capacity;
    used_ = 0;
  }
  char* const copy = blocks_.back().get() + used_;
  std::copy(text.begin(), text.end(), copy);
  copy[text.size()] = 0;
  used_ += size;
  return {copy, text.size()};
}

void TextStore::clear() {
  if (blocks_.size() > 1) {
    blocks_.clear();
    capacity_ = 0;
  }
  used_ = 0;
}

NamedFields::NamedFields() : buckets_(kFirstBuckets, kEnd) { entries_.reserve(kFirstNames); }

std::size_t NamedFields::bucketOf(std::string_view name) const { return cStringHash(name) % buckets_.size(); }

std::uint32_t NamedFields::indexOf(std::string_view name) const {
  std::uint32_t index = buckets_[bucketOf(name)];
  while (index != kEnd && entries_[index].name != name) index = entries_[index].next;
  return index;
}

const RowField* NamedFields::find(std::string_view name) const {
  const std::uint32_t index = indexOf(name);
  return index == kEnd ? nullptr : &entries_[index].text;
}

void NamedFields::set(std::string_view name, std::string_view text) {
  const RowField field = fieldOf(texts_.keep(text));
  const std::uint32_t index = indexOf(name);
  if (index != kEnd) {
    entries_[index].text = field;
    return;
  }
  if (entries_.size() == buckets_.size()) grow();
  add({texts_.keep(name), field, kEnd});
}

// The entry comes first in its bucket.
void NamedFields::add(const Entry& entry) {
  std::uint32_t& head = buckets_[bucketOf(entry.name)];
  entries_.push_back(entry);
  entries_.back().next = head;
  head = static_cast<std::uint32_t>(entries_.size() - 1);
}

void NamedFields::grow() {
  std::vector<Entry> entries;
  entries.reserve(2 * entries_.size());
  entries.swap(entries_);
  buckets_.assign(2 * buckets_.size() + 1, kEnd);
  for (const Entry& entry : entries) add(entry);
}

void NamedFields::clear() {
  if (entries_.empty()) return;
  entries_.clear();
  std::fill(buckets_.begin(), buckets_.end(), kEnd);
  texts_.clear();
}

}  // namespace kyv_internal
