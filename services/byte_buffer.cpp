#include "kyv/byte_buffer.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

namespace kyv {

namespace {

constexpr std::size_t kFirstCapacity = 256;
constexpr std::size_t kGreatestCapacity = PTRDIFF_MAX;

}  // namespace

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept {
  ByteBuffer taken(std::move(other));
  std::swap(data_, taken.data_);
  std::swap(size_, taken.size_);
  std::swap(capacity_, taken.capacity_);
  return *this;
}

ByteBuffer::~ByteBuffer() { std::free(data_); }

void ByteBuffer::grow(std::size_t bytes) {
  if (bytes > kGreatestCapacity - size_) throw std::bad_alloc();
  // Doubling keeps the cost of many small appends proportional to their sum; realloc can often extend in place. Twice a
  // capacity never overflows, since the greatest one is half of the number range.
  const std::size_t capacity = std::min(std::max({size_ + bytes, 2 * capacity_, kFirstCapacity}), kGreatestCapacity);
  void* const block = std::realloc(data_, capacity);
  if (block == nullptr) throw std::bad_alloc();
  data_ = static_cast<char*>(block);
  capacity_ = capacity;
}

}  // namespace kyv
