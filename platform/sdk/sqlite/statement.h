#pragma once

// One statement of the database, prepared once and run many times.

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string_view>

namespace kyv_internal {

class Statement {
 public:
  // What a run gives: a row, its end, or a failure, which the connection describes.
  enum class Step { Row, Done, Failed };

  // Prepares on first use. The text must outlive the statement.
  Statement() = default;

  [[nodiscard]] bool prepare(sqlite3* connection, std::string_view sql);
  bool isPrepared() const { return statement_ != nullptr; }

  // Parameters count from 1. Texts and bytes must live until the run is over.
  Statement& bind(int parameter, std::int64_t value);
  Statement& bindNull(int parameter);
  Statement& bindText(int parameter, std::string_view text);
  Statement& bindBytes(int parameter, std::string_view bytes);
  Step step();
  // Ends a run; the next one binds anew.
  void reset();
  // A run without rows that matter.
  [[nodiscard]] bool run();

  // Columns count from 0; texts and bytes live until the next step.
  std::int64_t number(int column) const;
  bool isNull(int column) const;
  std::string_view bytes(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

}  // namespace kyv_internal
