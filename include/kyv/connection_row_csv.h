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

namespace kyv {

// What became of a text of lines.
struct AppendedLines {
  std::size_t lines = 0;  // that became records
  std::size_t bytes = 0;  // of them, their ends included
  bool failed = false;    // the next one did not
};

}  // namespace kyv

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
  // Converts the lines of a text, which stays the caller's, each with its line end (the last needs none), and appends
  // their records to `out` as long as that holds fewer than `mostBytes`. `recordNo` is the number of the first. A line
  // that does not convert ends it, with a message: it is the one behind those that are counted.
  kyv::AppendedLines appendLines(std::string_view text, unsigned long recordNo, ConnectionErrors& errors,
                                 kyv::ByteBuffer& out, std::size_t mostBytes = static_cast<std::size_t>(-1));
  // The column whose text the last conversion could not convert, or -1 when it did not fail at a column.
  int failedColumn() const { return failedColumn_; }

 private:
  struct Line;

  static constexpr int kUnknownLength = -1;

  void replaceBuffer(std::size_t size);
  std::span<char> takeLine();
  std::span<char> copy(std::string_view line);
  std::optional<kyv_internal::RowSource> source(Line& line, unsigned long recordNo, ConnectionErrors& errors);
  std::size_t appendUsualLines(std::string_view text, unsigned long recordNo, kyv::ByteBuffer& out,
                               std::size_t mostBytes, kyv::AppendedLines& done) const;
  bool appendLine(std::string_view text, bool mayBeUsual, unsigned long recordNo, ConnectionErrors& errors,
                  kyv::ByteBuffer& out);
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
