#pragma once

// What the command line says of a load into a stream.

#include <chrono>
#include <cstddef>
#include <string>

namespace kyv_internal {

struct LoadOptions {
  std::string project;    // PATH:NUMBER
  std::string adapter;    // the name of the delivery; empty: "load/" and the stream's name
  std::string keyColumn;  // the column whose value is the delivery key; empty: the row's number in the input is
  std::size_t batchRows = 10'000;
  std::chrono::milliseconds batchTime{1'000};  // how long a row waits at most for its batch to fill
  std::chrono::seconds retry{30};              // how long a batch that the store failed to take is tried again
  bool takesOver = false;                      // from whoever has the delivery
  bool isDry = false;                          // parse and connect, but write nothing
  std::chrono::seconds stats{0};               // between two reports; 0 for none
  std::string bookkeeping;                     // a stream that is told the last key at the end; none when empty
};

}  // namespace kyv_internal
