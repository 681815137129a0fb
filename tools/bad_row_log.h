#pragma once

// What becomes of the bad rows of a run: each is counted, and kept as it stands in a file from which it can be repaired
// and converted again.
//
// Threads: one at a time.

#include <cstdint>
#include <string>
#include <string_view>

#include "command_options.h"
#include "output_file.h"

namespace kyv_internal {

class BadRowLog {
 public:
  // The options must outlive the log.
  explicit BadRowLog(const CommandOptions& options) : options_(options) {}

  // Opens the file of rejected rows if there is to be one: a new one, or that of the run that is continued. False with
  // a message.
  [[nodiscard]] bool open(OutputFile::Content content, std::string& error);

  // Whether anybody wants to hear why a row is bad.
  bool wantsReports() const { return !options_.quiet; }

  // The line that stands above the rejected rows, as it stands above all rows.
  void setHeader(std::string_view line) { header_ = rejects_.isContinued() ? "" : line; }
  // Keeps the bytes of a bad row, for the next flush().
  void keep(std::string_view row);
  // Writes what was kept. False with a message.
  [[nodiscard]] bool flush(std::string& error);

  void count() { ++rows_; }
  std::uint64_t rows() const { return rows_; }
  // Whether the run has as many bad rows as it may have.
  bool isFull() const { return options_.maxErrors && rows_ >= *options_.maxErrors; }

 private:
  const CommandOptions& options_;
  OutputFile rejects_;
  std::string header_;   // until a row is kept
  std::string pending_;  // kept, but not yet written
  std::uint64_t rows_ = 0;
};

}  // namespace kyv_internal
