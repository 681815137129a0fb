#pragma once

// The file of a project: where it lies, and a connection to it.
//
// KYV_STORE_DIR names the folder of all files; without it they lie in kyv below XDG_DATA_HOME, or .local/share/kyv in
// the home folder. A project's file is WORKSPACE/PATH.NUMBER.kyv there. KYV_STORE_SYNC says when a publish is on the
// disk: "full", the default, before the call returns; "normal" soon after, so that a loss of power (no crash of a
// process) may lose the last ones.

#include <sqlite3.h>

#include <memory>
#include <string>

#include "platform/sdk/failure.h"
#include "platform/sdk/project_uri.h"
#include "platform/sdk/settings.h"

namespace kyv_internal {

class ProjectFile {
 public:
  // Opens the project's file, and makes it when it is not there. A file that is none of ours stays as it is.
  [[nodiscard]] bool open(const ProjectAddress& project, const Settings& settings, Failure& failure);

  const std::string& path() const { return path_; }
  sqlite3* connection() const { return connection_.get(); }
  // Runs statements that give no rows.
  [[nodiscard]] bool run(const char* sql);
  // Says what the last operation on the connection failed of, and returns false.
  bool fails(Failure& failure) const;

 private:
  struct Close {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
  };
  enum class Kind { Ours, Empty, Foreign, Newer, Unreadable };

  bool connect(Failure& failure);
  bool chooseSync(const std::string& sync, Failure& failure);
  bool number(const char* pragma, long long& out);
  Kind kind();
  bool accept(Kind found, Failure& failure) const;
  bool keepLog();
  bool create(Failure& failure);

  std::string path_;
  std::unique_ptr<sqlite3, Close> connection_;
};

}  // namespace kyv_internal
