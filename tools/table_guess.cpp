#include "table_guess.h"

#include <algorithm>
#include <functional>
#include <set>

#include "kyv/data_types.h"

namespace kyv_internal {
namespace {

// One kind of format for the whole schema: the one that most columns fit, the earlier of the list where several do.
struct FormatChoice {
  std::size_t index = 0;
  std::size_t columns = 0;           // that fit it
  std::optional<std::size_t> rival;  // the same with day and month swapped, where every column fits that too
};

FormatChoice chooseFormat(const FormatList& list, const std::vector<FormatSet>& candidates) {
  const auto votes = [&](std::size_t format) {
    return static_cast<std::size_t>(
        std::count_if(candidates.begin(), candidates.end(), [&](const FormatSet& formats) { return formats[format]; }));
  };
  FormatChoice choice;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (votes(i) > choice.columns) choice = {i, votes(i), std::nullopt};
  }
  const std::optional<std::size_t> twin = list.twinOf(choice.index);
  if (twin && votes(*twin) == choice.columns) choice.rival = twin;
  return choice;
}

std::string inQuotes(const std::string& text) { return "\"" + text + "\""; }

// A column of dates, or of timestamps, in a schema that takes one format of the kind.
struct FormattedKind {
  const FormatList& list;
  const char* what;
  const char* option;
  std::function<FormatSet(const ColumnGuess&)> candidates;
  std::function<unsigned int(const ColumnGuess&)> type;
};

// Types the columns of one kind; those that fit only other formats than the chosen one stay as they are.
void typeFormatted(const FormattedKind& kind, const std::vector<ColumnGuess>& columns, SchemaFile& schema,
                   std::optional<std::string>& format, std::vector<std::string>& notes) {
  std::vector<FormatSet> candidates;
  candidates.reserve(columns.size());
  for (const ColumnGuess& column : columns) candidates.push_back(kind.candidates(column));
  const FormatChoice choice = chooseFormat(kind.list, candidates);
  if (choice.columns == 0) return;
  const std::string& chosen = kind.list[choice.index];
  format = chosen;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (candidates[i].none()) continue;
    const std::string name = inQuotes(schema.columns[i].name);
    if (!candidates[i][choice.index]) {
      notes.push_back("column " + name + " stays text: its " + kind.what + "s are not written as " + inQuotes(chosen) +
                      ", and a schema has one " + kind.what + " format");
      continue;
    }
    schema.columns[i].type = kind.type(columns[i]);
    if (choice.rival) {
      notes.push_back("column " + name + ": day and month cannot be told apart; taken as " + inQuotes(chosen) +
                      ", could be " + inQuotes(kind.list[*choice.rival]) + " (" + kind.option + " says which)");
    }
  }
}

// The name, or the name with the first number behind it that makes it new.
std::string uniqueName(const std::string& name, std::set<std::string>& taken) {
  std::string unique = name;
  for (int i = 2; !taken.insert(unique).second; ++i) unique = name + "_" + std::to_string(i);
  return unique;
}

}  // namespace

void TableGuess::add(std::span<const FieldText> fields, std::uint64_t line) {
  if (!hasFirst_) {
    hasFirst_ = true;
    for (const FieldText& field : fields) first_.push_back({std::string(field.text), field.quoted});
    columns_.assign(fields.size(), ColumnGuess(*formats_));
    return;
  }
  if (fields.size() != columns_.size()) return addBad(line);
  addToColumns(fields);
  ++rows_;
}

void TableGuess::addBad(std::uint64_t line) {
  if (badRows_++ == 0) firstBadLine_ = line;
  if (!hasFirst_) beginsBadly_ = true;
}

void TableGuess::addToColumns(std::span<const FieldText> fields) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (!fields[i].text.empty()) {
      columns_[i].add(fields[i].text);
    } else {
      columns_[i].addEmpty(fields[i].quoted ? ColumnGuess::Empty::kText : ColumnGuess::Empty::kNull);
    }
  }
}

bool TableGuess::allColumnsAreText() const {
  return std::all_of(columns_.begin(), columns_.end(), [](const ColumnGuess& column) {
    return column.plainType() == DataTypes::kString && column.dateFormats().none() && column.timestampFormats().none();
  });
}

// Of the boolean words, "no", "on" or a single letter may well be a column's name.
bool TableGuess::looksLikeValue(const std::string& text) const {
  ColumnGuess alone(*formats_);
  if (!text.empty()) alone.add(text);
  const unsigned int type = alone.plainType();
  const bool mayBeName =
      type == DataTypes::kString || (type == DataTypes::kBoolean && text != "true" && text != "false");
  return !mayBeName || alone.dateFormats().any() || alone.timestampFormats().any();
}

// Names look like no value. Where the columns hold nothing but text, they are also distinct and all there, and it is
// worth a note.
bool TableGuess::firstLooksLikeHeader(std::vector<std::string>& notes) const {
  if (beginsBadly_) return false;
  std::set<std::string> names;
  for (const FirstField& field : first_) {
    if (looksLikeValue(field.text)) return false;
    if (!field.text.empty()) names.insert(field.text);
  }
  if (!allColumnsAreText()) return !names.empty();
  const bool header = names.size() == first_.size();
  notes.emplace_back(header ? "the first line is taken for column names (--no-header if it is a row)"
                            : "the first line is taken for a row (--header if it holds column names)");
  return header;
}

void TableGuess::nameColumns(bool header, SchemaFile& schema, std::vector<std::string>& notes) const {
  std::set<std::string> taken;
  for (std::size_t i = 0; i < first_.size(); ++i) {
    const bool named = header && !first_[i].text.empty();
    const std::string wanted = named ? nameInSchema(first_[i].text) : "column_" + std::to_string(i + 1);
    const std::string name = uniqueName(wanted, taken);
    if (name != wanted) {
      notes.push_back("column " + std::to_string(i + 1) + " is called " + inQuotes(name) +
                      ": its name is that of an earlier one");
    }
    schema.columns.push_back({name, DataTypes::kString});
  }
}

void TableGuess::typeColumns(SchemaFile& schema, std::vector<std::string>& notes) const {
  const FormattedKind dates = {formats_->dates, "date", "--date-format",
                               [](const ColumnGuess& column) { return column.dateFormats(); },
                               [](const ColumnGuess&) { return DataTypes::kDate; }};
  const FormattedKind timestamps = {formats_->timestamps, "timestamp", "--timestamp-format",
                                    [](const ColumnGuess& column) { return column.timestampFormats(); },
                                    [](const ColumnGuess& column) { return column.timestampType(); }};
  typeFormatted(dates, columns_, schema, schema.text.dateFormat, notes);
  typeFormatted(timestamps, columns_, schema, schema.text.timestampFormat, notes);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    unsigned int& type = schema.columns[i].type;
    if (type == DataTypes::kString) type = columns_[i].plainType();
    schema.nulls.emplace_back(columns_[i].nulls(type));
  }
}

SchemaFile TableGuess::finish(std::optional<bool> header, std::vector<std::string>& notes) {
  SchemaFile schema;
  const bool hasHeader = header ? *header : firstLooksLikeHeader(notes);
  if (!hasHeader) {
    std::vector<FieldText> fields;
    for (const FirstField& field : first_) fields.push_back({field.text, field.quoted});
    addToColumns(fields);
  }
  nameColumns(hasHeader, schema, notes);
  typeColumns(schema, notes);
  schema.text.header = hasHeader;
  schema.rows = rows_ + (hasHeader ? 0 : 1);
  return schema;
}

}  // namespace kyv_internal
