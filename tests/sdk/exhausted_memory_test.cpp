// Every request for memory failing in turn under every call of sdk.h, its store's included: no exception leaves a call,
// the call says what is wrong, and the same call succeeds when there is memory again. A program of its own, because it
// stands in front of the allocator; sanitizers bring their own and leave it out.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "kyv/sdk.h"
#include "tests/sdk/store_fixture.h"

namespace {

enum class Failing { Once, Ever };

constexpr long kNever = -1;
thread_local long requestsLeft = kNever;  // until one fails
thread_local bool everAfter = false;
thread_local bool failed = false;

bool isRefused() {
  if (requestsLeft == kNever) return false;
  if (requestsLeft > 0) {
    --requestsLeft;
    return false;
  }
  if (!everAfter) requestsLeft = kNever;
  failed = true;
  errno = ENOMEM;
  return true;
}

}  // namespace

// The C library's own allocator under its other names.
extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);

void* malloc(std::size_t bytes) noexcept { return isRefused() ? nullptr : __libc_malloc(bytes); }
void* calloc(std::size_t count, std::size_t bytes) noexcept {
  return isRefused() ? nullptr : __libc_calloc(count, bytes);
}
void* realloc(void* block, std::size_t bytes) noexcept { return isRefused() ? nullptr : __libc_realloc(block, bytes); }
}

namespace {

constexpr int kColumns = 3;
constexpr int kRecordSize = 20 + 4 * (kColumns + 1) + 8 + 8 + 3;

// A record of a long key, a long value and a text.
std::string recordOf(std::int64_t key, std::int64_t value) {
  const std::int32_t words[] = {kRecordSize, 7, 1, 0, kColumns, 36, 44, 52, kRecordSize};
  const std::int64_t values[] = {key, value};
  std::string record(kRecordSize, '\0');
  std::memcpy(record.data(), words, sizeof words);
  std::memcpy(record.data() + 36, values, sizeof values);
  record.replace(52, 2, "ab");
  return record;
}

class ExhaustedMemory : public testing::Test {
 protected:
  ~ExhaustedMemory() override {
    std::cout << calls_ << " calls of the SDK with a request for memory failing, " << failures_ << " of them failed\n";
    kyv_error_free(error_);
  }

  // Makes a call again and again, each time with a later request failing, until none fails any more; then does it the
  // other way, with all requests failing from there on. `before` and `after` have all the memory they want.
  void inTurn(
      const char* what, const std::function<bool()>& call, const std::function<void()>& before = [] {},
      const std::function<void(bool)>& after = [](bool) {}) {
    SCOPED_TRACE(what);
    for (const Failing how : {Failing::Once, Failing::Ever}) {
      bool hit = true;
      for (long requests = 0; hit; ++requests) {
        before();
        const bool done = callWith(call, requests, how, hit);
        if (!done) checkFailure(what, requests, hit);
        after(done);
        ASSERT_LT(requests, 20000);
        ASSERT_TRUE(done || hit) << kyv_error_get_message(error_);
      }
    }
  }

  kyv_error_t* const error_ = kyv_error_create();

 private:
  bool callWith(const std::function<bool()>& call, long requests, Failing how, bool& hit) {
    failed = false;
    everAfter = how == Failing::Ever;
    requestsLeft = requests;
    const bool done = call();
    requestsLeft = kNever;
    hit = failed;
    calls_ += hit;
    return done;
  }
  void checkFailure(const char* what, long requests, bool hit) {
    ++failures_;
    if (std::string(what) == "kyv_error_create") return;  // it has nothing to say it with
    EXPECT_TRUE(hit);
    EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_STORE) << requests << ": " << kyv_error_get_message(error_);
    EXPECT_STRNE(kyv_error_get_message(error_), "") << requests;
  }

  const kyv_test::StoreFolder folder_{"sqlite", kyv_test::folderInMemory()};
  long calls_ = 0;
  long failures_ = 0;
};

kyv_stream_t* define(kyv_project_t* project, const char* name, bool table, kyv_error_t* error) {
  static const char* const names[] = {"Key", "Value", "Text"};
  static const std::uint32_t types[] = {2, 2, 5};
  static const std::int32_t key[] = {0};
  return kyv_project_define_stream(project, name, 1, kColumns, names, types, table ? 1 : 0, key, error);
}

TEST_F(ExhaustedMemory, InOpeningAProject) {
  int number = 0;
  kyv_error_t* made = nullptr;
  inTurn(
      "kyv_error_create", [&] { return (made = kyv_error_create()) != nullptr; }, [] {},
      [&](bool) { kyv_error_free(made); });
  inTurn("kyv_sdk_start", [&] { return kyv_sdk_start(error_) == 0; });
  kyv_uri_t* uri = nullptr;
  std::string text;
  inTurn(
      "kyv_uri_create_string", [&] { return (uri = kyv_uri_create_string(text.c_str(), error_)) != nullptr; },
      [&] { text = "kyv://localhost:0000/default/some/long/path/of/a/project:" + std::to_string(++number); },
      [&](bool done) { EXPECT_TRUE(!done || kyv_uri_free(uri, error_) == 0); });
  kyv_project_t* project = nullptr;
  const auto makeProject = [&](int which) {
    text = "kyv://localhost:0000/default/project:" + std::to_string(which);
    uri = kyv_uri_create_string(text.c_str(), error_);
    project = kyv_project_get(uri, nullptr, nullptr, error_);
  };
  inTurn(
      "kyv_project_connect, a new file", [&] { return kyv_project_connect(project, error_) == 0; },
      [&] { makeProject(++number); },
      [&](bool) {
        EXPECT_EQ(kyv_project_connect(project, error_), 0) << kyv_error_get_message(error_);
        EXPECT_NE(define(project, "Log", false, error_), nullptr) << kyv_error_get_message(error_);
        EXPECT_EQ(kyv_uri_free(uri, error_), 0);
      });
  inTurn(
      "kyv_project_connect, a file that is there", [&] { return kyv_project_connect(project, error_) == 0; },
      [&] { makeProject(number); },
      [&](bool) {
        EXPECT_EQ(kyv_project_connect(project, error_), 0) << kyv_error_get_message(error_);
        EXPECT_EQ(kyv_project_get_stream_count(project, error_), 1) << kyv_error_get_message(error_);
        EXPECT_EQ(kyv_uri_free(uri, error_), 0);
      });
}

// A connected project with a stream.
class ExhaustedMemoryInStreams : public ExhaustedMemory {
 protected:
  ExhaustedMemoryInStreams() {
    kyv_sdk_start(error_);
    uri_ = kyv_uri_create_string("kyv://localhost:0000/default/memory:1", error_);
    project_ = kyv_project_get(uri_, nullptr, nullptr, error_);
    EXPECT_EQ(kyv_project_connect(project_, error_), 0) << message();
  }
  ~ExhaustedMemoryInStreams() override { EXPECT_EQ(kyv_uri_free(uri_, error_), 0); }

  std::string message() const { return kyv_error_get_message(error_); }

  kyv_publisher_t* connectedPublisher() {
    kyv_publisher_t* const publisher = kyv_project_create_publisher(project_, nullptr, error_);
    EXPECT_EQ(kyv_publisher_connect(publisher, error_), 0) << message();
    return publisher;
  }
  // The values of all rows of a stream.
  std::vector<std::int64_t> values(kyv_stream_t* stream) {
    kyv_subscriber_t* const subscriber = kyv_project_create_subscriber(project_, nullptr, error_);
    EXPECT_EQ(kyv_subscriber_connect(subscriber, error_), 0) << message();
    EXPECT_EQ(kyv_subscriber_subscribe(subscriber, stream, error_), 0) << message();
    std::vector<std::int64_t> found;
    kyv_subscriber_event_t* event = nullptr;
    while ((event = kyv_subscriber_get_next_event(subscriber, error_)) != nullptr) {
      if (kyv_subscriber_event_get_type(event, error_) == KYV_EVENT_END) break;
      kyv_message_reader_t* const reader = kyv_subscriber_event_get_reader(event, error_);
      while (kyv_row_reader_t* const row = kyv_message_reader_next_row(reader, error_)) {
        found.emplace_back();
        EXPECT_EQ(kyv_row_reader_get_long(row, 1, &found.back(), error_), 0) << message();
      }
    }
    EXPECT_EQ(message(), "");
    kyv_subscriber_free(subscriber, error_);
    return found;
  }

  kyv_uri_t* uri_ = nullptr;
  kyv_project_t* project_ = nullptr;
};

TEST_F(ExhaustedMemoryInStreams, InDefinitions) {
  int number = 0;
  std::string name;
  kyv_stream_t* stream = nullptr;
  for (const bool table : {true, false}) {
    inTurn(
        "kyv_project_define_stream",
        [&] { return (stream = define(project_, name.c_str(), table, error_)) != nullptr; },
        [&] { name = "a stream with a long name " + std::to_string(number); }, [&](bool done) { number += done; });
  }
  std::int32_t count = 0;
  inTurn("kyv_project_get_stream_count", [&] { return (count = kyv_project_get_stream_count(project_, error_)) >= 0; });
  EXPECT_EQ(count, number);
  inTurn("kyv_project_get_stream_name", [&] { return kyv_project_get_stream_name(project_, 0, error_) != nullptr; });
  inTurn("kyv_project_get_stream", [&] { return kyv_project_get_stream(project_, name.c_str(), error_) == stream; });
  kyv_schema_t* schema = nullptr;
  inTurn("kyv_stream_get_schema", [&] { return (schema = kyv_stream_get_schema(stream, error_)) != nullptr; });
  inTurn("kyv_stream_get_id", [&] { return kyv_stream_get_id(stream, error_) == 1; });
  inTurn("kyv_schema_get_numcolumns", [&] { return kyv_schema_get_numcolumns(schema, error_) == kColumns; });
  inTurn("kyv_schema_get_column_type", [&] { return kyv_schema_get_column_type(schema, 2, error_) == 5; });
  inTurn("kyv_schema_get_column_name", [&] { return kyv_schema_get_column_name(schema, 2, error_) != nullptr; });
  inTurn("kyv_schema_is_key_column", [&] { return kyv_schema_is_key_column(schema, 2, error_) == 0; });
}

TEST_F(ExhaustedMemoryInStreams, InPublishing) {
  kyv_publisher_t* publisher = nullptr;
  inTurn(
      "kyv_publisher_connect", [&] { return kyv_publisher_connect(publisher, error_) == 0; },
      [&] { publisher = kyv_project_create_publisher(project_, nullptr, error_); },
      [&](bool) { EXPECT_EQ(kyv_publisher_free(publisher, error_), 0); });
  inTurn(
      "kyv_project_create_publisher",
      [&] { return (publisher = kyv_project_create_publisher(project_, nullptr, error_)) != nullptr; }, [] {},
      [&](bool done) { EXPECT_TRUE(!done || kyv_publisher_free(publisher, error_) == 0); });

  kyv_stream_t* const stream = define(project_, "Table", true, error_);
  publisher = connectedPublisher();
  kyv_message_writer_t* writer = nullptr;
  inTurn("kyv_publisher_get_writer",
         [&] { return (writer = kyv_publisher_get_writer(publisher, stream, error_)) != nullptr; });
  kyv_relative_rowwriter_t* row = nullptr;
  inTurn("kyv_message_writer_get_relative_rowwriter",
         [&] { return (row = kyv_message_writer_get_relative_rowwriter(writer, error_)) != nullptr; });

  std::vector<std::int64_t> expected;
  std::int64_t key = 0;
  std::string record;
  const auto startRow = [&] { EXPECT_EQ(kyv_relative_rowwriter_start_row(row, error_), 0); };
  const auto finishRow = [&] {
    EXPECT_EQ(kyv_relative_rowwriter_set_long(row, ++key, error_), 0);
    EXPECT_EQ(kyv_relative_rowwriter_set_long(row, -key, error_), 0);
    EXPECT_EQ(kyv_relative_rowwriter_set_null(row, error_), 0);
  };
  inTurn(
      "kyv_message_writer_add_record",
      [&] { return kyv_message_writer_add_record(writer, record.data(), kRecordSize, error_) == 0; },
      [&] {
        ++key;
        record = recordOf(key, 10 * key);
      },
      [&](bool done) {
        if (done) expected.push_back(10 * key);
      });
  inTurn("kyv_relative_rowwriter_start_row", [&] { return kyv_relative_rowwriter_start_row(row, error_) == 0; });
  inTurn("kyv_relative_rowwriter_set_operation",
         [&] { return kyv_relative_rowwriter_set_operation(row, 1, error_) == 0; });
  inTurn(
      "kyv_relative_rowwriter_set_long", [&] { return kyv_relative_rowwriter_set_long(row, key, error_) == 0; },
      [&] {
        startRow();
        ++key;
      },
      [&](bool done) {
        EXPECT_TRUE(done || kyv_relative_rowwriter_set_long(row, key, error_) == 0);
        EXPECT_EQ(kyv_relative_rowwriter_set_long(row, -key, error_), 0);
        EXPECT_EQ(kyv_relative_rowwriter_set_null(row, error_), 0);
        EXPECT_EQ(kyv_relative_rowwriter_end_row(row, error_), 0);
        expected.push_back(-key);
      });
  inTurn(
      "kyv_relative_rowwriter_end_row", [&] { return kyv_relative_rowwriter_end_row(row, error_) == 0; },
      [&] {
        startRow();
        finishRow();
      },
      [&](bool done) {
        if (done) expected.push_back(-key);
      });
  EXPECT_EQ(kyv_publisher_publish(publisher, writer, error_), 0) << message();
  EXPECT_EQ(values(stream), expected) << "of what failed nothing was added";

  inTurn(
      "kyv_publisher_publish", [&] { return kyv_publisher_publish(publisher, writer, error_) == 0; },
      [&] {
        for (int i = 0; i < 3; ++i) {
          ++key;
          record = recordOf(key, 10 * key);
          EXPECT_EQ(kyv_message_writer_add_record(writer, record.data(), kRecordSize, error_), 0) << message();
        }
      },
      [&](bool done) {
        for (std::int64_t i = key - 2; done && i <= key; ++i) expected.push_back(10 * i);
      });
  EXPECT_EQ(values(stream), expected) << "all or nothing";
  inTurn(
      "kyv_publisher_close", [&] { return kyv_publisher_close(publisher, error_) == 0; }, [] {},
      [&](bool) { EXPECT_EQ(kyv_publisher_connect(publisher, error_), 0) << message(); });
  inTurn(
      "kyv_publisher_free", [&] { return kyv_publisher_free(publisher, error_) == 0; }, [] {},
      [&](bool) { publisher = connectedPublisher(); });
  EXPECT_EQ(kyv_publisher_free(publisher, error_), 0);
}

TEST_F(ExhaustedMemoryInStreams, InDeliveries) {
  kyv_stream_t* const stream = define(project_, "Log", false, error_);
  kyv_publisher_t* publisher = nullptr;
  std::int64_t key = 0;
  std::int64_t rows = 0;
  constexpr const char* kAdapter = "an adapter with a long name";
  for (const auto take : {kyv_publisher_take_delivery, kyv_publisher_take_over_delivery}) {
    inTurn(
        "kyv_publisher_take_delivery", [&] { return take(publisher, kAdapter, error_) == 0; },
        [&] { publisher = connectedPublisher(); },
        [&](bool) {
          EXPECT_EQ(take(publisher, kAdapter, error_), 0) << message();
          EXPECT_EQ(kyv_publisher_publish(publisher, kyv_publisher_get_writer(publisher, stream, error_), error_), 0)
              << message();
          EXPECT_EQ(kyv_publisher_free(publisher, error_), 0);
        });
  }
  publisher = connectedPublisher();
  EXPECT_EQ(kyv_publisher_take_delivery(publisher, kAdapter, error_), 0) << message();
  kyv_message_writer_t* const writer = kyv_publisher_get_writer(publisher, stream, error_);
  inTurn("kyv_publisher_set_delivery_key",
         [&] { return kyv_publisher_set_delivery_key(publisher, 41, 2, error_) == 0; });
  EXPECT_EQ(kyv_publisher_publish(publisher, writer, error_), 0) << message();
  inTurn("kyv_publisher_get_delivery_key",
         [&] { return kyv_publisher_get_delivery_key(publisher, &key, &rows, error_) == 1; });
  EXPECT_EQ(key, 41);
  EXPECT_EQ(rows, 2);
  std::int64_t next = 100;
  std::int64_t stored = 41;
  inTurn(
      "kyv_publisher_publish, a key", [&] { return kyv_publisher_publish(publisher, writer, error_) == 0; },
      [&] { EXPECT_EQ(kyv_publisher_set_delivery_key(publisher, ++next, 1, error_), 0); },
      [&](bool done) {
        if (done) stored = next;
        EXPECT_EQ(kyv_publisher_get_delivery_key(publisher, &key, &rows, error_), 1) << message();
        EXPECT_EQ(key, stored);
      });
  EXPECT_EQ(kyv_publisher_free(publisher, error_), 0);
}

TEST_F(ExhaustedMemoryInStreams, InReading) {
  constexpr std::int64_t kRows = 5000;  // of more than one event
  kyv_stream_t* const stream = define(project_, "Log", false, error_);
  kyv_publisher_t* const publisher = connectedPublisher();
  kyv_message_writer_t* const writer = kyv_publisher_get_writer(publisher, stream, error_);
  for (std::int64_t i = 1; i <= kRows; ++i) {
    kyv_message_writer_add_record(writer, recordOf(i, i).data(), kRecordSize, error_);
  }
  EXPECT_EQ(kyv_publisher_publish(publisher, writer, error_), 0) << message();
  EXPECT_EQ(kyv_publisher_free(publisher, error_), 0);

  kyv_subscriber_t* subscriber = nullptr;
  inTurn(
      "kyv_project_create_subscriber",
      [&] { return (subscriber = kyv_project_create_subscriber(project_, nullptr, error_)) != nullptr; }, [] {},
      [&](bool done) { EXPECT_TRUE(!done || kyv_subscriber_free(subscriber, error_) == 0); });
  inTurn(
      "kyv_subscriber_connect", [&] { return kyv_subscriber_connect(subscriber, error_) == 0; },
      [&] { subscriber = kyv_project_create_subscriber(project_, nullptr, error_); },
      [&](bool) { EXPECT_EQ(kyv_subscriber_free(subscriber, error_), 0); });
  subscriber = kyv_project_create_subscriber(project_, nullptr, error_);
  EXPECT_EQ(kyv_subscriber_connect(subscriber, error_), 0) << message();
  inTurn("kyv_subscriber_subscribe", [&] { return kyv_subscriber_subscribe(subscriber, stream, error_) == 0; });
  inTurn("kyv_subscriber_wait", [&] { return kyv_subscriber_wait(subscriber, 0, error_) == 1; });

  std::int64_t seen = 0;
  kyv_subscriber_event_t* event = nullptr;
  const auto takeRows = [&](bool done) {
    if (!done || kyv_subscriber_event_get_type(event, error_) == KYV_EVENT_END) return;
    kyv_message_reader_t* const reader = kyv_subscriber_event_get_reader(event, error_);
    while (kyv_row_reader_t* const row = kyv_message_reader_next_row(reader, error_)) {
      EXPECT_EQ(kyv_row_reader_get_number(row, error_), ++seen);
    }
  };
  inTurn(
      "kyv_subscriber_get_next_event",
      [&] { return (event = kyv_subscriber_get_next_event(subscriber, error_)) != nullptr; }, [] {}, takeRows);
  EXPECT_EQ(seen, kRows) << "no row is lost or given twice";

  EXPECT_EQ(kyv_subscriber_subscribe(subscriber, stream, error_), 0);
  event = kyv_subscriber_get_next_event(subscriber, error_);
  kyv_message_reader_t* reader = nullptr;
  kyv_row_reader_t* row = nullptr;
  std::uint32_t size = 0;
  std::int64_t value = 0;
  inTurn("kyv_subscriber_event_get_type", [&] { return kyv_subscriber_event_get_type(event, error_) > 0; });
  inTurn("kyv_subscriber_event_get_reader",
         [&] { return (reader = kyv_subscriber_event_get_reader(event, error_)) != nullptr; });
  inTurn("kyv_message_reader_next_row", [&] { return (row = kyv_message_reader_next_row(reader, error_)) != nullptr; });
  inTurn("kyv_row_reader_get_record", [&] { return kyv_row_reader_get_record(row, &size, error_) != nullptr; });
  inTurn("kyv_row_reader_get_number", [&] { return kyv_row_reader_get_number(row, error_) > 0; });
  inTurn("kyv_row_reader_is_null", [&] { return kyv_row_reader_is_null(row, 0, error_) == 0; });
  inTurn("kyv_row_reader_get_long", [&] { return kyv_row_reader_get_long(row, 1, &value, error_) == 0; });
  inTurn(
      "kyv_subscriber_close", [&] { return kyv_subscriber_close(subscriber, error_) == 0; }, [] {},
      [&](bool) { EXPECT_EQ(kyv_subscriber_connect(subscriber, error_), 0) << message(); });
  EXPECT_EQ(kyv_subscriber_free(subscriber, error_), 0);
}

}  // namespace
