#pragma once

// Writes records as lines of delimited text or of JSON, one line a record, appended to a buffer: the fast way out for
// tools that print many records. Values read as an ordered row's fromRow gives them, except where precision would be
// lost or zeros only fill: a float is written with the fewest digits that read back to the same value (a whole one ends
// in ".0"), and a timestamp or bigdatetime without fraction has no fraction.
//
// Records must be in host byte order; nothing outside a record's own length is read, whatever it holds.
// Threads: not locked; one thread at a time.

#include <memory>
#include <string>
#include <vector>

#include "kyv/byte_buffer.h"
#include "kyv/connection_row.h"
#include "kyv/export.h"
#include "kyv/time_model.h"

namespace kyv {

class KYV_EXPORT RecordPrinter {
 public:
  // The schema is read here and not needed afterwards.
  explicit RecordPrinter(const ConnectionRowType& schema);
  ~RecordPrinter();
  RecordPrinter(const RecordPrinter&) = delete;
  RecordPrinter& operator=(const RecordPrinter&) = delete;

  // "%"-style formats; the defaults are those of a row.
  void setDateFormat(const char* format);
  void setTimestampFormat(const char* format);
  void setTimeFormat(const char* format);
  // Date models in their place. A value that a model cannot print is an empty text.
  void setDateModel(const TimeModel& model);
  void setTimestampModel(const TimeModel& model);
  void setTimeModel(const TimeModel& model);
  void setSeparator(char separator);      // of delimited text; a comma unless set
  void setWithService(bool withService);  // lines tell the stream name and the operation; not unless set

  // A column to print: one of the schema's by its index, NULL for an index outside, under a name of its own.
  struct Column {
    int index;
    std::string name;
  };
  // Prints these columns instead of the schema's.
  void setColumns(const std::vector<Column>& columns);

  // Fields between separators, and a line feed. A NULL column is empty. A text is quoted when it is empty (so are no
  // bytes), holds a separator, a quote or a line end, or has a blank at either end; quotes in it are doubled. With
  // service, the stream name and the opcode letter come first. False with a message, `out` as before, when the record's
  // operation has no letter.
  bool appendDelimited(const void* record, unsigned long recordNo, ConnectionErrors& errors, ByteBuffer& out);

  // One object and a line feed: {"Id":7,"Name":"x"}; with service {"stream":"Trades","op":"p","Id":7,"Name":"x"}, and
  // "flags":"s" behind the operation of a shine-through row. Integers, floats, money and decimals are numbers, booleans
  // true or false, NULL and floats that are no number null, everything else text. Bytes that are not UTF-8 become
  // U+FFFD.
  bool appendJson(const void* record, unsigned long recordNo, ConnectionErrors& errors, ByteBuffer& out);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace kyv
