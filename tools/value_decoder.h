#pragma once

// Column values as text, one at a time, from bytes that nobody has checked: what `kyv print` would print, or what is
// wrong.
//
// Threads: one at a time.

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "kyv/record_printer.h"
#include "kyv/stream_schema.h"
#include "text_layout.h"

namespace kyv_internal {

struct DecodedValue {
  std::string text;      // harmless on any screen; texts stand in quotes, and a long value loses its middle
  std::size_t used = 0;  // bytes at the start that are the value; padding follows
  std::string fault;     // what is wrong; empty for a sound value
  bool readable = true;  // whether the text is a value's
};

class ValueDecoder {
 public:
  ValueDecoder(const kyv::StreamSchema& schema, TextLayout layout);

  const kyv::StreamSchema& schema() const { return schema_; }

  // `bytes` lead from a column's offset to the next, in the opposite of the host's byte order when `swapped`. A column
  // that the schema does not know gives no text.
  DecodedValue decode(std::size_t column, std::string_view bytes, bool swapped);

 private:
  DecodedValue decodeNumber(unsigned int type, std::string_view bytes, bool swapped);
  std::string print(unsigned int type, std::string_view value);
  kyv::RecordPrinter& printerOf(unsigned int type);

  kyv::StreamSchema schema_;
  TextLayout layout_;
  std::map<unsigned int, std::unique_ptr<kyv::RecordPrinter>> printers_;  // of one column, by its type
};

}  // namespace kyv_internal
