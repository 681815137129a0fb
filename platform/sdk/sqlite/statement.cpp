#include "platform/sdk/sqlite/statement.h"

namespace kyv_internal {

bool Statement::prepare(sqlite3* connection, std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  const int result = sqlite3_prepare_v3(connection, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                        &statement, nullptr);
  statement_.reset(statement);
  return result == SQLITE_OK;
}

Statement& Statement::bind(int parameter, std::int64_t value) {
  sqlite3_bind_int64(statement_.get(), parameter, value);
  return *this;
}

Statement& Statement::bindNull(int parameter) {
  sqlite3_bind_null(statement_.get(), parameter);
  return *this;
}

Statement& Statement::bindText(int parameter, std::string_view text) {
  sqlite3_bind_text64(statement_.get(), parameter, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  return *this;
}

Statement& Statement::bindBytes(int parameter, std::string_view bytes) {
  sqlite3_bind_blob64(statement_.get(), parameter, bytes.data(), bytes.size(), SQLITE_STATIC);
  return *this;
}

Statement::Step Statement::step() {
  switch (sqlite3_step(statement_.get())) {
    case SQLITE_ROW:
      return Step::Row;
    case SQLITE_DONE:
      return Step::Done;
    default:
      return Step::Failed;
  }
}

void Statement::reset() { sqlite3_reset(statement_.get()); }

bool Statement::run() {
  const Step result = step();
  reset();
  return result != Step::Failed;
}

std::int64_t Statement::number(int column) const { return sqlite3_column_int64(statement_.get(), column); }

bool Statement::isNull(int column) const { return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL; }

std::string_view Statement::bytes(int column) const {
  const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
  return {bytes, bytes != nullptr ? static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column)) : 0};
}

}  // namespace kyv_internal
