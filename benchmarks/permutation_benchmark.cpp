// Lines and compact records with their columns in another order. Lines beside strings that are cut out and joined, and
// beside the least that can be done with a line: a copy, and each separator found. Records beside a copy.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/pair.h"
#include "benchmarks/trades.h"
#include "kyv/connection_permutation.h"
#include "permutation/compact_row_layout.h"
#include "row2/row2_layout.h"

namespace kyv_internal {
namespace {

constexpr int kRows = 256;
constexpr char kSeparator = ',';

struct FreeRecord {
  void operator()(unsigned char* record) const { std::free(record); }
};
using Record = std::unique_ptr<unsigned char, FreeRecord>;

// Rows of one or two trades each, in external order, and the way to the platform order: the fields the other way round.
struct Sample {
  int columns;
  std::vector<std::string> lines;
  std::vector<std::string> records;
  ConnectionPermutation permutation;
  std::vector<int> externalOf;  // of each platform column
};

std::vector<std::string> split(const std::string& line) {
  std::vector<std::string> fields;
  for (std::size_t begin = 0;;) {
    const std::size_t end = line.find(kSeparator, begin);
    fields.push_back(line.substr(begin, end - begin));
    if (end == std::string::npos) return fields;
    begin = end + 1;
  }
}

std::string compactRecord(const std::vector<std::string>& values) {
  std::string record(compactEntryOffset(values.size()), '\0');
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto offset = static_cast<std::int32_t>(values[i].empty() ? 0 : record.size());
    std::memcpy(record.data() + compactEntryOffset(i), &offset, sizeof offset);
    record += values[i];
  }
  const auto length = static_cast<std::int32_t>(record.size());
  std::memcpy(record.data(), &length, sizeof length);
  return record;
}

void makePermutation(Sample& sample) {
  std::string text;
  std::vector<std::string> platform;
  std::vector<std::string> external;
  for (int i = 0; i < sample.columns; ++i) {
    const int opposite = sample.columns - 1 - i;
    sample.externalOf.push_back(opposite);
    platform.push_back(std::to_string(i));
    external.push_back(std::to_string(i));
    text += std::to_string(i) + '=' + std::to_string(opposite) + ':';
  }
  std::string error;
  sample.permutation.setPermutation(true, text.c_str(), error);
  sample.permutation.setPlatOrder(platform);
  sample.permutation.setExternalOrder(external);
  sample.permutation.prepareOrder(false, error);
}

void makeSample(Sample& sample, int trades) {
  TradeGenerator generator;
  sample.columns = trades * static_cast<int>(kTradeFieldCount);
  for (int row = 0; row < kRows; ++row) {
    std::string line;
    for (int i = 0; i < trades; ++i) {
      generator.appendLine(line);
      line.back() = kSeparator;  // its line feed
    }
    line.pop_back();
    sample.records.push_back(compactRecord(split(line)));
    sample.lines.push_back(std::move(line));
  }
  makePermutation(sample);
}

// Records of ten values of 100 to 300 bytes each.
void makeLongSample(Sample& sample) {
  constexpr unsigned kSeed = 1;
  std::minstd_rand random(kSeed);
  sample.columns = 10;
  for (int row = 0; row < kRows; ++row) {
    std::vector<std::string> values;
    for (int i = 0; i < sample.columns; ++i) values.emplace_back(100 + random() % 201, static_cast<char>('a' + i));
    sample.records.push_back(compactRecord(values));
  }
  makePermutation(sample);
}

// What a program that has no permutation does.
std::string splitAndJoin(const std::vector<int>& externalOf, const std::string& line) {
  const std::vector<std::string> fields = split(line);
  std::string out;
  for (std::size_t i = 0; i < externalOf.size(); ++i) {
    if (i > 0) out += kSeparator;
    out += fields[static_cast<std::size_t>(externalOf[i])];
  }
  return out;
}

std::size_t copyAndSearch(const std::string& line, char* out) {
  std::memcpy(out, line.c_str(), line.size() + 1);
  std::size_t separators = 0;
  const char* const end = line.data() + line.size();
  for (const char* at = line.data();; ++at, ++separators) {
    at = static_cast<const char*>(std::memchr(at, kSeparator, static_cast<std::size_t>(end - at)));
    if (at == nullptr) return separators;
    benchmark::DoNotOptimize(at);
  }
}

Record copyRecord(const std::string& record) {
  Record copy(static_cast<unsigned char*>(std::malloc(record.size())));
  std::memcpy(copy.get(), record.data(), record.size());
  return copy;
}

Record permuteRecord(const Sample& sample, const std::string& record) {
  void* out = nullptr;
  sample.permutation.permuteBinaryRowIn(const_cast<char*>(record.data()), &out);
  return Record(static_cast<unsigned char*>(out));
}

void registerRecords(const std::string& job, const Sample& sample) {
  registerSide(job + "/kyv", sample.records,
               [&sample](const std::string& record) { return permuteRecord(sample, record); });
  registerSide(job + "/peer", sample.records, copyRecord);
}

// Lines and records.
void registerSample(const Sample& sample, std::vector<char>& out) {
  const std::string columns = std::to_string(sample.columns) + " columns";
  const auto permuteLine = [&sample, &out](const std::string& line) {
    sample.permutation.permuteCsvIn(line.c_str(), kSeparator, false, out.data());
    return std::string_view(out.data());
  };
  registerPair("line of " + columns, sample.lines, permuteLine,
               [&sample](const std::string& line) { return splitAndJoin(sample.externalOf, line); });
  const auto permuteOnly = [&sample, &out](const std::string& line) {
    return sample.permutation.permuteCsvIn(line.c_str(), kSeparator, false, out.data());
  };
  registerSide("line of " + columns + ", copied/kyv", sample.lines, permuteOnly);
  registerSide("line of " + columns + ", copied/peer", sample.lines,
               [&out](const std::string& line) { return copyAndSearch(line, out.data()); });
  registerRecords("record of " + columns, sample);
}

}  // namespace

void runPermutationBenchmarks() {
  std::vector<char> out(4096);
  Sample ten;
  Sample twenty;
  Sample longValues;
  makeSample(ten, 1);
  makeSample(twenty, 2);
  makeLongSample(longValues);
  registerSample(ten, out);
  registerSample(twenty, out);
  registerRecords("record of long values", longValues);
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace kyv_internal

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kyv_internal::runPermutationBenchmarks();
  return 0;
}
