#pragma once

// The rows of a stream as bytes, for a run: the record of each row, led by the row's number.

#include <cstdint>
#include <string>
#include <string_view>

#include "read_project.h"
#include "run_source.h"
#include "stream_reading.h"

namespace kyv_internal {

class ReadSource final : public RunSource {
 public:
  // Of the stream that the project has subscribed to. The project must outlive the source.
  ReadSource(ReadProject& project, std::string name, StreamEnd end)
      : project_(project), name_(std::move(name)), end_(end) {}

  // Gives all rows that are there and have room. An interruption is the end of who follows; else it fails without a
  // message.
  std::ptrdiff_t read(char* into, std::size_t capacity) override;

  const std::string& name() const override { return name_; }
  const std::string& error() const override { return error_; }
  ExitStatus failureStatus() const override { return ExitStatus::kServer; }

 private:
  std::size_t fill(char* into, std::size_t capacity);
  bool nextRow();
  bool check(bool done);

  ReadProject& project_;
  std::string name_;
  StreamEnd end_;
  bool failed_ = false;
  std::string error_;
  std::string row_;        // number and record
  std::string_view rest_;  // of it, what was not given
};

}  // namespace kyv_internal
