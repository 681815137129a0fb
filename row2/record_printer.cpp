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

using kyv_internal::FormatSet;
using kyv_internal::Kind;
using kyv_internal::RowReader;
using kyv_internal::StoredColumn;

struct PrintedColumn {
  kyv_internal::ColumnType type;
  std::string jsonKey;  // the name as a JSON string with a colon behind
};

std::string jsonKey(const char* name) {
  ByteBuffer key;
  kyv_internal::appendJsonString(name, key);
  key.append(":");
  return std::string(key.view());
}

std::vector<PrintedColumn> columnsOf(const ConnectionRowType& schema) {
  const int count = schema.getColumnCount();
  std::vector<PrintedColumn> columns;
  columns.reserve(static_cast<std::size_t>(std::max(count, 0)));
  for (int i = 0; i < count; ++i) {
    columns.push_back({kyv_internal::columnTypeOf(schema.getColumnType(i)), jsonKey(schema.getColumnName(i))});
  }
  return columns;
}

// Appends a value that is neither a string nor binary and returns its text, which lies in `out`.
std::string_view appendValue(const StoredColumn& column, const FormatSet& formats, ByteBuffer& out) {
  char* const text = out.prepare(kyv_internal::kMaxValueText);
  const std::size_t length =
      kyv_internal::printValue(column.column, column.value.data(), formats, kyv_internal::TextStyle::Exact, text);
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

// Puts the text that `out` ends with, from `begin` on, between quotes.
void quoteEnd(std::size_t begin, const kyv_internal::DelimitedText& delimited, ByteBuffer& out) {
  const std::string text(out.view().substr(begin));
  out.truncate(begin);
  delimited.append(text, out);
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

  bool needsQuotes(Kind kind, std::string_view value) const {
    const bool isTime =
        kind == Kind::Date || kind == Kind::Time || kind == Kind::Timestamp || kind == Kind::BigDateTime;
    return (isTime ? checkTimes : checkNumbers) && text.needsQuotes(value);
  }
};

// Appends a value other than a string; where its text would not stand as one field, because of a format or an unusual
// separator, it is quoted.
void appendDelimitedValue(const StoredColumn& column, const FormatSet& formats, const DelimitedForm& form,
                          ByteBuffer& out) {
  const std::size_t begin = out.size();
  const Kind kind = column.kind();
  const std::string_view text = kind == Kind::Binary ? appendHex(column, out) : appendValue(column, formats, out);
  // No bytes are not the same as NULL.
  const bool quoted = text.empty() ? kind == Kind::Binary : form.needsQuotes(kind, text);
  if (quoted) quoteEnd(begin, form.text, out);
}

void appendDelimitedColumn(const StoredColumn& column, const FormatSet& formats, const DelimitedForm& form,
                           ByteBuffer& out) {
  if (!column.present()) return;
  if (column.kind() == Kind::String) {
    form.text.append(kyv_internal::packedString(column.value), out);
  } else {
    appendDelimitedValue(column, formats, form, out);
  }
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
  explicit Parts(const ConnectionRowType& schema) : streamName(schema.getStreamName()), columns(columnsOf(schema)) {}

  // Changes a format or the separator.
  template <class Setting, class Value>
  void set(Setting& setting, const Value& value) {
    setting = Setting(value);
    delimited = DelimitedForm(separator, formats);
  }

  void appendDelimitedColumns(const RowReader& reader, ByteBuffer& out) const {
    const FormatSet set = formats.set();
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (i != 0) out.append(separator);
      appendDelimitedColumn({columns[i].type, reader.column(i)}, set, delimited, out);
    }
  }

  void appendJsonColumns(const RowReader& reader, ByteBuffer& out) const {
    const FormatSet set = formats.set();
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (i != 0) out.append(",");
      out.append(columns[i].jsonKey);
      appendJsonColumn({columns[i].type, reader.column(i)}, set, out);
    }
  }

  std::string streamName;
  std::vector<PrintedColumn> columns;
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
void RecordPrinter::setSeparator(char separator) { parts_->set(parts_->separator, separator); }
void RecordPrinter::setWithService(bool withService) { parts_->withService = withService; }

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
