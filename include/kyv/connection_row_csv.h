#pragma once

// The row converter whose external side is one line of text with fields separated by a single character, optionally led
// by the stream name and the opcode. It converts lines to records only.
//
// There is no escaping, and quotes do not protect separators; a field that begins and ends with the same quote, single
// or double, loses both. An empty field is a NULL column. The line end (line feed, carriage return, both) does not
// count.

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "kyv/byte_buffer.h"
#include "kyv/connection_row.h"
#include "kyv/export.h"

namespace kyv_internal {
struct RowField;
struct RowSource;
}  // namespace kyv_internal

class KYV_EXPORT ConnectionRowCsv : public ConnectionRow {
 public:
  ConnectionRowCsv();
  ~ConnectionRowCsv() override;

  void clear() override;
  void clearData() override;  // empties the buffer and keeps it
  ConnectionRow* createNew() override;

  void setSeparator(char separator) override;      // a comma unless set
  void setWithService(bool withService) override;  // lines begin with stream name and opcode; not unless set

  // A buffer of at least `size` bytes, owned by the row, for a terminated line; a bigger one replaces the old one,
  // whose contents are lost.
  char* allocBuffer(int size) override;
  // Copies a terminated line into the row; null releases the buffer.
  void setBuffer(char* line) override;

  // Converts the line in the buffer, which is altered: each line is converted once.
  void* toRow(ConnectionCallback* callback, unsigned long recordNo, ConnectionErrors& errors) override;
  void* toRow(unsigned long recordNo, ConnectionErrors* errors) override;

  // --- Additions: the same conversion for callers with many lines ---

  // Converts a line that stays the caller's and is not altered, and appends the record to `out`. On failure `out` is as
  // before.
  bool appendRow(std::string_view line, unsigned long recordNo, ConnectionErrors& errors, kyv::ByteBuffer& out);
  // The column whose text the last conversion could not convert, or -1 when it did not fail at a column.
  int failedColumn() const { return failedColumn_; }

 private:
  struct Line;

  static constexpr int kUnknownLength = -1;

  void replaceBuffer(std::size_t size);
  std::span<char> takeLine();
  std::span<char> copy(std::string_view line);
  std::optional<kyv_internal::RowSource> source(Line& line, unsigned long recordNo, ConnectionErrors& errors);
  bool split(const Line& line, kyv_internal::RowSource& row, ConnectionErrors& errors);

  char* buffer_ = nullptr;  // padded memory
  int capacity_ = 0;
  char separator_ = ',';
  bool withService_ = false;
  int failedColumn_ = -1;
  int length_ = kUnknownLength;  // of the line in the buffer
  bool isLent_ = false;          // the buffer is known to others, who may write to it at any time
  char* copy_ = nullptr;         // padded memory, for a line of a caller's
  std::size_t copyCapacity_ = 0;
  std::vector<kyv_internal::RowField> fields_;  // of the line being converted
};
