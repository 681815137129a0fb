#include "platform/sdk/stream_record.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <set>

#include "datatypes/type_catalogue.h"
#include "kyv/connection_row.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

namespace {

constexpr std::size_t kMostColumns = kColumnCountMask;
constexpr std::size_t kDecimalKeySize = kDecimalUnusedOffset;  // the bytes behind it mean nothing

bool isStored(std::uint32_t type) {
  return baseOf(type) < kTypeRows.size() && type <= std::numeric_limits<std::int32_t>::max() &&
         kTypeRows[baseOf(type)].kind != Kind::None;
}

std::size_t storedSize(std::uint32_t type) { return kTypeRows[baseOf(type)].size; }
Kind storedKind(std::uint32_t type) { return kTypeRows[baseOf(type)].kind; }

std::uint32_t binaryLength(std::string_view value) {
  const auto stored = load<std::uint32_t>(value.data());
  return std::endian::native == std::endian::little ? __builtin_bswap32(stored) : stored;
}

// Whether a value is whole: a string with its terminator, a binary value with all its bytes.
bool isWhole(std::uint32_t type, std::string_view value) {
  switch (storedKind(type)) {
    case Kind::String:
      return value.find('\0') != std::string_view::npos;
    case Kind::Binary:
      return value.size() >= kBinaryPrefixSize && value.size() - kBinaryPrefixSize >= binaryLength(value);
    default:
      return value.size() >= storedSize(type);
  }
}

}  // namespace

const char* typeName(std::uint32_t type) {
  return baseOf(type) < kTypeRows.size() ? kTypeRows[baseOf(type)].name : "unknown";
}

bool checkDefinition(const StreamDefinition& stream, Failure& failure) {
  if (stream.name.empty()) return fail(failure, KYV_ERROR_REFUSED, "a stream needs a name");
  const char* const name = stream.name.c_str();
  if (stream.columns.empty() || stream.columns.size() > kMostColumns) {
    return fail(failure, KYV_ERROR_REFUSED, "stream '%s': %zu columns are none, or too many", name,
                stream.columns.size());
  }
  std::set<std::string_view> names;
  for (const StreamDefinition::Column& column : stream.columns) {
    if (column.name.empty() || !names.insert(column.name).second) {
      return fail(failure, KYV_ERROR_REFUSED, "stream '%s': two columns are called '%s', or one has no name", name,
                  column.name.c_str());
    }
    if (!isStored(column.type)) {
      return fail(failure, KYV_ERROR_REFUSED, "stream '%s': column '%s' has no type that can be stored (%u)", name,
                  column.name.c_str(), column.type);
    }
  }
  std::set<std::size_t> key;
  for (const std::size_t column : stream.key) {
    if (column >= stream.columns.size() || !key.insert(column).second) {
      return fail(failure, KYV_ERROR_REFUSED, "stream '%s': a column of the key is not there, or is named twice", name);
    }
  }
  return true;
}

std::optional<StreamRecord> StreamRecord::check(const StreamDefinition& stream, std::string_view bytes,
                                                Failure& failure) {
  const StreamRecord record(stream, bytes);
  if (!record.checkHeader(failure) || !record.checkOperation(failure) || !record.checkTable(failure) ||
      !record.checkValues(failure)) {
    return std::nullopt;
  }
  return record;
}

bool StreamRecord::checkHeader(Failure& failure) const {
  const char* const name = stream_->name.c_str();
  if (bytes_.size() < payloadOffset(0) ||
      load<std::int32_t>(bytes_.data()) != static_cast<std::int64_t>(bytes_.size())) {
    return fail(failure, KYV_ERROR_REFUSED, "stream '%s': %zu bytes are no record of that length", name, bytes_.size());
  }
  if ((load<std::uint32_t>(at(bytes_.data(), kFlagsOffset)) & kBigEndianFlag) != kHostByteOrderFlag) {
    return fail(failure, KYV_ERROR_REFUSED, "stream '%s': the record has the other byte order", name);
  }
  if (columnCount(bytes_.data()) != stream_->columns.size()) {
    return fail(failure, KYV_ERROR_REFUSED, "stream '%s' has %zu columns, the record %u", name, stream_->columns.size(),
                columnCount(bytes_.data()));
  }
  if (bytes_.size() < payloadOffset(std::size_t{columnCount(bytes_.data())} + optionCount(bytes_.data()))) {
    return fail(failure, KYV_ERROR_REFUSED, "stream '%s': the record is too short for its columns", name);
  }
  return true;
}

RowChange StreamRecord::change() const {
  if (!stream_->isTable()) return RowChange::Append;
  switch (load<std::int32_t>(at(bytes_.data(), kOpcodeOffset))) {
    case StreamInterface::Insert:
      return RowChange::Insert;
    case StreamInterface::Update:
      return RowChange::Update;
    case StreamInterface::Delete:
      return RowChange::Delete;
    case StreamInterface::SecondDelete:
      return RowChange::DeleteIfThere;
    default:
      return RowChange::Upsert;
  }
}

bool StreamRecord::checkOperation(Failure& failure) const {
  const auto operation = load<std::int32_t>(at(bytes_.data(), kOpcodeOffset));
  switch (operation) {
    case StreamInterface::Insert:
    case StreamInterface::Upsert:
      return true;
    case StreamInterface::Update:
    case StreamInterface::Delete:
    case StreamInterface::SecondDelete:
      return stream_->isTable() ||
             fail(failure, KYV_ERROR_REFUSED, "stream '%s' has no key: rows can only be added", stream_->name.c_str());
    default:
      return fail(failure, KYV_ERROR_REFUSED, "stream '%s': %d is no operation", stream_->name.c_str(), operation);
  }
}

bool StreamRecord::checkTable(Failure& failure) const {
  const std::size_t entries = std::size_t{columnCount(bytes_.data())} + optionCount(bytes_.data());
  auto known = static_cast<std::int64_t>(payloadOffset(entries)) - 1;
  for (std::size_t i = 0; i <= entries; ++i) {
    const std::int64_t entry = tableEntry(bytes_.data(), i);
    if (entry < 0 && i < stream_->columns.size()) {
      return fail(failure, KYV_ERROR_REFUSED, "stream '%s': column '%s' shines through, which is not stored",
                  stream_->name.c_str(), stream_->columns[i].name.c_str());
    }
    if (entry <= 0 && i < entries) continue;
    const auto limit = static_cast<std::int64_t>(bytes_.size()) + (i == entries ? 1 : 0);
    if (entry <= known || entry >= limit) {
      return fail(failure, KYV_ERROR_REFUSED, "stream '%s': the record's offsets make no sense", stream_->name.c_str());
    }
    known = entry;
  }
  return true;
}

bool StreamRecord::checkValues(Failure& failure) const {
  for (std::size_t i = 0; i < stream_->columns.size(); ++i) {
    const std::optional<std::string_view> bytes = value(i);
    if (!bytes || isWhole(stream_->columns[i].type, *bytes)) continue;
    return fail(failure, KYV_ERROR_REFUSED, "stream '%s': the value of column '%s' is no whole %s",
                stream_->name.c_str(), stream_->columns[i].name.c_str(), typeName(stream_->columns[i].type));
  }
  return true;
}

std::optional<std::string_view> StreamRecord::value(std::size_t column) const {
  const std::int32_t begin = tableEntry(bytes_.data(), column);
  if (begin <= 0) return std::nullopt;
  const std::size_t entries = std::size_t{columnCount(bytes_.data())} + optionCount(bytes_.data());
  const std::int32_t end = nextPositiveEntry(bytes_.data(), column, entries);
  return bytes_.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

// The value without padding.
std::string_view StreamRecord::keyPart(std::size_t column, std::string_view value) const {
  const std::uint32_t type = stream_->columns[column].type;
  switch (storedKind(type)) {
    case Kind::String:
      return value.substr(0, value.find('\0'));
    case Kind::Binary:
      return value.substr(kBinaryPrefixSize, binaryLength(value));
    case Kind::FixedDecimal:
      return value.substr(0, kDecimalKeySize);
    default:
      return value.substr(0, storedSize(type));
  }
}

// Each value follows its length, so that no two keys run into the same bytes.
bool StreamRecord::appendKey(std::string& key, Failure& failure) const {
  for (const std::size_t column : stream_->key) {
    const std::optional<std::string_view> bytes = value(column);
    if (!bytes) {
      return fail(failure, KYV_ERROR_REFUSED, "stream '%s': the key column '%s' is NULL", stream_->name.c_str(),
                  stream_->columns[column].name.c_str());
    }
    const std::string_view part = keyPart(column, *bytes);
    char length[sizeof(std::uint32_t)];
    store(length, static_cast<std::uint32_t>(part.size()));
    key.append(length, sizeof length).append(part);
  }
  return true;
}

}  // namespace kyv_internal
