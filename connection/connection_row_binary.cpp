#include "kyv/connection_row_binary.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "row2/row2_layout.h"
#include "services/malloc_ptr.h"

namespace {

constexpr int kLengthWord = sizeof(std::int32_t);
constexpr int kMostAllocated = 1048576;

int lengthOf(const void* record) {
  const auto* const bytes = static_cast<const unsigned char*>(record);
  return kyv_internal::load<std::int32_t>(bytes + kyv_internal::kLengthOffset);
}

}  // namespace

ConnectionRowBinary::ConnectionRowBinary() = default;

ConnectionRowBinary::~ConnectionRowBinary() { ConnectionRowBinary::clear(); }

void ConnectionRowBinary::clear() {
  ConnectionRowBinary::clearData();
  ConnectionRow::clear();
}

void ConnectionRowBinary::clearData() {
  row_.reset();
  rowSize_ = 0;
}

ConnectionRow* ConnectionRowBinary::createNew() {
  auto row = std::make_unique<ConnectionRowBinary>();
  row->copyCommonFrom(this);
  return row.release();
}

// The record may be the one that is held.
void ConnectionRowBinary::holdCopy(const void* record, int size) {
  const auto bytes = static_cast<std::size_t>(size);
  if (size == rowSize_) {
    std::memmove(row_.get(), record, bytes);
    return;
  }
  auto copy = std::make_unique_for_overwrite<unsigned char[]>(bytes);
  std::memcpy(copy.get(), record, bytes);
  row_ = std::move(copy);
  rowSize_ = size;
}

void ConnectionRowBinary::setRow(void* record, int size) {
  const int bytes = record != nullptr && size == 0 ? lengthOf(record) : size;
  if (record == nullptr || bytes <= 0) {
    clearData();
    return;
  }
  holdCopy(record, bytes);
}

void* ConnectionRowBinary::allocRow(int size) {
  clearData();
  if (size < 0 || size > kMostAllocated) return nullptr;
  const int bytes = std::max(size, kLengthWord);
  row_ = std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(bytes));
  rowSize_ = bytes;
  kyv_internal::store(row_.get() + kyv_internal::kLengthOffset, static_cast<std::int32_t>(bytes));
  return row_.get() + kLengthWord;
}

void ConnectionRowBinary::adoptRow(void* record) {
  auto* const bytes = static_cast<unsigned char*>(record);
  if (bytes == row_.get()) (void)row_.release();  // the row's own record, which comes back
  clearData();
  row_.reset(bytes);
  if (record == nullptr || lengthOf(record) < 0) {
    clearData();
    return;
  }
  rowSize_ = lengthOf(record);
}

// Required as is: nothing is checked.
bool ConnectionRowBinary::validate(ConnectionErrors&) { return true; }
bool ConnectionRowBinary::validate(ConnectionErrors*) { return true; }

void* ConnectionRowBinary::getRow() const { return row_.get(); }
int ConnectionRowBinary::getRowSize() { return rowSize_; }

void* ConnectionRowBinary::toRow(ConnectionCallback*, unsigned long, ConnectionErrors&) {
  return ConnectionRowBinary::toRow(0, nullptr);
}

void* ConnectionRowBinary::toRow(unsigned long, ConnectionErrors*) {
  if (row_ == nullptr) return nullptr;
  const auto bytes = static_cast<std::size_t>(rowSize_);
  kyv_internal::MallocPtr<void> copy(std::malloc(bytes));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy.get(), row_.get(), bytes);
  return copy.release();
}

bool ConnectionRowBinary::fromRow(void* record, ConnectionCallback*, unsigned long, ConnectionErrors&) {
  return ConnectionRowBinary::fromRow(record, 0, nullptr);
}

bool ConnectionRowBinary::fromRow(void* record, unsigned long, ConnectionErrors*) {
  const int size = record != nullptr ? lengthOf(record) : 0;
  if (size <= 0) {
    clearData();
    return false;
  }
  holdCopy(record, size);
  return true;
}
