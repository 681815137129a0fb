#include "platform/sdk/postgres/connection.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>

namespace kyv_internal {

namespace {

struct FreeOptions {
  void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};
struct FreeText {
  void operator()(char* text) const { PQfreemem(text); }
};

// What the connection string need not say: a server that is gone without a word is noticed in about ten seconds, one
// that does not answer a new connection in three.
const std::map<std::string, std::string> kDefaults = {
    {"application_name", "kyv"},  {"connect_timeout", "3"},  {"keepalives_idle", "5"},
    {"keepalives_interval", "2"}, {"keepalives_count", "3"}, {"tcp_user_timeout", "10000"},
};

// Messages of the server end in a line feed, and may have several lines, some of them indented.
std::string oneLine(std::string_view message) {
  std::string line;
  while (!message.empty()) {
    const std::size_t end = std::min(message.find('\n'), message.size());
    const std::size_t begin = std::min(message.find_first_not_of(" \t"), end);
    if (begin < end && !line.empty()) line += "; ";
    line += message.substr(begin, end - begin);
    message.remove_prefix(std::min(end + 1, message.size()));
  }
  return line;
}

using Options = std::map<std::string, std::string>;

bool readOptions(const std::string& cluster, Options& options, Failure& failure) {
  char* text = nullptr;
  errno = 0;
  const std::unique_ptr<PQconninfoOption, FreeOptions> parsed(PQconninfoParse(cluster.c_str(), &text));
  const std::unique_ptr<char, FreeText> reason(text);
  if (parsed == nullptr && (reason == nullptr || errno == ENOMEM)) {
    return fail(failure, KYV_ERROR_STORE, "out of memory");
  }
  if (parsed == nullptr) {
    return fail(failure, KYV_ERROR_USAGE, "KYV_STORE_CLUSTER is no connection string: %s",
                oneLine(reason.get()).c_str());
  }
  for (const PQconninfoOption* option = parsed.get(); option->keyword != nullptr; ++option) {
    if (option->val != nullptr) options[option->keyword] = option->val;
  }
  options.insert(kDefaults.begin(), kDefaults.end());
  options["target_session_attrs"] = "read-write";
  return true;
}

// A list of as many elements as there are hosts, or one for all of them, begun at another element.
void rotate(std::string& list, std::size_t first) {
  const auto elements = static_cast<std::size_t>(std::count(list.begin(), list.end(), ',')) + 1;
  for (std::size_t i = first % elements; i > 0; --i) {
    const std::size_t comma = list.find(',');
    list = list.substr(comma + 1) + "," + list.substr(0, comma);
  }
}

// Of the server, or of the client library where the server said nothing.
std::string reasonOf(const PGresult* result) {
  const char* const primary = PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY);
  return primary != nullptr ? primary : oneLine(PQresultErrorMessage(result));
}

std::string_view stateOf(const PGresult* result) {
  const char* const state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
  return state != nullptr ? state : "";
}

bool isOneOf(std::string_view state, std::initializer_list<std::string_view> states) {
  for (const std::string_view one : states) {
    if (state == one) return true;
  }
  return false;
}

// By the server's code of an error: a lock that was not free in time, a serialization failure, a deadlock; a server
// that goes down or starts, a session that was ended, a server that became read-only.
Outcome outcomeOf(std::string_view state) {
  if (isOneOf(state, {"55P03", "40001", "40P01"})) return Outcome::Again;
  if (state.empty() || state.starts_with("08") ||
      isOneOf(state, {"57P01", "57P02", "57P03", "57P05", "25006", "25P03"})) {
    return Outcome::Lost;
  }
  return Outcome::Failed;
}

bool isError(const PGresult* result) {
  switch (PQresultStatus(result)) {
    case PGRES_COMMAND_OK:
    case PGRES_TUPLES_OK:
    case PGRES_PIPELINE_SYNC:
      return false;
    default:
      return true;
  }
}

}  // namespace

std::int64_t Answer::number(int row, int column) const {
  const std::string_view value = bytes(row, column);
  return value.size() == sizeof(std::int64_t) ? number64At(value.data()) : 0;
}

bool Answer::flag(int row, int column) const { return bytes(row, column) == std::string_view("\1", 1); }

std::string_view Answer::bytes(int row, int column) const {
  return {PQgetvalue(result_.get(), row, column), static_cast<std::size_t>(PQgetlength(result_.get(), row, column))};
}

bool Connection::open(const std::string& cluster, std::size_t firstHost, std::chrono::milliseconds patience,
                      Failure& failure) {
  Options options;
  if (!readOptions(cluster, options, failure)) return false;
  for (const char* const list : {"host", "hostaddr", "port"}) {
    if (const auto option = options.find(list); option != options.end()) rotate(option->second, firstHost);
  }
  std::vector<const char*> names;
  std::vector<const char*> values;
  for (const auto& [name, value] : options) {
    names.push_back(name.c_str());
    values.push_back(value.c_str());
  }
  names.push_back(nullptr);
  values.push_back(nullptr);
  patience_ = patience;
  connection_.reset(PQconnectdbParams(names.data(), values.data(), 0));
  PGconn* const connection = connection_.get();
  if (PQstatus(connection) == CONNECTION_OK && PQsetnonblocking(connection, 1) == 0 &&
      PQenterPipelineMode(connection) == 1) {
    PQsetNoticeReceiver(connection, &Connection::notice, &warned_);
    return true;
  }
  return fail(failure, KYV_ERROR_STORE, "%s", oneLine(PQerrorMessage(connection)).c_str());
}

void Connection::notice(void* warned, const PGresult* message) {
  const char* const severity = PQresultErrorField(message, PG_DIAG_SEVERITY_NONLOCALIZED);
  if (severity != nullptr && std::strcmp(severity, "WARNING") == 0) *static_cast<bool*>(warned) = true;
}

bool Connection::send(const Query& query) {
  std::vector<const char*> values;
  std::vector<int> lengths;
  for (const std::string& value : query.parameters.values()) {
    values.push_back(value.data());
    lengths.push_back(static_cast<int>(value.size()));
  }
  const std::vector<int> formats(values.size(), 1);
  const int count = static_cast<int>(values.size());
  const Statement& statement = *query.statement;
  if (!prepared_ || *statement.name == '\0') {
    return PQsendQueryParams(connection_.get(), statement.sql, count, nullptr, values.data(), lengths.data(),
                             formats.data(), 1) == 1;
  }
  return PQsendQueryPrepared(connection_.get(), statement.name, count, values.data(), lengths.data(), formats.data(),
                             1) == 1;
}

Outcome Connection::exchange(const std::vector<Query>& queries, Answers& answers, Failure& failure) {
  answers.clear();
  warned_ = false;
  if (isLost_) return lost(failure);
  for (const Query& query : queries) {
    if (!send(query)) return lost(failure);
  }
  return finishExchange(queries.size(), answers, failure);
}

Outcome Connection::commit(const std::vector<Query>& queries, Answers& answers, Failure& failure) {
  const Outcome outcome = exchange(queries, answers, failure);
  if (outcome == Outcome::Lost && silent_) {
    fail(failure, KYV_ERROR_STORE, "a commit is not confirmed; it waits for a standby, or the server hangs");
  }
  if (outcome != Outcome::Done || !warned_) return outcome;
  isLost_ = true;
  fail(failure, KYV_ERROR_STORE, "somebody made the server give up waiting for a standby");
  return Outcome::Lost;
}

Outcome Connection::prepare(const std::vector<const Statement*>& statements, Failure& failure) {
  for (const Statement* statement : statements) {
    if (PQsendPrepare(connection_.get(), statement->name, statement->sql, 0, nullptr) != 1) return lost(failure);
  }
  Answers answers;
  const Outcome outcome = finishExchange(statements.size(), answers, failure);
  prepared_ = outcome == Outcome::Done;
  return outcome;
}

void Connection::rollBack() {
  if (isLost_ || PQtransactionStatus(connection_.get()) == PQTRANS_IDLE) return;
  static constexpr Statement kRollBack{"", "ROLLBACK"};
  Answers answers;
  Failure failure;
  (void)exchange({{&kRollBack}}, answers, failure);  // when it fails, the next exchange will say so
}

// Each statement gives a result and a null, whether it was done or passed over behind a failure, and the end of the
// exchange a result of its own.
Outcome Connection::finishExchange(std::size_t count, Answers& answers, Failure& failure) {
  if (PQpipelineSync(connection_.get()) != 1) return lost(failure);
  Outcome outcome = Outcome::Done;
  for (std::size_t i = 0; i <= count; ++i) {
    PGresult* result = nullptr;
    if (!next(result) || result == nullptr) return lost(failure);
    answers.emplace_back(result);
    if (isError(result) && outcome == Outcome::Done) {
      outcome = outcomeOf(stateOf(result));
      fail(failure, KYV_ERROR_STORE, outcome == Outcome::Again ? "another transaction is in the way: %s" : "%s",
           reasonOf(result).c_str());
    }
    PGresult* end = nullptr;
    if (i < count && (!next(end) || end != nullptr)) return lost(failure);
  }
  isLost_ = outcome == Outcome::Lost;
  return outcome;
}

bool Connection::next(PGresult*& result) {
  while (PQisBusy(connection_.get()) != 0) {
    if (!makeProgress()) return false;
  }
  result = PQgetResult(connection_.get());
  return true;
}

// Sends and receives what can be, and waits for it: any byte that goes or comes is a sign of life.
bool Connection::makeProgress() {
  const int unsent = PQflush(connection_.get());
  if (unsent < 0) return false;
  pollfd ready{PQsocket(connection_.get()), static_cast<short>(unsent > 0 ? POLLIN | POLLOUT : POLLIN), 0};
  const int count = poll(&ready, 1, static_cast<int>(patience_.count()));
  silent_ = count == 0;
  if (count < 0) return errno == EINTR;
  return count > 0 && ((ready.revents & ~POLLOUT) == 0 || PQconsumeInput(connection_.get()) == 1);
}

Outcome Connection::lost(Failure& failure) {
  isLost_ = true;
  const std::string reason = oneLine(PQerrorMessage(connection_.get()));
  fail(failure, KYV_ERROR_STORE, "%s",
       silent_          ? "the server does not answer"
       : reason.empty() ? "the connection was lost"
                        : reason.c_str());
  return Outcome::Lost;
}

}  // namespace kyv_internal
