// An adapter that loads rows with guaranteed delivery, and every operation of its store failing in turn: whatever
// happens, every row is in the stream once and in order in the end, and the key agrees.

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

#include "kyv/sdk.h"
#include "tests/sdk/store_fixture.h"

namespace {

constexpr std::int64_t kRows = 23;
constexpr std::int64_t kBatch = 4;
constexpr int kTries = 5;

// Connects, and publishes what is missing; begins anew with its publisher's connection after a failure.
class Loader {
 public:
  explicit Loader(const std::string& uri) : uri_(kyv_uri_create_string(uri.c_str(), error_)) {}
  ~Loader() {
    if (publisher_ != nullptr) kyv_publisher_free(publisher_, error_);
    kyv_uri_free(uri_, error_);
    kyv_error_free(error_);
  }
  Loader(const Loader&) = delete;
  Loader& operator=(const Loader&) = delete;

  // Whether all rows are published; it gives up after a few failures.
  bool run() {
    while (failures_ < kTries && code_ != KYV_ERROR_REPLACED && code_ != KYV_ERROR_HELD) {
      if (connect() && publishRest()) return true;
      code_ = kyv_error_get_code(error_);
      EXPECT_STRNE(kyv_error_get_message(error_), "");
      ++failures_;
      if (publisher_ != nullptr) kyv_publisher_close(publisher_, error_);
    }
    return false;
  }
  int failures() const { return failures_; }
  // Of the last failure.
  std::int32_t code() const { return code_; }

 private:
  bool connect() {
    static const char* const names[] = {"Number"};
    static const std::uint32_t types[] = {2};
    kyv_project_t* const project = kyv_project_get(uri_, nullptr, nullptr, error_);
    if (kyv_project_connect(project, error_) != 0) return false;
    stream_ = kyv_project_define_stream(project, "Rows", 1, 1, names, types, 0, nullptr, error_);
    if (stream_ == nullptr) return false;
    if (publisher_ == nullptr) publisher_ = kyv_project_create_publisher(project, nullptr, error_);
    return publisher_ != nullptr && kyv_publisher_connect(publisher_, error_) == 0 &&
           kyv_publisher_take_delivery(publisher_, "loader", error_) == 0;
  }

  bool publishRest() {
    std::int64_t done = 0;
    if (kyv_publisher_get_delivery_key(publisher_, &done, nullptr, error_) < 0) return false;
    kyv_message_writer_t* const writer = kyv_publisher_get_writer(publisher_, stream_, error_);
    while (done < kRows) {
      const std::int64_t end = std::min(kRows, done + kBatch);
      while (done < end) addRow(writer, ++done);
      if (kyv_publisher_set_delivery_key(publisher_, end, 1, error_) != 0 ||
          kyv_publisher_publish(publisher_, writer, error_) != 0) {
        return false;
      }
    }
    return true;
  }

  void addRow(kyv_message_writer_t* writer, std::int64_t number) {
    kyv_relative_rowwriter_t* const row = kyv_message_writer_get_relative_rowwriter(writer, error_);
    EXPECT_EQ(kyv_relative_rowwriter_start_row(row, error_), 0);
    EXPECT_EQ(kyv_relative_rowwriter_set_long(row, number, error_), 0);
    EXPECT_EQ(kyv_relative_rowwriter_end_row(row, error_), 0);
  }

  kyv_error_t* const error_ = kyv_error_create();
  kyv_uri_t* const uri_;
  kyv_stream_t* stream_ = nullptr;
  kyv_publisher_t* publisher_ = nullptr;
  int failures_ = 0;
  std::int32_t code_ = KYV_ERROR_NONE;
};

// Reads the stream's values; begins anew behind the last one after a failure.
class Reader {
 public:
  explicit Reader(const std::string& uri) : uri_(kyv_uri_create_string(uri.c_str(), error_)) {}
  ~Reader() {
    if (subscriber_ != nullptr) kyv_subscriber_free(subscriber_, error_);
    kyv_uri_free(uri_, error_);
    kyv_error_free(error_);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  bool run() {
    for (; failures_ < kTries; ++failures_) {
      if (connect() && readRest()) return true;
      EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_STORE);
      EXPECT_STRNE(kyv_error_get_message(error_), "");
      if (subscriber_ != nullptr) kyv_subscriber_close(subscriber_, error_);
    }
    return false;
  }
  int failures() const { return failures_; }
  const std::vector<std::int64_t>& values() const { return values_; }

 private:
  bool connect() {
    kyv_project_t* const project = kyv_project_get(uri_, nullptr, nullptr, error_);
    if (kyv_project_connect(project, error_) != 0 || kyv_project_get_stream_count(project, error_) < 0) return false;
    kyv_stream_t* const stream = kyv_project_get_stream(project, "Rows", error_);
    if (stream == nullptr) return false;
    if (subscriber_ == nullptr) subscriber_ = kyv_project_create_subscriber(project, nullptr, error_);
    return kyv_subscriber_connect(subscriber_, error_) == 0 &&
           kyv_subscriber_subscribe_from(subscriber_, stream, last_, error_) == 0;
  }

  bool readRest() {
    for (;;) {
      if (kyv_subscriber_wait(subscriber_, 0, error_) < 0) return false;
      kyv_subscriber_event_t* const event = kyv_subscriber_get_next_event(subscriber_, error_);
      if (event == nullptr) return false;
      if (kyv_subscriber_event_get_type(event, error_) == KYV_EVENT_END) return true;
      kyv_message_reader_t* const reader = kyv_subscriber_event_get_reader(event, error_);
      while (kyv_row_reader_t* const row = kyv_message_reader_next_row(reader, error_)) {
        last_ = kyv_row_reader_get_number(row, error_);
        values_.emplace_back();
        EXPECT_EQ(kyv_row_reader_get_long(row, 0, &values_.back(), error_), 0);
      }
    }
  }

  kyv_error_t* const error_ = kyv_error_create();
  kyv_uri_t* const uri_;
  kyv_subscriber_t* subscriber_ = nullptr;
  std::int64_t last_ = 0;
  std::vector<std::int64_t> values_;
  int failures_ = 0;
};

class FailingStore : public testing::Test {
 protected:
  FailingStore() {
    kyv_sdk_start(nullptr);
    for (std::int64_t i = 1; i <= kRows; ++i) all_.push_back(i);
  }
  ~FailingStore() override {
    unsetenv("KYV_STORE_FAIL");
    std::cout << runs_ << " runs in which an operation of the store failed, " << failures_ << " failures\n";
  }

  void plan(int number, const std::string& how) {
    setenv("KYV_STORE_FAIL", (std::to_string(number) + ' ' + how + ' ' + std::to_string(++plans_)).c_str(), 1);
  }
  std::string uri(int number) const { return "kyv://localhost:0000/default/failing:" + std::to_string(number); }
  void count(int failures) {
    runs_ += failures > 0;
    failures_ += failures;
  }
  void expectAll(const std::string& uri) {
    plan(0, "failed once");
    Reader reader(uri);
    EXPECT_TRUE(reader.run());
    EXPECT_EQ(reader.values(), all_);
  }

  std::vector<std::int64_t> all_;

 private:
  const kyv_test::StoreFolder folder_{"failing", kyv_test::folderInMemory()};
  int plans_ = 0;
  int runs_ = 0;
  int failures_ = 0;
};

constexpr const char* kHows[] = {"failed once", "applied once", "disconnected once",
                                 "failed ever", "applied ever", "disconnected ever"};

TEST_F(FailingStore, LosesAndDoublesNothingOfALoader) {
  int project = 0;
  for (const std::string how : kHows) {
    bool failed = true;
    for (int number = 1; failed; ++number) {
      SCOPED_TRACE(how + ' ' + std::to_string(number));
      plan(number, how);
      ++project;
      {
        Loader loader(uri(project));
        EXPECT_TRUE(loader.run() || how.ends_with("ever"));
        failed = loader.failures() > 0;
        count(loader.failures());
      }
      plan(0, "failed once");
      EXPECT_TRUE(Loader(uri(project)).run());
      expectAll(uri(project));
      ASSERT_LT(number, 100);
    }
  }
}

TEST_F(FailingStore, SkipsNothingForAReader) {
  plan(0, "failed once");
  ASSERT_TRUE(Loader(uri(1)).run());
  for (const std::string how : kHows) {
    bool failed = true;
    for (int number = 1; failed; ++number) {
      SCOPED_TRACE(how + ' ' + std::to_string(number));
      plan(number, how);
      Reader reader(uri(1));
      EXPECT_TRUE(reader.run() || how.ends_with("ever"));
      failed = reader.failures() > 0;
      count(reader.failures());
      const std::vector<std::int64_t>& values = reader.values();
      EXPECT_TRUE(values.empty() || values == all_);
      ASSERT_LT(number, 100);
    }
  }
}

}  // namespace
