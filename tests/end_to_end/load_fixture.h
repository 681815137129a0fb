#pragma once

// Loads into projects of their own for each test, and what the streams then hold.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kyv/sdk.h"
#include "tests/end_to_end/tool_fixture.h"

namespace kyv_test {

class Load : public Tool {
 protected:
  Load() {
    setenv("KYV_STORE_DIR", path("store").c_str(), 1);
    setenv("XDG_CONFIG_HOME", path("config").c_str(), 1);
    unsetenv("KYV_STORE");
    setenv("LC_ALL", "C", 1);
    EXPECT_EQ(kyv_sdk_start(error_), 0);
  }
  ~Load() override { kyv_error_free(error_); }

  // Starts the tool in the test's folder with these arguments, its output in the files "out" and "err". An input's
  // descriptor is closed here.
  pid_t start(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {},
              int input = -1) const {
    const pid_t child = fork();
    if (child != 0) {
      if (input >= 0) close(input);
      return child;
    }
    if (chdir(path("").c_str()) != 0) _exit(126);
    for (const std::string& variable : environment) putenv(const_cast<char*>(variable.c_str()));
    dup2(input >= 0 ? input : open("/dev/null", O_RDONLY), STDIN_FILENO);
    dup2(open("out", O_WRONLY | O_CREAT | O_TRUNC, 0666), STDOUT_FILENO);
    dup2(open("err", O_WRONLY | O_CREAT | O_TRUNC, 0666), STDERR_FILENO);
    const std::string tool = std::string(kToolDir) + "/kyv";
    std::vector<char*> line = {const_cast<char*>(tool.c_str())};
    for (const std::string& argument : arguments) line.push_back(const_cast<char*>(argument.c_str()));
    line.push_back(nullptr);
    execv(tool.c_str(), line.data());
    _exit(127);
  }

  // The exit status, or the signal that ended it, negative.
  static int ended(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  // The records of a stream, one after another; the numbers of its rows rise.
  std::string stream(const std::string& project, const std::string& name) {
    std::string records;
    kyv_uri_t* const uri = kyv_uri_create_string(("kyv://localhost:0000/default/" + project).c_str(), error_);
    kyv_project_t* const opened = kyv_project_get(uri, nullptr, nullptr, error_);
    EXPECT_EQ(kyv_project_connect_existing(opened, error_), 0) << kyv_error_get_message(error_);
    kyv_subscriber_t* const subscriber = kyv_project_create_subscriber(opened, nullptr, error_);
    EXPECT_EQ(kyv_subscriber_connect(subscriber, error_), 0) << kyv_error_get_message(error_);
    kyv_stream_t* const source = kyv_project_get_stream(opened, name.c_str(), error_);
    EXPECT_EQ(kyv_subscriber_subscribe(subscriber, source, error_), 0) << kyv_error_get_message(error_);
    std::int64_t last = 0;
    while (kyv_subscriber_event_t* const event = kyv_subscriber_get_next_event(subscriber, error_)) {
      if (kyv_subscriber_event_get_type(event, error_) != KYV_EVENT_ROWS) break;
      appendRows(kyv_subscriber_event_get_reader(event, error_), last, records);
    }
    EXPECT_EQ(kyv_error_get_code(error_), KYV_ERROR_NONE) << kyv_error_get_message(error_);
    kyv_subscriber_free(subscriber, error_);
    kyv_uri_free(uri, error_);
    return records;
  }

  // How far an adapter's delivery has come: key and rows of it; nothing before it begins.
  std::optional<std::pair<std::int64_t, std::int64_t>> delivered(const std::string& project,
                                                                 const std::string& adapter) {
    std::pair<std::int64_t, std::int64_t> key;
    kyv_uri_t* const uri = kyv_uri_create_string(("kyv://localhost:0000/default/" + project).c_str(), error_);
    kyv_project_t* const opened = kyv_project_get(uri, nullptr, nullptr, error_);
    const bool found = kyv_project_connect_existing(opened, error_) == 0 &&
                       kyv_project_get_delivery_key(opened, adapter.c_str(), &key.first, &key.second, error_) > 0;
    kyv_uri_free(uri, error_);
    return found ? std::optional(key) : std::nullopt;
  }

 private:
  void appendRows(kyv_message_reader_t* reader, std::int64_t& last, std::string& records) {
    while (kyv_row_reader_t* const row = kyv_message_reader_next_row(reader, error_)) {
      std::uint32_t size = 0;
      const void* const record = kyv_row_reader_get_record(row, &size, error_);
      records.append(static_cast<const char*>(record), size);
      const std::int64_t number = kyv_row_reader_get_number(row, error_);
      EXPECT_GT(number, last);
      last = number;
    }
  }

  kyv_error_t* const error_ = kyv_error_create();
};

}  // namespace kyv_test
