#pragma once

// Tables of texts in one string, for readers whose cases are many and short.

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace kyv_test {

// The texts of "TEXT=RESULT|TEXT=RESULT" with their results, empty for a text that has none.
inline std::vector<std::pair<std::string, std::string>> readings(const std::string& table) {
  std::vector<std::pair<std::string, std::string>> found;
  std::istringstream pieces(table + '|');
  for (std::string piece; std::getline(pieces, piece, '|');) {
    const std::size_t equals = piece.find('=');
    found.emplace_back(piece.substr(0, equals), equals == std::string::npos ? "" : piece.substr(equals + 1));
  }
  return found;
}

}  // namespace kyv_test
