#pragma once

// The row converter whose external side is one line of text with fields separated by a single character, optionally led
// by the stream name and the opcode. It converts lines to records only.
//
// There is no escaping, and quotes do not protect separators; a field that begins and ends with the same quote, single
// or double, loses both. An empty field is a NULL column. The line end (line feed, carriage return, both) does not
// count.

#include <optional>
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
  // Reads a line without its line end: what a conversion starts from, its fields lying in the line; nothing, with a
  // message, when the line cannot become a record. `writable` is the line's first byte when it may be altered, else
  // null.
  std::optional<kyv_internal::RowSource> source(std::string_view line, char* writable, unsigned long recordNo,
                                                ConnectionErrors& errors);

  char* buffer_ = nullptr;  // from malloc
  int capacity_ = 0;
  char separator_ = ',';
  bool withService_ = false;
  int failedColumn_ = -1;
  std::vector<kyv_internal::RowField> fields_;  // of the line being converted
};
