#pragma once

// Turns blocks of rows into another form, text lines into records or back, and remembers which rows would not go. Why a
// row would not is found out by a second attempt, once it is known which number the row has and whether anybody wants
// to hear it; so a block in which every row is bad costs no more than a good one.
//
// Threads: not locked; each thread has a converter of its own.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kyv/byte_buffer.h"
#include "kyv/connection_errors.h"

namespace kyv_internal {

// Where in its block a row lies that could not be converted. Small, because a block may hold nothing but such rows.
struct BadRow {
  std::uint32_t row = 0;         // rows before it
  std::uint32_t line = 0;        // lines before it
  std::uint32_t blankLines = 0;  // of these
  std::uint32_t begin = 0;       // its text in the block, line end included
  std::uint32_t size = 0;
  std::uint32_t outputBytes = 0;  // what the rows before it became
};

// What was read of a text.
struct ReadRows {
  std::uint32_t rows = 0;
  std::uint32_t blankLines = 0;  // skipped: they are no rows
  std::uint32_t lines = 0;
  std::size_t textBytes = 0;  // the text of all this
  std::string_view header;    // the header's line in it
};

// Bad rows, and blank lines behind the header, between two rows that were converted.
struct Gap {
  std::uint32_t outputBytes = 0;  // what the rows before it became
  std::uint32_t rows = 0;
};

struct ConvertedBlock : ReadRows {
  kyv::ByteBuffer output;
  std::vector<BadRow> badRows;
  std::vector<Gap> gaps;

  std::size_t bytes() const { return output.size() + badRows.size() * sizeof(BadRow) + gaps.size() * sizeof(Gap); }

  // Notes a row or blank line that became nothing.
  void passOver();
  // Keeps the memory.
  void clear();
};

// Why a row could not be converted.
struct RowFault {
  std::string message;
  int column = -1;             // the column whose text is to blame, if one is
  std::size_t fieldBegin = 0;  // that field in the row's text
  std::size_t fieldEnd = 0;
};

// Why a record will not do although its row could be converted.
struct Objection {
  std::string message;
  int column = -1;  // the column to blame, if one is
};
using RecordCheck = std::function<std::optional<Objection>(std::string_view record)>;

// What the first line is that is not blank; blank lines above a header never count as rows.
enum class FirstLine { kRow, kHeader };

class RowConverter {
 public:
  RowConverter() = default;
  RowConverter(const RowConverter&) = delete;
  RowConverter& operator=(const RowConverter&) = delete;
  virtual ~RowConverter() = default;

  // Converts the rows of a text that begins and ends where rows do, of less than 4 GiB, until they have become
  // `mostBytes` or more: what is left of the text is for another call. `out` is cleared first.
  void convert(std::string_view text, FirstLine firstLine, ConvertedBlock& out,
               std::size_t mostBytes = std::numeric_limits<std::size_t>::max());

  // Reads rows at the start of such a text without converting them: at most so many, with blank lines behind the
  // header. `out` is replaced.
  void skip(std::string_view text, FirstLine firstLine, std::uint64_t most, ReadRows& out);

  // Rows whose record it objects to are bad rows. Set before the first row.
  void setCheck(RecordCheck check) { check_ = std::move(check); }

  // Converts one row again, which failed, as row number `recordNo`.
  virtual RowFault explain(std::string_view row, unsigned long recordNo) = 0;

 protected:
  // The extent of the row at the start of a text that is not empty.
  struct Extent {
    std::size_t size = 0;  // line end included
    std::size_t lines = 0;
  };
  virtual Extent readRow(std::string_view text) = 0;
  // Converts the row that was read last. False, with a message in `errors_`, leaves `out` as it was.
  virtual bool appendRow(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out) = 0;
  virtual bool skipsBlankLines() const = 0;
  // Whether the rows of this block can be converted many at once: then by appendRows(), which converts those at the
  // start of a text until one does not convert, or `out` holds `mostBytes`.
  virtual bool appendsRows() const { return false; }
  struct RowsDone {
    std::size_t rows = 0;  // of a line each
    std::size_t bytes = 0;
    bool nextFailed = false;  // the row behind them does not convert
  };
  virtual RowsDone appendRows(std::string_view, unsigned long, kyv::ByteBuffer&, std::size_t) { return {}; }

  // The same, with what the check says.
  bool appendChecked(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out);

  // Why the last row failed: at this column, unless it was the check that objected to another.
  RowFault lastFault(int column);
  // One look at a block spares one at each of its rows.
  bool holdsNul(std::string_view row) const { return blockHoldsNul_ && row.find('\0') != std::string_view::npos; }
  bool mayHoldNul() const { return blockHoldsNul_; }

  ConnectionErrors errors_;

 private:
  enum class LineKind { kAboveHeader, kHeader, kBlank, kRow };

  bool blockHoldsNul_ = true;  // or it is not known
  RecordCheck check_;
  std::optional<Objection> objection_;  // to the last row

  // What the next line or row is. The header is the next one's end.
  LineKind kindOf(std::string_view row, FirstLine& firstLine) const;
  bool convertRows(std::string_view text, std::size_t mostBytes, ConvertedBlock& out);
  void convertRow(std::string_view row, bool mayConvert, ConvertedBlock& out);
};

}  // namespace kyv_internal
