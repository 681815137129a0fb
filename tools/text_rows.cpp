#include "text_rows.h"

#include <algorithm>
#include <utility>

#include "kyv/data_types.h"
#include "kyv/string_utility.h"
#include "quoted_reader.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr std::size_t kServiceFields = 2;  // stream name and operation
constexpr int kNoColumn = -1;
constexpr char kNulMessage[] = "the line holds a NUL byte";
constexpr char kNoStreamMessage[] = "contains no stream name";
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

// A row for a pool to make others like it.
template <class Row>
std::unique_ptr<Row> makePrototype(kyv::StreamSchema& schema, const TextLayout& layout) {
  auto row = std::make_unique<Row>();
  row->setStreamType(&schema, false);  // which a row takes as one that it may change; it does not
  layout.applyFormats(*row);
  return row;
}

// The line as a row reads it, without its end.
std::string_view withoutLineEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

using SharedOrder = std::shared_ptr<const FieldOrder>;

// The position of a column's field behind the service fields.
std::size_t fieldOf(const SharedOrder& order, int column) {
  return static_cast<std::size_t>(order == nullptr ? column : order->fieldOf(column));
}

// A line whose fields lie between separators, without escape.
class PlainLine {
 public:
  PlainLine(TextRowPools& pools, SharedOrder order)
      : separator_(pools.layout().separator.value_or(kDefaultSeparator)),
        serviceFields_(pools.layout().service ? kServiceFields : 0),
        order_(std::move(order)),
        row_(pools.borrowLine()) {}

  bool append(std::string_view line, bool holdsNul, unsigned long recordNo, ConnectionErrors& errors,
              kyv::ByteBuffer& out) {
    failedColumn_ = kNoColumn;
    if (const std::string reason = refuse(line, holdsNul); !reason.empty()) {
      errors.addGeneral(strprintf("record %lu: %s", recordNo, reason.c_str()));
      return false;
    }
    const bool good = row_->appendRow(order_ == nullptr ? line : reorder(line), recordNo, errors, out);
    failedColumn_ = row_->failedColumn();
    return good;
  }

  // Whether lines can go as they are, in which there is no NUL.
  bool takesManyLines() const { return order_ == nullptr; }
  kyv::AppendedLines appendMany(std::string_view lines, unsigned long recordNo, ConnectionErrors& errors,
                                kyv::ByteBuffer& out, std::size_t mostBytes) {
    return row_->appendLines(lines, recordNo, errors, out, mostBytes);
  }

  // Of the line that was appended last.
  int failedColumn() const { return failedColumn_; }

  void findField(std::string_view line, RowFault& fault) const {
    const std::size_t before = serviceFields_ + fieldOf(order_, fault.column);
    for (std::size_t i = 0; i < before; ++i) fault.fieldBegin = line.find(separator_, fault.fieldBegin) + 1;
    const char ends[] = {separator_, '\r', '\n'};
    fault.fieldEnd = std::min(line.find_first_of({ends, sizeof ends}, fault.fieldBegin), line.size());
  }

 private:
  // What makes the line unfit before its fields are looked at; an empty text when nothing does.
  std::string refuse(std::string_view line, bool holdsNul) const {
    if (holdsNul) return kNulMessage;
    if (order_ == nullptr) return "";
    const auto separators = static_cast<std::size_t>(std::count(line.begin(), line.end(), separator_));
    if (serviceFields_ > 0 && separators == 0) return kNoStreamMessage;
    return order_->refuse(separators + 1 - serviceFields_);
  }

  // The line with its fields in the stream's order, which never fails for one that is not refused.
  std::string_view reorder(std::string_view line) {
    const bool withService = serviceFields_ > 0;
    reordered_.clear();
    order_->permutation().appendCsvIn(withoutLineEnd(line), separator_, withService, reordered_);
    reordered_.append("\r\n");  // what a row removes, so that it removes nothing of the last field
    // Reordering begins a line whose first column has no field with one separator too many.
    const bool skipsOne = !withService && order_->fieldOf(0) == kNoField;
    return reordered_.view().substr(skipsOne ? 1 : 0);
  }

  char separator_;
  std::size_t serviceFields_;
  SharedOrder order_;  // null for a line that is in the stream's order
  int failedColumn_ = kNoColumn;
  TextRowPools::Borrowed<ConnectionRowCsv> row_;
  kyv::ByteBuffer reordered_;
};

std::string_view firstLine(std::string_view text) {
  const std::size_t lineFeed = text.find('\n');
  return lineFeed == std::string_view::npos ? text : text.substr(0, lineFeed + 1);
}

class PlainRows final : public RowConverter {
 public:
  PlainRows(std::shared_ptr<TextRowPools> pools, SharedOrder order)
      : pools_(std::move(pools)),
        skipsBlankLines_(blankIsNoRow(pools_->schema(), pools_->layout())),
        line_(*pools_, std::move(order)) {}

  RowFault explain(std::string_view row, unsigned long recordNo) override {
    kyv::ByteBuffer unused;
    appendChecked(row, recordNo, unused);
    RowFault fault = lastFault(line_.failedColumn());
    if (fault.column >= 0) line_.findField(row, fault);
    return fault;
  }

 private:
  Extent readRow(std::string_view text) override { return {firstLine(text).size(), 1}; }

  bool appendRow(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out) override {
    return line_.append(row, holdsNul(row), recordNo, errors_, out);
  }

  bool appendsRows() const override { return !mayHoldNul() && line_.takesManyLines(); }

  RowsDone appendRows(std::string_view text, unsigned long recordNo, kyv::ByteBuffer& out,
                      std::size_t mostBytes) override {
    const kyv::AppendedLines done = line_.appendMany(text, recordNo, errors_, out, mostBytes);
    return {done.lines, done.bytes, done.failed};
  }

  bool skipsBlankLines() const override { return skipsBlankLines_; }

  std::shared_ptr<TextRowPools> pools_;
  bool skipsBlankLines_;
  PlainLine line_;
};

// Fields as RFC 4180 has them. An empty field is NULL; an empty field in quotes is an empty text where the column holds
// text. A line without any quotes means the same either way and is read the plain way, which is faster.
class QuotedRows final : public RowConverter {
 public:
  QuotedRows(std::shared_ptr<TextRowPools> pools, SharedOrder order)
      : pools_(std::move(pools)),
        serviceFields_(pools_->layout().service ? kServiceFields : 0),
        skipsBlankLines_(blankIsNoRow(pools_->schema(), pools_->layout())),
        order_(std::move(order)),
        line_(*pools_, order_),
        reader_(pools_->layout().separator.value_or(kDefaultSeparator)),
        row_(pools_->borrowFields()) {
    const kyv::StreamSchema& schema = pools_->schema();
    for (int i = 0; i < schema.getColumnCount(); ++i) {
      isString_.push_back((schema.getColumnType(i) & kBaseType) == DataTypes::kString);
    }
  }

  RowFault explain(std::string_view row, unsigned long recordNo) override {
    kyv::ByteBuffer unused;
    readRow(row);
    appendChecked(row, recordNo, unused);
    RowFault fault = lastFault(failedColumn_);
    if (fault.column < 0) return fault;
    if (isPlain_) {
      line_.findField(row, fault);
    } else {
      const QuotedField& field = reader_.fields()[serviceFields_ + fieldOf(order_, fault.column)];
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
    if (const std::string fault = faultText(row); !fault.empty()) {
      errors_.addGeneral(strprintf("record %lu: %s", recordNo, fault.c_str()));
      failedColumn_ = columnOfFault();
      return false;
    }
    setFields();
    const bool good = row_->appendRow(recordNo, errors_, out);
    failedColumn_ = row_->failedColumn();
    return good;
  }

  bool skipsBlankLines() const override { return skipsBlankLines_; }

  // What makes the row unfit before its fields are looked at; an empty text when nothing does.
  std::string faultText(std::string_view row) const {
    if (record_.fault != QuotedFault::kNone) return quotedFaultText(record_.fault);
    if (holdsNul(row)) return kNulMessage;
    const std::size_t fields = reader_.fields().size();
    if (fields < serviceFields_) return kNoStreamMessage;
    return order_ == nullptr ? "" : order_->refuse(fields - serviceFields_);
  }

  int columnOfFault() const {
    const bool inField = record_.fault == QuotedFault::kUnclosed || record_.fault == QuotedFault::kTextAfterQuote;
    if (!inField || record_.faultyField < serviceFields_) return kNoColumn;
    const auto field = static_cast<int>(record_.faultyField - serviceFields_);
    const int column = order_ == nullptr ? field : order_->columnOf(field);
    return static_cast<std::size_t>(column) < isString_.size() ? column : kNoColumn;
  }

  void setFields() {
    const std::vector<QuotedField>& fields = reader_.fields();
    row_->clearData();
    if (serviceFields_ > 0) row_->setOp(fields[1].text.empty() ? '\0' : fields[1].text.front());
    const std::size_t columns = order_ == nullptr ? fields.size() - serviceFields_ : isString_.size();
    for (std::size_t column = 0; column < columns; ++column) setField(column);
  }

  void setField(std::size_t column) {
    std::string_view text;
    if (const std::size_t position = fieldOf(order_, static_cast<int>(column)); position != kNowhere) {
      const QuotedField& field = reader_.fields()[serviceFields_ + position];
      const bool keepsEmpty = field.quoted && column < isString_.size() && isString_[column];
      if (!field.text.empty() || keepsEmpty) text = field.text;
    }
    row_->setField(static_cast<int>(column), text);
  }

  static constexpr auto kNowhere = static_cast<std::size_t>(kNoField);

  std::shared_ptr<TextRowPools> pools_;
  std::size_t serviceFields_;
  bool skipsBlankLines_;
  SharedOrder order_;
  bool isPlain_ = false;          // the row that was read last
  int failedColumn_ = kNoColumn;  // of the row that failed last
  PlainLine line_;
  QuotedReader reader_;
  QuotedRecord record_;
  TextRowPools::Borrowed<ConnectionRowByOrder> row_;
  std::vector<bool> isString_;
};

}  // namespace

TextRowPools::TextRowPools(const kyv::StreamSchema& schema, TextLayout layout)
    : schema_(schema), layout_(std::move(layout)) {
  auto line = makePrototype<ConnectionRowCsv>(schema_, layout_);
  line->setSeparator(layout_.separator.value_or(kDefaultSeparator));
  line->setWithService(layout_.service);
  lines_.setPrototype(line.release());
  fields_.setPrototype(makePrototype<ConnectionRowByOrder>(schema_, layout_).release());
}

std::unique_ptr<RowConverter> makeTextRows(std::shared_ptr<TextRowPools> pools,
                                           std::shared_ptr<const FieldOrder> order) {
  if (pools->layout().quoted.value_or(false)) return std::make_unique<QuotedRows>(std::move(pools), std::move(order));
  return std::make_unique<PlainRows>(std::move(pools), std::move(order));
}

}  // namespace kyv_internal
