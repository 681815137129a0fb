#pragma once

// A connection to the primary of a cluster, and exchanges on it: several statements are sent together, and all answers
// are read, so that an exchange costs one round trip whatever it holds.
//
// Nothing here waits for ever. A server that gives no sign of life for the time that open() was given counts as lost,
// as does one that may not be written to.

#include <libpq-fe.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sdk/failure.h"
#include "platform/sdk/postgres/parameters.h"

namespace kyv_internal {

// How an exchange ended. All but Done have filled a failure.
enum class Outcome {
  Done,
  Again,  // nothing was changed: a lock was not free, or two transactions were in each other's way
  Lost,   // the connection is of no use any more, and whether the last commit was done is not known
  Failed  // nothing was changed, and the same again would fail the same way
};

// The text of a statement. One with a name is known by it once prepare() was called.
struct Statement {
  const char* name;
  const char* sql;
};

struct Query {
  const Statement* statement;
  Parameters parameters = {};
};

// What one statement of an exchange gave. Rows and columns count from 0.
class Answer {
 public:
  explicit Answer(PGresult* result) : result_(result) {}

  int rows() const { return PQntuples(result_.get()); }
  bool isNull(int row, int column) const { return PQgetisnull(result_.get(), row, column) != 0; }
  // Of columns that are a bigint, a boolean, anything.
  std::int64_t number(int row, int column) const;
  bool flag(int row, int column) const;
  // Lives as long as the answer.
  std::string_view bytes(int row, int column) const;

 private:
  struct Clear {
    void operator()(PGresult* result) const { PQclear(result); }
  };

  std::unique_ptr<PGresult, Clear> result_;
};

using Answers = std::vector<Answer>;

class Connection {
 public:
  Connection() = default;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Connects to a host of the connection string that takes writes. Tries each once, beginning with the one at a place
  // (modulo their number). `patience` is how long the server may be silent while it owes an answer.
  [[nodiscard]] bool open(const std::string& cluster, std::size_t firstHost, std::chrono::milliseconds patience,
                          Failure& failure);

  // Sends the statements together. They are one transaction unless they say otherwise, and the first that fails is the
  // last that is done.
  [[nodiscard]] Outcome exchange(const std::vector<Query>& queries, Answers& answers, Failure& failure);
  // The same, for statements that end in a commit. A commit that the server calls done while it says that no standby
  // has confirmed it is Lost.
  [[nodiscard]] Outcome commit(const std::vector<Query>& queries, Answers& answers, Failure& failure);
  [[nodiscard]] Outcome prepare(const std::vector<const Statement*>& statements, Failure& failure);
  // Gives up the transaction that is open, if there is one.
  void rollBack();
  // An exchange was Lost: no other one can follow.
  bool isLost() const { return isLost_; }

 private:
  struct Finish {
    void operator()(PGconn* connection) const { PQfinish(connection); }
  };

  static void notice(void* warned, const PGresult* message);
  bool send(const Query& query);
  Outcome finishExchange(std::size_t count, Answers& answers, Failure& failure);
  // The next result, null between two statements; false when the connection is lost.
  bool next(PGresult*& result);
  bool makeProgress();
  Outcome lost(Failure& failure);

  std::unique_ptr<PGconn, Finish> connection_;
  std::chrono::milliseconds patience_{};
  bool prepared_ = false;
  bool isLost_ = false;
  bool silent_ = false;  // the server did not answer in time
  bool warned_ = false;  // the exchange brought a warning
};

}  // namespace kyv_internal
