#pragma once

// What the rows of a delimited text, read in one way (plain or quoted), say about its columns.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "schema_file.h"
#include "value_guess.h"

namespace kyv_internal {

struct FieldText {
  std::string_view text;
  bool quoted = false;
};

class TableGuess {
 public:
  // The formats must outlive the guess.
  explicit TableGuess(const ColumnFormats& formats) : formats_(&formats) {}

  // A row that begins on that line. The first one says how many fields a row has, and may turn out to be a header.
  void add(std::span<const FieldText> fields, std::uint64_t line);
  // A row that cannot be read.
  void addBad(std::uint64_t line);

  bool empty() const { return !hasFirst_; }
  std::size_t columns() const { return columns_.size(); }
  // Rows that count, the first included even if it is a header.
  std::uint64_t rows() const { return rows_ + (hasFirst_ ? 1 : 0); }
  // Rows that are left out: unreadable, or with another number of fields than the first.
  std::uint64_t badRows() const { return badRows_; }
  std::uint64_t firstBadLine() const { return firstBadLine_; }

  // The columns, with what is seen of them, and the formats of their dates. `header` is what the user says about the
  // first line; `notes` gets what the user should know. Called once, after all rows.
  SchemaFile finish(std::optional<bool> header, std::vector<std::string>& notes);

 private:
  void addToColumns(std::span<const FieldText> fields);
  bool firstLooksLikeHeader(std::vector<std::string>& notes) const;
  bool looksLikeValue(const std::string& text) const;
  bool allColumnsAreText() const;
  void nameColumns(bool header, SchemaFile& schema, std::vector<std::string>& notes) const;
  void typeColumns(SchemaFile& schema, std::vector<std::string>& notes) const;

  struct FirstField {
    std::string text;
    bool quoted;
  };

  const ColumnFormats* formats_;
  bool hasFirst_ = false;
  bool beginsBadly_ = false;  // a row that cannot be read comes before the first, where a header would be
  std::vector<FirstField> first_;
  std::vector<ColumnGuess> columns_;
  std::uint64_t rows_ = 0;  // good ones, without the first
  std::uint64_t badRows_ = 0;
  std::uint64_t firstBadLine_ = 0;
};

}  // namespace kyv_internal
