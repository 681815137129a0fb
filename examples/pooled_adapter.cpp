// Turns pairs of names and values from standard input into records on standard output, in transactions of three rows:
// the rows come from a pool, their records wait in a raw transaction until all of them are there. A blank line ends a
// row. A transaction with a bad row is dropped as a whole.
//
//   printf 'Id=1\nRate=2.5\n\nId=2\nCurrency=USD\n\n' | pooled_adapter > trades.rows

#include <kyv/adapter_util.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kRowsATransaction = 3;

// The fields of the next row; false at the end of the input.
bool readRow(std::istream& in, ConnectionRow& row) {
  bool any = false;
  for (std::string line; std::getline(in, line) && !line.empty(); any = true) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    row.setFieldAsString(line.substr(0, equals).c_str(), line.substr(equals + 1));
  }
  return any;
}

void send(const ConnectionRawTrans& records) {
  for (int i = 0; i < records.size(); ++i) {
    const void* const record = records.get(i);  // stays the transaction's
    int bytes = 0;                              // the first word of a record is its length
    std::memcpy(&bytes, record, sizeof bytes);
    std::cout.write(static_cast<const char*>(record), bytes);
  }
}

// Reads one transaction and sends it unless a row is bad; false at the end of the input.
bool passOnTransaction(ConnectionRowPool& pool, ConnectionTrans& rows, unsigned long& recordNo,
                       ConnectionErrors& errors) {
  const std::size_t before = errors.size();
  bool more = pool.allocTrans(&rows, kRowsATransaction);
  ConnectionRawTrans records;
  for (ConnectionRow* const row : rows) {
    more = more && readRow(std::cin, *row);
    if (!more) break;
    void* const record = row->toRow(++recordNo, &errors);
    if (record != nullptr) records.pushBack(record);  // the transaction frees it
  }
  pool.freeTrans(&rows);  // cleared, and kept for the next transaction
  if (errors.size() == before) send(records);
  return more;
}

}  // namespace

int main() {
  auto prototype = std::make_unique<ConnectionRowByNames>();
  const std::vector<kyv::StreamColumn> columns = {
      {"Id", DataTypes::kLong}, {"Currency", DataTypes::kString}, {"Rate", DataTypes::kFloat}};
  prototype->setStreamType(new kyv::StreamSchema("Rates", 1, columns), true);  // each row owns a copy
  ConnectionRowPool pool;
  pool.setPrototype(prototype.release());  // the pool's from now on

  ConnectionErrors errors;
  ConnectionTrans rows;
  unsigned long recordNo = 0;
  while (passOnTransaction(pool, rows, recordNo, errors)) {
  }
  if (errors.empty()) return EXIT_SUCCESS;
  std::cerr << errors.report() << '\n';
  return EXIT_FAILURE;
}
