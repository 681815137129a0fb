#pragma once

// The row converter whose external side is a set of text fields by column name, for sources that deliver names and
// values. Two names are reserved: "KYV_OPS" is the operation's letter (upsert without it), "KYV_FLAGS" the flags. It
// converts fields to records only.

#include <memory>
#include <string>

#include "kyv/connection_row.h"
#include "kyv/export.h"

namespace kyv_internal {
class NamedColumns;
class NamedFields;
}  // namespace kyv_internal

class KYV_EXPORT ConnectionRowByNames : public ConnectionRow {
 public:
  ConnectionRowByNames();
  ~ConnectionRowByNames() override;

  void clear() override;
  void clearData() override;
  ConnectionRow* createNew() override;

  using ConnectionRow::getFieldAsString;
  using ConnectionRow::setFieldAsString;

  // The text of a name, owned by the row and valid until the data is cleared; null and false for a name without one.
  // The string form makes `out` empty then.
  bool getFieldAsString(const char* name, std::string& out) override;
  bool getFieldAsString(const char* name, const char** out) override;
  // Copies name and text, neither of them null; a second text for a name replaces the first. True.
  bool setFieldAsString(const char* name, const std::string& value) override;
  bool setFieldAsString(const char* name, const char* value) override;

  // A column without a field is NULL; a field that names no column is ignored.
  void* toRow(ConnectionCallback* callback, unsigned long recordNo, ConnectionErrors& errors) override;
  void* toRow(unsigned long recordNo, ConnectionErrors* errors) override;

  // An addition: the column whose text the last conversion could not convert, or -1 when it did not fail at a column.
  int failedColumn() const { return failedColumn_; }

 private:
  // In the order of the class's fields; additions follow.
  int textBytes_ = 0;                                  // of all texts that were set, terminators too
  std::unique_ptr<kyv_internal::NamedFields> fields_;  // with the copies of names and texts
  int failedColumn_ = -1;
  std::unique_ptr<kyv_internal::NamedColumns> columns_;
};
