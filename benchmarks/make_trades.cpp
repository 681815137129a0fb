// make_trades ROWS       writes that many trades as delimited text
// make_trades --schema   writes their schema file

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "benchmarks/trades.h"

namespace {

bool writeAll(const std::string& text) { return std::fwrite(text.data(), 1, text.size(), stdout) == text.size(); }

bool writeTrades(long rows) {
  kyv_internal::TradeGenerator trades;
  std::string line;
  for (long row = 0; row < rows; ++row) {
    line.clear();
    trades.appendLine(line);
    if (!writeAll(line)) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_trades ROWS | --schema\n");
    return 2;
  }
  const bool schema = std::strcmp(argv[1], "--schema") == 0;
  const bool written = schema ? writeAll(kyv_internal::tradeSchemaJson()) : writeTrades(std::atol(argv[1]));
  if (written && std::fflush(stdout) == 0) return 0;
  std::perror("make_trades");
  return 3;
}
