#pragma once

// Runs all of the library's checks over a record, and gathers what they say. Brings records of the other byte order
// into this machine's.

#include <string>
#include <string_view>
#include <vector>

#include "kyv/row2.h"
#include "kyv/stream_schema.h"

namespace kyv_internal {

class RecordChecker {
 public:
  explicit RecordChecker(const kyv::StreamSchema& schema);

  // What is wrong with a record in either byte order, which is exactly as long as its length word says. Nothing when it
  // is sound. The faults stay until the next call.
  const std::vector<Row2::Fault>& check(std::string_view record);

  // Whether a record is in this machine's byte order, or too short to say.
  static bool isHostOrder(std::string_view record);
  // A copy, in this machine's byte order, of a record of the other one, as long as its length word says; it stays until
  // the next call of any operation. Empty, with a message, when the checks that a receiver runs refuse the record.
  std::string_view toHostOrder(std::string_view record, std::string& error);

 private:
  void checkAsReceived(std::string_view record);
  void add(Row2::Fault fault);

  std::vector<unsigned int> types_;  // one more than there are columns: the library wants some even for none
  int columns_;
  std::string converted_;  // a record of the opposite byte order, turned
  std::vector<Row2::Fault> faults_;
};

}  // namespace kyv_internal
