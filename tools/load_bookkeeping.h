#pragma once

// The stream that a load leaves word in: the key of the last delivered row, and whether the source may be cut down to
// what comes behind it. Where a load goes on never depends on it: that is in the transaction of the rows.
//
// Threads: one at a time.

#include <string>

#include "kyv/gd_support.h"
#include "schema_file.h"

namespace kyv_internal {

class LoadBookkeeping {
 public:
  LoadBookkeeping() = default;
  LoadBookkeeping(const LoadBookkeeping&) = delete;
  LoadBookkeeping& operator=(const LoadBookkeeping&) = delete;
  ~LoadBookkeeping();

  // A stream for open() to find: a row of an integer, its key, a long and a boolean.
  static SchemaFile schema(const std::string& stream);

  // All of these: false with the client SDK's text.

  [[nodiscard]] bool open(const std::string& stream, const std::string& project, std::string& error);
  // The key that the last run left; 0 when none did.
  [[nodiscard]] bool read(long long& key, std::string& error);
  [[nodiscard]] bool write(long long key, bool isComplete, std::string& error);

 private:
  GDSupport support_;
};

}  // namespace kyv_internal
