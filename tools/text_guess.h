#pragma once

// Guesses a schema from a delimited text that arrives in blocks of whole lines. From its first quote on, the
// text is read both ways at once, with quotes that protect (RFC 4180) and with quotes that do not; which way is right
// shows at the end. Memory does not grow with the text.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quoted_reader.h"
#include "schema_file.h"
#include "table_guess.h"
#include "text_layout.h"

namespace kyv_internal {

// The separator that splits the first lines of a text most evenly: a comma, semicolon, tab or bar.
char guessSeparator(std::string_view text);

class TextGuess {
 public:
  // What the layout says is taken for granted, the rest is guessed. The first block of lines is needed to begin.
  TextGuess(const TextLayout& layout, std::string_view firstBlock);
  TextGuess(const TextGuess&) = delete;
  TextGuess& operator=(const TextGuess&) = delete;

  // The next lines; only the last one of all may lack its line end.
  void addLines(std::string_view block);
  // A line that is too long to be looked at; part of it has been passed when `begins` is false.
  void addOversizedLine(std::uint64_t lineFeeds, bool begins);

  struct Result {
    SchemaFile schema;  // all but the stream's name
    std::uint64_t badRows = 0;
    std::uint64_t firstBadLine = 0;
    std::vector<std::string> notes;
  };
  // Rows so far, as lines, and those among them that are left out.
  std::uint64_t rows() const { return plain_.rows() + plain_.badRows(); }
  std::uint64_t badRows() const { return plain_.badRows(); }
  // Nothing when there were no rows at all. Called once.
  std::optional<Result> finish();

 private:
  void beginQuoted();
  void addPlainLine(std::string_view line);
  void addQuotedRecords(std::string_view text, bool ended);
  void addQuotedRecord(std::string_view row, const QuotedRecord& record);
  bool isQuoted(std::vector<std::string>& notes) const;

  TextLayout layout_;
  char separator_;
  ColumnFormats formats_;
  std::vector<FieldText> fields_;

  TableGuess plain_;
  std::uint64_t plainLines_ = 0;

  TableGuess quoted_;
  std::uint64_t quotedLines_ = 0;
  QuotedReader reader_;
  bool sawQuotes_ = false;  // before that, only the plain way is read
  std::string pending_;     // the beginning of a record whose end is yet to come
  bool sawDoubleQuotes_ = false;
  bool sawSingleQuotes_ = false;
};

}  // namespace kyv_internal
