#include "platform/sdk/postgres/session.h"

#include <algorithm>
#include <charconv>

#include "platform/sdk/postgres/statements.h"
#include "platform/sdk/refusals.h"

namespace kyv_internal {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::int64_t kVersion = 1;
constexpr int kLongestWaitSeconds = 86400;

// Settings that a role or a database may have otherwise. Statements find what they name by its whole name alone. A
// statement is never cancelled by the server: a commit would then not wait for its standby. Rows are found by an index
// even while the server has not seen yet how large its tables have become. And a session whose client's machine is gone
// gives up its locks in seconds.
constexpr Statement kSetUp{
    "",
    "SELECT set_config(name, value, false) FROM (VALUES ('search_path', 'pg_catalog'), ('statement_timeout', '0'),"
    " ('lock_timeout', $1::bigint::text), ('idle_in_transaction_session_timeout', $2::bigint::text),"
    " ('idle_session_timeout', '0'),"
    " ('plan_cache_mode', 'force_generic_plan'), ('enable_seqscan', 'off'), ('enable_bitmapscan', 'off'),"
    " ('enable_hashjoin', 'off'), ('enable_mergejoin', 'off'),"
    " ('tcp_keepalives_idle', '5'), ('tcp_keepalives_interval', '2'), ('tcp_keepalives_count', '3'),"
    " ('tcp_user_timeout', '10000')) AS wanted (name, value)"};
// A commit waits for the standby's disk, or longer where the server is set up so.
constexpr Statement kSetFullSync{"",
                                 "SELECT set_config('synchronous_commit', 'on', false)"
                                 " WHERE current_setting('synchronous_commit') <> 'remote_apply'"};
constexpr Statement kReadSync{"",
                              "SELECT current_setting('synchronous_standby_names') <> '',"
                              " current_setting('fsync')::boolean AND current_setting('full_page_writes')::boolean"};

// Asks the catalogue itself: to_regclass() may remember that there was none.
constexpr Statement kHaveTables{"",
                                "SELECT EXISTS (SELECT FROM pg_class c JOIN pg_namespace n ON n.oid = c.relnamespace"
                                " WHERE n.nspname = 'kyv' AND c.relname = 'store')"};
constexpr Statement kReadVersion{"", "SELECT max(version) FROM kyv.store"};
// Of those who find no tables at once, one makes them.
constexpr Statement kLockTables{"", "SELECT pg_advisory_xact_lock(7744876612017193985)"};

// Blocks stay in their page if they can, compressed where the server knows a fast way. Keys may be longer than an index
// takes: those are known by their beginning and their digest. Rows that are updated all the time leave room for that.
constexpr Statement kMakeTables[] = {
    {"", "CREATE SCHEMA IF NOT EXISTS kyv"},
    {"", "CREATE TABLE kyv.store (version bigint PRIMARY KEY)"},
    {"",
     "CREATE TABLE kyv.project (number bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,"
     " address bytea NOT NULL UNIQUE)"},
    {"",
     "CREATE TABLE kyv.stream (number bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY, project bigint NOT NULL,"
     " name bytea NOT NULL, id bigint NOT NULL, last_row bigint NOT NULL, UNIQUE (project, name))"
     " WITH (fillfactor = 50)"},
    {"",
     "CREATE TABLE kyv.stream_column (stream bigint NOT NULL, position bigint NOT NULL, name bytea NOT NULL,"
     " type bigint NOT NULL, key_position bigint, PRIMARY KEY (stream, position))"},
    {"",
     "CREATE TABLE kyv.block (stream bigint NOT NULL, last_row bigint NOT NULL, records bytea NOT NULL,"
     " PRIMARY KEY (stream, last_row))"},
    {"", "ALTER TABLE kyv.block ALTER records SET STORAGE main"},
    {"",
     "DO $$ BEGIN ALTER TABLE kyv.block ALTER records SET COMPRESSION lz4;"
     " EXCEPTION WHEN feature_not_supported THEN ALTER TABLE kyv.block ALTER records SET STORAGE external,"
     " SET (toast_tuple_target = 8160); END $$"},
    {"",
     "CREATE TABLE kyv.entry (stream bigint NOT NULL, key bytea NOT NULL, number bigint NOT NULL,"
     " gone boolean NOT NULL, record bytea NOT NULL, PRIMARY KEY (stream, key), UNIQUE (stream, number))"},
    {"",
     "CREATE FUNCTION kyv.stored_key(key bytea) RETURNS bytea LANGUAGE sql IMMUTABLE PARALLEL SAFE AS"
     " 'SELECT CASE WHEN octet_length(key) <= 1000 THEN key ELSE substr(key, 1, 1000) || sha256(key) END'"},
    {"",
     "CREATE TABLE kyv.delivery (number bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY, project bigint NOT NULL,"
     " adapter bytea NOT NULL, fence bigint NOT NULL, holder bigint NOT NULL, publishes bigint NOT NULL, key bigint,"
     " rows_done bigint, UNIQUE (project, adapter)) WITH (fillfactor = 50)"},
    {"", "INSERT INTO kyv.store VALUES (1)"},
};
static_assert(kVersion == 1, "as the last statement says");

constexpr Statement kFindProject{"", "SELECT number FROM kyv.project WHERE address = $1::bytea"};
constexpr Statement kInsertProject{"", "INSERT INTO kyv.project (address) VALUES ($1::bytea) ON CONFLICT DO NOTHING"};

bool parseWait(const std::string& text, milliseconds& wait, Failure& failure) {
  int count = 30;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, count);
  const bool isNumber = text.empty() || (parsed.ec == std::errc() && parsed.ptr == end);
  if (!isNumber || count < 0 || count > kLongestWaitSeconds) {
    return fail(failure, KYV_ERROR_USAGE, "KYV_STORE_WAIT is '%s', no number of seconds from 0 to %d", text.c_str(),
                kLongestWaitSeconds);
  }
  wait = seconds(count);
  return true;
}

// False, with the failure, when a project that is not there is to be left so.
bool mayMake(const ProjectAddress& project, Failure& failure) {
  return project.ifMissing == IfMissing::Create || refuseMissingProject(project, failure);
}

// How long a server may be silent. An operation's time allows for some such failures.
milliseconds patienceOf(milliseconds wait) { return std::clamp<milliseconds>(wait / 3, seconds(2), seconds(10)); }

}  // namespace

bool SessionOptions::read(const Settings& settings, Failure& failure) {
  cluster = settings.get("KYV_STORE_CLUSTER");
  if (cluster.empty()) {
    return fail(failure, KYV_ERROR_USAGE, "KYV_STORE_CLUSTER is not set: no address of a cluster");
  }
  const std::string sync = settings.get("KYV_STORE_SYNC");
  if (!sync.empty() && sync != "full" && sync != "normal") {
    return fail(failure, KYV_ERROR_USAGE, "KYV_STORE_SYNC is '%s', not full or normal", sync.c_str());
  }
  fullSync = sync != "normal";
  return parseWait(settings.get("KYV_STORE_WAIT"), wait, failure);
}

bool refuseAsynchronous(Failure& failure) {
  return fail(
      failure, KYV_ERROR_STORE,
      "the cluster does not wait for standbys (synchronous_standby_names is empty), so that a lost server takes "
      "rows with it; KYV_STORE_SYNC=normal accepts that");
}

Outcome Session::open(const SessionOptions& options, std::size_t firstHost, const ProjectAddress& project,
                      Failure& failure) {
  const milliseconds patience = patienceOf(options.wait);
  if (!connection_.open(options.cluster, firstHost, patience, failure)) {
    return failure.code == KYV_ERROR_STORE ? Outcome::Lost : Outcome::Failed;
  }
  Outcome outcome = setUp(options, patience, failure);
  if (outcome == Outcome::Done) outcome = checkTables(project, failure);
  if (outcome == Outcome::Done) outcome = findProject(project, failure);
  if (outcome == Outcome::Done) outcome = connection_.prepare({kPrepared.begin(), kPrepared.end()}, failure);
  return outcome;
}

// Locks are given up before the connection counts as lost, whole transactions as soon.
Outcome Session::setUp(const SessionOptions& options, milliseconds patience, Failure& failure) {
  std::vector<Query> queries = {
      {&kSetUp, std::move(Parameters().number(patience.count() * 4 / 5).number(patience.count()))}};
  if (options.fullSync) queries.push_back({&kSetFullSync});
  queries.push_back({&kReadSync});
  Answers answers;
  const Outcome outcome = connection_.exchange(queries, answers, failure);
  if (outcome != Outcome::Done || !options.fullSync) return outcome;
  const Answer& sync = answers.at(queries.size() - 1);
  if (!sync.flag(0, 1)) {
    fail(failure, KYV_ERROR_STORE,
         "the server has fsync or full_page_writes off and loses rows in a crash; "
         "KYV_STORE_SYNC=normal accepts that");
    return Outcome::Failed;
  }
  return sync.flag(0, 0) || refuseAsynchronous(failure) ? Outcome::Done : Outcome::Failed;
}

Outcome Session::checkTables(const ProjectAddress& project, Failure& failure) {
  Answers answers;
  Outcome outcome = connection_.exchange({{&kHaveTables}}, answers, failure);
  if (outcome == Outcome::Done && !answers.at(0).flag(0, 0)) {
    outcome = mayMake(project, failure) ? makeTables(failure) : Outcome::Failed;
  }
  if (outcome == Outcome::Done) outcome = connection_.exchange({{&kReadVersion}}, answers, failure);
  if (outcome != Outcome::Done || answers.at(0).number(0, 0) == kVersion) return outcome;
  fail(failure, KYV_ERROR_STORE, "the tables of the schema 'kyv' were made by another version");
  return Outcome::Failed;
}

Outcome Session::makeTables(Failure& failure) {
  Answers answers;
  Outcome outcome = connection_.exchange({{&kBegin}, {&kLockTables}, {&kHaveTables}}, answers, failure);
  if (outcome != Outcome::Done) return outcome;
  std::vector<Query> queries;
  if (!answers.at(2).flag(0, 0)) {
    for (const Statement& statement : kMakeTables) queries.push_back({&statement});
  }
  queries.push_back({&kCommit});
  return connection_.commit(queries, answers, failure);
}

Outcome Session::findProject(const ProjectAddress& project, Failure& failure) {
  const std::string address = project.workspace + "/" + project.path + ":" + project.number;
  const Query find{&kFindProject, std::move(Parameters().bytes(address))};
  Answers answers;
  Outcome outcome = connection_.exchange({find}, answers, failure);
  if (outcome == Outcome::Done && answers.at(0).rows() == 0) {
    if (!mayMake(project, failure)) return Outcome::Failed;
    const Query insert{&kInsertProject, std::move(Parameters().bytes(address))};
    outcome = connection_.commit({insert}, answers, failure);
    if (outcome == Outcome::Done) outcome = connection_.exchange({find}, answers, failure);
  }
  if (outcome == Outcome::Done) project_ = answers.at(0).number(0, 0);
  return outcome;
}

}  // namespace kyv_internal
