/* A complete inbound adapter in C: the lines of a file become rows of a stream, each once and in order, however often
 * the adapter is killed and started again. delivering_adapter.cpp is the same in C++.
 *
 *   printf 'Id,Currency,Rate\n1,EUR,2.5\n2,USD,x\n3,GBP,0.8\n' >rates.csv
 *   delivering_adapter_in_c examples/rates 1 rates.csv
 *   kyv read --project examples/rates:1 --stream Rates
 *
 * Rows travel in batches. With a batch goes its delivery key, the number of its last line, and the store takes both in
 * one transaction: so the key always tells which lines are in the stream. A new run asks for it and goes on behind it;
 * what a process remembers counts for nothing. So there is one way out of any failure: end, and be started again.
 *
 * Exit status: 0 all lines are in the stream, 1 all but bad ones, 2 wrong usage, 3 the file, 4 the server or memory. */

#define _POSIX_C_SOURCE 200809L /* for getline */

#include <errno.h>
#include <inttypes.h>
#include <kyv/flat.h>
#include <kyv/sdk.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum status { kDelivered = 0, kBadLines = 1, kWrongUsage = 2, kFileFailed = 3, kServerFailed = 4 };

enum { kLinesABatch = 1000 }; /* bigger batches are faster, smaller ones arrive sooner */

enum { kInteger = 1, kLong = 2, kFloat = 3, kString = 5, kBoolean = 10 }; /* types: see kyv/data_types.h */
enum { kColumns = 3 };
static const char* const kNames[kColumns] = {"Id", "Currency", "Rate"};
static const unsigned int kTypes[kColumns] = {kLong, kString, kFloat};

/* Collects a message of the catalogue, in the user's language. */
static void complain(ConnectionErrorsHandle* errors, const char* id, const char* about, const char* reason) {
  char* const message = getL10NMessageWithTwoParams(id, about, reason);
  addGeneral(errors, message != NULL ? message : id); /* null: memory is exhausted */
  deleteL10NMessage(message);
}

/* Tells all that was collected, and forgets it. */
static void tell(ConnectionErrorsHandle* errors) {
  char* report = NULL;
  getAdapterError(errors, &report);
  if (report != NULL) fprintf(stderr, "%s\n", report);
  deleteL10NMessage(report);
}

/* --- The server: after a failure it is good for nothing but to be closed ---------------------------------------- */

struct server {
  kyv_error_t* error;
  kyv_uri_t* uri;
  kyv_publisher_t* publisher;
  kyv_message_writer_t* writer; /* the publisher's */
  GDSupportHandle* books;
  char* booksFault;
};

/* A stream of one row that shows the key to whoever watches. It is a copy, and may lag behind. */
static bool openBooks(struct server* server, kyv_project_t* project, const char* path, const char* number) {
  const char* const names[] = {"Adapter", "Key", "Truncated"};
  const unsigned int types[] = {kInteger, kLong, kBoolean};
  const int32_t key = 0;
  if (kyv_project_define_stream(project, "RatesBooks", 2, 3, names, types, 1, &key, server->error) == NULL) {
    return false;
  }
  server->books = createGDSupport("RatesBooks", path, atoi(number), &server->booksFault);
  return server->books != NULL && server->booksFault == NULL;
}

static bool keepBooks(struct server* server, int64_t line) {
  return updateTruncateStream(server->books, line, 0, &server->booksFault) == 0;
}

/* Keys are kept by adapter. One that is at work already under this name makes us fail. */
static bool connectPublisher(struct server* server, kyv_project_t* project, const char* adapter) {
  kyv_stream_t* const rates =
      kyv_project_define_stream(project, "Rates", 1, kColumns, kNames, kTypes, 0, NULL, server->error);
  if (rates == NULL) return false;
  server->publisher = kyv_project_create_publisher(project, NULL, server->error);
  if (server->publisher == NULL || kyv_publisher_connect(server->publisher, server->error) != 0) return false;
  if (kyv_publisher_take_delivery(server->publisher, adapter, server->error) != 0) return false;
  server->writer = kyv_publisher_get_writer(server->publisher, rates, server->error);
  return server->writer != NULL;
}

static bool connectServer(struct server* server, const char* path, const char* number, const char* file) {
  char address[1024];
  char adapter[1024];
  const int size = snprintf(address, sizeof address, "kyv://localhost:0000/default/%s:%s", path, number);
  const int named = snprintf(adapter, sizeof adapter, "delivering_adapter %s", file);
  if (size >= (int)sizeof address || named >= (int)sizeof adapter) return false;
  server->error = kyv_error_create();
  if (server->error == NULL || kyv_sdk_start(server->error) != 0) return false;
  server->uri = kyv_uri_create_string(address, server->error);
  if (server->uri == NULL) return false;
  kyv_project_t* const project = kyv_project_get(server->uri, NULL, NULL, server->error);
  if (project == NULL || kyv_project_connect(project, server->error) != 0) return false;
  return connectPublisher(server, project, adapter) && openBooks(server, project, path, number);
}

/* The last line that is in the stream; 0 when none is. */
static bool readKey(struct server* server, int64_t* line) {
  if (kyv_publisher_get_delivery_key(server->publisher, line, NULL, server->error) < 0) return false;
  return keepBooks(server, *line); /* the last run may not have come to it */
}

/* After success rows and key are durable. After a failure only readKey tells whether they are there. */
static bool publish(struct server* server, ConnectionRawTransHandle* records, int64_t lastLine) {
  for (int i = 0; i < getConnectionRawTransSize(records); ++i) {
    const void* const record = getConnectionRawTrans(records, i); /* stays the transaction's */
    uint32_t bytes = 0;                                           /* the first word of a record is its length */
    memcpy(&bytes, record, sizeof bytes);
    if (kyv_message_writer_add_record(server->writer, record, bytes, server->error) != 0) return false;
  }
  if (kyv_publisher_set_delivery_key(server->publisher, lastLine, 1, server->error) != 0) return false;
  if (kyv_publisher_publish(server->publisher, server->writer, server->error) != 0) return false;
  return keepBooks(server, lastLine);
}

static const char* reasonOf(const struct server* server) {
  return server->booksFault != NULL ? server->booksFault : kyv_error_get_message(server->error);
}

static void closeServer(struct server* server) {
  deleteL10NMessage(server->booksFault);
  server->booksFault = NULL;
  deleteGDSupport(server->books, &server->booksFault);
  deleteL10NMessage(server->booksFault);
  kyv_publisher_free(server->publisher, NULL);
  kyv_uri_free(server->uri, NULL);
  kyv_error_free(server->error);
}

/* --- The file: its lines below the header, as records ------------------------------------------------------------ */

struct source {
  FILE* file;
  char* text; /* of the last line */
  size_t room;
  int64_t line; /* its number; 0 is the header */
  ConnectionRowType** schema;
  ConnectionRowPoolHandle* pool;
  ConnectionErrorsHandle* errors;
  int fault; /* errno, when the file cannot be read */
};

static bool nextLine(struct source* source) {
  errno = 0;
  if (getline(&source->text, &source->room, source->file) < 0) {
    source->fault = errno; /* 0 at the end */
    return false;
  }
  ++source->line;
  return true;
}

/* A handle of what could not be made is null. */
static bool openSource(struct source* source, const char* file) {
  source->schema = createConnectionRowType("Rates", 1, kColumns, kNames, kTypes);
  source->errors = createConnectionErrors();
  source->pool = createConnectionRowPool();
  ConnectionRowHandle* const prototype = createConnectionRow("RowCsv");
  source->fault = ENOMEM;
  if (source->schema == NULL || source->errors == NULL || source->pool == NULL || prototype == NULL) return false;
  setStreamType(prototype, source->schema, false);
  setPrototype(source->pool, prototype); /* the pool's from now on */
  source->line = -1;
  source->file = fopen(file, "r");
  source->fault = errno;
  return source->file != NULL && nextLine(source); /* the header */
}

/* The record of the last line; null, with a message in the collector, for a bad one, and without when memory is
 * exhausted. */
static void* convert(struct source* source, ConnectionRowHandle* row) {
  const int size = (int)strlen(source->text) + 1;
  char* const buffer = allocBuffer(row, size);
  if (buffer == NULL) return NULL;
  memcpy(buffer, source->text, (size_t)size);
  return toRow(row, (unsigned long)source->line, source->errors);
}

/* Appends the records of the next batch, and tells its bad lines; false without any line. Each line gives a record or a
 * message. Where one gave neither, memory is exhausted, and it must not pass for a bad one. */
static bool readBatch(struct source* source, ConnectionRawTransHandle* records) {
  const int64_t before = source->line;
  ConnectionRowHandle* const row = alloc(source->pool);
  while (row != NULL && source->line - before < kLinesABatch && nextLine(source)) {
    void* const record = convert(source, row);
    if (record != NULL) pushBackConnectionRawTrans(records, record); /* the transaction frees it */
  }
  const int64_t told = getConnectionRawTransSize(records) + sizeConnectionErrors(source->errors);
  const bool whole = row != NULL && source->line - before == told;
  if (!whole) source->fault = ENOMEM;
  freeConnectionRow(source->pool, row);
  tell(source->errors); /* before the others are published: rather twice, after a crash, than never */
  return whole && source->line > before;
}

static void closeSource(struct source* source) {
  if (source->file != NULL) fclose(source->file);
  free(source->text);
  deleteConnectionErrors(source->errors);
  deleteConnectionRowPool(source->pool);
  deleteConnectionRowType(source->schema);
}

/* --- The adapter ------------------------------------------------------------------------------------------------- */

/* What a framework around the adapter would show. */
static void count(AdapterStatisticsMapHandle* statistics, int64_t published, int64_t bad) {
  char text[24];
  cleanUpAdapterStatistics(statistics); /* updates keep the old texts */
  snprintf(text, sizeof text, "%" PRId64, published);
  addAdapterStatistics(statistics, "rows published", text);
  snprintf(text, sizeof text, "%" PRId64, bad);
  addAdapterStatistics(statistics, "bad lines", text);
}

static void showStatistics(AdapterStatisticsMapHandle* statistics) {
  const char* names[2];
  const char* values[2];
  const int have = getAdapterStatistics(statistics, 2, names, values);
  for (int i = 0; i < have; ++i) fprintf(stderr, "%s: %s\n", names[i], values[i]);
  cleanUpAdapterStatistics(statistics); /* deleting the map leaves the texts */
}

static char* resumedBehind(int64_t key) {
  char text[24];
  snprintf(text, sizeof text, "%" PRId64, key);
  return getL10NMessageWithParam("resumed", text);
}

/* Publishes what the stream lacks of the file. */
static enum status deliver(struct source* source, struct server* server, int64_t key,
                           AdapterStatisticsMapHandle* shown) {
  ConnectionRawTransHandle* const records = createConnectionRawTrans();
  bool done = records != NULL;
  int64_t published = 0;
  while (source->line < key && nextLine(source)) {
  }
  while (done && readBatch(source, records)) {
    done = publish(server, records, source->line);
    if (!done) complain(source->errors, "publishFailed", "Rates", reasonOf(server));
    published += getConnectionRawTransSize(records);
    count(shown, published, source->line - key - published);
    clearConnectionRawTrans(records);
  }
  deleteConnectionRawTrans(records);
  if (!done) return kServerFailed;
  if (source->fault != 0 || source->line < key) return kFileFailed;
  return source->line - key > published ? kBadLines : kDelivered;
}

static enum status run(struct source* source, struct server* server, char** arguments,
                       AdapterStatisticsMapHandle* statistics) {
  enum status status = kFileFailed;
  if (openSource(source, arguments[2])) {
    int64_t key = 0;
    if (!connectServer(server, arguments[0], arguments[1], arguments[2]) || !readKey(server, &key)) {
      complain(source->errors, "connectionFailed", arguments[0], reasonOf(server));
      return kServerFailed;
    }
    char* const resumed = key > 0 ? resumedBehind(key) : NULL;
    if (resumed != NULL) fprintf(stderr, "%s\n", resumed);
    deleteL10NMessage(resumed);
    status = deliver(source, server, key, statistics);
  }
  const char* const fault = source->fault != 0 ? strerror(source->fault) : "lines are missing";
  if (status == kFileFailed) complain(source->errors, "fileNotReadable", arguments[2], fault);
  return status;
}

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: delivering_adapter_in_c PROJECT NUMBER FILE\n");
    return kWrongUsage;
  }
  struct source source = {0};
  struct server server = {0};
  AdapterStatisticsMapHandle* const statistics = createAdapterStatisticsMap();
  const enum status status = statistics != NULL ? run(&source, &server, argv + 1, statistics) : kServerFailed;
  tell(source.errors);
  if (statistics != NULL) showStatistics(statistics);
  deleteAdapterStatisticsMap(statistics);
  closeServer(&server);
  closeSource(&source);
  return status;
}
