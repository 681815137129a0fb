#pragma once

// Everything that the store says to the server once a session is set up: statements that are prepared in each session.
// A user's names and bytes are parameters, never part of a statement.
//
// All is in the schema "kyv" of the database:
//
//   store           the version of these tables
//   project         the projects, by their addresses
//   stream          a stream's project, name, id, and the number of its last row
//   stream_column   its columns, and their places in the key
//   block           the rows of logs, many at once (log_blocks.h)
//   entry           the rows of tables, the last of each key
//   delivery        per project and adapter: the last fence, the lock of who holds it, how many publishes stored a key,
//                   and the last key
//
// Projects are rows of one table, not schemas of their own: a schema's name has 63 bytes at most, and would have to be
// made from the project's. The number of a row comes from its stream's row, which is locked until the commit is done
// and confirmed; so the order of numbers is the order of commits, without gaps.

#include <array>

#include "platform/sdk/postgres/connection.h"

namespace kyv_internal {

inline constexpr Statement kBegin{"kyv_begin", "BEGIN ISOLATION LEVEL READ COMMITTED READ WRITE"};
inline constexpr Statement kCommit{"kyv_commit", "COMMIT"};

// --- Streams

inline constexpr Statement kListStreams{"kyv_list_streams",
                                        "SELECT name FROM kyv.stream WHERE project = $1::bigint ORDER BY name"};
// A row for each column; one with NULLs where the columns are missing.
inline constexpr Statement kFindStream{"kyv_find_stream",
                                       "SELECT s.number, s.id, c.name, c.type, c.key_position FROM kyv.stream s"
                                       " LEFT JOIN kyv.stream_column c ON c.stream = s.number"
                                       " WHERE s.project = $1::bigint AND s.name = $2::bytea ORDER BY c.position"};
inline constexpr Statement kInsertStream{
    "kyv_insert_stream",
    "INSERT INTO kyv.stream (project, name, id, last_row) VALUES ($1::bigint, $2::bytea, $3::bigint, 0)"
    " ON CONFLICT DO NOTHING RETURNING number"};
inline constexpr Statement kInsertColumns{
    "kyv_insert_columns",
    "INSERT INTO kyv.stream_column (stream, position, name, type, key_position)"
    " SELECT $1::bigint, c.place, c.name, c.type, nullif(c.key_position, -1)"
    " FROM unnest($2::bytea[], $3::bigint[], $4::bigint[]) WITH ORDINALITY AS c (name, type, key_position, place)"};

// --- Rows

// The last row's number; and whether commits still wait for a standby, which an administrator may change at any time.
inline constexpr Statement kLockStream{
    "kyv_lock_stream",
    "SELECT last_row, current_setting('synchronous_standby_names') <> '' FROM kyv.stream"
    " WHERE number = $1::bigint FOR NO KEY UPDATE"};
inline constexpr Statement kSetLastRow{"kyv_set_last_row",
                                       "UPDATE kyv.stream SET last_row = $2::bigint WHERE number = $1::bigint"};
inline constexpr Statement kPutBlocks{
    "kyv_put_blocks",
    "INSERT INTO kyv.block (stream, last_row, records)"
    " SELECT $1::bigint, b.last_row, b.records FROM unnest($2::bigint[], $3::bytea[]) AS b (last_row, records)"};
// The places from 1 of the keys that are there.
inline constexpr Statement kLookForKeys{
    "kyv_look_for_keys",
    "SELECT asked.place FROM unnest($2::bytea[]) WITH ORDINALITY AS asked (key, place)"
    " JOIN kyv.entry e ON e.stream = $1::bigint AND e.key = kyv.stored_key(asked.key) WHERE NOT e.gone"};
inline constexpr Statement kPutEntries{
    "kyv_put_entries",
    "INSERT INTO kyv.entry (stream, key, number, gone, record)"
    " SELECT $1::bigint, kyv.stored_key(e.key), e.number, e.gone, e.record"
    " FROM unnest($2::bytea[], $3::bigint[], $4::boolean[], $5::bytea[]) AS e (key, number, gone, record)"
    " ON CONFLICT (stream, key) DO UPDATE SET number = EXCLUDED.number, gone = EXCLUDED.gone, record = "
    "EXCLUDED.record"};
// Rows behind a number: at least one, and then up to about a megabyte. The server looks at all rows within the limit
// before it counts their bytes, so that this is no larger than a megabyte of the usual ones.
inline constexpr Statement kReadBlocks{
    "kyv_read_blocks",
    "SELECT last_row, records FROM"
    " (SELECT last_row, records, sum(octet_length(records)) OVER (ORDER BY last_row) - octet_length(records) AS before"
    "  FROM (SELECT last_row, records FROM kyv.block WHERE stream = $1::bigint AND last_row > $2::bigint"
    "        ORDER BY last_row LIMIT 256) AS next) AS sized"
    " WHERE before < 1048576 ORDER BY last_row"};
inline constexpr Statement kReadEntries{
    "kyv_read_entries",
    "SELECT number, record FROM"
    " (SELECT number, record, sum(octet_length(record)) OVER (ORDER BY number) - octet_length(record) AS before"
    "  FROM (SELECT number, record FROM kyv.entry"
    "        WHERE stream = $1::bigint AND number > $2::bigint AND (NOT gone OR $2::bigint > 0)"
    "        ORDER BY number LIMIT 2048) AS next) AS sized"
    " WHERE before < 1048576 ORDER BY number"};
inline constexpr Statement kHasBlocks{
    "kyv_has_blocks", "SELECT EXISTS (SELECT FROM kyv.block WHERE stream = $1::bigint AND last_row > $2::bigint)"};
inline constexpr Statement kHasEntries{
    "kyv_has_entries",
    "SELECT EXISTS (SELECT FROM kyv.entry"
    " WHERE stream = $1::bigint AND number > $2::bigint AND (NOT gone OR $2::bigint > 0))"};

// --- Deliveries

inline constexpr Statement kInsertDelivery{
    "kyv_insert_delivery",
    "INSERT INTO kyv.delivery (project, adapter, fence, holder, publishes) VALUES ($1::bigint, $2::bytea, 0, 0, 0)"
    " ON CONFLICT DO NOTHING"};
// The lock waits for any publish that is under way, and the commit behind it for a standby: what was read then is
// confirmed, and nothing can come after it.
inline constexpr Statement kLockDelivery{"kyv_lock_delivery",
                                         "SELECT number, fence, holder, publishes, key, rows_done FROM kyv.delivery"
                                         " WHERE project = $1::bigint AND adapter = $2::bytea FOR UPDATE"};
inline constexpr Statement kTakeDelivery{
    "kyv_take_delivery", "UPDATE kyv.delivery SET fence = $2::bigint, holder = $3::bigint WHERE number = $1::bigint"};
inline constexpr Statement kStoreKey{
    "kyv_store_key",
    "UPDATE kyv.delivery SET key = $2::bigint, rows_done = $3::bigint, publishes = publishes + 1"
    " WHERE number = $1::bigint"};
// Locks of the session, which die with it.
inline constexpr Statement kLockHolder{"kyv_lock_holder", "SELECT pg_try_advisory_lock($1::bigint)"};
inline constexpr Statement kUnlockHolder{"kyv_unlock_holder", "SELECT pg_advisory_unlock($1::bigint)"};
inline constexpr Statement kIsHeld{
    "kyv_is_held",
    "SELECT CASE WHEN pg_try_advisory_lock($1::bigint) THEN NOT pg_advisory_unlock($1::bigint) ELSE true END"};

inline constexpr std::array kPrepared = {
    &kBegin,       &kCommit,     &kListStreams,  &kFindStream,     &kInsertStream, &kInsertColumns,
    &kLockStream,  &kSetLastRow, &kPutBlocks,    &kLookForKeys,    &kPutEntries,   &kReadBlocks,
    &kReadEntries, &kHasBlocks,  &kHasEntries,   &kInsertDelivery, &kLockDelivery, &kTakeDelivery,
    &kStoreKey,    &kLockHolder, &kUnlockHolder, &kIsHeld,
};

}  // namespace kyv_internal
