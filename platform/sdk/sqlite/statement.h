#pragma once

// Statements of the database, prepared once and run many times.

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string_view>

namespace kyv_internal {

class Statement {
 public:
  // False on failure, which the connection describes.
  [[nodiscard]] bool prepare(sqlite3* connection, std::string_view sql);
  bool isPrepared() const { return statement_ != nullptr; }

 private:
  friend class Run;
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// What a step of a run gives: a row, its end, or a failure, which the connection describes.
enum class Step { Row, Done, Failed };

// One run of a prepared statement, which must outlive it. A run that is over holds nothing of the database.
class Run {
 public:
  explicit Run(const Statement& statement) : statement_(statement.statement_.get()) {}
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  // Parameters count from 1; those that are not bound are NULL. Texts and bytes must live as long as the run. What
  // cannot be bound fails the next step.
  Run& bind(int parameter, std::int64_t value);
  Run& bindText(int parameter, std::string_view text);
  Run& bindBytes(int parameter, std::string_view bytes);
  Step step();
  // Runs to the end, without rows that matter.
  [[nodiscard]] bool finish();

  // Columns count from 0; texts and bytes live until the next step.
  std::int64_t number(int column) const;
  bool isNull(int column) const;
  std::string_view bytes(int column) const;

 private:
  void note(int result) { bound_ = bound_ && result == SQLITE_OK; }

  sqlite3_stmt* statement_;
  bool bound_ = true;
};

}  // namespace kyv_internal
