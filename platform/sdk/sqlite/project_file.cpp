#include "platform/sdk/sqlite/project_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include "platform/sdk/sqlite/statement.h"

namespace kyv_internal {

namespace {

namespace fs = std::filesystem;

constexpr int kBusySeconds = 10;  // how long to wait for another process
constexpr std::chrono::milliseconds kRetryAfter{5};

constexpr long long kApplicationId = 0x6B797631;  // "kyv1"
constexpr long long kVersion = 2;

constexpr const char* kTables = R"(
  PRAGMA application_id = 1803122225;
  PRAGMA user_version = 2;
  CREATE TABLE stream (number INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE, id INTEGER NOT NULL,
                       last_row INTEGER NOT NULL);
  CREATE TABLE stream_column (stream INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL,
                              type INTEGER NOT NULL, key_position INTEGER, PRIMARY KEY (stream, position)) WITHOUT ROWID;
  CREATE TABLE delivery (number INTEGER PRIMARY KEY, adapter TEXT NOT NULL UNIQUE, fence INTEGER NOT NULL, key INTEGER,
                         rows_done INTEGER);
)";
static_assert(kApplicationId == 1803122225 && kVersion == 2, "as the tables say");

fs::path storeFolder(const Settings& settings) {
  if (const std::string given = settings.get("KYV_STORE_DIR"); !given.empty()) return given;
  if (const std::string data = fromEnvironment("XDG_DATA_HOME"); !data.empty()) return fs::path(data) / "kyv";
  if (const std::string home = fromEnvironment("HOME"); !home.empty()) return fs::path(home) / ".local/share/kyv";
  return {};
}

// A new file or folder survives a loss of power only when the folder that has its name is on the disk.
bool syncFolder(const fs::path& folder) {
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool done = fsync(descriptor) == 0;
  close(descriptor);
  return done;
}

bool makeFolders(const fs::path& folder, Failure& failure) {
  fs::path made;
  for (const fs::path& part : folder) {
    const fs::path parent = made;
    made /= part;
    std::error_code error;
    if (fs::is_directory(made, error)) continue;
    const bool done = (mkdir(made.c_str(), 0777) == 0 || errno == EEXIST) && syncFolder(parent);
    if (done) continue;
    return fail(failure, KYV_ERROR_STORE, "the folder '%s' cannot be made: %s", made.c_str(),
                std::generic_category().message(errno).c_str());
  }
  return true;
}

}  // namespace

bool ProjectFile::open(const ProjectAddress& project, const Settings& settings, Failure& failure) {
  const fs::path folder = storeFolder(settings);
  if (folder.empty()) {
    return fail(failure, KYV_ERROR_STORE, "there is no place for projects: set KYV_STORE_DIR to a folder");
  }
  std::error_code error;
  const fs::path path =
      fs::absolute(folder, error) / project.workspace / (project.path + "." + project.number + ".kyv");
  path_ = path.string();
  if (!makeFolders(path.parent_path(), failure) || !connect(failure) ||
      !chooseSync(settings.get("KYV_STORE_SYNC"), failure)) {
    return false;
  }
  const Kind found = kind();
  if (found == Kind::Empty) return create(failure);
  return accept(found, failure);
}

bool ProjectFile::connect(Failure& failure) {
  sqlite3* connection = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  const int result = sqlite3_open_v2(path_.c_str(), &connection, flags, nullptr);
  connection_.reset(connection);
  if (result != SQLITE_OK) return fails(failure);
  sqlite3_busy_timeout(connection, kBusySeconds * 1000);
  return true;
}

bool ProjectFile::chooseSync(const std::string& sync, Failure& failure) {
  if (!sync.empty() && sync != "full" && sync != "normal") {
    return fail(failure, KYV_ERROR_USAGE, "KYV_STORE_SYNC is '%s', not full or normal", sync.c_str());
  }
  return run(sync == "normal" ? "PRAGMA synchronous = NORMAL" : "PRAGMA synchronous = FULL") || fails(failure);
}

bool ProjectFile::run(const char* sql) {
  return sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool ProjectFile::fails(Failure& failure) const {
  const int code = connection_ != nullptr ? sqlite3_errcode(connection_.get()) & 0xFF : SQLITE_NOMEM;
  const char* const path = path_.c_str();
  switch (code) {
    case SQLITE_NOTADB:
      return accept(Kind::Foreign, failure);
    case SQLITE_CORRUPT:
      return fail(failure, KYV_ERROR_STORE, "the project file '%s' is damaged", path);
    case SQLITE_BUSY:
      return fail(failure, KYV_ERROR_STORE, "the project file '%s' was busy for %d seconds", path, kBusySeconds);
    case SQLITE_NOMEM:
      return fail(failure, KYV_ERROR_STORE, "out of memory");
    default:
      return fail(failure, KYV_ERROR_STORE, "the project file '%s': %s", path, sqlite3_errmsg(connection_.get()));
  }
}

bool ProjectFile::number(const char* pragma, long long& out) {
  Statement statement;
  if (!statement.prepare(connection_.get(), pragma) || statement.step() != Statement::Step::Row) return false;
  out = statement.number(0);
  return true;
}

ProjectFile::Kind ProjectFile::kind() {
  long long application = 0;
  long long version = 0;
  long long tables = 0;
  if (!number("PRAGMA application_id", application) || !number("PRAGMA user_version", version) ||
      !number("SELECT count(*) FROM sqlite_schema", tables)) {
    return Kind::Unreadable;
  }
  if (application == kApplicationId) return version == kVersion ? Kind::Ours : Kind::Newer;
  return application == 0 && version == 0 && tables == 0 ? Kind::Empty : Kind::Foreign;
}

bool ProjectFile::accept(Kind found, Failure& failure) const {
  const char* const path = path_.c_str();
  switch (found) {
    case Kind::Ours:
      return true;
    case Kind::Newer:
      return fail(failure, KYV_ERROR_STORE, "the project file '%s' was made by another version", path);
    case Kind::Unreadable:
      return fails(failure);
    case Kind::Empty:
    case Kind::Foreign:
      break;
  }
  return fail(failure, KYV_ERROR_STORE, "'%s' is no project file", path);
}

// With a write-ahead log, which the file remembers, readers and the writer do not wait for each other. The switch does
// not wait for another process by itself.
bool ProjectFile::keepLog() {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(kBusySeconds);
  while (!run("PRAGMA journal_mode = WAL")) {
    const bool busy = (sqlite3_errcode(connection_.get()) & 0xFF) == SQLITE_BUSY;
    if (!busy || std::chrono::steady_clock::now() > until) return false;
    std::this_thread::sleep_for(kRetryAfter);
  }
  return true;
}

// Another process may be about the same: who comes second finds the tables there.
bool ProjectFile::create(Failure& failure) {
  if (!keepLog() || !run("BEGIN IMMEDIATE")) return fails(failure);
  const Kind found = kind();
  const bool done = found == Kind::Empty ? run(kTables) || fails(failure) : accept(found, failure);
  if (!done || !run("COMMIT")) {
    if (done) fails(failure);
    (void)run("ROLLBACK");
    return false;
  }
  if (syncFolder(fs::path(path_).parent_path())) return true;
  return fail(failure, KYV_ERROR_STORE, "the folder of '%s' cannot be written to the disk", path_.c_str());
}

}  // namespace kyv_internal
