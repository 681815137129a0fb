// Loaded before the libraries of a load, this kills the process at one exact point of its work with the store, or loses
// the store's answers:
//
//   LOAD_KILL="PHASE POINT N"   SIGKILL before, halfway through, or after the Nth time that the process comes to a
//   point LOAD_LOSE_ANSWERS=N         every Nth publish is told to have failed; by turns it was done and it was not
//
// Points are calls of the client SDK (position, row, publish), statements of the embedded store (begin, insert, key,
// commit), and its writes into files (write). "halfway" is for writes.

#include <dlfcn.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "kyv/sdk.h"

struct sqlite3_stmt;

namespace {

struct KillPoint {
  char phase[16] = "";
  char point[16] = "";
  long count = 0;
};

KillPoint readKillPoint() {
  KillPoint kill;
  const char* const text = getenv("LOAD_KILL");
  if (text != nullptr) sscanf(text, "%15s %15s %ld", kill.phase, kill.point, &kill.count);
  return kill;
}

// Whether this is the process's last step.
bool isTheEnd(std::string_view phase, std::string_view point) {
  static const KillPoint kill = readKillPoint();
  static std::atomic<long> seen = 0;
  return phase == kill.phase && point == kill.point && ++seen == kill.count;
}

void pass(std::string_view phase, std::string_view point) {
  if (isTheEnd(phase, point)) kill(getpid(), SIGKILL);
}

template <class Function>
Function* next(const char* name, Function*) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// The store's library is no neighbour of this one: its module brought it in for itself.
template <class Function>
Function* inSqlite(const char* name) {
  static void* const library = dlopen("libsqlite3.so.0", RTLD_LAZY | RTLD_NOLOAD);
  return reinterpret_cast<Function*>(dlsym(library, name));
}

const char* pointOf(std::string_view sql) {
  if (sql.starts_with("BEGIN IMMEDIATE")) return "begin";
  if (sql.starts_with("COMMIT")) return "commit";
  if (sql.starts_with("INSERT INTO rows_")) return "insert";
  return sql.starts_with("UPDATE delivery SET key") ? "key" : "";
}

std::atomic<bool> g_answerLost = false;

// The turn of a publish among those whose answer is lost, or 0.
long turnOfLoss() {
  static const char* const text = getenv("LOAD_LOSE_ANSWERS");
  static std::atomic<long> publishes = 0;
  if (text == nullptr) return 0;
  const long every = atol(text);
  const long number = ++publishes;
  return number % every == 0 ? number / every : 0;
}

}  // namespace

extern "C" {

KYV_EXPORT std::int32_t kyv_publisher_get_delivery_key(kyv_publisher_t* publisher, std::int64_t* key,
                                                       std::int64_t* rows, kyv_error_t* error) {
  static auto* const original = next("kyv_publisher_get_delivery_key", &kyv_publisher_get_delivery_key);
  const std::int32_t result = original(publisher, key, rows, error);
  pass("after", "position");
  return result;
}

KYV_EXPORT std::int32_t kyv_message_writer_add_record(kyv_message_writer_t* writer, const void* record,
                                                      std::uint32_t size, kyv_error_t* error) {
  static auto* const original = next("kyv_message_writer_add_record", &kyv_message_writer_add_record);
  pass("before", "row");
  return original(writer, record, size, error);
}

KYV_EXPORT std::int32_t kyv_publisher_publish(kyv_publisher_t* publisher, kyv_message_writer_t* writer,
                                              kyv_error_t* error) {
  static auto* const original = next("kyv_publisher_publish", &kyv_publisher_publish);
  pass("before", "publish");
  const long loss = turnOfLoss();
  g_answerLost = loss > 0;
  const std::int32_t result = loss % 2 == 0 ? original(publisher, writer, error) : -1;
  pass("after", "publish");
  return loss == 0 ? result : -1;
}

KYV_EXPORT std::int32_t kyv_error_get_code(kyv_error_t* error) {
  static auto* const original = next("kyv_error_get_code", &kyv_error_get_code);
  return g_answerLost.exchange(false) ? static_cast<std::int32_t>(KYV_ERROR_STORE) : original(error);
}

KYV_EXPORT int sqlite3_step(sqlite3_stmt* statement) {
  static auto* const original = inSqlite<int(sqlite3_stmt*)>("sqlite3_step");
  static auto* const sqlOf = inSqlite<const char*(sqlite3_stmt*)>("sqlite3_sql");
  const char* const sql = sqlOf(statement);
  const char* const point = pointOf(sql != nullptr ? sql : "");
  pass("before", point);
  const int result = original(statement);
  pass("after", point);
  return result;
}

KYV_EXPORT ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t offset) {
  static auto* const original = next("pwrite64", &pwrite64);
  if (isTheEnd("halfway", "write")) {
    (void)!original(file, bytes, size / 2, offset);
    kill(getpid(), SIGKILL);
  }
  return original(file, bytes, size, offset);
}

}  // extern "C"
