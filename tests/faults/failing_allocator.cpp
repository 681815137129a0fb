#include "tests/faults/failing_allocator.h"

#include <cerrno>
#include <cstddef>
#include <limits>
#include <new>

namespace {

constexpr long kNever = std::numeric_limits<long>::max();

long requests = 0;  // since the last refuseRequest
long firstRefused = kNever;
long lastRefused = kNever;
long refused = 0;
long live = 0;

bool refuses() {
  if (firstRefused == kNever) return false;
  ++requests;
  if (requests < firstRefused || requests > lastRefused) return false;
  ++refused;
  errno = ENOMEM;
  return true;
}

}  // namespace

// The allocator itself, under the other names that it has: the C library's, or a sanitizer's.
extern "C" {
[[gnu::weak]] void* __libc_malloc(std::size_t bytes);
[[gnu::weak]] void* __libc_calloc(std::size_t count, std::size_t bytes);
[[gnu::weak]] void* __libc_realloc(void* block, std::size_t bytes);
[[gnu::weak]] void* __libc_memalign(std::size_t alignment, std::size_t bytes);
[[gnu::weak]] void __libc_free(void* block);
[[gnu::weak]] void* __interceptor_malloc(std::size_t bytes);
[[gnu::weak]] void* __interceptor_calloc(std::size_t count, std::size_t bytes);
[[gnu::weak]] void* __interceptor_realloc(void* block, std::size_t bytes);
[[gnu::weak]] void* __interceptor_memalign(std::size_t alignment, std::size_t bytes);
[[gnu::weak]] void __interceptor_free(void* block);
}

namespace {

bool isSanitized() { return __interceptor_malloc != nullptr; }

void* given(void* block) {
  if (block != nullptr) ++live;
  return block;
}

}  // namespace

extern "C" {

void* malloc(std::size_t bytes) noexcept {
  if (refuses()) return nullptr;
  return given(isSanitized() ? __interceptor_malloc(bytes) : __libc_malloc(bytes));
}

void* calloc(std::size_t count, std::size_t bytes) noexcept {
  if (refuses()) return nullptr;
  return given(isSanitized() ? __interceptor_calloc(count, bytes) : __libc_calloc(count, bytes));
}

void* realloc(void* block, std::size_t bytes) noexcept {
  if (refuses()) return nullptr;
  void* const moved = isSanitized() ? __interceptor_realloc(block, bytes) : __libc_realloc(block, bytes);
  return block == nullptr ? given(moved) : moved;
}

void* memalign(std::size_t alignment, std::size_t bytes) noexcept {
  if (refuses()) return nullptr;
  return given(isSanitized() ? __interceptor_memalign(alignment, bytes) : __libc_memalign(alignment, bytes));
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) noexcept { return memalign(alignment, bytes); }

int posix_memalign(void** block, std::size_t alignment, std::size_t bytes) noexcept {
  *block = memalign(alignment, bytes);
  return *block != nullptr ? 0 : ENOMEM;
}

void free(void* block) noexcept {
  if (block == nullptr) return;
  --live;
  isSanitized() ? __interceptor_free(block) : __libc_free(block);
}
}

// A sanitizer brings operators of its own, which know nothing of the functions above.

void* operator new(std::size_t bytes) {
  void* const block = malloc(bytes);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* operator new[](std::size_t bytes) { return operator new(bytes); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return malloc(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return malloc(bytes); }
void operator delete(void* block) noexcept { free(block); }
void operator delete[](void* block) noexcept { free(block); }
void operator delete(void* block, std::size_t) noexcept { free(block); }
void operator delete[](void* block, std::size_t) noexcept { free(block); }

namespace kyv_test {

void refuseRequest(long number, Refusal refusal) {
  requests = refused = 0;
  lastRefused = refusal == Refusal::kOnce ? number : kNever;
  firstRefused = number;
}

long stopRefusing() {
  firstRefused = kNever;
  return refused;
}

long liveBlocks() { return isSanitized() ? 0 : live; }

}  // namespace kyv_test
