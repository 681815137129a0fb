#pragma once

// Fields put in another order as plainly as can be.

#include <string>
#include <string_view>
#include <vector>

namespace kyv_test {

inline std::vector<std::string> splitAt(char separator, std::string_view line) {
  std::vector<std::string> fields(1);
  for (const char c : line) {
    if (c == separator) {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

struct PlainLine {
  bool good;
  std::string line;  // as far as it came

  bool operator==(const PlainLine&) const = default;
};

// `order` has each column's field, -1 for none; what `service` holds comes first.
inline PlainLine permutePlainly(const std::vector<int>& order, const std::vector<std::string>& fields, char separator,
                                const std::string& service = {}) {
  PlainLine result{false, service};
  for (std::size_t i = 0; i < order.size(); ++i) {
    const auto field = static_cast<std::size_t>(order[i]);
    if (order[i] >= 0 && field >= fields.size()) return result;
    if (order[i] < 0 || i > 0 || !service.empty()) result.line += separator;
    if (order[i] >= 0) result.line += fields[field];
  }
  result.good = true;
  return result;
}

}  // namespace kyv_test
