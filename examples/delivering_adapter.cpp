// A complete inbound adapter: the lines of a file become rows of a stream, each once and in order, however often the
// adapter is killed and started again. delivering_adapter_in_c.c is the same in C.
//
//   printf 'Id,Currency,Rate\n1,EUR,2.5\n2,USD,x\n3,GBP,0.8\n' >rates.csv
//   delivering_adapter examples/rates 1 rates.csv
//   kyv read --project examples/rates:1 --stream Rates
//
// Rows travel in batches. With a batch goes its delivery key, the number of its last line, and the store takes both in
// one transaction: so the key always tells which lines are in the stream. A new run asks for it and goes on behind it;
// what a process remembers counts for nothing. So there is one way out of any failure: end, and be started again.
//
// Exit status: 0 all lines are in the stream, 1 all but bad ones, 2 wrong usage, 3 the file, 4 the server or memory.

#include <kyv/adapter_util.h>
#include <kyv/sdk.h>
#include <kyv/system.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

namespace {

enum Status { kDelivered = 0, kBadLines = 1, kWrongUsage = 2, kFileFailed = 3, kServerFailed = 4 };

constexpr int kLinesABatch = 1000;  // bigger batches are faster, smaller ones arrive sooner

constexpr int kColumns = 3;
constexpr const char* kNames[kColumns] = {"Id", "Currency", "Rate"};
constexpr std::uint32_t kTypes[kColumns] = {DataTypes::kLong, DataTypes::kString, DataTypes::kFloat};

// A message of the catalogue, in the user's language.
template <class... Texts>
std::string message(const char* id, const Texts&... texts) {
  return DALVON::Kyv::ErrorUtility::getModuleErrors("internal-adapters")->getMessage(id, texts...);
}

struct Release {
  void operator()(kyv_error_t* error) const { kyv_error_free(error); }
  void operator()(kyv_uri_t* uri) const { kyv_uri_free(uri, nullptr); }
  void operator()(kyv_publisher_t* publisher) const { kyv_publisher_free(publisher, nullptr); }
};

// The way to the server. After a failure it is good for nothing but to say why.
class Server {
 public:
  Server(std::string project, std::string number) : project_(std::move(project)), number_(std::move(number)) {}
  ~Server() {
    char* text = nullptr;
    books_.deleteGDSupport(&text);
    delete[] text;
  }

  // Keys are kept by adapter. One that is at work already under this name makes us fail.
  bool connect(const std::string& adapter) {
    const std::string address = "kyv://localhost:0000/default/" + project_ + ":" + number_;
    if (kyv_sdk_start(error()) != 0) return false;
    uri_.reset(kyv_uri_create_string(address.c_str(), error()));
    if (uri_ == nullptr) return false;
    kyv_project_t* const project = kyv_project_get(uri_.get(), nullptr, nullptr, error());
    if (project == nullptr || kyv_project_connect(project, error()) != 0) return false;
    kyv_stream_t* const rates =
        kyv_project_define_stream(project, "Rates", 1, kColumns, kNames, kTypes, 0, nullptr, error());
    if (rates == nullptr) return false;
    publisher_.reset(kyv_project_create_publisher(project, nullptr, error()));
    if (publisher_ == nullptr || kyv_publisher_connect(publisher_.get(), error()) != 0) return false;
    if (kyv_publisher_take_delivery(publisher_.get(), adapter.c_str(), error()) != 0) return false;
    writer_ = kyv_publisher_get_writer(publisher_.get(), rates, error());
    return writer_ != nullptr && openBooks(project);
  }

  // The last line that is in the stream; 0 when none is.
  bool readKey(std::int64_t& line) {
    if (kyv_publisher_get_delivery_key(publisher_.get(), &line, nullptr, error()) < 0) return false;
    return keepBooks(line);  // the last run may not have come to it
  }

  // After success rows and key are durable. After a failure only readKey tells whether they are there.
  bool publish(const ConnectionRawTrans& records, std::int64_t lastLine) {
    for (int i = 0; i < records.size(); ++i) {
      std::uint32_t bytes = 0;  // the first word of a record is its length
      std::memcpy(&bytes, records.get(i), sizeof bytes);
      if (kyv_message_writer_add_record(writer_, records.get(i), bytes, error()) != 0) return false;
    }
    if (kyv_publisher_set_delivery_key(publisher_.get(), lastLine, 1, error()) != 0) return false;
    if (kyv_publisher_publish(publisher_.get(), writer_, error()) != 0) return false;
    return keepBooks(lastLine);
  }

  const std::string& project() const { return project_; }
  std::string reason() const { return booksFault_ ? booksFault_.get() : kyv_error_get_message(error()); }

 private:
  kyv_error_t* error() const { return error_.get(); }

  // A stream of one row that shows the key to whoever watches. It is a copy, and may lag behind.
  bool openBooks(kyv_project_t* project) {
    const char* const names[] = {"Adapter", "Key", "Truncated"};
    const std::uint32_t types[] = {DataTypes::kInteger, DataTypes::kLong, DataTypes::kBoolean};
    const std::int32_t key = 0;
    if (kyv_project_define_stream(project, "RatesBooks", 2, 3, names, types, 1, &key, error()) == nullptr) return false;
    char* text = nullptr;  // the project exists, so its number has digits only
    const int failed = books_.createGDSupport("RatesBooks", project_.c_str(), std::atoi(number_.c_str()), &text);
    booksFault_.reset(text);
    return failed == 0;
  }

  bool keepBooks(std::int64_t line) {
    char* text = nullptr;
    const int failed = books_.updateTruncateStream(line, false, &text);
    booksFault_.reset(text);
    return failed == 0;
  }

  const std::string project_;
  const std::string number_;
  std::unique_ptr<kyv_error_t, Release> error_{kyv_error_create()};
  std::unique_ptr<kyv_uri_t, Release> uri_;
  std::unique_ptr<kyv_publisher_t, Release> publisher_;
  kyv_message_writer_t* writer_ = nullptr;  // the publisher's
  GDSupport books_;
  std::unique_ptr<char[]> booksFault_;
};

// The lines of the file below its header, as records.
class Source {
 public:
  explicit Source(const char* file) : in_(file) {
    auto prototype = std::make_unique<ConnectionRowCsv>();
    prototype->setStreamType(&schema_, false);
    pool_.setPrototype(prototype.release());  // the pool's from now on
    if (!in_.is_open())
      fault_ = std::strerror(errno);
    else
      nextLine();  // the header
  }

  const std::string& fault() const { return fault_; }  // why the file cannot be read; empty as long as it can
  std::int64_t line() const { return line_; }          // the last one that was read; 0 is the header

  bool nextLine() {
    errno = 0;
    const bool there = static_cast<bool>(std::getline(in_, text_));
    if (there) ++line_;
    if (in_.bad()) fault_ = std::strerror(errno);
    return there;
  }

  // The next batch; false when there is none. Bad lines leave a message and no record.
  bool read(ConnectionRawTrans& records, ConnectionErrors& errors) {
    const std::int64_t before = line_;
    ConnectionTrans rows;
    pool_.allocTrans(&rows, kLinesABatch);
    for (auto row = rows.begin(); row != rows.end() && nextLine(); ++row) {
      (*row)->setBuffer(text_.data());
      void* const record = (*row)->toRow(static_cast<unsigned long>(line_), &errors);
      if (record != nullptr) records.pushBack(record);  // the transaction frees it
    }
    pool_.freeTrans(&rows);  // cleared, and kept for the next batch
    return line_ > before;
  }

 private:
  std::ifstream in_;
  kyv::StreamSchema schema_{"Rates", 1, {{kNames[0], kTypes[0]}, {kNames[1], kTypes[1]}, {kNames[2], kTypes[2]}}};
  ConnectionRowPool pool_;
  std::string text_;
  std::string fault_;
  std::int64_t line_ = -1;
};

// What a framework around the adapter would show.
void count(AdapterStatisticsMap& statistics, std::int64_t published, std::int64_t bad) {
  statistics.cleanUpData();  // updates keep the old texts
  statistics.addStatistics("rows published", std::to_string(published).c_str());
  statistics.addStatistics("bad lines", std::to_string(bad).c_str());
}

void tell(ConnectionErrors& errors) {
  if (!errors.empty()) std::cerr << errors.report() << '\n';
  errors.clear();
}

// Publishes what the stream lacks of the file.
Status deliver(Source& source, Server& server, std::int64_t key, AdapterStatisticsMap& statistics,
               ConnectionErrors& errors) {
  while (source.line() < key && source.nextLine()) {
  }
  std::int64_t published = 0;
  for (ConnectionRawTrans records; source.read(records, errors); records.clear()) {
    tell(errors);  // of bad lines, before they are done: rather twice, after a crash, than never
    if (!server.publish(records, source.line())) {
      errors.addGeneral(message("publishFailed", "Rates", server.reason()));
      return kServerFailed;
    }
    published += records.size();
    count(statistics, published, source.line() - key - published);
  }
  if (!source.fault().empty() || source.line() < key) return kFileFailed;
  return source.line() - key > published ? kBadLines : kDelivered;
}

Status run(Server& server, const char* file, AdapterStatisticsMap& statistics, ConnectionErrors& errors) {
  Source source(file);
  std::int64_t key = 0;
  Status status = kFileFailed;
  if (source.fault().empty()) {
    if (!server.connect(std::string("delivering_adapter ") + file) || !server.readKey(key)) {
      errors.addGeneral(message("connectionFailed", server.project(), server.reason()));
      return kServerFailed;
    }
    if (key > 0) std::cerr << message("resumed", std::to_string(key)) << '\n';
    status = deliver(source, server, key, statistics, errors);
  }
  const std::string fault = source.fault().empty() ? "lines are missing" : source.fault();
  if (status == kFileFailed) errors.addGeneral(message("fileNotReadable", file, fault));
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: delivering_adapter PROJECT NUMBER FILE\n";
    return kWrongUsage;
  }
  try {
    Server server(argv[1], argv[2]);
    AdapterStatisticsMap statistics;
    ConnectionErrors errors;
    const Status status = run(server, argv[3], statistics, errors);
    tell(errors);
    AdapterStatisticsMap::HashMap numbers;
    statistics.getStatisticsMap(numbers);
    for (const auto& [name, value] : numbers) std::cerr << name << ": " << value << '\n';
    statistics.cleanUpData();
    return status;
  } catch (const std::exception& failure) {  // memory is exhausted
    std::cerr << failure.what() << '\n';
    return kServerFailed;
  }
}
