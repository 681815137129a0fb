#include "kyv/sdk.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/sdk/store_fixture.h"

namespace {

// A connected project with a table, and an error object.
class SdkTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(kyv_sdk_start(error_), 0);
    uri_ = kyv_uri_create_string("kyv://localhost:0000/default/sdk:1", error_);
    project_ = kyv_project_get(uri_, nullptr, nullptr, error_);
    ASSERT_EQ(kyv_project_connect(project_, error_), 0) << message();
    stream_ = define("Keys", {2, 10, 1, 5}, {2});
    ASSERT_NE(stream_, nullptr) << message();
  }
  void TearDown() override {
    kyv_uri_free(uri_, error_);
    kyv_error_free(error_);
  }

  std::string message() const { return kyv_error_get_message(error_); }

  kyv_stream_t* define(const char* name, const std::vector<std::uint32_t>& types,
                       const std::vector<std::int32_t>& key) {
    const char* const names[] = {"a", "b", "c", "d"};
    return kyv_project_define_stream(project_, name, 3, static_cast<std::int32_t>(types.size()), names, types.data(),
                                     static_cast<std::int32_t>(key.size()), key.data(), error_);
  }

  kyv_publisher_t* connectedPublisher() {
    kyv_publisher_t* const publisher = kyv_project_create_publisher(project_, nullptr, error_);
    EXPECT_EQ(kyv_publisher_connect(publisher, error_), 0) << message();
    return publisher;
  }

  // Publishes a row with a value in its long column.
  std::int32_t put(kyv_publisher_t* publisher, std::int64_t value, std::int32_t key, std::int32_t operation = 7) {
    return put(publisher, value, key, error_, operation);
  }
  std::int32_t put(kyv_publisher_t* publisher, std::int64_t value, std::int32_t key, kyv_error_t* error,
                   std::int32_t operation = 7) {
    kyv_message_writer_t* const writer = kyv_publisher_get_writer(publisher, stream_, error);
    kyv_relative_rowwriter_t* const row = kyv_message_writer_get_relative_rowwriter(writer, error);
    EXPECT_EQ(kyv_relative_rowwriter_start_row(row, error), 0);
    EXPECT_EQ(kyv_relative_rowwriter_set_operation(row, operation, error), 0);
    EXPECT_EQ(kyv_relative_rowwriter_set_long(row, value, error), 0);
    EXPECT_EQ(kyv_relative_rowwriter_set_boolean(row, 1, error), 0);
    EXPECT_EQ(kyv_relative_rowwriter_set_integer(row, key, error), 0);
    EXPECT_EQ(kyv_relative_rowwriter_set_null(row, error), 0);
    EXPECT_EQ(kyv_relative_rowwriter_end_row(row, error), 0);
    return kyv_publisher_publish(publisher, writer, error);
  }

  // The long values up to the next end.
  std::vector<std::int64_t> values(kyv_subscriber_t* subscriber) {
    std::vector<std::int64_t> found;
    for (;;) {
      kyv_subscriber_event_t* const event = kyv_subscriber_get_next_event(subscriber, error_);
      if (event == nullptr || kyv_subscriber_event_get_type(event, error_) != KYV_EVENT_ROWS) return found;
      kyv_message_reader_t* const reader = kyv_subscriber_event_get_reader(event, error_);
      while (kyv_row_reader_t* const row = kyv_message_reader_next_row(reader, error_)) {
        EXPECT_EQ(kyv_row_reader_is_null(row, 0, error_), 0);
        EXPECT_EQ(kyv_row_reader_is_null(row, 3, error_), 1);
        found.emplace_back();
        EXPECT_EQ(kyv_row_reader_get_long(row, 0, &found.back(), error_), 0) << message();
      }
      EXPECT_EQ(message(), "") << "the end of the rows is no failure";
    }
  }

  kyv_error_t* const error_ = kyv_error_create();
  kyv_uri_t* uri_ = nullptr;
  kyv_project_t* project_ = nullptr;
  kyv_stream_t* stream_ = nullptr;

 private:
  const kyv_test::StoreFolder folder_;
};

TEST_F(SdkTest, TellsTheSchemaOfAStream) {
  kyv_schema_t* const schema = kyv_stream_get_schema(kyv_project_get_stream(project_, "Keys", error_), error_);
  EXPECT_EQ(kyv_stream_get_id(stream_, error_), 3);
  EXPECT_EQ(kyv_schema_get_numcolumns(schema, error_), 4);
  EXPECT_EQ(kyv_schema_get_column_type(schema, 1, error_), 10);
  EXPECT_STREQ(kyv_schema_get_column_name(schema, 3, error_), "d");
  EXPECT_EQ(kyv_schema_is_key_column(schema, 2, error_), 1);
  EXPECT_EQ(kyv_schema_is_key_column(schema, 0, error_), 0);
  for (const std::int32_t outside : {-1, 4}) {
    EXPECT_LT(kyv_schema_get_column_type(schema, outside, error_), 0);
    EXPECT_EQ(message(), "stream 'Keys' has no column " + std::to_string(outside));
  }
  EXPECT_EQ(kyv_project_get_stream(project_, "None", error_), nullptr);
  EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_MISSING);
  EXPECT_EQ(message(), "the project has no stream 'None'");
  EXPECT_EQ(define("Keys", {2}, {}), nullptr);
  EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_REFUSED);
  EXPECT_EQ(define("Bad", {2, 2}, {-1}), nullptr);
  EXPECT_EQ(message(), "stream 'Bad': a column of the key is not there, or is named twice");
}

TEST_F(SdkTest, RowsArePublishedAndReadAgainAndAgain) {
  kyv_publisher_t* const publisher = connectedPublisher();
  kyv_subscriber_t* const subscriber = kyv_project_create_subscriber(project_, nullptr, error_);
  EXPECT_EQ(kyv_subscriber_connect(subscriber, error_), 0);
  EXPECT_EQ(kyv_subscriber_subscribe(subscriber, stream_, error_), 0);
  EXPECT_EQ(values(subscriber), std::vector<std::int64_t>());
  EXPECT_EQ(put(publisher, -5, 1), 0) << message();
  EXPECT_EQ(put(publisher, 6, 2), 0);
  EXPECT_EQ(values(subscriber), (std::vector<std::int64_t>{-5, 6})) << "what came since";
  EXPECT_EQ(put(publisher, 7, 1), 0);
  EXPECT_EQ(values(subscriber), (std::vector<std::int64_t>{7}));
  EXPECT_EQ(kyv_subscriber_connect(subscriber, error_), 0);
  EXPECT_EQ(kyv_subscriber_subscribe(subscriber, stream_, error_), 0);
  EXPECT_EQ(values(subscriber), (std::vector<std::int64_t>{6, 7})) << "from the start";

  EXPECT_LT(put(publisher, 8, 1, 1), 0);
  EXPECT_EQ(message(), "row 1 of 1: stream 'Keys' already has a row with this key");
  EXPECT_EQ(put(publisher, 8, 3, 1), 0) << "the row that failed is no longer in the writer";
  EXPECT_EQ(message(), "");
  EXPECT_EQ(kyv_uri_free(uri_, error_), 0);
  EXPECT_EQ(values(subscriber), (std::vector<std::int64_t>{8})) << "subscribers outlive their project's handle";
  EXPECT_EQ(kyv_publisher_free(publisher, error_), 0);
  EXPECT_EQ(kyv_subscriber_free(subscriber, error_), 0);
}

TEST_F(SdkTest, RowsAreCheckedValueByValue) {
  kyv_publisher_t* const publisher = connectedPublisher();
  kyv_message_writer_t* const writer = kyv_publisher_get_writer(publisher, stream_, error_);
  kyv_relative_rowwriter_t* const row = kyv_message_writer_get_relative_rowwriter(writer, error_);
  EXPECT_LT(kyv_relative_rowwriter_set_null(row, error_), 0);
  EXPECT_EQ(message(), "stream 'Keys': no row was started");
  EXPECT_EQ(kyv_relative_rowwriter_start_row(row, error_), 0);
  EXPECT_LT(kyv_relative_rowwriter_set_integer(row, 1, error_), 0);
  EXPECT_EQ(message(), "stream 'Keys': column 'a' is of type long, not integer");
  EXPECT_EQ(kyv_relative_rowwriter_set_long(row, 1, error_), 0) << "of the same column";
  EXPECT_LT(kyv_relative_rowwriter_end_row(row, error_), 0);
  EXPECT_EQ(message(), "stream 'Keys': the row has 1 of 4 columns");
  EXPECT_EQ(kyv_relative_rowwriter_start_row(row, error_), 0);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(kyv_relative_rowwriter_set_null(row, error_), 0);
  EXPECT_LT(kyv_relative_rowwriter_set_null(row, error_), 0);
  EXPECT_EQ(message(), "stream 'Keys': all 4 columns have their values");
  EXPECT_LT(kyv_relative_rowwriter_end_row(row, error_), 0);
  EXPECT_EQ(message(), "stream 'Keys': the key column 'c' is NULL");
  EXPECT_LT(kyv_message_writer_add_record(writer, "x", 1, error_), 0);
  EXPECT_EQ(message(), "stream 'Keys': 1 bytes are no record of that length");
  EXPECT_EQ(kyv_publisher_free(publisher, error_), 0);
}

TEST_F(SdkTest, ADeliveryIsHeldByOneUntilItIsTakenOver) {
  kyv_publisher_t* const first = connectedPublisher();
  kyv_publisher_t* const second = connectedPublisher();
  std::int64_t key = 9;
  std::int64_t rows = 9;
  EXPECT_LT(kyv_publisher_set_delivery_key(first, 1, 1, error_), 0);
  EXPECT_EQ(message(), "the publisher has taken no delivery");
  EXPECT_EQ(kyv_publisher_take_delivery(first, "loader", error_), 0);
  EXPECT_EQ(kyv_publisher_get_delivery_key(first, &key, &rows, error_), 0);
  EXPECT_EQ(key + rows, 0);
  EXPECT_EQ(kyv_publisher_set_delivery_key(first, 41, 2, error_), 0);
  EXPECT_EQ(put(first, 1, 1), 0) << message();
  EXPECT_EQ(put(first, 2, 2), 0) << "a key is stored once";
  EXPECT_LT(kyv_publisher_take_delivery(second, "loader", error_), 0);
  EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_HELD);
  EXPECT_EQ(message(), "another publisher holds the delivery of adapter 'loader'");
  EXPECT_EQ(kyv_project_get_delivery_key(project_, "loader", &key, &rows, error_), 1) << "that anyone may know";
  EXPECT_EQ(key * 10 + rows, 412);
  EXPECT_EQ(kyv_project_get_delivery_key(project_, "another", &key, &rows, error_), 0);
  EXPECT_EQ(key + rows, 0);
  EXPECT_EQ(kyv_publisher_take_over_delivery(second, "loader", error_), 0) << message();
  EXPECT_EQ(kyv_publisher_get_delivery_key(second, &key, &rows, error_), 1);
  EXPECT_EQ(key, 41);
  EXPECT_EQ(rows, 2);
  EXPECT_LT(put(first, 3, 3), 0);
  EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_REPLACED);
  EXPECT_LT(kyv_publisher_take_delivery(first, "loader", error_), 0);
  EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_REPLACED);
  EXPECT_EQ(put(second, 3, 3), 0);
  kyv_publisher_free(first, error_);
  kyv_publisher_free(second, error_);
}

TEST_F(SdkTest, AClosedPublisherGetsItsDeliveryBackUnlessAnotherTookIt) {
  kyv_publisher_t* const first = connectedPublisher();
  kyv_publisher_t* const second = connectedPublisher();
  const auto reconnect = [&] {
    EXPECT_EQ(kyv_publisher_close(first, error_), 0);
    EXPECT_EQ(kyv_publisher_connect(first, error_), 0);
  };
  EXPECT_EQ(kyv_publisher_take_delivery(first, "loader", error_), 0);
  EXPECT_EQ(kyv_publisher_take_delivery(first, "loader", error_), 0) << "again: " << message();
  reconnect();
  EXPECT_LT(kyv_publisher_set_delivery_key(first, 1, 1, error_), 0) << "it was let go";
  EXPECT_EQ(kyv_publisher_take_delivery(first, "loader", error_), 0) << message();
  EXPECT_EQ(kyv_publisher_take_delivery(first, "other", error_), 0) << message();
  EXPECT_EQ(kyv_publisher_take_delivery(second, "loader", error_), 0) << "one at a time: " << message();
  reconnect();
  EXPECT_LT(kyv_publisher_take_delivery(first, "loader", error_), 0);
  EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_REPLACED);
  EXPECT_EQ(kyv_publisher_free(second, error_), 0);
  EXPECT_LT(kyv_publisher_take_delivery(first, "loader", error_), 0);
  EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_REPLACED) << "also when that one has gone";
  EXPECT_EQ(kyv_publisher_take_over_delivery(first, "loader", error_), 0) << message();
  EXPECT_EQ(kyv_publisher_free(first, error_), 0);
}

// Nor is a file, or a folder, made for it.
TEST_F(SdkTest, WhoOnlyReadsFindsNoProjectThatIsNotThere) {
  kyv_uri_t* const uri = kyv_uri_create_string("kyv://localhost:0000/default/none/at/all:1", error_);
  kyv_project_t* const project = kyv_project_get(uri, nullptr, nullptr, error_);
  for (int i = 0; i < 2; ++i) {
    EXPECT_LT(kyv_project_connect_existing(project, error_), 0);
    EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_MISSING);
    EXPECT_EQ(message(), "there is no project 'none/at/all:1'");
  }
  EXPECT_EQ(kyv_project_connect(project, error_), 0) << message();
  EXPECT_EQ(kyv_project_connect_existing(project, error_), 0) << message();
  kyv_uri_free(uri, error_);
}

TEST_F(SdkTest, ListsItsStreams) {
  EXPECT_EQ(kyv_project_get_stream_count(project_, error_), 1);
  EXPECT_NE(define("Another", {2}, {}), nullptr);
  EXPECT_NE(define("Z", {2}, {}), nullptr);
  EXPECT_EQ(kyv_project_get_stream_name(project_, 1, error_), nullptr);
  EXPECT_EQ(message(), "of the project's streams 1 were counted, none is at 1");
  EXPECT_EQ(kyv_project_get_stream_count(project_, error_), 3);
  for (const auto& [index, name] : {std::pair{0, "Another"}, {1, "Keys"}, {2, "Z"}}) {
    EXPECT_STREQ(kyv_project_get_stream_name(project_, index, error_), name);
  }
  EXPECT_EQ(kyv_project_get_stream_name(project_, -1, error_), nullptr);
}

TEST_F(SdkTest, SubscribersBeginBehindANumberAndWaitForMore) {
  kyv_publisher_t* const publisher = connectedPublisher();
  kyv_subscriber_t* const subscriber = kyv_project_create_subscriber(project_, nullptr, error_);
  for (std::int32_t key = 1; key <= 3; ++key) EXPECT_EQ(put(publisher, 10 * key, key), 0) << message();
  EXPECT_LT(kyv_subscriber_wait(subscriber, 0, error_), 0);
  EXPECT_EQ(message(), "the subscriber has no stream");
  EXPECT_EQ(kyv_subscriber_connect(subscriber, error_), 0);
  EXPECT_EQ(kyv_subscriber_subscribe(subscriber, stream_, error_), 0);
  kyv_subscriber_event_t* const event = kyv_subscriber_get_next_event(subscriber, error_);
  kyv_message_reader_t* const reader = kyv_subscriber_event_get_reader(event, error_);
  kyv_row_reader_t* const row = kyv_message_reader_next_row(reader, error_);
  const std::int64_t first = kyv_row_reader_get_number(row, error_);
  EXPECT_GT(first, 0);
  EXPECT_NE(kyv_message_reader_next_row(reader, error_), nullptr);
  const std::int64_t second = kyv_row_reader_get_number(row, error_);
  EXPECT_GT(second, first);
  while (kyv_message_reader_next_row(reader, error_) != nullptr) {
  }
  EXPECT_LT(kyv_row_reader_get_number(row, error_), 0);
  EXPECT_EQ(message(), "the reader is not at a row");

  EXPECT_EQ(kyv_subscriber_subscribe_from(subscriber, stream_, second, error_), 0);
  EXPECT_EQ(kyv_subscriber_wait(subscriber, 0, error_), 1);
  EXPECT_EQ(values(subscriber), (std::vector<std::int64_t>{30}));
  EXPECT_EQ(kyv_subscriber_wait(subscriber, 30, error_), 0);
  EXPECT_EQ(message(), "");
  EXPECT_LT(kyv_subscriber_wait(subscriber, -1, error_), 0);
  EXPECT_LT(kyv_subscriber_subscribe_from(subscriber, stream_, -1, error_), 0);
  EXPECT_EQ(message(), "-1 is no row's number");
  EXPECT_EQ(kyv_publisher_free(publisher, error_), 0);
  EXPECT_EQ(kyv_subscriber_free(subscriber, error_), 0);
}

TEST_F(SdkTest, SeveralThreadsPublishAndReadAtOnce) {
  constexpr int kThreads = 3;
  constexpr int kRows = 20;
  const auto publishRows = [&](int thread) {
    kyv_publisher_t* const publisher = kyv_project_create_publisher(project_, nullptr, nullptr);
    EXPECT_EQ(kyv_publisher_connect(publisher, nullptr), 0);
    for (int i = 0; i < kRows; ++i) EXPECT_EQ(put(publisher, i, kRows * thread + i, nullptr), 0);
    EXPECT_EQ(kyv_publisher_free(publisher, nullptr), 0);
  };
  kyv_subscriber_t* const subscriber = kyv_project_create_subscriber(project_, nullptr, error_);
  EXPECT_EQ(kyv_subscriber_connect(subscriber, error_), 0);
  EXPECT_EQ(kyv_subscriber_subscribe(subscriber, stream_, error_), 0);
  std::size_t read = 0;
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < kThreads; ++thread) threads.emplace_back(publishRows, thread);
    for (int i = 0; i < 20; ++i) read += values(subscriber).size();
  }
  read += values(subscriber).size();
  EXPECT_EQ(read, std::size_t{kThreads * kRows});
  EXPECT_EQ(kyv_subscriber_free(subscriber, error_), 0);
}

// Every call on handles that are null, dead, of another kind, or used too early.
TEST_F(SdkTest, DeadHandlesGiveErrors) {
  kyv_publisher_t* const publisher = kyv_project_create_publisher(project_, nullptr, error_);
  kyv_message_writer_t* const writer = kyv_publisher_get_writer(publisher, stream_, error_);
  kyv_relative_rowwriter_t* const row = kyv_message_writer_get_relative_rowwriter(writer, error_);
  kyv_subscriber_t* const subscriber = kyv_project_create_subscriber(project_, nullptr, error_);
  EXPECT_LT(kyv_publisher_publish(publisher, writer, error_), 0);
  EXPECT_EQ(message(), "the publisher is not connected");
  EXPECT_LT(kyv_subscriber_subscribe(subscriber, stream_, error_), 0);
  EXPECT_EQ(message(), "the subscriber is not connected");
  EXPECT_EQ(kyv_subscriber_get_next_event(subscriber, error_), nullptr);
  EXPECT_EQ(message(), "the subscriber has no stream");
  EXPECT_EQ(kyv_publisher_close(publisher, error_), 0) << "never connected, closed all the same";
  EXPECT_EQ(kyv_publisher_close(publisher, error_), 0);
  EXPECT_EQ(kyv_publisher_free(publisher, error_), 0);
  EXPECT_EQ(kyv_subscriber_free(subscriber, error_), 0);

  auto* const otherKind = static_cast<kyv_publisher_t*>(static_cast<void*>(stream_));
  const std::function<bool()> calls[] = {
      [&] { return kyv_publisher_free(publisher, error_) == 0; },
      [&] { return kyv_publisher_close(publisher, error_) == 0; },
      [&] { return kyv_publisher_connect(otherKind, error_) == 0; },
      [&] { return kyv_publisher_free(nullptr, error_) == 0; },
      [&] { return kyv_publisher_publish(publisher, writer, error_) == 0; },
      [&] { return kyv_message_writer_get_relative_rowwriter(writer, error_) != nullptr; },
      [&] { return kyv_relative_rowwriter_start_row(row, error_) == 0; },
      [&] { return kyv_subscriber_free(subscriber, error_) == 0; },
      [&] { return kyv_subscriber_get_next_event(subscriber, error_) != nullptr; },
      [&] { return kyv_subscriber_event_get_type(nullptr, error_) >= 0; },
      [&] { return kyv_message_reader_next_row(nullptr, error_) != nullptr; },
      [&] { return kyv_row_reader_is_null(nullptr, 0, error_) >= 0; },
      [&] { return kyv_schema_get_numcolumns(nullptr, error_) >= 0; },
      [&] { return kyv_project_connect(nullptr, error_) == 0; },
      [&] { return kyv_project_get_stream(project_, nullptr, error_) != nullptr; },
      [&] { return kyv_uri_create_string(nullptr, error_) != nullptr; },
  };
  for (std::size_t i = 0; i < std::size(calls); ++i) {
    EXPECT_FALSE(calls[i]()) << i;
    EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_USAGE) << i;
    EXPECT_NE(message(), "") << i;
  }
  EXPECT_EQ(kyv_uri_free(uri_, error_), 0);
  EXPECT_LT(kyv_uri_free(uri_, error_), 0);
  EXPECT_LT(kyv_project_connect(project_, nullptr), 0) << "without an error object";
  EXPECT_EQ(kyv_stream_get_schema(stream_, error_), nullptr);

  kyv_error_t* const dead = kyv_error_create();
  EXPECT_EQ(kyv_error_free(dead), 0);
  EXPECT_LT(kyv_error_free(dead), 0);
  EXPECT_LT(kyv_error_free(nullptr), 0);
  EXPECT_STREQ(kyv_error_get_message(dead), "");
  EXPECT_LT(kyv_uri_free(uri_, dead), 0);
}

}  // namespace
