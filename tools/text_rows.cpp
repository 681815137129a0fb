#include "text_rows.h"

#include <algorithm>

#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_csv.h"
#include "kyv/data_types.h"
#include "kyv/string_utility.h"
#include "quoted_reader.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr std::size_t kServiceFields = 2;  // stream name and operation
constexpr int kNoColumn = -1;
constexpr char kNulMessage[] = "the line holds a NUL byte";
constexpr unsigned int kBaseType = 0xFF;  // the base type's bits of a type code

const char* quotedFaultText(QuotedFault fault) {
  switch (fault) {
    case QuotedFault::kNone:
      return nullptr;
    case QuotedFault::kUnclosed:
      return "a quoted field is not closed before the end of the data";
    case QuotedFault::kTextAfterQuote:
      return "a quoted field goes on after its closing quote";
    case QuotedFault::kTooManyFields:
      return "more fields than a row can have";
  }
  return nullptr;
}

// With a single column an empty line is a row like any other, whose column is NULL.
bool blankIsNoRow(const kyv::StreamSchema& schema, const TextLayout& layout) {
  return schema.getColumnCount() > 1 || layout.service;
}

// A row takes its schema as one that it may change; it does not.
template <class Row>
void prepareRow(Row& row, kyv::StreamSchema& schema, const TextLayout& layout) {
  row.setStreamType(&schema, false);
  layout.applyFormats(row);
}

// A line whose fields lie between separators, without escape.
class PlainLine {
 public:
  PlainLine(kyv::StreamSchema& schema, const TextLayout& layout)
      : separator_(layout.separator.value_or(kDefaultSeparator)), serviceFields_(layout.service ? kServiceFields : 0) {
    prepareRow(row_, schema, layout);
    row_.setSeparator(separator_);
    row_.setWithService(layout.service);
  }

  bool append(std::string_view line, bool holdsNul, unsigned long recordNo, ConnectionErrors& errors,
              kyv::ByteBuffer& out) {
    failedColumn_ = kNoColumn;
    if (holdsNul) {
      errors.addGeneral(strprintf("record %lu: %s", recordNo, kNulMessage));
      return false;
    }
    const bool good = row_.appendRow(line, recordNo, errors, out);
    failedColumn_ = row_.failedColumn();
    return good;
  }

  // Of the line that was appended last.
  int failedColumn() const { return failedColumn_; }

  void findField(std::string_view line, RowFault& fault) const {
    const std::size_t before = serviceFields_ + static_cast<std::size_t>(fault.column);
    for (std::size_t i = 0; i < before; ++i) fault.fieldBegin = line.find(separator_, fault.fieldBegin) + 1;
    const char ends[] = {separator_, '\r', '\n'};
    fault.fieldEnd = std::min(line.find_first_of({ends, sizeof ends}, fault.fieldBegin), line.size());
  }

 private:
  char separator_;
  std::size_t serviceFields_;
  int failedColumn_ = kNoColumn;
  ConnectionRowCsv row_;
};

std::string_view firstLine(std::string_view text) {
  const std::size_t lineFeed = text.find('\n');
  return lineFeed == std::string_view::npos ? text : text.substr(0, lineFeed + 1);
}

class PlainRows final : public RowConverter {
 public:
  PlainRows(const kyv::StreamSchema& schema, const TextLayout& layout)
      : schema_(schema), skipsBlankLines_(blankIsNoRow(schema, layout)), line_(schema_, layout) {}

  RowFault explain(std::string_view row, unsigned long recordNo) override {
    kyv::ByteBuffer unused;
    appendRow(row, recordNo, unused);
    RowFault fault = lastFault(line_.failedColumn());
    if (fault.column >= 0) line_.findField(row, fault);
    return fault;
  }

 private:
  Extent readRow(std::string_view text) override { return {firstLine(text).size(), 1}; }

  bool appendRow(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out) override {
    return line_.append(row, holdsNul(row), recordNo, errors_, out);
  }

  bool skipsBlankLines() const override { return skipsBlankLines_; }

  kyv::StreamSchema schema_;
  bool skipsBlankLines_;
  PlainLine line_;
};

// Fields as RFC 4180 has them. An empty field is NULL; an empty field in quotes is an empty text where the column holds
// text. A line without any quotes means the same either way and is read the plain way, which is faster.
class QuotedRows final : public RowConverter {
 public:
  QuotedRows(const kyv::StreamSchema& schema, const TextLayout& layout)
      : schema_(schema),
        serviceFields_(layout.service ? kServiceFields : 0),
        skipsBlankLines_(blankIsNoRow(schema, layout)),
        line_(schema_, layout),
        reader_(layout.separator.value_or(kDefaultSeparator)) {
    prepareRow(row_, schema_, layout);
    for (int i = 0; i < schema.getColumnCount(); ++i) {
      isString_.push_back((schema.getColumnType(i) & kBaseType) == DataTypes::kString);
    }
  }

  RowFault explain(std::string_view row, unsigned long recordNo) override {
    kyv::ByteBuffer unused;
    readRow(row);
    appendRow(row, recordNo, unused);
    RowFault fault = lastFault(failedColumn_);
    if (fault.column < 0) return fault;
    if (isPlain_) {
      line_.findField(row, fault);
    } else {
      const QuotedField& field = reader_.fields()[serviceFields_ + static_cast<std::size_t>(fault.column)];
      fault.fieldBegin = field.begin;
      fault.fieldEnd = field.end;
    }
    return fault;
  }

 private:
  Extent readRow(std::string_view text) override {
    const std::string_view line = firstLine(text);
    isPlain_ = line.find('"') == std::string_view::npos && line.find('\'') == std::string_view::npos;
    if (isPlain_) return {line.size(), 1};
    record_ = reader_.read(text);
    return {record_.size, std::max<std::size_t>(record_.lineFeeds, 1)};
  }

  bool appendRow(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out) override {
    if (!isPlain_) return appendQuoted(row, recordNo, out);
    const bool good = line_.append(row, holdsNul(row), recordNo, errors_, out);
    failedColumn_ = line_.failedColumn();
    return good;
  }

  bool appendQuoted(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out) {
    if (const char* fault = faultText(row)) {
      errors_.addGeneral(strprintf("record %lu: %s", recordNo, fault));
      failedColumn_ = columnOfFault();
      return false;
    }
    setFields();
    const bool good = row_.appendRow(recordNo, errors_, out);
    failedColumn_ = row_.failedColumn();
    return good;
  }

  bool skipsBlankLines() const override { return skipsBlankLines_; }

  // What makes the row unfit before its fields are looked at, or null.
  const char* faultText(std::string_view row) const {
    if (record_.fault != QuotedFault::kNone) return quotedFaultText(record_.fault);
    if (holdsNul(row)) return kNulMessage;
    return reader_.fields().size() < serviceFields_ ? "contains no stream name" : nullptr;
  }

  int columnOfFault() const {
    const bool inField = record_.fault == QuotedFault::kUnclosed || record_.fault == QuotedFault::kTextAfterQuote;
    if (!inField || record_.faultyField < serviceFields_) return kNoColumn;
    const std::size_t column = record_.faultyField - serviceFields_;
    return column < isString_.size() ? static_cast<int>(column) : kNoColumn;
  }

  void setFields() {
    const std::vector<QuotedField>& fields = reader_.fields();
    row_.clearData();
    if (serviceFields_ > 0) row_.setOp(fields[1].text.empty() ? '\0' : fields[1].text.front());
    for (std::size_t i = serviceFields_; i < fields.size(); ++i) {
      const std::size_t column = i - serviceFields_;
      const bool keepsEmpty = fields[i].quoted && column < isString_.size() && isString_[column];
      const bool isNull = fields[i].text.empty() && !keepsEmpty;
      row_.setField(static_cast<int>(column), isNull ? std::string_view() : fields[i].text);
    }
  }

  kyv::StreamSchema schema_;
  std::size_t serviceFields_;
  bool skipsBlankLines_;
  bool isPlain_ = false;          // the row that was read last
  int failedColumn_ = kNoColumn;  // of the row that failed last
  PlainLine line_;
  QuotedReader reader_;
  QuotedRecord record_;
  ConnectionRowByOrder row_;
  std::vector<bool> isString_;
};

}  // namespace

std::unique_ptr<RowConverter> makeTextRows(const kyv::StreamSchema& schema, const TextLayout& layout) {
  if (layout.quoted.value_or(false)) return std::make_unique<QuotedRows>(schema, layout);
  return std::make_unique<PlainRows>(schema, layout);
}

}  // namespace kyv_internal
