// Turns delimited lines from standard input into records on standard output, the way an inbound adapter does: one row
// for the stream, one collector for what goes wrong.
//
//   printf '1,EUR,2.5\n2,USD,x\n' | csv_to_record > trades.rows

#include <kyv/adapter_util.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

int main() {
  kyv::StreamSchema schema("Rates", 1,
                           {{"Id", DataTypes::kLong}, {"Currency", DataTypes::kString}, {"Rate", DataTypes::kFloat}});
  ConnectionRowCsv row;
  row.setStreamType(&schema, false);  // the row borrows the schema

  ConnectionErrors errors;
  std::string line;
  for (unsigned long recordNo = 1; std::getline(std::cin, line); ++recordNo) {
    row.setBuffer(line.data());
    void* const record = row.toRow(recordNo, &errors);
    if (record == nullptr) continue;  // the collector says why

    int bytes = 0;  // the first word of a record is its length
    std::memcpy(&bytes, record, sizeof bytes);
    std::fwrite(record, 1, static_cast<std::size_t>(bytes), stdout);
    std::free(record);  // records come from malloc
  }
  std::cerr << errors.report() << '\n';
  return errors.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}
