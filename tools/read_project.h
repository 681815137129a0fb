#pragma once

// A project of the server, read: its streams, and the rows of one.
//
// Operations that fail return false, and error() says why.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "exit_status.h"
#include "kyv/sdk.h"
#include "load_position.h"
#include "schema_file.h"

namespace kyv_internal {

// A row of a stream. Without one the record is empty.
struct StreamRow {
  std::int64_t number = 0;
  std::string_view record;
};

class ReadProject {
 public:
  // Opens a project that is there, and creates none.
  [[nodiscard]] bool open(const std::string& project);
  // The names of its streams, in order.
  [[nodiscard]] bool listStreams(std::vector<std::string>& names);
  // What is known of a stream: its name, number, columns and key.
  [[nodiscard]] bool describe(const std::string& stream, SchemaFile& schema);
  // How far the delivery of an adapter has come; nothing when it never began.
  [[nodiscard]] bool readDelivery(const std::string& adapter, std::optional<LoadPosition>& position);

  // Chooses a stream, and begins behind a row's number.
  [[nodiscard]] bool subscribe(const std::string& stream, std::int64_t after);
  // Goes on to the next row, which lives until the one after it; none when there is none now.
  [[nodiscard]] bool next(StreamRow& row);
  // Waits for a row, at most so many milliseconds.
  [[nodiscard]] bool wait(int millis);

  std::string error() const { return kyv_error_get_message(error_.get()); }
  // Whether the person at the terminal, and no server, has to put it right.
  bool isUsageError() const { return kyv_error_get_code(error_.get()) == KYV_ERROR_USAGE; }
  // Whether what was asked for is not there.
  bool isMissing() const { return kyv_error_get_code(error_.get()) == KYV_ERROR_MISSING; }

 private:
  struct Release {
    void operator()(kyv_error_t* error) const { kyv_error_free(error); }
    void operator()(kyv_uri_t* uri) const { kyv_uri_free(uri, nullptr); }
    void operator()(kyv_subscriber_t* subscriber) const { kyv_subscriber_free(subscriber, nullptr); }
  };

  bool nextEvent();

  std::unique_ptr<kyv_error_t, Release> error_{kyv_error_create()};
  std::unique_ptr<kyv_uri_t, Release> uri_;
  std::unique_ptr<kyv_subscriber_t, Release> subscriber_;
  kyv_project_t* project_ = nullptr;        // the URI's
  kyv_message_reader_t* reader_ = nullptr;  // of the subscriber's event, if that has rows
};

}  // namespace kyv_internal
