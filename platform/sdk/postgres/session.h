#pragma once

// A connection that is ready to work on a project: it is set up, the cluster keeps what it confirms, the tables and the
// project are there, the statements are prepared.
//
// KYV_STORE_CLUSTER is the connection string. KYV_STORE_WAIT is for how many seconds an operation goes on trying when
// the cluster does not answer, 30 unless it is set. KYV_STORE_SYNC says when a publish is done: "full", the default,
// when the primary and a standby have it on their disks; "normal" when the server says so, however it is set up, so
// that a single server does.

#include <chrono>
#include <cstdint>
#include <string>

#include "platform/sdk/postgres/connection.h"
#include "platform/sdk/project_uri.h"
#include "platform/sdk/settings.h"

namespace kyv_internal {

struct SessionOptions {
  std::string cluster;
  std::chrono::milliseconds wait{};
  bool fullSync = true;

  [[nodiscard]] bool read(const Settings& settings, Failure& failure);
};

class Session {
 public:
  // Tries each host once, beginning with the one at a place.
  [[nodiscard]] Outcome open(const SessionOptions& options, std::size_t firstHost, const ProjectAddress& project,
                             Failure& failure);

  Connection& connection() { return connection_; }
  std::int64_t project() const { return project_; }

 private:
  Outcome setUp(const SessionOptions& options, std::chrono::milliseconds patience, Failure& failure);
  Outcome checkTables(const ProjectAddress& project, Failure& failure);
  Outcome makeTables(Failure& failure);
  Outcome findProject(const ProjectAddress& project, Failure& failure);

  Connection connection_;
  std::int64_t project_ = 0;
};

// KYV_ERROR_STORE, for a cluster that does not wait for standbys.
bool refuseAsynchronous(Failure& failure);

}  // namespace kyv_internal
