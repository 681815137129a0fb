#pragma once

// The ways to show the records of a file. Each walks a record's map; what a view returns is written out as it stands.

#include <cstdint>
#include <memory>
#include <string>

#include "record_map.h"

namespace kyv_internal {

class RecordView {
 public:
  RecordView() = default;
  RecordView(const RecordView&) = delete;
  RecordView& operator=(const RecordView&) = delete;
  virtual ~RecordView() = default;

  // What stands before the first record.
  virtual std::string begin() const { return ""; }
  // `number` counts the file's records from 1; `position` is the record's first byte in the file.
  virtual std::string record(const RecordMap& map, std::uint64_t number, std::uint64_t position) const = 0;
  // What stands behind the last record. `summary` is a line about all of them.
  virtual std::string end(const std::string& /*summary*/) const { return ""; }
};

enum class Colour { kNone, kAnsi };

// For a terminal: the header in words, the bytes with a name below each, the values line by line. It reads as well
// without colour.
std::unique_ptr<RecordView> makeTextView(Colour colour);

// An HTML page that needs nothing else. A value under the pointer, or with the focus, lights up together with its bytes
// and its offset; a click keeps it so. Names may hold any bytes.
std::unique_ptr<RecordView> makePageView(const std::string& file, const std::string& stream);

// The library's plain dumps, which read each record as if it had the host's byte order.
std::unique_ptr<RecordView> makeRawView();

}  // namespace kyv_internal
