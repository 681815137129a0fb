#pragma once

// Runs all of the library's checks over a record, and gathers what they say.

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

 private:
  void checkAsReceived(std::string_view record);
  bool checkConverted(std::string_view record, std::string& error);
  void add(Row2::Fault fault);

  std::vector<unsigned int> types_;  // one more than there are columns: the library wants some even for none
  int columns_;
  std::string converted_;  // a record of the opposite byte order, which the check turns
  std::vector<Row2::Fault> faults_;
};

}  // namespace kyv_internal
