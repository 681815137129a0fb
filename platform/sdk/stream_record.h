#pragma once

// A record of a stream: what must hold before it is stored, its key, and its values. Nothing is read outside the bytes
// that are given, whatever they are.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/sdk/event_store.h"

namespace kyv_internal {

// That definition and types make sense. KYV_ERROR_REFUSED otherwise.
[[nodiscard]] bool checkDefinition(const StreamDefinition& stream, Failure& failure);

// A type's name in messages.
const char* typeName(std::uint32_t type);

// Bytes in the host's byte order that were checked against a stream.
class StreamRecord {
 public:
  // No record, KYV_ERROR_REFUSED, when the bytes are no record that the stream can take. Both arguments must outlive
  // it.
  static std::optional<StreamRecord> check(const StreamDefinition& stream, std::string_view bytes, Failure& failure);

  std::string_view bytes() const { return bytes_; }
  RowChange change() const;
  // The bytes of a column's value with what pads it; nothing for NULL.
  std::optional<std::string_view> value(std::size_t column) const;
  // Appends the values of the key columns: equal for equal keys only. False when one is NULL.
  [[nodiscard]] bool appendKey(std::string& key, Failure& failure) const;

 private:
  StreamRecord(const StreamDefinition& stream, std::string_view bytes) : stream_(&stream), bytes_(bytes) {}

  bool checkHeader(Failure& failure) const;
  bool checkOperation(Failure& failure) const;
  bool checkTable(Failure& failure) const;
  bool checkValues(Failure& failure) const;
  std::string_view keyPart(std::size_t column, std::string_view value) const;

  const StreamDefinition* stream_;
  std::string_view bytes_;
};

}  // namespace kyv_internal
