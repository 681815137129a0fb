// Rows from a pool beside rows made and deleted, on one thread and on two; and rows by name beside rows by position,
// from fields to record. The peers are the library's own other ways to the same result.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/pair.h"
#include "benchmarks/trade_rows.h"
#include "kyv/connection_row_by_names.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_pool.h"
#include "row2/row2_layout.h"

namespace kyv_internal {
namespace {

constexpr int kRows = 256;
constexpr int kManyColumns = 100;

// --- Pools --------------------------------------------------------------------------------------------------------

std::unique_ptr<ConnectionRowByOrder> makePrototype(kyv::StreamSchema& schema) {
  auto row = std::make_unique<ConnectionRowByOrder>();
  configureTradeRow(*row, schema);
  return row;
}

void takeFromPool(benchmark::State& state, ConnectionRowPool& pool) {
  for ([[maybe_unused]] auto _ : state) {
    ConnectionRow* const row = pool.alloc();
    benchmark::DoNotOptimize(row);
    pool.free(row);
  }
  state.SetItemsProcessed(state.iterations());
}

void makeAndDelete(benchmark::State& state, ConnectionRow& prototype) {
  for ([[maybe_unused]] auto _ : state) {
    const std::unique_ptr<ConnectionRow> row(prototype.createNew());
    benchmark::DoNotOptimize(row.get());
  }
  state.SetItemsProcessed(state.iterations());
}

// Several threads are timed by the clock.
template <class Run>
void registerOnThreads(const std::string& name, int threads, Run run) {
  auto* const side = benchmark::RegisterBenchmark(name.c_str(), run);
  if (threads > 1) side->Threads(threads)->UseRealTime();
}

void registerPoolPair(const std::string& job, int threads, ConnectionRowPool& pool, ConnectionRow& prototype) {
  registerOnThreads(job + "/kyv", threads, [&pool](benchmark::State& state) { takeFromPool(state, pool); });
  registerOnThreads(job + "/peer", threads, [&prototype](benchmark::State& state) { makeAndDelete(state, prototype); });
}

// --- Rows by name -------------------------------------------------------------------------------------------------

// A record from malloc. Equal when the bytes are.
struct Record {
  struct Free {
    void operator()(void* bytes) const { std::free(bytes); }
  };

  explicit Record(void* record) : bytes(record) {}
  std::unique_ptr<void, Free> bytes;

  bool operator==(const Record& other) const {
    if (bytes == nullptr || other.bytes == nullptr) return false;
    const int size = load<int>(bytes.get());
    return size == load<int>(other.bytes.get()) &&
           std::memcmp(bytes.get(), other.bytes.get(), static_cast<std::size_t>(size)) == 0;
  }
};

// The texts of one row, "" for a NULL column.
using Texts = std::vector<std::string>;

// Each stream's rows in both forms, and the texts that they are given.
struct Stream {
  kyv::StreamSchema schema;
  std::vector<Texts> rows;
  std::vector<std::string> names;
  ConnectionRowByNames named;
  ConnectionRowByOrder ordered;

  Stream(kyv::StreamSchema columns, std::vector<Texts> texts) : schema(std::move(columns)), rows(std::move(texts)) {
    for (int i = 0; i < schema.getColumnCount(); ++i) names.emplace_back(schema.getColumnName(i));
    configureTradeRow(named, schema);
    configureTradeRow(ordered, schema);
  }
};

std::vector<Texts> tradeTexts() {
  TradeGenerator trades;
  std::vector<Texts> rows;
  for (int i = 0; i < kRows; ++i) {
    std::string line;
    trades.appendLine(line);
    line.pop_back();  // its line feed
    Texts& texts = rows.emplace_back(1);
    for (const char c : line) {
      if (c == ',') {
        texts.emplace_back();
      } else {
        texts.back() += c;
      }
    }
  }
  return rows;
}

// Ten of the trades' columns side by side.
kyv::StreamSchema wideSchema() {
  std::vector<kyv::StreamColumn> columns;
  for (int i = 0; i < kManyColumns; ++i) {
    const TradeColumn& column = kTradeColumns[static_cast<std::size_t>(i) % kTradeFieldCount];
    columns.push_back({column.name + std::to_string(i), DataTypes::stringToType(column.type)});
  }
  return {kTradeStream, kTradeStreamId, columns};
}

std::vector<Texts> wideTexts() {
  const std::vector<Texts> trades = tradeTexts();
  std::vector<Texts> rows;
  for (std::size_t i = 0; i + kManyColumns / kTradeFieldCount <= trades.size(); i += kManyColumns / kTradeFieldCount) {
    Texts& texts = rows.emplace_back();
    for (std::size_t k = i; k < i + kManyColumns / kTradeFieldCount; ++k) {
      texts.insert(texts.end(), trades[k].begin(), trades[k].end());
    }
  }
  return rows;
}

void registerNames(const std::string& job, Stream& stream, ConnectionErrors& errors) {
  registerPair(
      job, stream.rows,
      [&](const Texts& texts) {
        stream.named.clearData();
        for (std::size_t i = 0; i < texts.size(); ++i) {
          if (!texts[i].empty()) stream.named.setFieldAsString(stream.names[i].c_str(), texts[i].c_str());
        }
        return Record(stream.named.toRow(1, &errors));
      },
      [&](const Texts& texts) {
        stream.ordered.clearData();
        for (const std::string& text : texts) stream.ordered.appendFieldAsString(text.empty() ? nullptr : text.c_str());
        return Record(stream.ordered.toRow(1, &errors));
      });
}

}  // namespace

void runPoolBenchmarks() {
  ConnectionErrors errors;
  Stream trades(tradeSchema(), tradeTexts());
  Stream wide(wideSchema(), wideTexts());
  const std::unique_ptr<ConnectionRowByOrder> peer = makePrototype(trades.schema);
  ConnectionRowPool pool;
  pool.setPrototype(makePrototype(trades.schema).release());
  registerPoolPair("row of a pool", 1, pool, *peer);
  registerPoolPair("row of a pool, 2 threads", 2, pool, *peer);
  registerNames("10 fields by name", trades, errors);
  registerNames("100 fields by name", wide, errors);
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace kyv_internal

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kyv_internal::runPoolBenchmarks();
  return 0;
}
