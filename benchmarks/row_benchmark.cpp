// Rows to records and back, each beside the adapter written by hand. The sample is small enough for the caches, so that
// conversion is measured and not memory; it has enough different rows that branches stay as hard to foresee as they
// are.

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/hand_written_adapter.h"
#include "benchmarks/pair.h"
#include "benchmarks/trade_rows.h"
#include "kyv/byte_buffer.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_csv.h"
#include "kyv/record_printer.h"

namespace kyv_internal {
namespace {

constexpr int kTrades = 256;

// A record from malloc. Equal when the bytes are.
struct Record {
  struct Free {
    void operator()(char* bytes) const { std::free(bytes); }
  };

  explicit Record(void* record) : bytes(static_cast<char*>(record)) {}
  std::unique_ptr<char, Free> bytes;

  bool operator==(const Record& other) const {
    if (bytes == nullptr || other.bytes == nullptr) return false;
    const std::size_t size = tradeRecordBytes(bytes.get());
    return size == tradeRecordBytes(other.bytes.get()) && std::memcmp(bytes.get(), other.bytes.get(), size) == 0;
  }
};

// The texts of a record's columns. A NULL column is a null pointer to the library and an empty text to the peer.
struct FieldTexts {
  std::array<const char*, kTradeFieldCount> texts;

  bool operator==(const FieldTexts& other) const {
    for (std::size_t i = 0; i < texts.size(); ++i) {
      if (std::strcmp(texts[i] != nullptr ? texts[i] : "", other.texts[i] != nullptr ? other.texts[i] : "") != 0) {
        return false;
      }
    }
    return true;
  }
};

// The peer cuts up a copy of the line, as the library's row does.
Record lineToRecordByHand(const char* line) {
  char copy[512];
  std::strcpy(copy, line);
  return Record(tradeLineToRecord(copy));
}

// A printed line, with its line feed. Prices may have more or fewer zeros behind them: equal when the records are.
struct PrintedLine {
  std::string_view text;

  Record record() const { return lineToRecordByHand(std::string(text.substr(0, text.size() - 1)).c_str()); }
  bool operator==(const PrintedLine& other) const { return record() == other.record(); }
};

constexpr std::size_t kLinesInLongText = 100;

// The sample in each of the forms that a conversion starts from.
struct Sample {
  std::vector<std::string> lines;
  std::vector<char*> lineTexts;        // the same
  std::vector<std::string> longTexts;  // the same, many in a text
  std::vector<std::array<std::string, kTradeFieldCount>> fields;
  std::vector<std::unique_ptr<ConnectionRowByOrder>> rows;  // with the fields set
  std::vector<std::array<const char*, kTradeFieldCount>> texts;
  std::vector<Record> records;
  std::vector<int> indexes;  // of a trade in each of the above
};

std::array<std::string, kTradeFieldCount> split(const std::string& line) {
  std::array<std::string, kTradeFieldCount> fields;
  std::size_t begin = 0;
  for (std::string& field : fields) {
    const std::size_t end = std::min(line.find(',', begin), line.size());
    field = line.substr(begin, end - begin);
    begin = end + 1;
  }
  return fields;
}

const char* textOrNull(const std::string& text) { return text.empty() ? nullptr : text.c_str(); }

void addTrade(Sample& sample, std::string line, kyv::StreamSchema& schema) {
  line.pop_back();  // its line feed
  const auto& fields = sample.fields.emplace_back(split(line));
  auto& texts = sample.texts.emplace_back();
  auto& row = sample.rows.emplace_back(std::make_unique<ConnectionRowByOrder>());
  configureTradeRow(*row, schema);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    texts[i] = textOrNull(fields[i]);
    row->appendFieldAsString(texts[i]);
  }
  sample.records.emplace_back(tradeFieldsToRecord(texts.data()));
  sample.lines.push_back(std::move(line));
  sample.indexes.push_back(static_cast<int>(sample.indexes.size()));
}

void makeSample(Sample& sample, kyv::StreamSchema& schema) {
  sample.fields.reserve(kTrades);  // texts point into it
  TradeGenerator trades;
  for (int i = 0; i < kTrades; ++i) {
    std::string line;
    trades.appendLine(line);
    addTrade(sample, std::move(line), schema);
  }
  for (std::string& line : sample.lines) {
    if (sample.lineTexts.size() % kLinesInLongText == 0) sample.longTexts.emplace_back();
    sample.longTexts.back() += line + "\n";
    sample.lineTexts.push_back(line.data());
  }
}

void registerLineToRecord(const Sample& sample, ConnectionRowCsv& row, ConnectionErrors& errors) {
  registerPair(
      "line to record", sample.lineTexts,
      [&](char* line) {
        row.setBuffer(line);
        return Record(row.toRow(1, &errors));
      },
      lineToRecordByHand);
}

void registerLineAppended(const Sample& sample, ConnectionRowCsv& row, ConnectionErrors& errors) {
  registerPair(
      "line to record, appended", sample.lines,
      [&, out = std::make_shared<kyv::ByteBuffer>()](const std::string& line) {
        out->clear();
        row.appendRow(line, 1, errors, *out);
        return out->view();
      },
      [out = std::string()](const std::string& line) mutable {
        const Record record = lineToRecordByHand(line.c_str());
        out.assign(record.bytes.get(), tradeRecordBytes(record.bytes.get()));
        return std::string_view(out);
      });
}

void appendTextByHand(const std::string& text, std::string& out) {
  std::string line;
  for (std::size_t begin = 0; begin < text.size(); begin += line.size() + 1) {
    line.assign(text, begin, text.find('\n', begin) - begin);
    const Record record = lineToRecordByHand(line.c_str());
    out.append(record.bytes.get(), tradeRecordBytes(record.bytes.get()));
  }
}

void registerLinesAppended(const Sample& sample, ConnectionRowCsv& row, ConnectionErrors& errors) {
  registerPair(
      "100 lines to records", sample.longTexts,
      [&, out = std::make_shared<kyv::ByteBuffer>()](const std::string& text) {
        out->clear();
        row.appendLines(text, 1, errors, *out);
        return out->view();
      },
      [out = std::string()](const std::string& text) mutable {
        out.clear();
        appendTextByHand(text, out);
        return std::string_view(out);
      });
}

void registerFieldsToRecord(const Sample& sample, ConnectionRowByOrder& row, ConnectionErrors& errors) {
  const auto byHand = [&](int i) { return Record(tradeFieldsToRecord(sample.texts[i].data())); };
  registerPair(
      "fields to record", sample.indexes, [&](int i) { return Record(sample.rows[i]->toRow(1, &errors)); }, byHand);
  registerPair(
      "fields set, to record", sample.indexes,
      [&](int i) {
        row.clearData();
        for (const char* text : sample.texts[i]) row.appendFieldAsString(text);
        return Record(row.toRow(1, &errors));
      },
      byHand);
}

void registerRecordToFields(const Sample& sample, ConnectionRowByOrder& row, ConnectionErrors& errors) {
  registerPair(
      "record to fields", sample.records,
      [&](const Record& record) {
        row.fromRow(record.bytes.get(), 1, &errors);
        FieldTexts fields;
        for (std::size_t i = 0; i < kTradeFieldCount; ++i) {
          row.getFieldAsString(static_cast<int>(i), &fields.texts[i]);
        }
        return fields;
      },
      [texts = std::vector<std::string>()](const Record& record) mutable {
        tradeRecordToFields(record.bytes.get(), texts);
        FieldTexts fields;
        for (std::size_t i = 0; i < kTradeFieldCount; ++i) fields.texts[i] = texts[i].c_str();
        return fields;
      });
}

void registerRecordToLine(const Sample& sample, kyv::RecordPrinter& printer, ConnectionErrors& errors) {
  registerPair(
      "record to line", sample.records,
      [&, out = std::make_shared<kyv::ByteBuffer>()](const Record& record) {
        out->clear();
        printer.appendDelimited(record.bytes.get(), 1, errors, *out);
        return PrintedLine{out->view()};
      },
      [line = std::string()](const Record& record) mutable {
        tradeRecordToLine(record.bytes.get(), line);
        return PrintedLine{line};
      });
}

void registerRowPairs(const Sample& sample, ConnectionRowCsv& csv, ConnectionRowByOrder& byOrder,
                      kyv::RecordPrinter& printer, ConnectionErrors& errors) {
  registerLineToRecord(sample, csv, errors);
  registerLineAppended(sample, csv, errors);
  registerLinesAppended(sample, csv, errors);
  registerFieldsToRecord(sample, byOrder, errors);
  registerRecordToFields(sample, byOrder, errors);
  registerRecordToLine(sample, printer, errors);
}

}  // namespace

void runRowBenchmarks() {
  kyv::StreamSchema schema = tradeSchema();
  Sample sample;
  makeSample(sample, schema);
  ConnectionErrors errors;
  ConnectionRowCsv csv;
  ConnectionRowByOrder byOrder;
  configureTradeRow(csv, schema);
  configureTradeRow(byOrder, schema);
  kyv::RecordPrinter printer(schema);
  registerRowPairs(sample, csv, byOrder, printer, errors);
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace kyv_internal

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kyv_internal::runRowBenchmarks();
  return 0;
}
