#pragma once

// Guaranteed delivery: keeps the key of what an adapter processed last in a stream of the server, and reads it back
// when the adapter starts again. The stream has one long column, for the key; a boolean one takes the truncate flag, an
// integer one takes 1, any other takes NULL. Make the integer column its key, and it keeps one row.
//
// Errors: an operation that fails stores a text of the client SDK in `*text`, a new array for delete[]; when several of
// its steps fail, that of the last one. Success leaves `*text` alone. A null `text` gets none. Only exhausted memory
// throws.
//
// Ownership: the object holds handles of the SDK until deleteGDSupport; its destructor releases nothing.
//
// Threads: not locked; one thread at a time.

#include <cstdint>

#include "kyv/export.h"

// Handles of the client SDK.
struct kyv_error;
struct kyv_message_writer;
struct kyv_project;
struct kyv_publisher;
struct kyv_relative_rowwriter;
struct kyv_row_reader;
struct kyv_schema;
struct kyv_stream;
struct kyv_subscriber;
struct kyv_subscriber_event;
struct kyv_uri;

class GDSupport {
 public:
  GDSupport() = default;
  GDSupport(const GDSupport&) = delete;
  GDSupport& operator=(const GDSupport&) = delete;

  // Connects, once, to the stream of this name in the project PATH:NUMBER. 0 on success. What was reached before a
  // failure stays open for deleteGDSupport.
  KYV_EXPORT int createGDSupport(const char* streamName, const char* projectPath, int number, char** text);
  // The last long value that is not NULL of the stream's last row that has one; 0 when there is none, and on failure.
  KYV_EXPORT long long getLastProcessedGDKey(char** text);
  // Publishes one row with the key and the flag. 0 on success; a value that could not be set gives a text, and the row
  // is published all the same.
  KYV_EXPORT int updateTruncateStream(long long key, bool truncate, char** text);
  // Closes and releases what is open, and may be called again. The first failure ends it, and leaves the rest open. 0
  // on success.
  KYV_EXPORT int deleteGDSupport(char** text);
  // Stores the text of the SDK's last failure, "" without one. Always 1.
  KYV_EXPORT int getError(char** text) const;

 protected:
  kyv_uri* uri = nullptr;
  kyv_error* error = nullptr;
  kyv_project* project = nullptr;
  kyv_subscriber* subscriber = nullptr;
  kyv_publisher* publisher = nullptr;
  kyv_stream* stream = nullptr;
  kyv_schema* schema = nullptr;
  std::int32_t numColumns = 0;
  kyv_message_writer* writer = nullptr;
  kyv_relative_rowwriter* rowWriter = nullptr;

 private:
  bool startSdk();
  bool openProject(const char* path, int number);
  bool openStream(const char* name);
  bool openWriters();
  bool startRow();
  bool setColumn(std::int32_t column, long long key, bool truncate);
  bool readRows(kyv_subscriber_event* event, std::int64_t& key);
  bool readRow(kyv_row_reader* row, std::int64_t& key);
  bool releasePublisher();
  bool releaseSubscriber();
  bool releaseUri();
  bool releaseError();
};
