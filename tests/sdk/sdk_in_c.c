/* Defines a log, publishes records to it under an adapter's name, and reads the last one back: sdk.h and its library
 * serve a C program. */

#include <kyv/sdk.h>
#include <stdio.h>
#include <string.h>

enum { kLong = 2, kEntry = 4, kRecordSize = 20 + 2 * 4 + 8 };

static int complain(const char* what, kyv_error_t* error) {
  fprintf(stderr, "%s: %s\n", what, kyv_error_get_message(error));
  return 1;
}

/* A record of one long column, in the host's byte order. */
static void makeRecord(char* record, int64_t value) {
  const int32_t words[] = {kRecordSize, 1, 7, 0, 1, 20 + 2 * kEntry, kRecordSize};
  memcpy(record, words, sizeof words);
  memcpy(record + sizeof words, &value, sizeof value);
}

static int publish(kyv_project_t* project, kyv_stream_t* stream, int64_t value, kyv_error_t* error) {
  kyv_publisher_t* publisher = kyv_project_create_publisher(project, NULL, error);
  kyv_message_writer_t* writer = kyv_publisher_get_writer(publisher, stream, error);
  char record[kRecordSize];
  makeRecord(record, value);
  if (kyv_publisher_connect(publisher, error) != 0) return complain("connect", error);
  if (kyv_publisher_take_delivery(publisher, "in_c", error) != 0) return complain("take", error);
  if (kyv_publisher_set_delivery_key(publisher, value, 1, error) != 0) return complain("key", error);
  if (kyv_message_writer_add_record(writer, record, sizeof record, error) != 0) return complain("add", error);
  if (kyv_publisher_publish(publisher, writer, error) != 0) return complain("publish", error);
  return kyv_publisher_free(publisher, error);
}

/* The value of the stream's last row behind a number, which becomes that of the row. */
static int readLast(kyv_project_t* project, kyv_stream_t* stream, int64_t* number, int64_t* value, kyv_error_t* error) {
  kyv_subscriber_t* subscriber = kyv_project_create_subscriber(project, NULL, error);
  kyv_subscriber_event_t* event = NULL;
  if (kyv_subscriber_connect(subscriber, error) != 0) return complain("connect", error);
  if (kyv_subscriber_subscribe_from(subscriber, stream, *number, error) != 0) return complain("subscribe", error);
  if (kyv_subscriber_wait(subscriber, 10000, error) != 1) return complain("wait", error);
  while ((event = kyv_subscriber_get_next_event(subscriber, error)) != NULL &&
         kyv_subscriber_event_get_type(event, error) == KYV_EVENT_ROWS) {
    kyv_message_reader_t* rows = kyv_subscriber_event_get_reader(event, error);
    kyv_row_reader_t* row = NULL;
    while ((row = kyv_message_reader_next_row(rows, error)) != NULL) {
      *number = kyv_row_reader_get_number(row, error);
      if (kyv_row_reader_get_long(row, 0, value, error) != 0) return complain("read", error);
    }
  }
  return event == NULL ? complain("event", error) : kyv_subscriber_free(subscriber, error);
}

int main(void) {
  static const char* const names[] = {"Value"};
  static const uint32_t types[] = {kLong};
  kyv_error_t* error = kyv_error_create();
  kyv_uri_t* uri = NULL;
  kyv_project_t* project = NULL;
  kyv_stream_t* log = NULL;
  int64_t number = 0;
  int64_t value = 0;
  int status = 0;
  if (kyv_sdk_start(error) != 0) return complain("start", error);
  uri = kyv_uri_create_string("kyv://localhost:0000/default/in_c:1", error);
  project = kyv_project_get(uri, NULL, NULL, error);
  if (kyv_project_connect(project, error) != 0) return complain("project", error);
  log = kyv_project_define_stream(project, "Log", 7, 1, names, types, 0, NULL, error);
  if (log == NULL) return complain("stream", error);
  if (kyv_project_get_stream_count(project, error) != 1 ||
      strcmp(kyv_project_get_stream_name(project, 0, error), "Log"))
    return complain("list", error);
  status = publish(project, log, -12345678901, error) || readLast(project, log, &number, &value, error) ||
           publish(project, log, 42, error) || readLast(project, log, &number, &value, error);
  if (status == 0 && value != 42) status = complain("another value", error);
  kyv_uri_free(uri, error);
  kyv_error_free(error);
  return status;
}
