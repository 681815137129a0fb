#include "platform/sdk/sqlite/statement.h"

namespace kyv_internal {

bool Statement::prepare(sqlite3* connection, std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  const int result = sqlite3_prepare_v3(connection, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                        &statement, nullptr);
  statement_.reset(statement);
  return result == SQLITE_OK;
}

Run::~Run() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

Run& Run::bind(int parameter, std::int64_t value) {
  note(sqlite3_bind_int64(statement_, parameter, value));
  return *this;
}

Run& Run::bindText(int parameter, std::string_view text) {
  note(sqlite3_bind_text64(statement_, parameter, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
  return *this;
}

Run& Run::bindBytes(int parameter, std::string_view bytes) {
  note(sqlite3_bind_blob64(statement_, parameter, bytes.data(), bytes.size(), SQLITE_STATIC));
  return *this;
}

Step Run::step() {
  if (!bound_) return Step::Failed;
  switch (sqlite3_step(statement_)) {
    case SQLITE_ROW:
      return Step::Row;
    case SQLITE_DONE:
      return Step::Done;
    default:
      return Step::Failed;
  }
}

bool Run::finish() {
  Step last = step();
  while (last == Step::Row) last = step();
  return last == Step::Done;
}

std::int64_t Run::number(int column) const { return sqlite3_column_int64(statement_, column); }

bool Run::isNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }

std::string_view Run::bytes(int column) const {
  const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
  return {bytes, bytes != nullptr ? static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)) : 0};
}

}  // namespace kyv_internal
