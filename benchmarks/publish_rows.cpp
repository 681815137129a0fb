// publish_rows RECORDS BATCH [TIMES]: publishes the trades of a file of records, so many times over, to a stream
// without a key, a batch a publish, with a delivery key, through the SDK and the store that the environment chooses.
// Prints how many rows it published, and the seconds of the clock that took.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "benchmarks/trade_rows.h"
#include "kyv/sdk.h"

namespace kyv_internal {
namespace {

[[noreturn]] void giveUp(const char* what) {
  std::fprintf(stderr, "publish_rows: %s\n", what);
  std::exit(3);
}

class TradePublisher {
 public:
  TradePublisher() {
    kyv_sdk_start(error_);
    uri_ = kyv_uri_create_string("kyv://localhost:0000/default/benchmark:1", error_);
    kyv_project_t* const project = kyv_project_get(uri_, nullptr, nullptr, error_);
    check(kyv_project_connect(project, error_));
    publisher_ = kyv_project_create_publisher(project, nullptr, error_);
    check(kyv_publisher_connect(publisher_, error_));
    check(kyv_publisher_take_delivery(publisher_, "benchmark", error_));
    writer_ = kyv_publisher_get_writer(publisher_, define(project), error_);
  }
  ~TradePublisher() {
    kyv_publisher_free(publisher_, error_);
    kyv_uri_free(uri_, error_);
    kyv_error_free(error_);
  }
  TradePublisher(const TradePublisher&) = delete;
  TradePublisher& operator=(const TradePublisher&) = delete;

  void add(const char* record, std::uint32_t size) {
    check(kyv_message_writer_add_record(writer_, record, size, error_));
  }
  void publish(std::int64_t key) {
    check(kyv_publisher_set_delivery_key(publisher_, key, 1, error_));
    check(kyv_publisher_publish(publisher_, writer_, error_));
  }

 private:
  void check(std::int32_t status) const {
    if (status != 0) giveUp(kyv_error_get_message(error_));
  }
  kyv_stream_t* define(kyv_project_t* project) {
    std::vector<const char*> names;
    std::vector<std::uint32_t> types;
    for (const TradeColumn& column : kTradeColumns) {
      names.push_back(column.name);
      types.push_back(DataTypes::stringToType(column.type));
    }
    return kyv_project_define_stream(project, kTradeStream, kTradeStreamId, kTradeFieldCount, names.data(),
                                     types.data(), 0, nullptr, error_);
  }

  kyv_error_t* const error_ = kyv_error_create();
  kyv_uri_t* uri_ = nullptr;
  kyv_publisher_t* publisher_ = nullptr;
  kyv_message_writer_t* writer_ = nullptr;
};

// Reads the next record; false at the end of the file.
bool readRecord(std::ifstream& file, std::string& record) {
  std::int32_t size = 0;
  if (!file.read(record.data(), sizeof size)) return false;
  std::memcpy(&size, record.data(), sizeof size);
  record.resize(static_cast<std::size_t>(size));
  return static_cast<bool>(file.read(record.data() + sizeof size, size - static_cast<std::int32_t>(sizeof size)));
}

std::int64_t publishAll(TradePublisher& trades, const char* path, std::int64_t batch, std::int64_t done) {
  std::ifstream file(path, std::ios::binary);
  std::string record(sizeof(std::int32_t), '\0');
  while (readRecord(file, record)) {
    trades.add(record.data(), static_cast<std::uint32_t>(record.size()));
    if (++done % batch == 0) trades.publish(done);
  }
  if (done % batch != 0) trades.publish(done);
  return done;
}

}  // namespace
}  // namespace kyv_internal

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) {
    std::fprintf(stderr, "usage: publish_rows RECORDS BATCH [TIMES]\n");
    return 2;
  }
  kyv_internal::TradePublisher trades;
  const auto begin = std::chrono::steady_clock::now();
  std::int64_t rows = 0;
  for (int times = argc == 4 ? std::atoi(argv[3]) : 1; times > 0; --times) {
    rows = kyv_internal::publishAll(trades, argv[1], std::max(1L, std::atol(argv[2])), rows);
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
  std::printf("%lld rows, %.2f s, %.0f rows/s\n", static_cast<long long>(rows), seconds.count(),
              static_cast<double>(rows) / seconds.count());
  return 0;
}
