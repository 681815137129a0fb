// Reads records back, the way an outbound adapter does: a record in, its fields out as text, by position.
//
//   record_to_fields < trades.rows

#include <kyv/adapter_util.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <vector>

namespace {

// The next record of the file; empty at its end.
std::vector<char> readRecord(std::FILE* file) {
  int bytes = 0;  // the first word of a record is its length
  if (std::fread(&bytes, sizeof bytes, 1, file) != 1 || bytes < static_cast<int>(sizeof bytes)) return {};
  std::vector<char> record(static_cast<std::size_t>(bytes));
  std::memcpy(record.data(), &bytes, sizeof bytes);
  const std::size_t rest = record.size() - sizeof bytes;
  if (std::fread(record.data() + sizeof bytes, 1, rest, file) != rest) return {};
  return record;
}

}  // namespace

int main() {
  kyv::StreamSchema schema("Rates", 1,
                           {{"Id", DataTypes::kLong}, {"Currency", DataTypes::kString}, {"Rate", DataTypes::kFloat}});
  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);

  ConnectionErrors errors;
  unsigned long recordNo = 0;
  for (auto record = readRecord(stdin); !record.empty(); record = readRecord(stdin)) {
    if (!row.fromRow(record.data(), ++recordNo, &errors)) continue;
    std::cout << row.getOp();
    for (int i = 0; i < row.size(); ++i) {
      const char* text = nullptr;  // stays the row's
      const bool present = row.getFieldAsString(i, &text);
      std::cout << ' ' << schema.getColumnName(i) << '=' << (present ? text : "NULL");
    }
    std::cout << '\n';
  }
  std::cerr << errors.report();
  return errors.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}
