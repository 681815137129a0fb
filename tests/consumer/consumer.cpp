#include <kyv/adapter_util.h>

#include <cstdlib>
#include <iostream>

int main() {
  kyv::StreamSchema trades("Trades", 1,
                           {{"Id", DataTypes::kLong}, {"Name", DataTypes::kString}, {"Price", DataTypes::kMoney2}});
  ConnectionErrors errors;
  ConnectionRowByOrder row;
  row.setStreamType(&trades, false);  // the schema stays ours
  for (const char* field : {"7", "Ada", "2.5"}) row.appendFieldAsString(field);

  void* record = row.toRow(1, &errors);  // ours to free; null and a message when a field does not fit its column
  if (record == nullptr || !row.fromRow(record, 1, &errors)) std::cerr << errors.report() << '\n';
  std::string price;
  row.getFieldAsString(2, price);
  std::cout << row.getOp() << ' ' << price << '\n';  // p 2.50: an upsert, the price with its two places
  std::free(record);
}
