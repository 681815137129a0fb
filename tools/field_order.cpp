#include "field_order.h"

#include <algorithm>

#include "bad_row_report.h"
#include "kyv/string_utility.h"
#include "printable_text.h"
#include "quoted_reader.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr int kMostPermutedFields = 999;  // of a line that a permutation takes
constexpr std::ptrdiff_t kServiceNames = 2;
constexpr std::size_t kMostMessageBytes = 600;

std::vector<std::string> namesOf(const kyv::StreamSchema& schema) {
  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(schema.getColumnCount()));
  for (int i = 0; i < schema.getColumnCount(); ++i) names.emplace_back(schema.getColumnName(i));
  return names;
}

// A field of a plain line loses the quotes at its ends.
std::string_view withoutQuotes(std::string_view field) {
  const bool quoted =
      field.size() >= 2 && (field.front() == '"' || field.front() == '\'') && field.front() == field.back();
  return quoted ? field.substr(1, field.size() - 2) : field;
}

std::vector<std::string> plainNames(std::string_view line, char separator) {
  std::vector<std::string> names;
  for (std::size_t begin = 0; begin <= line.size();) {
    const std::size_t end = std::min(line.find(separator, begin), line.size());
    names.emplace_back(withoutQuotes(line.substr(begin, end - begin)));
    begin = end + 1;
  }
  return names;
}

std::vector<std::string> quotedNames(std::string_view text, char separator) {
  QuotedReader reader(separator);
  reader.read(text);
  std::vector<std::string> names;
  for (const QuotedField& field : reader.fields()) names.emplace_back(field.text);
  return names;
}

}  // namespace

bool FieldOrder::read(const std::string& text, const kyv::StreamSchema& schema) {
  text_ = text;
  if (!permutation_.setPermutation(true, text_.c_str(), error_)) return false;
  permutation_.setPlatOrder(namesOf(schema));
  return prepare();
}

bool FieldOrder::useHeader(const std::vector<std::string>& names) {
  headerFields_ = names.size();
  permutation_.setExternalOrder(names);
  return prepare();
}

bool FieldOrder::useNumbers() {
  permutation_.setExternalCount(kMostPermutedFields);
  numbered_ = true;
  return prepare();
}

void FieldOrder::useNumbersOrPairs() {
  FieldOrder numbered = *this;
  if (!numbered.useNumbers()) return;
  *this = std::move(numbered);
  permutation_.setExternalCount(static_cast<int>(neededFields_));
  (void)prepare();  // what was found among more names is found again
}

bool FieldOrder::prepare() {
  if (!permutation_.prepareOrder(false, error_)) return false;
  neededFields_ = 0;
  const auto fields = static_cast<int>(permutation_.externalOrder().size());
  for (int field = 0; field < fields; ++field) {
    if (columnOf(field) >= 0) neededFields_ = static_cast<std::size_t>(field) + 1;
  }
  return true;
}

std::string FieldOrder::fault() const {
  std::string text = "--permutation: " + printableClipped(error_, kMostMessageBytes);
  const auto pair = permutation_.faultyPair();
  if (!pair) return text;
  text += '\n' + markedText(text_, pair->begin, pair->end);
  return numbered_ ? text + "\nwithout --header the fields are called field_00, field_01, ... field_998" : text;
}

std::string FieldOrder::namedTwice() const {
  const std::vector<std::string>& names = permutation_.externalOrder();
  for (std::size_t field = 0; field < names.size(); ++field) {
    const auto same = [&](const std::string& name) { return name == names[field]; };
    const auto again = std::find_if(names.begin() + static_cast<std::ptrdiff_t>(field) + 1, names.end(), same);
    if (again == names.end() || columnOf(static_cast<int>(field)) < 0) continue;
    return strprintf("the header has \"%s\" as field %zu and again as field %zu; field %zu is taken",
                     printableClipped(names[field], kMostMessageBytes).c_str(), field + 1,
                     static_cast<std::size_t>(again - names.begin()) + 1, field + 1);
  }
  return "";
}

int FieldOrder::fieldOf(int column) const {
  int field = kNoField;
  return permutation_.plat2ext(column, &field) ? field : kNoField;
}

int FieldOrder::columnOf(int field) const {
  int column = -1;
  return permutation_.ext2plat(field, &column) ? column : -1;
}

std::string FieldOrder::refuse(std::size_t fields) const {
  if (headerFields_ != 0 && fields != headerFields_) {
    return "has " + counted(fields, "field") + strprintf(", the header has %zu", headerFields_);
  }
  if (fields < neededFields_) {
    return "has " + counted(fields, "field") + strprintf(", the permutation needs %zu", neededFields_);
  }
  if (fields > kMostPermutedFields) {
    return strprintf("has %zu fields, a permutation takes at most %d", fields, kMostPermutedFields);
  }
  return "";
}

std::vector<std::string> headerNames(std::string_view text, const TextLayout& layout) {
  text.remove_prefix(std::min(text.find_first_not_of("\r\n"), text.size()));
  const char separator = layout.separator.value_or(kDefaultSeparator);
  std::vector<std::string> names = layout.quoted.value_or(false)
                                       ? quotedNames(text, separator)
                                       : plainNames(text.substr(0, text.find_first_of("\r\n")), separator);
  const auto service = std::min(layout.service ? kServiceNames : 0, static_cast<std::ptrdiff_t>(names.size()));
  names.erase(names.begin(), names.begin() + service);
  return names;
}

}  // namespace kyv_internal
