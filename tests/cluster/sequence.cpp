// The publisher and the reader of the tests that make servers fail.
//
//   sequence publish PROGRESS    publishes the rows 1, 2, 3... with their numbers as delivery keys until SIGTERM; the
//   file
//                                PROGRESS says which was acknowledged last. Now and then it cuts its own connection
//                                at a commit, before or after the server gets it
//   sequence check LAST          the stream must hold 1 to LAST, in order and nothing else
//   sequence intrude             publishes a row that does not belong there, which must fail
//
// What failed is counted on standard output. A failure that the store reports is answered as an adapter does: it reads
// the delivery key, and goes on behind it.

#include <dlfcn.h>
#include <fcntl.h>
#include <kyv/data_types.h>
#include <kyv/sdk.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr int kRowsInAPublish = 7;
constexpr int kCommitsBetweenCuts = 40;

std::atomic<bool> stopped = false;

// --- Cutting

int commits = 0;
int cutsBefore = 0;
int cutsBehind = 0;

using Send = ssize_t (*)(int, const void*, std::size_t, int);

// A publish with a key, as it executes prepared statements: their texts are not sent again.
bool isCommit(std::string_view bytes) {
  return bytes.find("kyv_store_key") != bytes.npos && bytes.find("UPDATE") == bytes.npos;
}

}  // namespace

// Stands before the C library's function of this name, which the store's client library calls.
extern "C" KYV_EXPORT ssize_t send(int socket, const void* bytes, std::size_t size, int flags) {
  static const auto real = std::bit_cast<Send>(dlsym(RTLD_NEXT, "send"));
  const bool cuts = isCommit({static_cast<const char*>(bytes), size}) && ++commits % kCommitsBetweenCuts == 0;
  if (!cuts) return real(socket, bytes, size, flags);
  const bool isBefore = commits / kCommitsBetweenCuts % 2 == 0;
  ++(isBefore ? cutsBefore : cutsBehind);
  const ssize_t sent = isBefore ? static_cast<ssize_t>(size) : real(socket, bytes, size, flags);
  shutdown(socket, SHUT_RDWR);
  return sent;
}

namespace {

// --- The client

struct Client {
  kyv_error_t* error = kyv_error_create();
  kyv_project_t* project = nullptr;
  kyv_stream_t* stream = nullptr;

  void require(bool done, const char* what) const {
    if (done) return;
    std::fprintf(stderr, "%s: %s\n", what, kyv_error_get_message(error));
    std::_Exit(1);
  }
};

Client connect() {
  Client client;
  client.require(kyv_sdk_start(client.error) == 0, "start");
  kyv_uri_t* const uri = kyv_uri_create_string("kyv://localhost:0000/default/faults:1", client.error);
  client.project = kyv_project_get(uri, nullptr, nullptr, client.error);
  client.require(kyv_project_connect(client.project, client.error) == 0, "connect");
  const char* const column = "Number";
  const std::uint32_t type = DataTypes::kLong;
  client.stream = kyv_project_define_stream(client.project, "Sequence", 1, 1, &column, &type, 0, nullptr, client.error);
  client.require(client.stream != nullptr, "define");
  return client;
}

class Publisher {
 public:
  explicit Publisher(const Client& client)
      : client_(client),
        publisher_(kyv_project_create_publisher(client.project, nullptr, client.error)),
        writer_(kyv_publisher_get_writer(publisher_, client.stream, client.error)),
        row_(kyv_message_writer_get_relative_rowwriter(writer_, client.error)) {
    client.require(kyv_publisher_connect(publisher_, client.error) == 0, "connect");
  }

  void takeDelivery() {
    client_.require(kyv_publisher_take_delivery(publisher_, "sequence", client_.error) == 0, "take");
  }

  // The key to go on behind; waits until the store can tell.
  std::int64_t deliveryKey() {
    std::int64_t key = 0;
    std::int64_t rowsDone = 0;
    while (kyv_publisher_get_delivery_key(publisher_, &key, &rowsDone, client_.error) < 0) {
      client_.require(kyv_error_get_code(client_.error) == KYV_ERROR_STORE, "read the key");
      ++unreadKeys;
    }
    return key;
  }

  // The rows behind a number. False when it failed and may be done or not.
  bool publishBehind(std::int64_t last) {
    for (std::int64_t number = last + 1; number <= last + kRowsInAPublish; ++number) addRow(number);
    kyv_publisher_set_delivery_key(publisher_, last + kRowsInAPublish, 1, client_.error);
    if (kyv_publisher_publish(publisher_, writer_, client_.error) == 0) return true;
    client_.require(kyv_error_get_code(client_.error) == KYV_ERROR_STORE, "publish");
    ++failures;
    return false;
  }

  bool publishStranger() {
    addRow(-1);
    return kyv_publisher_publish(publisher_, writer_, client_.error) == 0;
  }

  int failures = 0;
  int unreadKeys = 0;

 private:
  void addRow(std::int64_t number) {
    kyv_relative_rowwriter_start_row(row_, client_.error);
    kyv_relative_rowwriter_set_long(row_, number, client_.error);
    client_.require(kyv_relative_rowwriter_end_row(row_, client_.error) == 0, "row");
  }

  const Client& client_;
  kyv_publisher_t* const publisher_;
  kyv_message_writer_t* const writer_;
  kyv_relative_rowwriter_t* const row_;
};

// --- Commands

// Of a fixed width, so that a reader never sees half of an old one.
void tellProgress(int file, std::int64_t last) {
  char text[32];
  const int size = std::snprintf(text, sizeof text, "%019lld\n", static_cast<long long>(last));
  if (pwrite(file, text, static_cast<std::size_t>(size), 0) != size) std::perror("progress");
}

int publish(const char* progress) {
  signal(SIGTERM, [](int) { stopped = true; });
  const Client client = connect();
  Publisher publisher(client);
  publisher.takeDelivery();
  const int file = open(progress, O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  std::int64_t last = publisher.deliveryKey();
  std::chrono::steady_clock::duration longest{};
  while (!stopped) {
    const auto begin = std::chrono::steady_clock::now();
    last = publisher.publishBehind(last) ? last + kRowsInAPublish : publisher.deliveryKey();
    longest = std::max(longest, std::chrono::steady_clock::now() - begin);
    tellProgress(file, last);
  }
  std::printf(
      "%lld rows acknowledged, %d commits sent, %d cut before and %d behind the server's receipt, %d publishes and %d "
      "readings of the key failed, longest publish %.1f s\n",
      static_cast<long long>(last), commits, cutsBefore, cutsBehind, publisher.failures, publisher.unreadKeys,
      std::chrono::duration<double>(longest).count());
  return 0;
}

// How many rows are as they must be; the rest, one by one.
int check(std::int64_t last) {
  const Client client = connect();
  kyv_subscriber_t* const subscriber = kyv_project_create_subscriber(client.project, nullptr, client.error);
  client.require(kyv_subscriber_connect(subscriber, client.error) == 0 &&
                     kyv_subscriber_subscribe(subscriber, client.stream, client.error) == 0,
                 "subscribe");
  std::int64_t expected = 1;
  int wrong = 0;
  for (;;) {
    kyv_subscriber_event_t* const event = kyv_subscriber_get_next_event(subscriber, client.error);
    client.require(event != nullptr, "read");
    if (kyv_subscriber_event_get_type(event, client.error) == KYV_EVENT_END) break;
    kyv_message_reader_t* const reader = kyv_subscriber_event_get_reader(event, client.error);
    while (kyv_row_reader_t* const row = kyv_message_reader_next_row(reader, client.error)) {
      std::int64_t number = 0;
      client.require(kyv_row_reader_get_long(row, 0, &number, client.error) == 0, "value");
      if (number != expected) ++wrong;
      expected = number + 1;
    }
  }
  const bool isWhole = wrong == 0 && expected == last + 1;
  std::printf("%lld of %lld rows are there, %d out of order or double\n", static_cast<long long>(expected - 1),
              static_cast<long long>(last), wrong);
  return isWhole ? 0 : 1;
}

int intrude() {
  const Client client = connect();
  if (Publisher(client).publishStranger()) {
    std::puts("a primary without standbys has acknowledged a row");
    return 1;
  }
  std::printf("refused: %s\n", kyv_error_get_message(client.error));
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "publish" && argc == 3) return publish(argv[2]);
  if (command == "check" && argc == 3) return check(std::atoll(argv[2]));
  if (command == "intrude" && argc == 2) return intrude();
  std::fputs("usage: sequence publish PROGRESS | check LAST | intrude\n", stderr);
  return 2;
}
