#pragma once

// The file of a project: where it lies, a connection to it, and its transactions.
//
// KYV_STORE_DIR names the folder of all files; without it they lie in kyv below XDG_DATA_HOME, or .local/share/kyv in
// the home folder. A project's file is WORKSPACE/PATH.NUMBER.kyv there. KYV_STORE_SYNC says when a publish is on the
// disk: "full", the default, before the call returns; "normal" soon after, so that a loss of power (no crash of a
// process) may lose the last ones.
//
// Nothing but SQLite opens the file: its locks belong to the process, which loses them when it closes the file
// anywhere.

#include <sqlite3.h>

#include <memory>
#include <string>

#include "platform/sdk/failure.h"
#include "platform/sdk/project_uri.h"
#include "platform/sdk/settings.h"
#include "platform/sdk/sqlite/statement.h"

namespace kyv_internal {

class ProjectFile {
 public:
  // Opens the project's file, and makes it when it is not there, unless the address says not to. A file that is none of
  // ours stays as it is.
  [[nodiscard]] bool open(const ProjectAddress& project, const Settings& settings, Failure& failure);

  sqlite3* connection() const { return connection_.get(); }
  // The file's name without symbolic links.
  const char* path() const { return sqlite3_db_filename(connection_.get(), "main"); }
  // Says what the last operation on the connection failed of, and returns false.
  bool fails(Failure& failure) const;
  // Says that what the file holds cannot be, and returns false.
  bool isDamaged(Failure& failure) const;

 private:
  friend class Transaction;
  struct Close {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
  };
  enum class Kind { Ours, Empty, Foreign, OtherVersion, Unreadable };

  bool connect(IfMissing ifMissing, const Settings& settings, Failure& failure);
  bool prepareTransactions();
  bool protect();
  bool chooseSync(const std::string& sync, Failure& failure);
  [[nodiscard]] bool run(const char* sql);
  bool number(const char* pragma, long long& out);
  Kind kind();
  bool accept(Kind found, Failure& failure) const;
  bool keepLog(Failure& failure);
  bool create(Failure& failure);
  bool isInPlace(Failure& failure) const;
  std::string cause(int code) const;
  void rollBack();

  std::string path_;  // as it was opened
  std::unique_ptr<sqlite3, Close> connection_;
  Statement beginRead_;  // prepared beforehand: ending a transaction must not need memory
  Statement beginWrite_;
  Statement commit_;
  Statement rollBack_;
};

// What the file holds at one moment; or changes, which are dropped unless they are committed.
class Transaction {
 public:
  explicit Transaction(ProjectFile& file) : file_(file) {}
  ~Transaction() { file_.rollBack(); }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  [[nodiscard]] bool beginRead(Failure& failure) { return begin(file_.beginRead_, failure); }
  // Waits for other writers, and keeps them out.
  [[nodiscard]] bool beginWrite(Failure& failure) { return begin(file_.beginWrite_, failure); }
  [[nodiscard]] bool commit(Failure& failure);

 private:
  bool begin(const Statement& statement, Failure& failure);

  ProjectFile& file_;
};

}  // namespace kyv_internal
