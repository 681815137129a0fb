#include "kyv/record_printer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <vector>

#include "connection/operation_code.h"
#include "datatypes/hex_text.h"
#include "datatypes/row_formats.h"
#include "datatypes/value_codec.h"
#include "row2/delimited_text.h"
#include "row2/json_text.h"
#include "row2/row_reader.h"

namespace kyv {

namespace {

using kyv_internal::ColumnType;
using kyv_internal::FormatSet;
using kyv_internal::Kind;
using kyv_internal::RowReader;
using kyv_internal::StoredColumn;
using kyv_internal::storedSize;

std::string jsonKey(const char* name) {
  ByteBuffer key;
  kyv_internal::appendJsonString(name, key);
  key.append(":");
  return std::string(key.view());
}

std::vector<ColumnType> typesOf(const ConnectionRowType& schema) {
  std::vector<ColumnType> types;
  types.reserve(static_cast<std::size_t>(schema.getColumnCount()));
  for (int i = 0; i < schema.getColumnCount(); ++i) {
    types.push_back(kyv_internal::columnTypeOf(schema.getColumnType(i)));
  }
  return types;
}

// Appends a value that is neither a string nor binary and returns its text, which lies in `out`.
std::string_view appendValue(const StoredColumn& column, const FormatSet& formats, ByteBuffer& out) {
  char* const text = out.prepare(kyv_internal::kMaxValueText);
  const char* const end =
      kyv_internal::printValue(column.column, column.value.data(), formats, kyv_internal::TextStyle::Exact, text);
  const auto length = static_cast<std::size_t>(end - text);
  out.commit(length);
  return {text, length};
}

std::string_view appendHex(const StoredColumn& column, ByteBuffer& out) {
  const auto bytes = kyv_internal::packedBytes(column.value);
  char* const text = out.prepare(2 * bytes.size());
  kyv_internal::printHex(bytes, text);
  out.commit(2 * bytes.size());
  return {text, 2 * bytes.size()};
}

// Whether a text of the format may need quotes: told from one of them where all are alike.
bool mayNeedQuotes(const kyv_internal::PercentFormat& format, const kyv_internal::DelimitedText& delimited) {
  char text[kyv_internal::kMaxFormattedText];
  return delimited.numbersMayNeedQuotes() || !format.isFixedLayout() ||
         delimited.needsQuotes({text, format.print(0, text)});
}

// How a printer's values stand in a line.
struct DelimitedForm {
  kyv_internal::DelimitedText text;
  bool checkNumbers;
  bool checkTimes;

  DelimitedForm(char separator, const kyv_internal::RowFormats& formats)
      : text(separator),
        checkNumbers(text.numbersMayNeedQuotes()),
        checkTimes(mayNeedQuotes(formats.date, text) || mayNeedQuotes(formats.timestamp, text) ||
                   mayNeedQuotes(formats.time, text)) {}

  // Where a text would not stand as one field, because of a format or an unusual separator, it is quoted.
  bool checks(Kind kind) const {
    const bool isTime =
        kind == Kind::Date || kind == Kind::Time || kind == Kind::Timestamp || kind == Kind::BigDateTime;
    return isTime ? checkTimes : checkNumbers;
  }
};

// Room that a column may need in a line, besides twice the bytes that it has in the record: quotes may double a text.
constexpr std::size_t kColumnRoom = 2 * kyv_internal::kMaxValueText + 3;

// These print at `out`, which has room, and return the end.

// Puts the text from `begin` to `end` between quotes if it needs them.
char* quoteIfNeeded(char* begin, char* end, const DelimitedForm& form) {
  const std::string text(begin, end);
  return form.text.needsQuotes(text) ? form.text.print(text, begin) : end;
}

// No bytes are not the same as NULL: they are quoted.
char* printBinary(std::span<const unsigned char> value, const DelimitedForm& form, char* out) {
  const auto bytes = kyv_internal::packedBytes(value);
  kyv_internal::printHex(bytes, out);
  char* const end = out + 2 * bytes.size();
  return end == out || form.checkNumbers ? quoteIfNeeded(out, end, form) : end;
}

char* printFixedSize(ColumnType type, std::span<const unsigned char> value, const FormatSet& formats,
                     const DelimitedForm& form, char* out) {
  if (value.size() < storedSize(type)) return out;
  char* const end = kyv_internal::printValue(type, value.data(), formats, kyv_internal::TextStyle::Exact, out);
  return form.checks(type.kind) && end != out ? quoteIfNeeded(out, end, form) : end;
}

char* printDelimitedColumn(ColumnType type, std::span<const unsigned char> value, const FormatSet& formats,
                           const DelimitedForm& form, char* out) {
  if (value.empty()) return out;
  if (type.kind == Kind::String) return form.text.print(value, out);
  if (type.kind == Kind::Binary) return printBinary(value, form, out);
  return printFixedSize(type, value, formats, form, out);
}

// How a kind's values are written in JSON.
enum class JsonForm { Bare, Number, Text };

JsonForm jsonFormOf(Kind kind) {
  switch (kind) {
    case Kind::Int16:
    case Kind::Integer:
    case Kind::Long:
    case Kind::Interval:
    case Kind::Money:
    case Kind::FixedDecimal:
    case Kind::Boolean:
      return JsonForm::Bare;
    case Kind::Float:
      return JsonForm::Number;
    default:
      return JsonForm::Text;
  }
}

void appendJsonText(const StoredColumn& column, const FormatSet& formats, ByteBuffer& out) {
  ByteBuffer text;
  if (column.kind() == Kind::String) {
    return kyv_internal::appendJsonString(kyv_internal::packedString(column.value), out);
  }
  if (column.kind() == Kind::Binary) {
    appendHex(column, text);
  } else {
    appendValue(column, formats, text);
  }
  kyv_internal::appendJsonString(text.view(), out);
}

// JSON has no number that is infinite or none.
bool isJsonNumber(const StoredColumn& column) { return std::isfinite(kyv_internal::load<double>(column.value.data())); }

void appendJsonColumn(const StoredColumn& column, const FormatSet& formats, ByteBuffer& out) {
  const JsonForm form = jsonFormOf(column.kind());
  if (!column.present() || (form == JsonForm::Number && !isJsonNumber(column))) {
    out.append("null");
  } else if (form == JsonForm::Text) {
    appendJsonText(column, formats, out);
  } else {
    appendValue(column, formats, out);
  }
}

}  // namespace

struct RecordPrinter::Parts {
  struct Printed {
    std::size_t index;  // outside the record for a column that is always NULL
    ColumnType type;
    std::string jsonKey;
  };

  explicit Parts(const ConnectionRowType& schema) : streamName(schema.getStreamName()), schemaTypes(typesOf(schema)) {
    for (int i = 0; i < schema.getColumnCount(); ++i) addColumn(i, schema.getColumnName(i));
  }

  void addColumn(int column, const char* name) {
    constexpr auto kNowhere = static_cast<std::size_t>(-1);
    const auto index = static_cast<std::size_t>(column);
    const bool isThere = index < schemaTypes.size();
    columns.push_back({isThere ? index : kNowhere, isThere ? schemaTypes[index] : ColumnType(), jsonKey(name)});
  }

  // Changes a format or the separator.
  template <class Setting, class Value>
  void set(Setting& setting, const Value& value) {
    setting = Setting(value);
    delimited = DelimitedForm(separator, formats);
  }

  void appendDelimitedColumns(const RowReader& reader, ByteBuffer& out) const {
    const FormatSet set = formats.set();
    for (const Printed& column : columns) {
      const std::span<const unsigned char> value = reader.column(column.index);
      char* const begin = out.prepare(kColumnRoom + 2 * value.size());
      char* end = begin;
      if (&column != columns.data()) *end++ = separator;
      end = printDelimitedColumn(column.type, value, set, delimited, end);
      out.commit(static_cast<std::size_t>(end - begin));
    }
  }

  void appendJsonColumns(const RowReader& reader, ByteBuffer& out) const {
    const FormatSet set = formats.set();
    for (const Printed& column : columns) {
      if (&column != columns.data()) out.append(",");
      out.append(column.jsonKey);
      appendJsonColumn({column.type, reader.column(column.index)}, set, out);
    }
  }

  std::string streamName;
  std::vector<ColumnType> schemaTypes;
  std::vector<Printed> columns;
  kyv_internal::RowFormats formats;
  char separator = ',';
  DelimitedForm delimited{separator, formats};
  bool withService = false;
};

RecordPrinter::RecordPrinter(const ConnectionRowType& schema) : parts_(std::make_unique<Parts>(schema)) {}
RecordPrinter::~RecordPrinter() = default;

void RecordPrinter::setDateFormat(const char* format) { parts_->set(parts_->formats.date, format); }
void RecordPrinter::setTimestampFormat(const char* format) { parts_->set(parts_->formats.timestamp, format); }
void RecordPrinter::setTimeFormat(const char* format) { parts_->set(parts_->formats.time, format); }
void RecordPrinter::setDateModel(const TimeModel& model) { parts_->set(parts_->formats.date, model); }
void RecordPrinter::setTimestampModel(const TimeModel& model) { parts_->set(parts_->formats.timestamp, model); }
void RecordPrinter::setTimeModel(const TimeModel& model) { parts_->set(parts_->formats.time, model); }
void RecordPrinter::setSeparator(char separator) { parts_->set(parts_->separator, separator); }
void RecordPrinter::setWithService(bool withService) { parts_->withService = withService; }

void RecordPrinter::setColumns(const std::vector<Column>& columns) {
  parts_->columns.clear();
  for (const Column& column : columns) parts_->addColumn(column.index, column.name.c_str());
}

bool RecordPrinter::appendDelimited(const void* record, unsigned long recordNo, ConnectionErrors& errors,
                                    ByteBuffer& out) {
  const RowReader reader(record);
  char letter;
  if (!kyv_internal::printOperation(letter, reader.opcode(), recordNo, errors)) return false;
  if (parts_->withService) {
    parts_->delimited.text.append(parts_->streamName, out);
    out.append({&parts_->separator, 1});
    parts_->delimited.text.append({&letter, 1}, out);
    out.append({&parts_->separator, 1});
  }
  parts_->appendDelimitedColumns(reader, out);
  out.append('\n');
  return true;
}

bool RecordPrinter::appendJson(const void* record, unsigned long recordNo, ConnectionErrors& errors, ByteBuffer& out) {
  const RowReader reader(record);
  char letter;
  if (!kyv_internal::printOperation(letter, reader.opcode(), recordNo, errors)) return false;
  out.append("{");
  if (parts_->withService) {
    out.append("\"stream\":");
    kyv_internal::appendJsonString(parts_->streamName, out);
    const char operation[] = {',', '"', 'o', 'p', '"', ':', '"', letter, '"'};
    out.append({operation, sizeof operation});
    if (reader.shinesThrough()) out.append(",\"flags\":\"s\"");
    if (!parts_->columns.empty()) out.append(",");
  }
  parts_->appendJsonColumns(reader, out);
  out.append("}\n");
  return true;
}

}  // namespace kyv
