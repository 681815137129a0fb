// Reads a file whose columns stand in another order than the stream's and have other names: the header says where they
// are, a permutation text which is which. Columns of the file that the text does not name are left out.
//
//   permuted_columns < examples/data/seattle-weather-hourly-normals.csv > weather.rows

#include <kyv/adapter_util.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr char kPairs[] = "Wind=wind:At=date:Temperature=temperature";  // stream column = column of the file

// Finds the stream's columns in the header of the file.
bool prepare(ConnectionPermutation& permutation, kyv::StreamSchema& schema, std::string header) {
  std::vector<std::string> names;
  DALVON::Kyv::splitString(header, ',', names);
  std::string error;
  bool good = permutation.setPermutation(true, kPairs, error);
  permutation.setPlatOrder(&schema);
  permutation.setExternalOrder(names);
  good = good && permutation.prepareOrder(false, error);
  if (!good) std::cerr << error << '\n';
  return good;
}

void writeRecord(void* record) {
  int bytes = 0;  // the first word of a record is its length
  std::memcpy(&bytes, record, sizeof bytes);
  std::fwrite(record, 1, static_cast<std::size_t>(bytes), stdout);
  std::free(record);  // records come from malloc
}

}  // namespace

int main() {
  kyv::StreamSchema schema(
      "Weather", 1, {{"Temperature", DataTypes::kFloat}, {"Wind", DataTypes::kFloat}, {"At", DataTypes::kTimestamp}});
  ConnectionRowCsv row;
  row.setStreamType(&schema, false);
  row.setTimestampFormat("%Y-%m-%dT%H:%M:%S");

  std::string line;
  ConnectionPermutation permutation;
  if (!std::getline(std::cin, line) || !prepare(permutation, schema, line)) return EXIT_FAILURE;

  ConnectionErrors errors;
  for (unsigned long recordNo = 1; std::getline(std::cin, line); ++recordNo) {
    std::string ordered(line.size() + static_cast<std::size_t>(schema.getColumnCount()) + 1, '\0');
    if (!permutation.permuteCsvIn(line.c_str(), ',', false, ordered.data())) {
      errors.addGeneral("record " + std::to_string(recordNo) + ": has too few fields");
      continue;
    }
    row.setBuffer(ordered.data());
    if (void* const record = row.toRow(recordNo, &errors); record != nullptr) writeRecord(record);
  }
  std::cerr << errors.report();
  return errors.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}
