#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace kyv_test {

// The words of a text, which blanks part.
inline std::vector<std::string> words(const std::string& text) {
  std::vector<std::string> list;
  std::istringstream all(text);
  for (std::string word; all >> word;) list.push_back(word);
  return list;
}

}  // namespace kyv_test
