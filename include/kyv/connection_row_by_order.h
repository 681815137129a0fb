#pragma once

// The row converter whose external side is a list of text fields by position: field i is the text of the stream's
// column i, a missing one a NULL column. It converts both ways.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kyv/byte_buffer.h"
#include "kyv/connection_row.h"
#include "kyv/export.h"

namespace kyv_internal {
class FieldList;
struct FormatSet;
struct RowSource;
struct StoredColumn;
}  // namespace kyv_internal

class KYV_EXPORT ConnectionRowByOrder : public ConnectionRow {
 public:
  ConnectionRowByOrder();
  ~ConnectionRowByOrder() override;

  void clear() override;
  // No fields, no flags, and the operation is upsert again.
  void clearData() override;
  ConnectionRow* createNew() override;

  using ConnectionRow::getFieldAsString;
  using ConnectionRow::setFieldAsString;

  // The text of a field, owned by the row and valid until that field changes or the data is cleared; null and false for
  // a null field or an index past the last. A negative index is not checked. The string form makes `out` empty then.
  bool getFieldAsString(int index, std::string& out) override;
  bool getFieldAsString(int index, const char** out) override;
  // Copies the text; null makes a null field. An index past the last adds null fields up to it. False for a negative
  // index.
  bool setFieldAsString(int index, const std::string& value) override;
  bool setFieldAsString(int index, const char* value) override;
  bool appendFieldAsString(const std::string& value) override;
  bool appendFieldAsString(const char* value) override;

  // The letter of the operation, unchecked until toRow: i, u, d or p. A row whose operation was never set is an upsert.
  char getOp() const override;
  void setOp(char letter) override;
  // Only the first character counts, and only "s" (shine through) is known; checked by toRow. "" when none are set.
  const char* getFlagsAsString() const override;
  bool setFlagsAsString(const char* flags) override;
  int size() const override;

  void* toRow(ConnectionCallback* callback, unsigned long recordNo, ConnectionErrors& errors) override;
  void* toRow(unsigned long recordNo, ConnectionErrors* errors) override;
  bool fromRow(void* record, ConnectionCallback* callback, unsigned long recordNo, ConnectionErrors& errors) override;
  bool fromRow(void* record, unsigned long recordNo, ConnectionErrors* errors) override;

  // Reads only the sequence number out of a record, in guaranteed-delivery mode.
  virtual bool getSequenceNumberfromRow(void* record, ConnectionErrors* errors);

  // --- Additions: the same conversion for callers with many rows ---

  // Like setFieldAsString, from a text that needs no terminator.
  bool setField(int index, std::string_view value);
  // Like toRow, but appends the record to `out` instead of allocating one. On failure `out` is as before.
  bool appendRow(unsigned long recordNo, ConnectionErrors& errors, kyv::ByteBuffer& out);
  // The column whose text the last conversion to a record could not convert, or -1 when it did not fail at a column.
  int failedColumn() const { return failedColumn_; }

 private:
  enum class ColumnRead { Field, Delivery, Failed };

  // What a conversion to a record starts from; nothing, with a message, when this row cannot become one.
  std::optional<kyv_internal::RowSource> source(unsigned long recordNo, ConnectionErrors& errors);

  bool readColumns(const void* record, unsigned long recordNo, ConnectionErrors& errors);
  ColumnRead readColumn(int column, const kyv_internal::StoredColumn& stored, unsigned long recordNo,
                        ConnectionErrors& errors);
  // Makes a column's text the next field; false when memory is exhausted.
  bool storeNextField(const kyv_internal::StoredColumn& stored, const kyv_internal::FormatSet& formats);
  // The integer that a column's text begins with; nothing when memory is exhausted.
  std::optional<long long> readInteger(const kyv_internal::StoredColumn& stored,
                                       const kyv_internal::FormatSet& formats);

  // In the order of the class's fields; additions follow.
  int textBytes_ = 0;
  std::unique_ptr<kyv_internal::FieldList> fields_;
  int fieldCount_ = 0;
  char op_ = 'p';
  char* flags_ = nullptr;  // from malloc
  int failedColumn_ = -1;
};
