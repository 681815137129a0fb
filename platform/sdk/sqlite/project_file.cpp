#include "platform/sdk/sqlite/project_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include "platform/sdk/refusals.h"

namespace kyv_internal {

namespace {

namespace fs = std::filesystem;

constexpr int kBusySeconds = 10;  // how long to wait for another process
constexpr std::chrono::milliseconds kRetryAfter{5};

// Pages of the write-ahead log. From the first number on, every commit moves what it can to the project file, behind
// readers' backs. Readers who overlap all the time can keep the log from ever beginning anew; from the second number on
// a commit waits for them, a little.
constexpr int kPagesToMove = 4000;
constexpr int kPagesToWaitFor = 32000;
constexpr int kReaderMillis = 100;

constexpr long long kApplicationId = 0x6B797631;  // "kyv1"
constexpr long long kVersion = 3;

constexpr const char* kTables = R"(
  PRAGMA application_id = 1803122225;
  PRAGMA user_version = 3;
  CREATE TABLE stream (number INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE, id INTEGER NOT NULL,
                       last_row INTEGER NOT NULL);
  CREATE TABLE stream_column (stream INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL,
                              type INTEGER NOT NULL, key_position INTEGER, PRIMARY KEY (stream, position)) WITHOUT ROWID;
  CREATE TABLE delivery (number INTEGER PRIMARY KEY, adapter TEXT NOT NULL UNIQUE, fence INTEGER NOT NULL, key INTEGER,
                         rows_done INTEGER);
)";
static_assert(kApplicationId == 1803122225 && kVersion == 3, "as the tables say");

std::string systemText(int number) { return std::generic_category().message(number); }

fs::path storeFolder(const Settings& settings) {
  if (const std::string given = settings.get("KYV_STORE_DIR"); !given.empty()) return given;
  if (const std::string data = fromEnvironment("XDG_DATA_HOME"); !data.empty()) return fs::path(data) / "kyv";
  if (const std::string home = fromEnvironment("HOME"); !home.empty()) return fs::path(home) / ".local/share/kyv";
  return {};
}

// The number of the system's reason why this process may not write a file, or make it where it is not; 0 when it may.
int whyNotWritable(const fs::path& file) {
  const auto check = [](const fs::path& path) {
    return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 ? 0 : errno;
  };
  const int reason = check(file);
  return reason == ENOENT ? check(file.parent_path()) : reason;
}

bool makeFolders(const fs::path& folder, Failure& failure) {
  fs::path made;
  for (const fs::path& part : folder) {
    made /= part;
    std::error_code error;
    if (fs::is_directory(made, error) || mkdir(made.c_str(), 0777) == 0 || errno == EEXIST) continue;
    return fail(failure, KYV_ERROR_STORE, "the folder '%s' cannot be made: %s", made.c_str(),
                systemText(errno).c_str());
  }
  return true;
}

bool syncFolder(const fs::path& folder) {
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool done = fsync(descriptor) == 0;
  close(descriptor);
  return done;
}

// A new file survives a loss of power only when its folder is on the disk, and the folders above that may be as new.
// Of those, what this user may not open was not made by him.
bool syncFoldersOf(const fs::path& file) {
  fs::path folder = file.parent_path();
  const bool done = syncFolder(folder);
  for (; folder.has_relative_path(); folder = folder.parent_path()) (void)syncFolder(folder.parent_path());
  return done;
}

// Called after every commit with the length of the log; what becomes of it is no failure of the commit.
int moveLog(void*, sqlite3* connection, const char* database, int pages) {
  if (pages < kPagesToMove) return SQLITE_OK;
  const bool wait = pages >= kPagesToWaitFor;
  if (wait) sqlite3_busy_timeout(connection, kReaderMillis);
  sqlite3_wal_checkpoint_v2(connection, database, wait ? SQLITE_CHECKPOINT_RESTART : SQLITE_CHECKPOINT_PASSIVE, nullptr,
                            nullptr);
  if (wait) sqlite3_busy_timeout(connection, kBusySeconds * 1000);
  return SQLITE_OK;
}

}  // namespace

bool ProjectFile::open(const ProjectAddress& project, const Settings& settings, Failure& failure) {
  const fs::path folder = storeFolder(settings);
  if (folder.empty()) {
    return fail(failure, KYV_ERROR_STORE, "there is no place for projects: set KYV_STORE_DIR to a folder");
  }
  std::error_code error;
  const fs::path absolute = fs::absolute(folder, error);
  if (error) {
    return fail(failure, KYV_ERROR_STORE, "the folder of projects cannot be found: %s", error.message().c_str());
  }
  path_ = absolute / project.workspace / (project.path + "." + project.number + ".kyv");
  const bool creates = project.ifMissing == IfMissing::Create;
  if (!creates && !fs::exists(path_, error)) return refuseMissingProject(project, failure);
  if (creates && !makeFolders(fs::path(path_).parent_path(), failure)) return false;
  if (!connect(project.ifMissing, settings, failure)) return false;
  Kind found = Kind::Unreadable;
  {
    Transaction oneMoment(*this);
    if (!oneMoment.beginRead(failure)) return false;
    found = kind();
    if (found != Kind::Empty && !accept(found, failure)) return false;
  }
  if (found == Kind::Empty && !creates) return refuseMissingProject(project, failure);
  return keepLog(failure) && (found != Kind::Empty || create(failure));
}

bool ProjectFile::connect(IfMissing ifMissing, const Settings& settings, Failure& failure) {
  sqlite3* connection = nullptr;
  const int creates = ifMissing == IfMissing::Create ? SQLITE_OPEN_CREATE : 0;
  const int flags = SQLITE_OPEN_READWRITE | creates | SQLITE_OPEN_NOMUTEX;
  const int result = sqlite3_open_v2(path_.c_str(), &connection, flags, nullptr);
  connection_.reset(connection);
  if (result != SQLITE_OK || !protect() || !prepareTransactions()) return fails(failure);
  sqlite3_wal_hook(connection, moveLog, nullptr);
  sqlite3_busy_timeout(connection, kBusySeconds * 1000);
  return chooseSync(settings.get("KYV_STORE_SYNC"), failure);
}

// Whatever a file says, reading it runs none of its code.
bool ProjectFile::protect() {
  for (const auto& [option, value] : {std::pair{SQLITE_DBCONFIG_DEFENSIVE, 1},
                                      {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
                                      {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},
                                      {SQLITE_DBCONFIG_ENABLE_VIEW, 0}}) {
    if (sqlite3_db_config(connection_.get(), option, value, nullptr) != SQLITE_OK) return false;
  }
  return run("PRAGMA cell_size_check = ON");
}

bool ProjectFile::prepareTransactions() {
  sqlite3* const connection = connection_.get();
  return beginRead_.prepare(connection, "BEGIN") && beginWrite_.prepare(connection, "BEGIN IMMEDIATE") &&
         commit_.prepare(connection, "COMMIT") && rollBack_.prepare(connection, "ROLLBACK");
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

// SQLite forgets that it may not write when it then tries to read, and has no system's reason for a full disk.
std::string ProjectFile::cause(int code) const {
  int reason = whyNotWritable(path_);
  if (reason == 0 && code != SQLITE_READONLY) reason = sqlite3_system_errno(connection_.get());
  return reason == 0 ? "" : " (" + systemText(reason) + ")";
}

bool ProjectFile::fails(Failure& failure) const {
  const int code = connection_ != nullptr ? sqlite3_errcode(connection_.get()) & 0xFF : SQLITE_NOMEM;
  const char* const path = path_.c_str();
  const char* const text = sqlite3_errmsg(connection_.get());
  switch (code) {
    case SQLITE_NOTADB:
      return accept(Kind::Foreign, failure);
    case SQLITE_BUSY:
      return fail(failure, KYV_ERROR_STORE, "the project file '%s' was busy for %d seconds", path, kBusySeconds);
    case SQLITE_NOMEM:
      return fail(failure, KYV_ERROR_STORE, "out of memory");
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
    case SQLITE_FULL:
    case SQLITE_READONLY:
      return fail(failure, KYV_ERROR_STORE, "the project file '%s': %s%s", path, text, cause(code).c_str());
    case SQLITE_CORRUPT:
    case SQLITE_OK:  // what must be there is not
    case SQLITE_ROW:
    case SQLITE_DONE:
      return isDamaged(failure);
    case SQLITE_ERROR:  // a table or column is not there
    case SQLITE_CONSTRAINT:
      return fail(failure, KYV_ERROR_STORE, "the project file '%s' is damaged: %s", path, text);
    default:
      return fail(failure, KYV_ERROR_STORE, "the project file '%s': %s", path, text);
  }
}

bool ProjectFile::isDamaged(Failure& failure) const {
  return fail(failure, KYV_ERROR_STORE, "the project file '%s' is damaged", path_.c_str());
}

bool ProjectFile::number(const char* pragma, long long& out) {
  Statement statement;
  if (!statement.prepare(connection_.get(), pragma)) return false;
  Run value(statement);
  if (value.step() != Step::Row) return false;
  out = value.number(0);
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
  if (application == kApplicationId) return version == kVersion ? Kind::Ours : Kind::OtherVersion;
  return application == 0 && version == 0 && tables == 0 ? Kind::Empty : Kind::Foreign;
}

bool ProjectFile::accept(Kind found, Failure& failure) const {
  const char* const path = path_.c_str();
  switch (found) {
    case Kind::Ours:
      return true;
    case Kind::OtherVersion:
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
bool ProjectFile::keepLog(Failure& failure) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(kBusySeconds);
  for (;;) {
    Statement change;
    if (!change.prepare(connection_.get(), "PRAGMA journal_mode = WAL")) return fails(failure);
    Run mode(change);
    const Step step = mode.step();
    if (step == Step::Row && mode.bytes(0) == "wal") return true;
    if (step == Step::Row) {
      return fail(failure, KYV_ERROR_STORE, "the project file '%s' lies where no write-ahead log can be kept",
                  path_.c_str());
    }
    const bool busy = (sqlite3_errcode(connection_.get()) & 0xFF) == SQLITE_BUSY;
    if (!busy || std::chrono::steady_clock::now() > until) return fails(failure);
    std::this_thread::sleep_for(kRetryAfter);
  }
}

// Another process may be about the same: who comes second finds the tables there. Who finds them also knows that the
// folders are on the disk.
bool ProjectFile::create(Failure& failure) {
  Transaction transaction(*this);
  if (!transaction.beginWrite(failure)) return false;
  const Kind found = kind();
  if (found != Kind::Empty) return accept(found, failure);
  if (!syncFoldersOf(path_)) {
    return fail(failure, KYV_ERROR_STORE, "the folder of '%s' cannot be written to the disk: %s", path_.c_str(),
                systemText(errno).c_str());
  }
  return (run(kTables) || fails(failure)) && transaction.commit(failure);
}

// A file that was removed or replaced can be written all the same, and is gone when it is closed.
bool ProjectFile::isInPlace(Failure& failure) const {
  int moved = 0;
  (void)sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return moved == 0 || fail(failure, KYV_ERROR_STORE, "the project file '%s' was removed or replaced", path_.c_str());
}

// Some failures end a transaction by themselves. Where the end fails, the next transaction tries again.
void ProjectFile::rollBack() {
  if (sqlite3_get_autocommit(connection_.get()) == 0) (void)Run(rollBack_).finish();
}

bool Transaction::begin(const Statement& statement, Failure& failure) {
  file_.rollBack();
  return file_.isInPlace(failure) && (Run(statement).finish() || file_.fails(failure));
}

bool Transaction::commit(Failure& failure) { return Run(file_.commit_).finish() || file_.fails(failure); }

}  // namespace kyv_internal
