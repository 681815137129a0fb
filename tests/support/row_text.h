#pragma once

// Rows and records in one short text.

#include <cstdlib>
#include <string>

#include "kyv/connection_row.h"
#include "tests/support/bytes.h"

namespace kyv_test {

// The fields of a row parted by commas, "-" for a null one.
inline std::string fieldsOf(ConnectionRow& row) {
  std::string text;
  for (int i = 0; i < row.size(); ++i) {
    const char* field = nullptr;
    const bool present = row.getFieldAsString(i, &field);
    if (i > 0) text += ',';
    text += present ? field : "-";
  }
  return text;
}

// The bytes of a record in hexadecimal, "null" without one; frees it.
inline std::string takeHex(void* record) {
  if (record == nullptr) return "null";
  std::string hex = toHex(recordBytes(record));
  std::free(record);
  return hex;
}

}  // namespace kyv_test
