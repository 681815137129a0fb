#include "kyv/connection_row_csv.h"

#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "connection/csv_line.h"
#include "connection/operation_code.h"
#include "connection/prepared_settings.h"
#include "kyv/string_utility.h"
#include "row2/line_pieces.h"
#include "row2/row_builder.h"

namespace {

using DALVON::Kyv::strprintf;
using kyv_internal::RowSource;
using kyv_internal::TextPieces;

// Of a record that lacks its fields yet.
RowSource sourceOf(const ConnectionRowType& schema, kyv_internal::PreparedSettings& prepared,
                   StreamInterface::StreamOperations operation, std::size_t textBytes, unsigned long recordNo) {
  return {schema, prepared.formats, prepared.schema.columns(),  {},       operation,
          false,  recordNo,         prepared.schema.ownBytes(), textBytes};
}

bool checkFieldCount(const ConnectionRowType& schema, std::size_t count, std::size_t columns, unsigned long recordNo,
                     ConnectionErrors& errors) {
  const int have = static_cast<int>(count);
  const int need = static_cast<int>(columns);
  if (have < need) {
    errors.addGeneral(strprintf("record %lu: not enough fields for stream '%s', only %d, need %d", recordNo,
                                schema.getStreamName(), have, need));
  } else if (have > need) {
    errors.addGeneral(
        strprintf("record %lu: too many fields for stream '%s', need only %d", recordNo, schema.getStreamName(), need));
  }
  return have == need;
}

}  // namespace

// What is left of a line: its fields at last, when it has any.
struct ConnectionRowCsv::Line {
  std::span<char> text;
  bool hasFields = true;

  // Goes on behind the next separator; false when there is none.
  bool pass(char separator) {
    const std::size_t end = std::string_view(text.data(), text.size()).find(separator);
    if (end == std::string_view::npos) return false;
    text = text.subspan(end + 1);
    return true;
  }

  // The same, and a terminator takes the separator's place.
  bool cut(char separator) {
    if (!pass(separator)) return false;
    *(text.data() - 1) = 0;
    return true;
  }
};

ConnectionRowCsv::ConnectionRowCsv() = default;

ConnectionRowCsv::~ConnectionRowCsv() {
  replaceBuffer(0);
  const kyv_internal::PaddedMemory copy(copy_);
}

void ConnectionRowCsv::clear() {
  ConnectionRowCsv::clearData();
  ConnectionRow::clear();
}

void ConnectionRowCsv::clearData() {
  if (capacity_ > 0) buffer_[0] = 0;
  length_ = kUnknownLength;
  ConnectionRow::clearData();
}

ConnectionRow* ConnectionRowCsv::createNew() {
  auto row = std::make_unique<ConnectionRowCsv>();
  row->copyCommonFrom(this);
  row->separator_ = separator_;
  row->withService_ = withService_;
  return row.release();
}

void ConnectionRowCsv::setSeparator(char separator) { separator_ = separator; }
void ConnectionRowCsv::setWithService(bool withService) { withService_ = withService; }

// A copy of a line in memory that is kept for the next one.
std::span<char> ConnectionRowCsv::copy(std::string_view line) {
  if (copyCapacity_ <= line.size()) {
    const kyv_internal::PaddedMemory old(std::exchange(copy_, kyv_internal::allocateLine(line.size() + 1).release()));
    copyCapacity_ = line.size() + 1;
  }
  if (!line.empty()) std::memcpy(copy_, line.data(), line.size());
  return {copy_, line.size()};
}

// A new buffer of `size` bytes, or none when that is 0.
void ConnectionRowCsv::replaceBuffer(std::size_t size) {
  kyv_internal::PaddedMemory memory = size != 0 ? kyv_internal::allocateLine(size) : nullptr;
  const kyv_internal::PaddedMemory old(std::exchange(buffer_, memory.release()));
  capacity_ = static_cast<int>(size);
  length_ = kUnknownLength;
  isLent_ = false;
}

char* ConnectionRowCsv::allocBuffer(int size) {
  if (capacity_ < size) {
    replaceBuffer(static_cast<std::size_t>(size));
    buffer_[0] = 0;
  }
  isLent_ = true;
  length_ = kUnknownLength;
  return buffer_;
}

void ConnectionRowCsv::setBuffer(char* line) {
  if (line == nullptr) return replaceBuffer(0);
  const std::size_t size = std::strlen(line) + 1;
  if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) throw std::bad_alloc();
  if (size > static_cast<std::size_t>(capacity_)) replaceBuffer(size);
  std::memmove(buffer_, line, size);  // the line may lie in the buffer
  length_ = isLent_ ? kUnknownLength : static_cast<int>(size - 1);
}

// The line in the buffer, without its end. The next time its length is unknown, since it is altered now.
std::span<char> ConnectionRowCsv::takeLine() {
  const int known = std::exchange(length_, kUnknownLength);
  const std::size_t length =
      known != kUnknownLength ? static_cast<std::size_t>(known) : strnlen(buffer_, static_cast<std::size_t>(capacity_));
  const std::string_view line = kyv_internal::withoutLineEnd({buffer_, length});
  if (line.size() < length) buffer_[line.size()] = 0;
  return {buffer_, line.size()};
}

// Checks a line and cuts off what stands before its fields. Its record lacks its fields yet.
std::optional<kyv_internal::RowSource> ConnectionRowCsv::source(Line& line, unsigned long recordNo,
                                                                ConnectionErrors& errors) {
  if (withService_ && !line.cut(separator_)) {
    errors.addGeneral(strprintf("record %lu: contains no stream name", recordNo));
    return std::nullopt;
  }
  if (streamType_ == nullptr) {
    errors.addGeneral(strprintf("record %lu: no stream specified", recordNo));
    return std::nullopt;
  }
  auto operation = StreamInterface::Upsert;
  if (withService_) {
    const char letter = line.text.empty() ? '\0' : line.text.front();
    if (!kyv_internal::parseOperation(operation, letter, recordNo, errors)) return std::nullopt;
    line.hasFields = line.pass(separator_);
  }
  return sourceOf(*streamType_, *prepared_, operation, line.text.size(), recordNo);
}

// Splits the line of a record into its fields; false with a message when they are too few or too many.
bool ConnectionRowCsv::split(const Line& line, kyv_internal::RowSource& row, ConnectionErrors& errors) {
  fields_.resize(row.columns.size());
  const std::size_t count = line.hasFields ? kyv_internal::splitFields(line.text, separator_, fields_) : 0;
  row.fields = fields_;
  return checkFieldCount(row.schema, count, fields_.size(), row.recordNo, errors);
}

void* ConnectionRowCsv::toRow(ConnectionCallback*, unsigned long recordNo, ConnectionErrors& errors) {
  failedColumn_ = kyv_internal::kNoColumn;
  if (capacity_ == 0) return nullptr;
  Line line{takeLine()};
  auto row = source(line, recordNo, errors);
  if (!row) return nullptr;
  kyv_internal::RecordMemory memory;
  if (line.hasFields) {
    if (void* const record = kyv_internal::buildUsualRecord(*row, line.text, separator_, memory)) return record;
  }
  if (!split(line, *row, errors)) return nullptr;
  return kyv_internal::buildRecord(*row, errors, failedColumn_, std::move(memory));
}

void* ConnectionRowCsv::toRow(unsigned long recordNo, ConnectionErrors* errors) {
  return toRow(nullptr, recordNo, *errors);
}

bool ConnectionRowCsv::appendRow(std::string_view line, unsigned long recordNo, ConnectionErrors& errors,
                                 kyv::ByteBuffer& out) {
  return appendLine(line, true, recordNo, errors, out);
}

// One that is known to be unusual goes the other way at once.
bool ConnectionRowCsv::appendLine(std::string_view text, bool mayBeUsual, unsigned long recordNo,
                                  ConnectionErrors& errors, kyv::ByteBuffer& out) {
  failedColumn_ = kyv_internal::kNoColumn;
  Line line{copy(kyv_internal::withoutLineEnd(text))};
  auto row = source(line, recordNo, errors);
  if (!row) return false;
  if (mayBeUsual && line.hasFields && kyv_internal::appendUsualRecord(*row, line.text, separator_, out)) return true;
  return split(line, *row, errors) && kyv_internal::appendRecord(*row, errors, failedColumn_, out);
}

// Usual lines are converted where they are, as far as there is text enough around them. Returns how far a line that was
// not converted is known to be unusual.
std::size_t ConnectionRowCsv::appendUsualLines(std::string_view text, unsigned long recordNo, kyv::ByteBuffer& out,
                                               std::size_t mostBytes, kyv::AppendedLines& done) const {
  const std::size_t begin = done.bytes;
  if (withService_ || streamType_ == nullptr || begin < kyv_internal::kTextSlack) return 0;
  const auto row = sourceOf(*streamType_, *prepared_, StreamInterface::Upsert, 0, recordNo);
  const auto [lines, bytes, searched] =
      kyv_internal::appendUsualRecords(row, text.substr(begin), separator_, mostBytes, out);
  done.lines += lines;
  done.bytes += bytes;
  return begin + searched;
}

kyv::AppendedLines ConnectionRowCsv::appendLines(std::string_view text, unsigned long recordNo,
                                                 ConnectionErrors& errors, kyv::ByteBuffer& out,
                                                 std::size_t mostBytes) {
  kyv::AppendedLines done;
  while (out.size() < mostBytes) {
    const std::size_t searched = appendUsualLines(text, recordNo, out, mostBytes, done);
    if (done.bytes == text.size() || out.size() >= mostBytes) break;
    const std::string_view line = kyv_internal::firstLine(text.substr(done.bytes));
    const bool isUnusual = done.bytes + line.size() <= searched && line.size() <= TextPieces::kLongestLine;
    done.failed = !appendLine(line, !isUnusual, recordNo + done.lines, errors, out);
    if (done.failed) break;
    ++done.lines;
    done.bytes += line.size();
  }
  return done;
}
