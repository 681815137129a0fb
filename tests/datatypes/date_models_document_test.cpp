// The examples of docs/date_models.md: tables whose last three cells are a model, a zone and the text that it prints,
// or, from the heading on that says so, a model, a text and the value that it reads.

#include <gtest/gtest.h>
#include <unicode/uloc.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "datatypes/format_tokens.h"
#include "documents.h"
#include "kyv/time_from_string.h"
#include "kyv/time_to_string.h"

namespace {

constexpr long kTimestamp = 1709622489120;

// What stands between backquotes, in order.
std::vector<std::string> quotedIn(const std::string& line) {
  std::vector<std::string> pieces;
  for (std::size_t open = line.find('`'); open != std::string::npos;) {
    const std::size_t close = line.find('`', open + 1);
    if (close == std::string::npos) break;
    pieces.push_back(line.substr(open + 1, close - open - 1));
    open = line.find('`', close + 1);
  }
  return pieces;
}

struct Example {
  std::vector<std::string> tokens;
  std::string model, given, result;
};

struct Examples {
  std::vector<Example> printing, reading;
};

// Every row of five cells that ends in three quoted ones.
Examples examples() {
  std::ifstream document(kyv_test::kDateModelsDocument);
  Examples found;
  bool reading = false;
  for (std::string line; std::getline(document, line);) {
    if (line == "## Reading") reading = true;
    if (!line.starts_with("| ") || !line.ends_with("` |") || std::count(line.begin(), line.end(), '|') != 6) continue;
    const std::size_t second = line.find('|', 1);
    const std::vector<std::string> cells = quotedIn(line.substr(line.find('|', second + 1)));
    if (cells.size() != 3) continue;
    (reading ? found.reading : found.printing)
        .push_back({quotedIn(line.substr(0, second)), cells[0], cells[1], cells[2]});
  }
  return found;
}

TEST(DateModelsDocument, HasExamplesThatPrintWhatItSays) {
  UErrorCode error = U_ZERO_ERROR;
  const std::string before = uloc_getDefault();
  uloc_setDefault("en_US", &error);
  for (const Example& example : examples().printing) {
    std::string text;
    DataTypes::TimestampToString(kTimestamp, example.model.c_str(), example.given.c_str(), text);
    EXPECT_EQ(text, example.result) << example.model;
  }
  uloc_setDefault(before.c_str(), &error);
}

TEST(DateModelsDocument, HasExamplesThatReadWhatItSays) {
  for (const Example& example : examples().reading) {
    long micros = 0;
    std::string value;
    if (DataTypes::BigDateTimeFromString(example.given.c_str(), example.model.c_str(), micros)) {
      DataTypes::BigDateTimeToString(micros, "YYYY-MM-DD HH24:MI:SS.FF", "UTC", value);
      if (!example.result.empty()) value.resize(example.result.size());
    }
    EXPECT_EQ(value, example.result) << example.model << " of " << example.given;
  }
}

TEST(DateModelsDocument, ListsEveryTokenInBothDirections) {
  const Examples both = examples();
  for (const auto& table : {both.printing, both.reading}) {
    std::set<std::string> listed;
    for (const Example& example : table) listed.insert(example.tokens.begin(), example.tokens.end());
    for (const kyv_internal::TokenRow& row : kyv_internal::tokenRows()) {
      if (row.token == kyv_internal::ModelToken::kLiteral) continue;
      std::string spelling(row.spelling);
      if (spelling.back() == kyv_internal::TokenRow::kAnyDigit) spelling.back() = '1';
      EXPECT_TRUE(listed.contains(spelling)) << spelling << " among those of " << table.front().model;
    }
  }
}

}  // namespace
