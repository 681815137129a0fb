// getline_convert TRADES.csv TRADES.rows: what "kyv convert" does, for trades, with getline and the C library.

#include <cstdio>
#include <cstdlib>

#include "benchmarks/hand_written_adapter.h"

namespace {

void cutLineEnd(char* line, ssize_t length) {
  while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r')) line[--length] = '\0';
}

bool convertLine(char* line, std::FILE* out) {
  char* record = kyv_internal::tradeLineToRecord(line);
  if (record == nullptr) return false;
  const std::size_t bytes = kyv_internal::tradeRecordBytes(record);
  const bool written = std::fwrite(record, 1, bytes, out) == bytes;
  std::free(record);
  return written;
}

bool convertAll(std::FILE* in, std::FILE* out) {
  char* line = nullptr;
  std::size_t capacity = 0;
  ssize_t length;
  bool good = true;
  while ((length = getline(&line, &capacity, in)) > 0) {
    cutLineEnd(line, length);
    if (!convertLine(line, out)) good = false;
  }
  std::free(line);
  return good && std::fflush(out) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::FILE* in = argc == 3 ? std::fopen(argv[1], "r") : nullptr;
  std::FILE* out = in != nullptr ? std::fopen(argv[2], "w") : nullptr;
  if (out == nullptr) {
    std::fprintf(stderr, "usage: getline_convert TRADES.csv TRADES.rows\n");
    return 2;
  }
  const bool good = convertAll(in, out);
  std::fclose(in);
  return std::fclose(out) == 0 && good ? 0 : 1;
}
