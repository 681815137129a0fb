#pragma once

// Builds a record value by value, in column order.

#include <cstdint>
#include <string>
#include <vector>

#include "platform/sdk/event_store.h"

namespace kyv_internal {

class RowWriter {
 public:
  // The definition must outlive it.
  explicit RowWriter(const StreamDefinition& stream) : stream_(&stream) {}

  void start();
  [[nodiscard]] bool setOperation(std::int32_t operation, Failure& failure);
  [[nodiscard]] bool setLong(std::int64_t value, Failure& failure);
  [[nodiscard]] bool setInteger(std::int32_t value, Failure& failure);
  [[nodiscard]] bool setBoolean(bool value, Failure& failure);
  [[nodiscard]] bool setNull(Failure& failure);
  // Stores the record; the row is over, even when it failed.
  [[nodiscard]] bool end(std::string& record, Failure& failure);

 private:
  bool isStarted(Failure& failure) const;
  // Whether there is a next column, of this type unless it is to be NULL.
  bool takesColumn(Failure& failure) const;
  bool takesType(std::uint32_t type, Failure& failure) const;
  template <class Value>
  void append(Value value);

  const StreamDefinition* stream_;
  bool started_ = false;
  std::int32_t operation_ = 0;
  std::vector<std::int32_t> offsets_;  // into the values; kNull for none
  std::string values_;
};

}  // namespace kyv_internal
