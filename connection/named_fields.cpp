#include "connection/named_fields.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "services/c_string_hash.h"

namespace kyv_internal {

namespace {

constexpr std::size_t kFirstNames = 100;  // names that are expected
constexpr std::size_t kFirstBuckets = 193;
constexpr std::uint32_t kLongestChain = 8;

constexpr std::size_t kSmallestBlock = 4096;
constexpr std::size_t kLargestKeptBlock = 65536;
constexpr std::size_t kMostNameBytes = 1048576;  // of which some may be of names that do not come again

// In the order of their slots.
constexpr std::string_view kReservedNames[] = {"", "KYV_OPS", "KYV_FLAGS"};

}  // namespace

std::string_view TextStore::keep(std::string_view text) {
  if (capacity_ - used_ <= text.size()) addBlock(text.size() + 1);
  char* const copy = block_ + used_;
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = 0;
  used_ += text.size() + 1;
  return {copy, text.size()};
}

void TextStore::addBlock(std::size_t size) {
  const std::size_t capacity = std::max({size, wanted_, kSmallestBlock});
  PaddedMemory block = allocatePadded(capacity);
  if (block == nullptr) throw std::bad_alloc();
  blocks_.push_back(std::move(block));
  block_ = blocks_.back().get();
  full_ += capacity_;
  capacity_ = capacity;
  used_ = 0;
}

void TextStore::clear() {
  wanted_ = std::min(bytes(), kLargestKeptBlock);
  if (blocks_.size() > 1 || capacity_ > kLargestKeptBlock) {
    blocks_.clear();
    capacity_ = 0;
  }
  full_ = 0;
  used_ = 0;
}

NamedFields::NamedFields() {
  names_.reserve(kFirstNames);
  texts_.reserve(kFirstNames);
  forgetNames();
}

// All names but the reserved ones, which need no copies. The first slot's name is never looked up.
void NamedFields::forgetNames() {
  names_.clear();
  crowded_.clear();
  keptNames_.clear();
  buckets_.assign(kFirstBuckets, {});
  for (const std::string_view name : kReservedNames) {
    const auto slot = static_cast<Slot>(names_.size());
    names_.push_back({name, kOperation, kNone});
    if (slot != kNone) link(slot);
  }
  texts_.assign(names_.size(), {});
  ++version_;
}

std::size_t NamedFields::bucketOf(std::string_view name) const { return cStringHash(name) % buckets_.size(); }

NamedFields::Slot NamedFields::slotOf(std::string_view name) const {
  const Bucket& bucket = buckets_[bucketOf(name)];
  for (Slot slot = bucket.newest; slot != kNone; slot = names_[slot].next) {
    if (name == names_[slot].text) return slot;
  }
  if (bucket.length < kLongestChain) return kNone;
  const auto found = crowded_.find(name);
  return found != crowded_.end() ? found->second : kNone;
}

void NamedFields::set(const char* name, std::string_view text) {
  const std::string_view copy = keptTexts_.keep(text);
  Slot slot = names_[last_].follower;
  if (std::strcmp(names_[slot].text.data(), name) != 0) {
    slot = slotOf(name);
    if (slot == kNone) slot = add(name);
    names_[last_].follower = slot;
  }
  last_ = slot;
  RowField& field = texts_[slot];
  fieldCount_ += field.data == nullptr;
  field = {copy.data(), copy.size()};
}

NamedFields::Slot NamedFields::add(std::string_view name) {
  if (names_.size() >= buckets_.size()) grow();
  const auto slot = static_cast<Slot>(names_.size());
  texts_.resize(slot + std::size_t{1});
  names_.push_back({keptNames_.keep(name), kOperation, kNone});
  ++version_;
  link(slot);
  return slot;
}

// The newest comes first in its bucket.
void NamedFields::link(Slot slot) {
  const std::string_view name = names_[slot].text;
  Bucket& bucket = buckets_[bucketOf(name)];
  if (bucket.length == kLongestChain) {
    crowded_.emplace(name, slot);
    return;
  }
  names_[slot].next = bucket.newest;
  bucket.newest = slot;
  ++bucket.length;
}

void NamedFields::grow() {
  buckets_.assign(2 * buckets_.size() + 1, {});
  crowded_.clear();
  for (Slot slot = kNone + 1; slot < names_.size(); ++slot) link(slot);
}

void NamedFields::clear() {
  if (keptTexts_.bytes() == 0) return;
  const std::size_t known = names_.size() - std::size(kReservedNames);
  const bool mostAreUnused = known > kFirstNames && fieldCount_ < known / 2;
  const bool someLongOnesAre = keptNames_.bytes() > kMostNameBytes && fieldCount_ < known;
  if (mostAreUnused || someLongOnesAre) {
    forgetNames();
  } else {
    std::fill(texts_.begin(), texts_.end(), RowField());
  }
  keptTexts_.clear();
  fieldCount_ = 0;
  last_ = kNone;
}

}  // namespace kyv_internal
