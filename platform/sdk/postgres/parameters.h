#pragma once

// The parameters of a statement in the server's binary forms. Names and records are bytes for the server, which neither
// reads their encoding nor minds a NUL; every whole number is a bigint.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kyv_internal {

// Appends a number in network byte order, as every binary form has it.
void appendNumber32(std::string& out, std::uint32_t number);
void appendNumber64(std::string& out, std::int64_t number);
std::uint32_t number32At(const char* bytes);
std::int64_t number64At(const char* bytes);

// One parameter that is an array. All arrays of a statement have as many elements.
class ArrayParameter {
 public:
  enum class Of : std::uint32_t { Flags = 16, Bytes = 17, Numbers = 20 };  // the element type's fixed number

  explicit ArrayParameter(Of elements);

  void addNumber(std::int64_t number);
  void addFlag(bool flag);
  void addBytes(std::string_view bytes);

  std::size_t size() const { return value_.size(); }
  // The whole parameter; the array is empty afterwards.
  std::string take();

 private:
  void begin();

  const Of elements_;
  std::uint32_t count_ = 0;
  std::string value_;
};

class Parameters {
 public:
  Parameters& number(std::int64_t number);
  Parameters& bytes(std::string_view bytes);
  Parameters& array(ArrayParameter& array);

  const std::vector<std::string>& values() const { return values_; }

 private:
  std::vector<std::string> values_;
};

}  // namespace kyv_internal
