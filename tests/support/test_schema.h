#pragma once

// A schema that counts its copies and its ends, and lets a test act while a conversion runs.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kyv/connection_row.h"
#include "kyv/data_types.h"
#include "tests/support/words.h"

namespace kyv_test {

struct SchemaCounts {
  int clones = 0;
  int deletions = 0;
};

class TestSchema : public ConnectionRowType {
 public:
  struct Column {
    std::string name;
    unsigned int type;
  };

  explicit TestSchema(std::vector<Column> columnList, SchemaCounts* counts = nullptr)
      : columns(std::move(columnList)), counts_(counts) {}
  ~TestSchema() override {
    if (counts_ != nullptr) ++counts_->deletions;
  }

  int getColumnCount() const override {
    if (onColumnCount) onColumnCount();
    return static_cast<int>(columns.size());
  }
  const char* getColumnName(int index) const override {
    return columns.at(static_cast<std::size_t>(index)).name.c_str();
  }
  unsigned int getColumnType(int index) const override { return columns.at(static_cast<std::size_t>(index)).type; }
  ConnectionRowType* clone() const override {
    if (counts_ != nullptr) ++counts_->clones;
    return new TestSchema(columns, counts_);
  }
  const char* getStreamName() const override { return "Trades"; }
  int getStreamId() const override { return 5; }

  std::vector<Column> columns;
  std::function<void()> onColumnCount;

 private:
  SchemaCounts* counts_;
};

// Columns named A, B, C and so on, of types whose names are parted by blanks.
inline std::vector<TestSchema::Column> columnsOf(const std::string& typeNames) {
  std::vector<TestSchema::Column> columns;
  for (const std::string& name : words(typeNames)) {
    columns.push_back({std::string(1, static_cast<char>('A' + columns.size())), DataTypes::stringToType(name)});
  }
  return columns;
}

}  // namespace kyv_test
