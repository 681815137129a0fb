#include "benchmarks/hand_written_adapter.h"

#include <strings.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace kyv_internal {
namespace {

constexpr std::int32_t kUpsert = 7;
constexpr int kLengthAt = 0;
constexpr int kOperationAt = 4;
constexpr int kStreamAt = 8;
constexpr int kFlagsAt = 12;
constexpr int kColumnCountAt = 16;
constexpr int kOffsetsAt = 20;
constexpr int kDataAt = kOffsetsAt + 4 * (kTradeFieldCount + 1);

// Bytes of a column in a record, 0 for a string.
constexpr std::size_t kColumnBytes[kTradeFieldCount] = {8, 0, 0, 8, 4, 8, 8, 8, 1, 0};

bool isText(std::size_t column) { return kColumnBytes[column] == 0; }

template <class T>
void put(char* at, T value) {
  std::memcpy(at, &value, sizeof value);
}

template <class T>
T get(const char* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

bool readLong(const char* text, std::int64_t& value) {
  char* end;
  errno = 0;
  value = std::strtol(text, &end, 10);
  return end != text && *end == '\0' && errno == 0;
}

bool readInt(const char* text, std::int32_t& value) {
  std::int64_t wide;
  if (!readLong(text, wide) || wide < INT32_MIN || wide > INT32_MAX) return false;
  value = static_cast<std::int32_t>(wide);
  return true;
}

bool readDouble(const char* text, double& value) {
  char* end;
  errno = 0;
  value = std::strtod(text, &end);
  return end != text && *end == '\0' && errno == 0;
}

// The first `places` digits as a number; missing ones count as zeros.
int readFraction(const char* digits, int places) {
  int fraction = 0;
  for (int place = 0; place < places; ++place) {
    const bool more = *digits >= '0' && *digits <= '9';
    fraction = fraction * 10 + (more ? *digits++ - '0' : 0);
  }
  return fraction;
}

bool readMoney(const char* text, std::int64_t& cents) {
  char* end;
  errno = 0;
  const std::int64_t whole = std::strtol(text, &end, 10);
  if (end == text || errno != 0 || (*end != '\0' && *end != '.')) return false;
  const int fraction = *end == '.' ? readFraction(end + 1, 2) : 0;
  cents = whole * 100 + (*text == '-' ? -fraction : fraction);
  return true;
}

// Seconds of a calendar time; `end` is where it stops.
bool readSeconds(const char* text, std::int64_t& seconds, const char*& end) {
  std::tm fields{};
  end = strptime(text, kTradeTimeFormat, &fields);
  if (end == nullptr) return false;
  seconds = timegm(&fields);
  return true;
}

bool readDate(const char* text, std::int64_t& seconds) {
  const char* end;
  return readSeconds(text, seconds, end) && *end == '\0';
}

bool readTimestamp(const char* text, std::int64_t& millis) {
  const char* end;
  std::int64_t seconds;
  if (!readSeconds(text, seconds, end) || (*end != '\0' && *end != '.')) return false;
  millis = seconds * 1000 + (*end == '.' ? readFraction(end + 1, 3) : 0);
  return true;
}

bool readBool(const char* text, char& value) {
  value = strcasecmp(text, "true") == 0 || strcmp(text, "1") == 0;
  return value || strcasecmp(text, "false") == 0 || strcmp(text, "0") == 0;
}

template <class T>
bool putRead(bool (*read)(const char*, T&), const char* text, char* at) {
  T value;
  if (!read(text, value)) return false;
  put(at, value);
  return true;
}

bool packColumn(std::size_t column, const char* text, char* at) {
  switch (column) {
    case kTradeId:
      return putRead(readLong, text, at);
    case kTradePrice:
      return putRead(readDouble, text, at);
    case kTradeQuantity:
      return putRead(readInt, text, at);
    case kTradeNotional:
      return putRead(readMoney, text, at);
    case kTradeExecutedAt:
      return putRead(readTimestamp, text, at);
    case kTradeSettlesOn:
      return putRead(readDate, text, at);
    case kTradeOddLot:
      return putRead(readBool, text, at);
    default:
      std::strcpy(at, text);
      return true;
  }
}

std::size_t columnBytes(std::size_t column, const char* text) {
  return isText(column) ? std::strlen(text) + 1 : kColumnBytes[column];
}

std::size_t recordBytes(const char* const* fields) {
  std::size_t bytes = kDataAt;
  for (std::size_t i = 0; i < kTradeFieldCount; ++i) {
    if (fields[i] != nullptr) bytes += columnBytes(i, fields[i]);
  }
  return bytes;
}

void putHeader(char* record, std::size_t bytes) {
  put<std::int32_t>(record + kLengthAt, static_cast<std::int32_t>(bytes));
  put<std::int32_t>(record + kOperationAt, kUpsert);
  put<std::int32_t>(record + kStreamAt, kTradeStreamId);
  put<std::int32_t>(record + kFlagsAt, 0);
  put<std::int32_t>(record + kColumnCountAt, kTradeFieldCount);
}

void printSeconds(std::int64_t seconds, char* out, std::size_t room) {
  const std::time_t time = seconds;
  std::tm fields;
  gmtime_r(&time, &fields);
  std::strftime(out, room, kTradeTimeFormat, &fields);
}

void printMoney(std::int64_t cents, char* out, std::size_t room) {
  const std::int64_t magnitude = cents < 0 ? -cents : cents;
  std::snprintf(out, room, "%s%ld.%02ld", cents < 0 ? "-" : "", magnitude / 100, magnitude % 100);
}

void printTimestamp(std::int64_t millis, char* out, std::size_t room) {
  std::int64_t seconds = millis / 1000;
  if (millis % 1000 < 0) --seconds;
  printSeconds(seconds, out, room);
  const std::size_t length = std::strlen(out);
  std::snprintf(out + length, room - length, ".%03d", static_cast<int>(millis - seconds * 1000));
}

void appendColumn(std::size_t column, const char* data, std::string& out) {
  char text[64];
  switch (column) {
    case kTradeId:
      std::snprintf(text, sizeof text, "%ld", get<std::int64_t>(data));
      break;
    case kTradePrice:
      std::snprintf(text, sizeof text, "%.6f", get<double>(data));
      break;
    case kTradeQuantity:
      std::snprintf(text, sizeof text, "%d", get<std::int32_t>(data));
      break;
    case kTradeNotional:
      printMoney(get<std::int64_t>(data), text, sizeof text);
      break;
    case kTradeExecutedAt:
      printTimestamp(get<std::int64_t>(data), text, sizeof text);
      break;
    case kTradeSettlesOn:
      printSeconds(get<std::int64_t>(data), text, sizeof text);
      break;
    case kTradeOddLot:
      out += *data != 0 ? "true" : "false";
      return;
    default:
      out += data;
      return;
  }
  out += text;
}

// The value of a column, or null.
const char* columnData(const char* record, std::size_t column) {
  const auto offset = get<std::int32_t>(record + kOffsetsAt + 4 * column);
  return offset > 0 ? record + offset : nullptr;
}

void appendQuoted(const char* text, std::string& line) {
  line += '"';
  for (; *text != '\0'; ++text) {
    if (*text == '"') line += '"';
    line += *text;
  }
  line += '"';
}

}  // namespace

char* tradeFieldsToRecord(const char* const* fields) {
  const std::size_t bytes = recordBytes(fields);
  char* record = static_cast<char*>(std::malloc(bytes));
  if (record == nullptr) return nullptr;
  putHeader(record, bytes);
  std::int32_t offset = kDataAt;
  for (std::size_t i = 0; i < kTradeFieldCount; ++i) {
    put<std::int32_t>(record + kOffsetsAt + 4 * i, fields[i] != nullptr ? offset : 0);
    if (fields[i] == nullptr) continue;
    if (!packColumn(i, fields[i], record + offset)) {
      std::free(record);
      return nullptr;
    }
    offset += static_cast<std::int32_t>(columnBytes(i, fields[i]));
  }
  put<std::int32_t>(record + kOffsetsAt + 4 * kTradeFieldCount, offset);
  return record;
}

char* tradeLineToRecord(char* line) {
  const char* fields[kTradeFieldCount];
  for (std::size_t i = 0; i < kTradeFieldCount; ++i) {
    char* field = strsep(&line, ",");
    if (field == nullptr) return nullptr;
    fields[i] = *field != '\0' ? field : nullptr;
  }
  return line == nullptr ? tradeFieldsToRecord(fields) : nullptr;
}

std::size_t tradeRecordBytes(const char* record) { return static_cast<std::size_t>(get<std::int32_t>(record)); }

void tradeRecordToFields(const char* record, std::vector<std::string>& fields) {
  fields.resize(kTradeFieldCount);
  for (std::size_t i = 0; i < kTradeFieldCount; ++i) {
    fields[i].clear();
    if (const char* data = columnData(record, i)) appendColumn(i, data, fields[i]);
  }
}

void tradeRecordToLine(const char* record, std::string& line) {
  line.clear();
  for (std::size_t i = 0; i < kTradeFieldCount; ++i) {
    if (i > 0) line += ',';
    const char* data = columnData(record, i);
    if (data == nullptr) continue;
    if (isText(i) && std::strpbrk(data, ",\"\r\n") != nullptr) {
      appendQuoted(data, line);
    } else {
      appendColumn(i, data, line);
    }
  }
  line += '\n';
}

}  // namespace kyv_internal
