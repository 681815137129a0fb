#pragma once

// Reads delimited text as RFC 4180 has it: a field that begins with a double quote goes on to its closing quote, over
// separators and line ends, and holds a quote as two. A quote elsewhere in a field is a character like any other. Lines
// end in a line feed, with or without a carriage return before it.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kyv_internal {

struct QuotedField {
  std::string_view text;  // without the outer quotes, doubled ones made single
  std::size_t begin = 0;  // the field as it stands, in bytes from the record's start
  std::size_t end = 0;
  bool quoted = false;
};

enum class QuotedFault {
  kNone,
  kUnclosed,        // the text ends within quotes; the last field is what there is of it
  kTextAfterQuote,  // a closing quote is followed by something other than a separator or a line end
  kTooManyFields,   // more than kMostFields; those beyond are not kept
};

inline constexpr std::size_t kMostFields = 65536;  // of a row, and so of a schema

struct QuotedRecord {
  std::size_t size = 0;       // bytes, the line end included
  std::size_t lineFeeds = 0;  // within these bytes
  QuotedFault fault = QuotedFault::kNone;
  std::size_t faultyField = 0;
};

class QuotedReader {
 public:
  explicit QuotedReader(char separator) : separator_(separator) {}

  // Reads the record at the start of a text that is not empty. Its end is a line end or the end of the text.
  QuotedRecord read(std::string_view text);

  // The fields of that record, at least one. Their texts lie in the text that was read or in the reader, and are valid
  // until the next read.
  const std::vector<QuotedField>& fields() const { return fields_; }

 private:
  void addField(const QuotedField& field, QuotedRecord& record);
  std::size_t readQuoted(std::string_view text, std::size_t begin, QuotedRecord& record);
  std::size_t readUnquoted(std::string_view text, std::size_t begin, QuotedRecord& record);
  std::size_t checkAfterQuote(std::string_view text, std::size_t at, QuotedRecord& record) const;
  std::string_view withoutDoubling(std::string_view text);

  char separator_;
  std::vector<QuotedField> fields_;
  std::string undoubled_;  // never moves while fields point into it
};

}  // namespace kyv_internal
