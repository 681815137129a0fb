// getline_print TRADES.rows TRADES.csv: what "kyv print" does, for trades, with the C library. Prices have six places.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "benchmarks/hand_written_adapter.h"

namespace {

// The next record; false at the end of the file.
bool readRecord(std::FILE* in, std::vector<char>& record) {
  std::int32_t bytes;
  if (std::fread(&bytes, sizeof bytes, 1, in) != 1 || bytes < static_cast<std::int32_t>(sizeof bytes)) return false;
  record.resize(static_cast<std::size_t>(bytes));
  std::memcpy(record.data(), &bytes, sizeof bytes);
  const std::size_t rest = record.size() - sizeof bytes;
  return std::fread(record.data() + sizeof bytes, 1, rest, in) == rest;
}

bool printAll(std::FILE* in, std::FILE* out) {
  std::vector<char> record;
  std::string line;
  while (readRecord(in, record)) {
    kyv_internal::tradeRecordToLine(record.data(), line);
    if (std::fwrite(line.data(), 1, line.size(), out) != line.size()) return false;
  }
  return std::feof(in) != 0 && std::fflush(out) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::FILE* in = argc == 3 ? std::fopen(argv[1], "r") : nullptr;
  std::FILE* out = in != nullptr ? std::fopen(argv[2], "w") : nullptr;
  if (out == nullptr) {
    std::fprintf(stderr, "usage: getline_print TRADES.rows TRADES.csv\n");
    return 2;
  }
  const bool good = printAll(in, out);
  std::fclose(in);
  return std::fclose(out) == 0 && good ? 0 : 1;
}
