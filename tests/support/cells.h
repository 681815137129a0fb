#pragma once

// A row that has a column of every type.

#include <string>
#include <vector>

#include "kyv/data_types.h"
#include "kyv/stream_schema.h"

namespace kyv_test {

// One column of every type, and what each holds.
struct Cell {
  kyv::StreamColumn column;
  const char* text;
};

inline const std::vector<Cell> kCells = {
    {{"Small", DataTypes::kInt16}, "-12"},
    {{"Count", DataTypes::kInteger}, "100000"},
    {{"Id", DataTypes::kLong}, "1000000007"},
    {{"Price", DataTypes::kFloat}, "101.123456"},
    {{"Day", DataTypes::kDate}, "2024-01-02 00:00:00"},
    {{"Name", DataTypes::kString}, "a name that is longer than a short string"},
    {{"Amount", DataTypes::kMoney2}, "1234567.89"},
    {{"At", DataTypes::kTimestamp}, "2024-01-02 09:30:00.125"},
    {{"Flag", DataTypes::kBoolean}, "true"},
    {{"Gap", DataTypes::kInterval}, "250"},
    {{"Moment", DataTypes::kBigDateTime}, "2024-01-02 09:30:00.123456"},
    {{"Blob", DataTypes::kBinary}, "00FF10AB"},
    {{"Hour", DataTypes::kTime}, "09:30:00"},
    {{"Exact", DataTypes::createFixedDecimal(20, 4)}, "1234567890.1234"},
    {{"Nothing", DataTypes::kLong}, nullptr},
};

inline kyv::StreamSchema schemaOfCells() {
  std::vector<kyv::StreamColumn> columns;
  for (const Cell& cell : kCells) columns.push_back(cell.column);
  return {"Cells", 1, columns};
}

// The texts, each between two of `quote`.
inline std::string lineOfCells(const std::string& quote = "") {
  std::string line;
  for (const Cell& cell : kCells) {
    if (&cell != &kCells.front()) line += ',';
    if (cell.text != nullptr) line += quote + cell.text + quote;
  }
  return line;
}

}  // namespace kyv_test
