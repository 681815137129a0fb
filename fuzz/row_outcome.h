#pragma once

// What became of a row, for the targets that compare ways to convert one.

#include <string>

#include "kyv/connection_row.h"
#include "services/malloc_ptr.h"
#include "tests/support/bytes.h"

namespace kyv_fuzz {

struct Outcome {
  std::string record;  // empty without one
  std::string messages;
  int failedColumn;

  bool operator==(const Outcome&) const = default;
};

template <class Row>
Outcome convert(Row& row) {
  ConnectionErrors errors;
  const kyv_internal::MallocPtr<void> record(row.toRow(1, &errors));
  return {record != nullptr ? kyv_test::recordBytes(record.get()) : "", errors.report(), row.failedColumn()};
}

}  // namespace kyv_fuzz
