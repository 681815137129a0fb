#ifndef KYV_SDK_H
#define KYV_SDK_H

/* The platform's client SDK: an adapter defines a project's streams, publishes rows to them and reads them. What a
 * project holds lies in a store; which kind serves it is configuration (KYV_STORE in the README), and nothing here
 * depends on it.
 *
 * Streams: one with key columns is a table; insert, update, upsert and delete act on the row of a key. One without is a
 * log, to which rows are appended. Rows are records of row2.h in the host's byte order.
 *
 * Results: a handle, null on failure; or a status, 0 on success and negative on failure; or a number, negative on
 * failure. Errors: the error object comes last. Every call empties it first and fills it when it fails; null is
 * allowed. Handles: a null handle, one of another kind, and one that was released give KYV_ERROR_USAGE, whatever was
 * done with them before; a handle's value is never used again. "Belongs to" says with whose release a handle dies.
 * Texts given are copied. Threads: any thread may call, and two threads may use two handles at once, but a publisher
 * with its writers, a subscriber with its events and an error object are used by one thread at a time. Exceptions: none
 * leaves a call; when memory is exhausted the call fails with KYV_ERROR_STORE, and may be tried again. Processes: a
 * child of fork uses no handle that its parent made. */

#include <stdint.h>

#include "kyv/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct kyv_error kyv_error_t;
typedef struct kyv_uri kyv_uri_t;
typedef struct kyv_credentials kyv_credentials_t; /* none yet: always null */
typedef struct kyv_options kyv_options_t;         /* none yet: always null */
typedef struct kyv_project kyv_project_t;
typedef struct kyv_stream kyv_stream_t;
typedef struct kyv_schema kyv_schema_t;
typedef struct kyv_publisher kyv_publisher_t;
typedef struct kyv_message_writer kyv_message_writer_t;
typedef struct kyv_relative_rowwriter kyv_relative_rowwriter_t;
typedef struct kyv_subscriber kyv_subscriber_t;
typedef struct kyv_subscriber_event kyv_subscriber_event_t;
typedef struct kyv_message_reader kyv_message_reader_t;
typedef struct kyv_row_reader kyv_row_reader_t;

/* --- Errors ------------------------------------------------------------------------------------------------------- */

enum {
  KYV_ERROR_NONE = 0,
  KYV_ERROR_USAGE = 1,    /* a handle, argument or order of calls that cannot be */
  KYV_ERROR_MISSING = 2,  /* what was named is not there */
  KYV_ERROR_REFUSED = 3,  /* rows, or a definition, that the stream cannot take; they never will do */
  KYV_ERROR_REPLACED = 4, /* another took over the delivery under this adapter's name: stop */
  KYV_ERROR_STORE = 5,    /* the store failed, or memory was exhausted; what was not acknowledged may be there or not */
  KYV_ERROR_HELD = 6      /* another live publisher has the delivery under this adapter's name */
};

/* A new error object, for kyv_error_free; null when memory is exhausted. */
KYV_EXPORT kyv_error_t* kyv_error_create(void);
KYV_EXPORT int32_t kyv_error_free(kyv_error_t* error);
/* The text of the last call's failure, "" without one or without a live object. Valid until the object's next use. */
KYV_EXPORT const char* kyv_error_get_message(kyv_error_t* error);
/* Its kind; KYV_ERROR_NONE without a failure or a live object. */
KYV_EXPORT int32_t kyv_error_get_code(kyv_error_t* error);

/* --- Projects ----------------------------------------------------------------------------------------------------- */

/* Must succeed before any other call but those on errors; again is allowed. */
KYV_EXPORT int32_t kyv_sdk_start(kyv_error_t* error);

/* Reads "kyv://HOST:PORT/WORKSPACE/PATH:NUMBER". PATH may have several parts; all are made of letters, digits and the
 * characters "_", "-" and "." and do not begin with a point. NUMBER has up to nine digits. For kyv_uri_free. */
KYV_EXPORT kyv_uri_t* kyv_uri_create_string(const char* text, kyv_error_t* error);
/* Releases also its project, the project's streams and their schemas. Publishers and subscribers live on. */
KYV_EXPORT int32_t kyv_uri_free(kyv_uri_t* uri, kyv_error_t* error);

/* The project of a URI, always the same handle; it belongs to the URI. `credentials` and `options` are null. */
KYV_EXPORT kyv_project_t* kyv_project_get(kyv_uri_t* uri, kyv_credentials_t* credentials, kyv_options_t* options,
                                          kyv_error_t* error);
/* Opens the project's store, which the embedded store creates when it is not there. Again does nothing. Where the store
 * fails later, the next call opens it again. */
KYV_EXPORT int32_t kyv_project_connect(kyv_project_t* project, kyv_error_t* error);
/* The same for who only reads: KYV_ERROR_MISSING, and nothing is created, when the project is not there. */
KYV_EXPORT int32_t kyv_project_connect_existing(kyv_project_t* project, kyv_error_t* error);

/* --- Streams ------------------------------------------------------------------------------------------------------ */

/* Defines a stream of a connected project: `column_count` columns by name and type code (data_types.h), of which
 * `key_count` are its key, by position from 0. `id` is the number that its records bear. A stream that is there already
 * with just this definition is given back; any other of its name is KYV_ERROR_REFUSED. Belongs to the project. */
KYV_EXPORT kyv_stream_t* kyv_project_define_stream(kyv_project_t* project, const char* name, int32_t id,
                                                   int32_t column_count, const char* const* column_names,
                                                   const uint32_t* column_types, int32_t key_count,
                                                   const int32_t* key_columns, kyv_error_t* error);
/* The stream of a name; KYV_ERROR_MISSING without one. Belongs to the project. */
KYV_EXPORT kyv_stream_t* kyv_project_get_stream(kyv_project_t* project, const char* name, kyv_error_t* error);
/* How many streams the project has; reads the list anew. */
KYV_EXPORT int32_t kyv_project_get_stream_count(kyv_project_t* project, kyv_error_t* error);
/* The name of a stream, by its place from 0 in the order of names (by bytes), as they were when they were last counted.
 * It lives until they are counted again; null on failure. */
KYV_EXPORT const char* kyv_project_get_stream_name(kyv_project_t* project, int32_t index, kyv_error_t* error);
/* The number that its records bear; 0 on failure too. */
KYV_EXPORT int32_t kyv_stream_get_id(kyv_stream_t* stream, kyv_error_t* error);
/* Belongs to the project. */
KYV_EXPORT kyv_schema_t* kyv_stream_get_schema(kyv_stream_t* stream, kyv_error_t* error);
KYV_EXPORT int32_t kyv_schema_get_numcolumns(kyv_schema_t* schema, kyv_error_t* error);
/* The type code of a column, by position from 0. */
KYV_EXPORT int32_t kyv_schema_get_column_type(kyv_schema_t* schema, int32_t column, kyv_error_t* error);
/* Its name, which lives as long as the schema; null on failure. */
KYV_EXPORT const char* kyv_schema_get_column_name(kyv_schema_t* schema, int32_t column, kyv_error_t* error);
/* 1 when the column is part of the key, 0 when not. */
KYV_EXPORT int32_t kyv_schema_is_key_column(kyv_schema_t* schema, int32_t column, kyv_error_t* error);

/* --- Publishing --------------------------------------------------------------------------------------------------- */

/* A publisher of a connected project, for kyv_publisher_free. `options` is null. */
KYV_EXPORT kyv_publisher_t* kyv_project_create_publisher(kyv_project_t* project, kyv_options_t* options,
                                                         kyv_error_t* error);
/* Must succeed before the first publish; while connected it does nothing. After KYV_ERROR_STORE close the publisher and
 * connect it again. */
KYV_EXPORT int32_t kyv_publisher_connect(kyv_publisher_t* publisher, kyv_error_t* error);
/* Disconnects. What was published stays; what writers hold is dropped, and a delivery that was taken is let go. A
 * publisher that was never connected may be closed, and a closed one again. */
KYV_EXPORT int32_t kyv_publisher_close(kyv_publisher_t* publisher, kyv_error_t* error);
/* Closes it if need be and releases it with its writers. */
KYV_EXPORT int32_t kyv_publisher_free(kyv_publisher_t* publisher, kyv_error_t* error);

/* The publisher's collector of rows for a stream of its project, always the same one. Belongs to the publisher. */
KYV_EXPORT kyv_message_writer_t* kyv_publisher_get_writer(kyv_publisher_t* publisher, kyv_stream_t* stream,
                                                          kyv_error_t* error);
/* Appends a copy of a whole record of `size` bytes: in the host's byte order, with the stream's columns, without
 * columns that shine through. One that the stream cannot take is refused and not appended. */
KYV_EXPORT int32_t kyv_message_writer_add_record(kyv_message_writer_t* writer, const void* record, uint32_t size,
                                                 kyv_error_t* error);
/* Publishes the rows of a writer, all or none, with the delivery key that was set for them; they are durable when the
 * call returns 0. Without rows only the key is stored. The writer is empty afterwards, whether or not it succeeds (but
 * for KYV_ERROR_USAGE, after which nothing has changed). In a log every row must be an insert or upsert. In a table an
 * insert needs a new key, update and delete (5) one that is there; deleting with 13 does not care. */
KYV_EXPORT int32_t kyv_publisher_publish(kyv_publisher_t* publisher, kyv_message_writer_t* writer, kyv_error_t* error);

/* The builder of rows, value by value in column order. Belongs to the publisher. */
KYV_EXPORT kyv_relative_rowwriter_t* kyv_message_writer_get_relative_rowwriter(kyv_message_writer_t* writer,
                                                                               kyv_error_t* error);
/* Begins an insert, and drops a row that was not ended. */
KYV_EXPORT int32_t kyv_relative_rowwriter_start_row(kyv_relative_rowwriter_t* writer, kyv_error_t* error);
/* 1 insert, 3 update, 5 delete, 7 upsert, 13 delete without complaint. */
KYV_EXPORT int32_t kyv_relative_rowwriter_set_operation(kyv_relative_rowwriter_t* writer, int32_t operation,
                                                        kyv_error_t* error);
/* The value of the next column, which must be of this type. After a failure the next value is for the same column. */
KYV_EXPORT int32_t kyv_relative_rowwriter_set_long(kyv_relative_rowwriter_t* writer, int64_t value, kyv_error_t* error);
KYV_EXPORT int32_t kyv_relative_rowwriter_set_integer(kyv_relative_rowwriter_t* writer, int32_t value,
                                                      kyv_error_t* error);
/* Any value but 0 is true. */
KYV_EXPORT int32_t kyv_relative_rowwriter_set_boolean(kyv_relative_rowwriter_t* writer, int32_t value,
                                                      kyv_error_t* error);
/* Of a column of any type. */
KYV_EXPORT int32_t kyv_relative_rowwriter_set_null(kyv_relative_rowwriter_t* writer, kyv_error_t* error);
/* Appends the row to the writer; one that lacks columns, or a key, is refused. The row is over, also after a failure.
 */
KYV_EXPORT int32_t kyv_relative_rowwriter_end_row(kyv_relative_rowwriter_t* writer, kyv_error_t* error);

/* --- Guaranteed delivery ------------------------------------------------------------------------------------------ */

/* An adapter keeps with its rows how far it came: a delivery key, and how many rows of that key are done. Both are
 * stored in the transaction of the rows, so that neither is there without the other. */

/* Takes the delivery under an adapter's name, which one live publisher has at a time, of all processes:
 * KYV_ERROR_HELD while another has it. It is held until the publisher is closed or takes another one, and a process
 * that dies lets it go. A publisher that had it before, and was closed and connected again since, gets it back unless
 * another took it in between: then KYV_ERROR_REPLACED. Either way read the key afterwards; it is final then, because
 * nothing that was published before under this name can still arrive. The publisher must be connected. */
KYV_EXPORT int32_t kyv_publisher_take_delivery(kyv_publisher_t* publisher, const char* adapter, kyv_error_t* error);
/* The same, whoever has it. From then on everything that the one before publishes, with or without a key, fails with
 * KYV_ERROR_REPLACED. Meant for a holder that hangs. */
KYV_EXPORT int32_t kyv_publisher_take_over_delivery(kyv_publisher_t* publisher, const char* adapter,
                                                    kyv_error_t* error);
/* Reads from the store what was stored last under the name. 1 when there is a key, 0 when not: then both are 0. After a
 * failed publish only this tells whether its rows are stored. */
KYV_EXPORT int32_t kyv_publisher_get_delivery_key(kyv_publisher_t* publisher, int64_t* key, int64_t* rows_done,
                                                  kyv_error_t* error);
/* The same, under an adapter's name in a connected project, for who only looks: the delivery may be anybody's. */
KYV_EXPORT int32_t kyv_project_get_delivery_key(kyv_project_t* project, const char* adapter, int64_t* key,
                                                int64_t* rows_done, kyv_error_t* error);
/* Sets what the next publish stores with its rows. That publish forgets it, whether or not it succeeds. */
KYV_EXPORT int32_t kyv_publisher_set_delivery_key(kyv_publisher_t* publisher, int64_t key, int64_t rows_done,
                                                  kyv_error_t* error);

/* --- Subscribing -------------------------------------------------------------------------------------------------- */

enum {
  KYV_EVENT_ROWS = 0x4000010, /* carries rows */
  KYV_EVENT_END = 0x4000040   /* all rows that the stream has were given */
};

/* A subscriber of a connected project, for kyv_subscriber_free. `options` is null. */
KYV_EXPORT kyv_subscriber_t* kyv_project_create_subscriber(kyv_project_t* project, kyv_options_t* options,
                                                           kyv_error_t* error);
/* While connected it does nothing. After KYV_ERROR_STORE close the subscriber, connect it again, and subscribe behind
 * the last row that it gave. */
KYV_EXPORT int32_t kyv_subscriber_connect(kyv_subscriber_t* subscriber, kyv_error_t* error);
/* Disconnects. One that was never connected may be closed, and a closed one again. */
KYV_EXPORT int32_t kyv_subscriber_close(kyv_subscriber_t* subscriber, kyv_error_t* error);
/* Closes it if need be and releases it with its event. */
KYV_EXPORT int32_t kyv_subscriber_free(kyv_subscriber_t* subscriber, kyv_error_t* error);

/* Chooses the stream, and begins with its first row, every time. The subscriber must be connected. */
KYV_EXPORT int32_t kyv_subscriber_subscribe(kyv_subscriber_t* subscriber, kyv_stream_t* stream, kyv_error_t* error);
/* The same, beginning behind a row number: with the first row whose number is above `after`, which is not negative. A
 * table then gives the deletes since that row too. */
KYV_EXPORT int32_t kyv_subscriber_subscribe_from(kyv_subscriber_t* subscriber, kyv_stream_t* stream, int64_t after,
                                                 kyv_error_t* error);
/* Waits until there are rows that were not given yet, at most so many milliseconds (0: does not wait). 1 when there
 * are, 0 when the time ran out. */
KYV_EXPORT int32_t kyv_subscriber_wait(kyv_subscriber_t* subscriber, int32_t milliseconds, kyv_error_t* error);
/* Rows that were not given yet, in the order in which they were published; the end when there are none now. It does not
 * wait: called after an end, it gives what came since. Of a table, the last record of each key, and once rows were
 * given, deletes. The event belongs to the subscriber, and lives until the next one or the next subscribe. */
KYV_EXPORT kyv_subscriber_event_t* kyv_subscriber_get_next_event(kyv_subscriber_t* subscriber, kyv_error_t* error);
KYV_EXPORT int32_t kyv_subscriber_event_get_type(kyv_subscriber_event_t* event, kyv_error_t* error);
/* The rows of an event, before the first; an end has none. Belongs to the event. */
KYV_EXPORT kyv_message_reader_t* kyv_subscriber_event_get_reader(kyv_subscriber_event_t* event, kyv_error_t* error);
/* Goes on to the next row. Null after the last, with an empty error object, and null with a message on failure: it
 * never goes on behind a damaged row. The row belongs to the event; the call after this one ends its life, or makes it
 * the next row. */
KYV_EXPORT kyv_row_reader_t* kyv_message_reader_next_row(kyv_message_reader_t* reader, kyv_error_t* error);
/* The row's record, in the host's byte order, and its size in bytes; null on failure. It lives as long as the event. */
KYV_EXPORT const void* kyv_row_reader_get_record(kyv_row_reader_t* row, uint32_t* size, kyv_error_t* error);
/* The row's number in its stream: from 1, rising in the order in which rows were published, with gaps, and never used
 * again. */
KYV_EXPORT int64_t kyv_row_reader_get_number(kyv_row_reader_t* row, kyv_error_t* error);
/* 1 when the column is NULL, 0 when not. */
KYV_EXPORT int32_t kyv_row_reader_is_null(kyv_row_reader_t* row, int32_t column, kyv_error_t* error);
/* The value of a column of type long that is not NULL; on failure `value` is untouched. */
KYV_EXPORT int32_t kyv_row_reader_get_long(kyv_row_reader_t* row, int32_t column, int64_t* value, kyv_error_t* error);

#ifdef __cplusplus
}
#endif

#endif /* KYV_SDK_H */
