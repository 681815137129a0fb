#pragma once

// A growing block of bytes that does not clear what it adds: where conversions append records or text one after
// another.
//
// Threads: not locked; one thread at a time.

#include <cstddef>
#include <cstring>
#include <string_view>

#include "kyv/export.h"

namespace kyv {

class KYV_EXPORT ByteBuffer {
 public:
  ByteBuffer() = default;
  ByteBuffer(ByteBuffer&& other) noexcept;
  ByteBuffer& operator=(ByteBuffer&& other) noexcept;
  ~ByteBuffer();

  const char* data() const { return data_; }
  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  std::string_view view() const { return {data_, size_}; }

  // Keeps the memory.
  void clear() { size_ = 0; }
  // Forgets everything past `size`, which is at most size().
  void truncate(std::size_t size) { size_ = size; }

  // Room for at least `bytes` more, of unspecified content; valid until the next call that is not const. What is
  // written there counts only after commit().
  char* prepare(std::size_t bytes) {
    if (capacity_ - size_ < bytes) grow(bytes);
    return data_ + size_;
  }
  // Adds the first `bytes` of the prepared room.
  void commit(std::size_t bytes) { size_ += bytes; }

  void append(std::string_view bytes) {
    if (bytes.empty()) return;  // may have no address
    std::memcpy(prepare(bytes.size()), bytes.data(), bytes.size());
    size_ += bytes.size();
  }
  void append(char byte) {
    *prepare(1) = byte;
    ++size_;
  }

 private:
  void grow(std::size_t bytes);

  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace kyv
