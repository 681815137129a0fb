#ifndef KYV_FLAT_H
#define KYV_FLAT_H

/* The flat layer: the library as plain functions, for C and for languages that call C.
 *
 * Handles: a create function gives a handle, the delete function of the same class destroys it; each class has a handle
 * type of its own. Null: handles and texts are not checked for null unless a function says so. Strings: a `char*`
 * result is a new array that deleteL10NMessage releases; a `const char*` result is static or belongs to the object and
 * says how long it lasts. Records: from malloc; the caller frees them with free(). Errors: functions that take an error
 * collector append messages to it; the result says whether there is one. Threads: a handle is used by one thread at a
 * time, except error collectors, which lock themselves: rows on several threads may report into one. Create functions
 * may be called from any thread. Exceptions: none leaves a function; when memory is exhausted the result is null, false
 * or 0, and a function without result has no effect.
 */

#include <stdbool.h>

#include "kyv/export.h"

#ifdef __cplusplus
#include <string>
#include <vector>

#include "kyv/connection_trans.h"
class ConnectionRow;
class ConnectionRowType;
extern "C" {
#else
typedef struct ConnectionRow ConnectionRow;
typedef struct ConnectionRowType ConnectionRowType;
typedef struct ConnectionTrans ConnectionTrans;
#endif

typedef struct ConnectionRowHandle ConnectionRowHandle;
typedef struct ConnectionRowPoolHandle ConnectionRowPoolHandle;
typedef struct ConnectionRawTransHandle ConnectionRawTransHandle;
typedef struct ConnectionErrorsHandle ConnectionErrorsHandle;
typedef struct ConnectionPermutationHandle ConnectionPermutationHandle;
typedef struct AdapterStatisticsMapHandle AdapterStatisticsMapHandle;
typedef struct GDSupportHandle GDSupportHandle;

/* --- Types -------------------------------------------------------------------------------------------------------- */

/* The type code of a plain type number: 0 to 9 are themselves, any other number is timestamp. */
KYV_EXPORT unsigned int getDataType(int number);
/* The lower-case name of that type, as a new array. */
KYV_EXPORT char* typeToString(int number);
/* The upper-case name of that type, static. */
KYV_EXPORT const char* typeToStringUpper(int number);
/* Writes the default text of a packed value into `out`, terminated and cut to `outSize`. `swap` says that the value is
 * in the other byte order; `zoneSuffix` appends "+00" to dates and times. Strings and binary values write nothing. */
KYV_EXPORT void convertToString(unsigned int type, bool swap, bool zoneSuffix, unsigned char* data, char* out,
                                unsigned long outSize);

/* --- Error collectors --------------------------------------------------------------------------------------------- */

KYV_EXPORT ConnectionErrorsHandle* createConnectionErrors(void);
KYV_EXPORT void deleteConnectionErrors(ConnectionErrorsHandle* errors);
/* True when the handle is null or holds no message. */
KYV_EXPORT bool empty(ConnectionErrorsHandle* errors);
/* Number of messages; 0 for null. */
KYV_EXPORT int sizeConnectionErrors(ConnectionErrorsHandle* errors);
/* Appends a copy of the message; nothing when either is null. */
KYV_EXPORT void addGeneral(ConnectionErrorsHandle* errors, const char* message);
/* Sets a parameter's message; nothing when one is null. */
KYV_EXPORT void addParam(ConnectionErrorsHandle* errors, const char* parameter, const char* message);
/* Stores all messages as one new text, a line each, and empties the collector. Without messages, or when either
 * argument is null, nothing is stored. */
KYV_EXPORT void getAdapterError(ConnectionErrorsHandle* errors, char** out);
/* Empties the collector; nothing for null. */
KYV_EXPORT void clearConnectionErrors(ConnectionErrorsHandle* errors);

/* --- Localised messages ------------------------------------------------------------------------------------------- */

/* Messages of the catalogue module "internal-adapters" in the language of the environment, parameters filled in.
 * Without a catalogue, or for an id that it does not have: the id followed by the parameters, each after a blank. */
KYV_EXPORT char* getL10NMessage(const char* id);
KYV_EXPORT char* getL10NMessageWithParam(const char* id, const char* p1);
KYV_EXPORT char* getL10NMessageWithTwoParams(const char* id, const char* p1, const char* p2);
KYV_EXPORT char* getL10NMessageWithThreeParams(const char* id, const char* p1, const char* p2, const char* p3);
KYV_EXPORT char* getL10NMessageWithFourParams(const char* id, const char* p1, const char* p2, const char* p3,
                                              const char* p4);
KYV_EXPORT char* getL10NMessageWithFiveParams(const char* id, const char* p1, const char* p2, const char* p3,
                                              const char* p4, const char* p5);
KYV_EXPORT char* getL10NMessageWithMultParams(const char* id, int count, char** params);
/* Releases a text that a function of this header gave; nothing for null. */
KYV_EXPORT void deleteL10NMessage(char* message);
/* Opens the catalogue, once per process; the message functions call it. */
KYV_EXPORT void init_i18n(void);
/* Both 1, always. */
KYV_EXPORT int checkErrorSeverity(void);
KYV_EXPORT int getErrorSeverity(void);

/* --- Schemas ------------------------------------------------------------------------------------------------------ */

/* A stream's schema from its name, its number and `count` columns by name and type code; all texts are copied. */
KYV_EXPORT ConnectionRowType** createConnectionRowType(const char* streamName, int streamId, int count,
                                                       const char* const* columnNames, const unsigned int* types);
/* Destroys schema and handle; nothing for null. Not after a row was given the schema to own: then
 * releaseConnectionRowType. */
KYV_EXPORT void deleteConnectionRowType(ConnectionRowType** type);
/* Releases the handle alone, when a row owns the schema. */
KYV_EXPORT void releaseConnectionRowType(ConnectionRowType** type);

/* --- Rows --------------------------------------------------------------------------------------------------------- */

/* A row of kind "RowByOrder", "RowByNames" or "RowCsv". Any other kind gives a handle without a row, which may only be
 * deleted. */
KYV_EXPORT ConnectionRowHandle* createConnectionRow(const char* kind);
/* Deletes row and handle; nothing for null. */
KYV_EXPORT void deleteConnectionRow(ConnectionRowHandle* row);
/* Releases the handle alone, of a row that something else owns; nothing for null. */
KYV_EXPORT void releaseConnectionRow(ConnectionRowHandle* row);

KYV_EXPORT void clear(ConnectionRowHandle* row);
KYV_EXPORT void clearData(ConnectionRowHandle* row);
/* A new row of the same kind and settings: the row itself, not a handle. */
KYV_EXPORT ConnectionRow* createNew(ConnectionRowHandle* row);

KYV_EXPORT void setTimeFormat(ConnectionRowHandle* row, const char* format);
KYV_EXPORT void setDateFormat(ConnectionRowHandle* row, const char* format);
KYV_EXPORT void setTimestampFormat(ConnectionRowHandle* row, const char* format);
KYV_EXPORT void setStreamName(ConnectionRowHandle* row, const char* name);
/* Valid until the name changes or the row is deleted. */
KYV_EXPORT const char* getStreamName(ConnectionRowHandle* row);
/* With `own` the row deletes the schema in the end. A null `type` does nothing. */
KYV_EXPORT void setStreamType(ConnectionRowHandle* row, ConnectionRowType** type, bool own);
KYV_EXPORT ConnectionRowType* getStreamType(ConnectionRowHandle* row);

/* Field texts belong to the row until the field changes or the data is cleared. */
KYV_EXPORT bool getFieldAsStringWithKey(ConnectionRowHandle* row, const char* name, const char** out);
KYV_EXPORT bool setFieldAsStringWithKey(ConnectionRowHandle* row, const char* name, const char* value);
KYV_EXPORT bool getFieldAsStringWithIndex(ConnectionRowHandle* row, int index, const char** out);
KYV_EXPORT bool setFieldAsStringWithIndex(ConnectionRowHandle* row, int index, const char* value);
KYV_EXPORT bool appendFieldAsString(ConnectionRowHandle* row, const char* value);
KYV_EXPORT char getOp(ConnectionRowHandle* row);
KYV_EXPORT void setOp(ConnectionRowHandle* row, char letter);
KYV_EXPORT const char* getFlagsAsString(ConnectionRowHandle* row);
KYV_EXPORT void setFlagsAsString(ConnectionRowHandle* row, const char* flags);
KYV_EXPORT int size(ConnectionRowHandle* row);

KYV_EXPORT void setSeparator(ConnectionRowHandle* row, char separator);
KYV_EXPORT void setWithService(ConnectionRowHandle* row, bool withService);
KYV_EXPORT char* allocBuffer(ConnectionRowHandle* row, int size);
KYV_EXPORT void setBuffer(ConnectionRowHandle* row, char* line);

KYV_EXPORT void setRow(ConnectionRowHandle* row, void* record, int size);
KYV_EXPORT void* allocRow(ConnectionRowHandle* row, int size);
KYV_EXPORT void adoptRow(ConnectionRowHandle* row, void* record);
KYV_EXPORT bool validate(ConnectionRowHandle* row, ConnectionErrorsHandle* errors);
KYV_EXPORT void* getRow(ConnectionRowHandle* row);
KYV_EXPORT int getRowSize(ConnectionRowHandle* row);

/* A new record (free() releases it), or null with a message; null without one when memory is exhausted. `recordNo` is
 * the caller's running record number. */
KYV_EXPORT void* toRow(ConnectionRowHandle* row, unsigned long recordNo, ConnectionErrorsHandle* errors);
/* Reads a record, which stays the caller's. False with a message on failure. */
KYV_EXPORT bool fromRow(ConnectionRowHandle* row, void* record, unsigned long recordNo, ConnectionErrorsHandle* errors);

/* Guaranteed delivery: the columns of these names carry the delivery key and the opcode. */
KYV_EXPORT void enableGDMode(ConnectionRowHandle* row);
KYV_EXPORT void setGDKeyColumnName(ConnectionRowHandle* row, const char* name);
KYV_EXPORT void setOpcodeColumnName(ConnectionRowHandle* row, const char* name);
KYV_EXPORT long long getGDKey(ConnectionRowHandle* row);

/* --- Pools of rows ------------------------------------------------------------------------------------------------ */

/* A pool hands out rows with the settings of its prototype and takes them back for reuse. Any number of threads may use
 * one pool; creating and deleting it is for one. Without a prototype it hands out nothing. */
KYV_EXPORT ConnectionRowPoolHandle* createConnectionRowPool(void);
/* Deletes the pool with its prototype and the rows that lie in it, and the handle; nothing for null. Rows that are out
 * stay as they are: deleteConnectionRow. */
KYV_EXPORT void deleteConnectionRowPool(ConnectionRowPoolHandle* pool);
/* Gives the pool its prototype and releases the prototype's handle. The old prototype and all rows that lie in the pool
 * are deleted; rows that are out will be when they come back. When memory is exhausted the new prototype is deleted. */
KYV_EXPORT void setPrototype(ConnectionRowPoolHandle* pool, ConnectionRowHandle* prototype);
/* A row without data, in a new handle; a handle without a row when the pool has no prototype. freeConnectionRow takes
 * both. */
KYV_EXPORT ConnectionRowHandle* alloc(ConnectionRowPoolHandle* pool);
/* Gives a row back and releases its handle, once; nothing for a null handle. */
KYV_EXPORT void freeConnectionRow(ConnectionRowPoolHandle* pool, ConnectionRowHandle* row);
/* Whether the pool's current prototype made the row. */
KYV_EXPORT bool validateConnectionRow(ConnectionRowPoolHandle* pool, ConnectionRowHandle* row);

/* --- Transactions of rows ----------------------------------------------------------------------------------------- */

KYV_EXPORT ConnectionTrans* createConnectionTrans(void);
/* Deletes the transaction with the rows that it still holds; nothing for null. */
KYV_EXPORT void deleteConnectionTrans(ConnectionTrans* trans);
/* Deletes the rows that the transaction still holds and fills it with `count` rows of the pool. False, with the rows
 * that there were, when the pool has no prototype. */
KYV_EXPORT bool allocTrans(ConnectionRowPoolHandle* pool, ConnectionTrans* trans, int count);
/* Gives all rows back and empties the transaction. */
KYV_EXPORT void freeTrans(ConnectionRowPoolHandle* pool, ConnectionTrans* trans);
KYV_EXPORT int getConnectionTransSize(ConnectionTrans* trans);
/* The row at an index from 0 on, in a new handle for releaseConnectionRow: the row stays the transaction's. Null
 * outside the transaction. */
KYV_EXPORT ConnectionRowHandle* getConnectionTrans(ConnectionTrans* trans, int index);

/* --- Transactions of records -------------------------------------------------------------------------------------- */

KYV_EXPORT ConnectionRawTransHandle* createConnectionRawTrans(void);
/* Frees the records, the transaction and the handle; nothing for null. */
KYV_EXPORT void deleteConnectionRawTrans(ConnectionRawTransHandle* trans);
/* Appends a record from malloc, which is the transaction's from now on; freed when memory is exhausted. */
KYV_EXPORT void pushBackConnectionRawTrans(ConnectionRawTransHandle* trans, void* record);
KYV_EXPORT int getConnectionRawTransSize(ConnectionRawTransHandle* trans);
/* The record at an index from 0 on, which stays the transaction's; null outside. */
KYV_EXPORT void* getConnectionRawTrans(ConnectionRawTransHandle* trans, int index);
/* Frees the records. */
KYV_EXPORT void clearConnectionRawTrans(ConnectionRawTransHandle* trans);

/* --- Permutations ------------------------------------------------------------------------------------------------- */

/* The mapping between a stream's column order (platform) and an adapter's own (external). Results are 1 for success, 0
 * for failure. Failures of the configuration store a new text through `error`, success stores null; a null `error` is
 * allowed. kyv/connection_permutation.h says what each operation does. */
KYV_EXPORT ConnectionPermutationHandle* createConnectionPermutation(void);
/* Nothing for null. */
KYV_EXPORT void deleteConnectionPermutation(ConnectionPermutationHandle* permutation);
KYV_EXPORT void clearConnectionPermutation(ConnectionPermutationHandle* permutation);
/* A text of pairs such as "Id=code:Price=amount". `externalHasNames` is 0 where external fields only have numbers. */
KYV_EXPORT int setPermutation(ConnectionPermutationHandle* permutation, int externalHasNames, const char* text,
                              char** error);
/* The orders, copied. The schema is what a handle of createConnectionRowType points at. */
KYV_EXPORT void setPlatOrder(ConnectionPermutationHandle* permutation, ConnectionRowType* type);
#ifdef __cplusplus
KYV_EXPORT void setExternalOrder(ConnectionPermutationHandle* permutation, const std::vector<std::string>* names);
#else
/* Takes a vector of C++ strings; null is an empty order. */
KYV_EXPORT void setExternalOrder(ConnectionPermutationHandle* permutation, const void* names);
#endif
KYV_EXPORT void setExternalOrderWithConnRowTypeAsParam(ConnectionPermutationHandle* permutation,
                                                       ConnectionRowType* type);
/* Names field_00, field_01 and so on for `count` fields. */
KYV_EXPORT void setExternalCount(ConnectionPermutationHandle* permutation, int count);
/* Finds the positions of all pairs; the lookups by position and permuteCsvIn need it. */
KYV_EXPORT int prepareOrder(ConnectionPermutationHandle* permutation, int requireNoHoles, char** error);

/* The other side's name or position; what was given, and 0, where there is none. A name is the argument or belongs to
 * the object, until its configuration changes. */
KYV_EXPORT int plat2extWithFieldName(ConnectionPermutationHandle* permutation, const char* name, const char** out);
KYV_EXPORT int plat2extWithFieldNum(ConnectionPermutationHandle* permutation, int position, int* out);
KYV_EXPORT int ext2platWithFieldName(ConnectionPermutationHandle* permutation, const char* name, const char** out);
KYV_EXPORT int ext2platWithIndex(ConnectionPermutationHandle* permutation, int position, int* out);

/* Writes a line with its fields in platform order to `out`, which has room for the line, a byte for each platform
 * column and a terminator; all of that room may be written to. */
KYV_EXPORT int permuteCsvIn(ConnectionPermutationHandle* permutation, const char* line, char separator, int withService,
                            char* out);

KYV_EXPORT int isFailed(ConnectionPermutationHandle* permutation);
KYV_EXPORT int isDirect(ConnectionPermutationHandle* permutation);
KYV_EXPORT int getExtOrderSize(ConnectionPermutationHandle* permutation);
/* The external names: an array of getExtOrderSize() pointers which the caller releases with free(). The names belong to
 * the object, until its external order changes. */
KYV_EXPORT const char** getExtOrder(ConnectionPermutationHandle* permutation);
/* Stores a new text with the external name at an index from 0 on; null outside the order. */
KYV_EXPORT void getColumnNameFromExtOrder(ConnectionPermutationHandle* permutation, int index, char** out);

/* --- Guaranteed delivery ------------------------------------------------------------------------------------------ */

/* Keeps the key of what an adapter processed last in a stream of the server; kyv/gd_support.h says how that stream must
 * look. A function that fails stores a new text through `error`, success leaves `*error` alone; a null `error` is
 * allowed. */

/* Connects to the stream in the project PATH:NUMBER. The result is a handle whether or not that succeeded. */
KYV_EXPORT GDSupportHandle* createGDSupport(const char* streamName, const char* projectPath, int number, char** error);
/* The stored key; 0 when there is none, and on failure. */
KYV_EXPORT long long getLastProcessedGDKey(GDSupportHandle* support, char** error);
/* Stores a key and a flag, true unless 0. 0 on success. */
KYV_EXPORT int updateTruncateStream(GDSupportHandle* support, long long key, int truncate, char** error);
/* Disconnects, and destroys object and handle even when that failed; nothing for null. */
KYV_EXPORT void deleteGDSupport(GDSupportHandle* support, char** error);

/* --- Statistics --------------------------------------------------------------------------------------------------- */

KYV_EXPORT AdapterStatisticsMapHandle* createAdapterStatisticsMap(void);
/* Destroys object and handle, but not the texts that getAdapterStatistics gave: cleanUpAdapterStatistics before it
 * does. Nothing for null. */
KYV_EXPORT void deleteAdapterStatisticsMap(AdapterStatisticsMapHandle* statistics);
/* Sets the value of a name; both are copied, and the copies stay until cleanUpAdapterStatistics. The result tells
 * nothing but that it was done: it is not null. */
KYV_EXPORT void* addAdapterStatistics(AdapterStatisticsMapHandle* statistics, const char* name, const char* value);
/* Stores the names and values, at most `capacity` of each and in no order that means anything, and returns how many
 * there are. The texts are valid until cleanUpAdapterStatistics, a value until its name's next update. With a capacity
 * of 0 or less the arrays may be null. */
KYV_EXPORT int getAdapterStatistics(AdapterStatisticsMapHandle* statistics, int capacity, const char** names,
                                    const char** values);
/* Removes all statistics and releases their texts. */
KYV_EXPORT void cleanUpAdapterStatistics(AdapterStatisticsMapHandle* statistics);

#ifdef __cplusplus
}
#endif

#endif /* KYV_FLAT_H */
