#pragma once

// A ready schema of a stream: its name, its number, and its columns by name and type.

#include <span>
#include <string>
#include <vector>

#include "kyv/connection_row.h"
#include "kyv/export.h"

namespace kyv_internal {
struct ColumnType;
}

namespace kyv {

struct StreamColumn {
  std::string name;
  unsigned int type;  // a type code of data_types.h
};

// Threads: it never changes; any number may read it at once. An index outside the columns gives "" and the undefined
// type.
class KYV_EXPORT StreamSchema final : public ConnectionRowType {
 public:
  StreamSchema(std::string name, int id, const std::vector<StreamColumn>& columns);
  StreamSchema(const StreamSchema& other);
  StreamSchema& operator=(const StreamSchema&) = delete;
  ~StreamSchema() override;

  int getColumnCount() const override;
  const char* getColumnName(int index) const override;
  unsigned int getColumnType(int index) const override;
  ConnectionRowType* clone() const override;
  const char* getStreamName() const override;
  int getStreamId() const override;

  // The columns' types as the library's conversions use them.
  std::span<const kyv_internal::ColumnType> columnTypes() const;

 private:
  std::string name_;
  int id_;
  std::vector<std::string> columnNames_;
  std::vector<kyv_internal::ColumnType> columnTypes_;
};

}  // namespace kyv
