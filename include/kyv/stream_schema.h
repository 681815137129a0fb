#pragma once

// A ready schema of a stream: its name, its number, and its columns by name and type.

#include <string>
#include <vector>

#include "kyv/connection_row.h"
#include "kyv/export.h"

namespace kyv {

struct StreamColumn {
  std::string name;
  unsigned int type;  // a type code of data_types.h
};

// Threads: any number may read it at once. An index outside the columns gives "" and the undefined type.
class KYV_EXPORT StreamSchema final : public ConnectionRowType {
 public:
  StreamSchema(std::string name, int id, const std::vector<StreamColumn>& columns);

  int getColumnCount() const override;
  const char* getColumnName(int index) const override;
  unsigned int getColumnType(int index) const override;
  ConnectionRowType* clone() const override;
  const char* getStreamName() const override;
  int getStreamId() const override;

 private:
  std::string name_;
  int id_;
  std::vector<std::string> columnNames_;
  std::vector<unsigned int> columnTypes_;
};

}  // namespace kyv
