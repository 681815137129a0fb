// What is done to whole records: turning their byte order, beside a copy that swaps bytes by positions and types known
// when it was compiled; and checking them, beside reading them.

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/hand_written_adapter.h"
#include "benchmarks/pair.h"
#include "benchmarks/trade_rows.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/row2.h"

namespace kyv_internal {
namespace {

constexpr int kTrades = 256;

// The types of the trades' columns, for the operations on records.
using TradeTypes = std::array<unsigned int, kTradeFieldCount>;

TradeTypes tradeTypes(const kyv::StreamSchema& schema) {
  TradeTypes types;
  for (std::size_t i = 0; i < types.size(); ++i) types[i] = schema.getColumnType(static_cast<int>(i));
  return types;
}

// Records in host order, and the same in the opposite one.
struct Sample {
  std::vector<std::string> host;
  std::vector<std::string> opposite;
  std::vector<int> indexes;  // of a record in both
};

constexpr std::size_t kFlagsAt = 12;
constexpr char kByteOrderFlag = 0x10;  // in the first byte of the flags on a little-endian host

Row2* asRecord(char* bytes) { return static_cast<Row2*>(static_cast<void*>(bytes)); }

Sample makeSample(const TradeTypes& types) {
  Sample sample;
  TradeGenerator trades;
  for (int i = 0; i < kTrades; ++i) {
    std::string line;
    trades.appendLine(line);
    line.pop_back();  // its line feed
    const std::unique_ptr<char, void (*)(void*)> record(tradeLineToRecord(line.data()), std::free);
    sample.host.emplace_back(record.get(), tradeRecordBytes(record.get()));
    std::string& opposite = sample.opposite.emplace_back(sample.host.back());
    opposite[kFlagsAt] = static_cast<char>(opposite[kFlagsAt] ^ kByteOrderFlag);
    asRecord(opposite.data())->flipFromNativeByteOrder(types.data());
    sample.indexes.push_back(i);
  }
  return sample;
}

// --- The peer: positions and types of the trades' records, written down
// -----------------------------------------------

constexpr std::size_t kStreamIdAt = 8, kCountsAt = 16, kOffsetsAt = 20;

std::uint32_t swapWord(char* at) {
  std::uint32_t word;
  std::memcpy(&word, at, sizeof word);
  const std::uint32_t swapped = __builtin_bswap32(word);
  std::memcpy(at, &swapped, sizeof swapped);
  return swapped;
}

void swapLongWord(char* at) {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  word = __builtin_bswap64(word);
  std::memcpy(at, &word, sizeof word);
}

template <std::size_t column>
char* valueAt(char* record) {
  std::int32_t offset;
  std::memcpy(&offset, record + kOffsetsAt + 4 * column, sizeof offset);
  return offset > 0 ? record + offset : nullptr;
}

template <std::size_t column>
void swapLongColumn(char* record) {
  if (char* const value = valueAt<column>(record)) swapLongWord(value);
}

void swapColumns(char* record) {
  swapLongColumn<kTradeId>(record);
  swapLongColumn<kTradePrice>(record);
  if (char* const quantity = valueAt<kTradeQuantity>(record)) swapWord(quantity);
  swapLongColumn<kTradeNotional>(record);
  swapLongColumn<kTradeExecutedAt>(record);
  swapLongColumn<kTradeSettlesOn>(record);
}

void swapTable(char* record) {
  for (std::size_t i = 0; i <= kTradeFieldCount; ++i) swapWord(record + kOffsetsAt + 4 * i);
}

void swapHeader(char* record) {
  swapWord(record + kStreamIdAt);
  swapWord(record + kCountsAt);
}

void swapToHost(char* record) {
  swapHeader(record);
  swapTable(record);
  swapColumns(record);
}

void swapFromHost(char* record) {
  swapColumns(record);
  swapTable(record);
  swapHeader(record);
}

// --- The pairs ------------------------------------------------------------------------------------------------------

// A copy of a record, turned in place by `turn`.
template <class Turn>
auto turnedCopy(Turn turn) {
  return [turn, memory = std::make_shared<std::array<char, 512>>()](const std::string& record) {
    std::memcpy(memory->data(), record.data(), record.size());
    turn(memory->data());
    return std::string_view(memory->data(), record.size());
  };
}

void registerFlips(const Sample& sample, const TradeTypes& types) {
  registerPair("record to host order", sample.opposite,
               turnedCopy([&](char* record) { asRecord(record)->flipToNativeByteOrder(types.data()); }),
               turnedCopy(swapToHost));
  registerPair("record from host order", sample.host,
               turnedCopy([&](char* record) { asRecord(record)->flipFromNativeByteOrder(types.data()); }),
               turnedCopy(swapFromHost));
}

void registerChecks(Sample& sample, const TradeTypes& types, ConnectionRowByOrder& row, ConnectionErrors& errors) {
  const auto check = [&types, fault = std::make_shared<Row2::Fault>()](const std::string& record) {
    return Row2::validateUntrusted(*fault, std::as_bytes(std::span(record)), static_cast<int>(types.size()), 0,
                                   types.data(), nullptr);
  };
  const auto read = [&](int i) { return row.fromRow(sample.host[i].data(), 1, &errors); };
  registerPair(
      "record checked", sample.indexes, [&, check](int i) { return check(sample.host[i]); }, read);
  registerPair(
      "record of the other byte order checked", sample.indexes, [&, check](int i) { return check(sample.opposite[i]); },
      read);
}

}  // namespace

void runRecordBenchmarks() {
  kyv::StreamSchema schema = tradeSchema();
  const TradeTypes types = tradeTypes(schema);
  Sample sample = makeSample(types);
  ConnectionErrors errors;
  ConnectionRowByOrder row;
  configureTradeRow(row, schema);
  registerFlips(sample, types);
  registerChecks(sample, types, row, errors);
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace kyv_internal

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kyv_internal::runRecordBenchmarks();
  return 0;
}
