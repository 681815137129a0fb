#include "platform/sdk/postgres/parameters.h"

#include <endian.h>

#include <cstring>
#include <utility>

namespace kyv_internal {

namespace {

// An array begins with its dimensions (1), whether it holds NULLs (0), the element type, the number of elements, and
// the first one's index (1). Each element follows its size in bytes.
constexpr std::size_t kCountOffset = 12;

}  // namespace

void appendNumber32(std::string& out, std::uint32_t number) {
  const std::uint32_t swapped = htobe32(number);
  out.append(reinterpret_cast<const char*>(&swapped), sizeof swapped);
}

void appendNumber64(std::string& out, std::int64_t number) {
  const std::uint64_t swapped = htobe64(static_cast<std::uint64_t>(number));
  out.append(reinterpret_cast<const char*>(&swapped), sizeof swapped);
}

std::uint32_t number32At(const char* bytes) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes, sizeof number);
  return be32toh(number);
}

std::int64_t number64At(const char* bytes) {
  std::uint64_t number = 0;
  std::memcpy(&number, bytes, sizeof number);
  return static_cast<std::int64_t>(be64toh(number));
}

ArrayParameter::ArrayParameter(Of elements) : elements_(elements) { begin(); }

void ArrayParameter::begin() {
  count_ = 0;
  value_.clear();
  for (const std::uint32_t part : {1U, 0U, static_cast<std::uint32_t>(elements_), 0U, 1U}) appendNumber32(value_, part);
}

void ArrayParameter::addNumber(std::int64_t number) {
  appendNumber32(value_, sizeof number);
  appendNumber64(value_, number);
  ++count_;
}

void ArrayParameter::addFlag(bool flag) { addBytes({flag ? "\1" : "\0", 1}); }

void ArrayParameter::addBytes(std::string_view bytes) {
  appendNumber32(value_, static_cast<std::uint32_t>(bytes.size()));
  value_.append(bytes);
  ++count_;
}

std::string ArrayParameter::take() {
  std::string count;
  appendNumber32(count, count_);
  value_.replace(kCountOffset, count.size(), count);
  std::string taken = std::move(value_);
  begin();
  return taken;
}

Parameters& Parameters::number(std::int64_t number) {
  appendNumber64(values_.emplace_back(), number);
  return *this;
}

Parameters& Parameters::bytes(std::string_view bytes) {
  values_.emplace_back(bytes);
  return *this;
}

Parameters& Parameters::array(ArrayParameter& array) {
  values_.push_back(array.take());
  return *this;
}

}  // namespace kyv_internal
