#pragma once

// Bytes written as hexadecimal text, records made by hand, and copies in memory of exactly their size.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace kyv_test {

// The bytes of a hexadecimal text; blanks are skipped.
inline std::string fromHex(std::string_view text) {
  std::string bytes;
  int high = -1;
  for (const char c : text) {
    if (c == ' ') continue;
    const int digit = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
    if (high >= 0) bytes += static_cast<char>(high * 16 + digit);
    high = high >= 0 ? -1 : digit;
  }
  return bytes;
}

inline std::string toHex(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02x", static_cast<unsigned char>(c));
    text += pair;
  }
  return text;
}

// Memory of exactly these bytes, so that the address sanitizer sees any access outside.
inline std::vector<unsigned char> exactly(std::string_view bytes) { return {bytes.begin(), bytes.end()}; }

inline std::string textOf(const std::vector<unsigned char>& bytes) { return {bytes.begin(), bytes.end()}; }

template <class T>
std::string bytesOf(T value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

// A record by hand in host order: the words of its header, its whole offset table, and its payload in hexadecimal.
struct HandRecord {
  std::int32_t operation;
  std::int32_t streamId;
  std::uint32_t flags;
  std::uint32_t counts;  // columns, and options in the high byte
  std::vector<std::int32_t> table;
  std::string payload;

  std::string bytes() const {
    const std::string values = fromHex(payload);
    const auto length = static_cast<std::int32_t>(20 + 4 * table.size() + values.size());
    std::string record = bytesOf(length) + bytesOf(operation) + bytesOf(streamId) + bytesOf(flags) + bytesOf(counts);
    for (const std::int32_t entry : table) record += bytesOf(entry);
    return record + values;
  }
};

// Replaces the 32-bit word at a byte offset.
inline void poke(std::string& record, std::size_t offset, std::int32_t word) {
  record.replace(offset, sizeof word, bytesOf(word));
}

// A record's bytes, as many as its length word says.
inline std::string recordBytes(const void* record) {
  std::int32_t length;
  std::memcpy(&length, record, sizeof length);
  return {static_cast<const char*>(record), static_cast<std::size_t>(length)};
}

inline void reverseBytes(std::string& bytes, std::size_t offset, std::size_t count) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
  std::reverse(begin, begin + static_cast<std::ptrdiff_t>(count));
}

// The record in the opposite byte order, whose payload is given as that order has it: length, operation and flags (the
// words at 0, 4 and 12) stay.
inline std::string inOppositeOrder(HandRecord record, const std::string& oppositePayload) {
  record.payload = oppositePayload;
  std::string bytes = record.bytes();
  for (const std::size_t offset : {8, 16}) reverseBytes(bytes, offset, 4);
  for (std::size_t i = 0; i < record.table.size(); ++i) reverseBytes(bytes, 20 + 4 * i, 4);
  return bytes;
}

}  // namespace kyv_test
