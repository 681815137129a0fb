/* Drives every flat function from C, and so proves that the header and the library serve a C program. */

#include <kyv/flat.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kInteger = 1, kLong = 2, kFloat = 3, kString = 5 };

static int failures = 0;

static void expectNumber(const char* what, long long actual, long long expected) {
  if (actual == expected) return;
  ++failures;
  fprintf(stderr, "%s: %lld instead of %lld\n", what, actual, expected);
}

static void expectText(const char* what, const char* actual, const char* expected) {
  if (actual == expected || (actual && expected && strcmp(actual, expected) == 0)) return;
  ++failures;
  fprintf(stderr, "%s: '%s' instead of '%s'\n", what, actual ? actual : "(null)", expected ? expected : "(null)");
}

static void expectNewText(const char* what, char* actual, const char* expected) {
  expectText(what, actual, expected);
  deleteL10NMessage(actual);
}

static void expectReport(ConnectionErrorsHandle* errors, const char* expected) {
  char* report = NULL;
  getAdapterError(errors, &report);
  expectNewText("report", report, expected);
  expectNumber("empty after the report", empty(errors), true);
}

static void expectField(ConnectionRowHandle* row, int index, const char* expected) {
  const char* text = "not set";
  expectNumber("field present", getFieldAsStringWithIndex(row, index, &text), expected != NULL);
  expectText("field", text, expected);
}

/* The header words of a record: length, operation, stream, flags, columns. */
static int32_t headerWord(const void* record, int word) {
  int32_t value;
  memcpy(&value, (const char*)record + 4 * word, sizeof value);
  return value;
}

static void typeNames(void) {
  char text[32];
  int32_t value = -42;
  expectNumber("type 3", getDataType(3), 3);
  expectNumber("an unknown type", getDataType(77), 8);
  expectNewText("lower-case name", typeToString(kInteger), "integer");
  expectText("upper-case name", typeToStringUpper(kString), "STRING");
  convertToString(kInteger, false, false, (unsigned char*)&value, text, sizeof text);
  expectText("value", text, "-42");
  convertToString(kInteger, false, false, (unsigned char*)&value, text, 3);
  expectText("value cut to the buffer", text, "-4");
}

static void errorCollector(void) {
  ConnectionErrorsHandle* errors = createConnectionErrors();
  char* untouched = NULL;
  expectNumber("a null collector is empty", empty(NULL), true);
  expectNumber("size of a null collector", sizeConnectionErrors(NULL), 0);
  getAdapterError(errors, &untouched);
  expectText("no report without messages", untouched, NULL);
  addGeneral(errors, "A");
  addGeneral(errors, NULL);
  addParam(errors, "port", "X");
  addGeneral(errors, "B");
  expectNumber("messages", sizeConnectionErrors(errors), 3);
  expectNumber("empty", empty(errors), false);
  expectReport(errors, "Parameter port: X\nA\nB");
  addGeneral(errors, "C");
  clearConnectionErrors(errors);
  expectNumber("messages after clearing", sizeConnectionErrors(errors), 0);
  clearConnectionErrors(NULL);
  deleteConnectionErrors(errors);
}

static void localisedMessages(void) {
  char* params[] = {"a", "b"};
  init_i18n();
  expectNewText("no parameter", getL10NMessage("no.such.id"), "no.such.id");
  expectNewText("one", getL10NMessageWithParam("no.such.id", "1"), "no.such.id 1");
  expectNewText("two", getL10NMessageWithTwoParams("no.such.id", "1", "2"), "no.such.id 1 2");
  expectNewText("three", getL10NMessageWithThreeParams("no.such.id", "1", "2", "3"), "no.such.id 1 2 3");
  expectNewText("four", getL10NMessageWithFourParams("no.such.id", "1", "2", "3", "4"), "no.such.id 1 2 3 4");
  expectNewText("five", getL10NMessageWithFiveParams("no.such.id", "1", "2", "3", "4", "5"), "no.such.id 1 2 3 4 5");
  expectNewText("many", getL10NMessageWithMultParams("no.such.id", 2, params), "no.such.id a b");
  deleteL10NMessage(NULL);
  expectNumber("severities", checkErrorSeverity() + getErrorSeverity(), 2);
}

static ConnectionRowType** tradesSchema(void) {
  static const char* const names[] = {"Id", "Name", "Price"};
  static const unsigned int types[] = {kInteger, kString, kFloat};
  return createConnectionRowType("Trades", 17, 3, names, types);
}

/* A row of the given kind that owns its schema. */
static ConnectionRowHandle* tradesRow(const char* kind) {
  ConnectionRowHandle* row = createConnectionRow(kind);
  ConnectionRowType** schema = tradesSchema();
  setStreamType(row, schema, true);
  releaseConnectionRowType(schema);
  return row;
}

/* C cannot delete a row that has no handle, so this one stays until the end, within the leak checker's sight. */
static ConnectionRow* volatile twin;

static void rowSettings(ConnectionRowHandle* row) {
  setStreamName(row, "Trades");
  expectText("stream name", getStreamName(row), "Trades");
  setTimeFormat(row, "%H:%M");
  setDateFormat(row, "%Y-%m-%d");
  setTimestampFormat(row, "%Y-%m-%d %H:%M");
  expectNumber("has a schema", getStreamType(row) != NULL, true);
  setStreamType(row, NULL, false);
  expectNumber("still has it", getStreamType(row) != NULL, true);
  twin = createNew(row);
  expectNumber("a new row", twin != NULL, true);
}

static void orderedRow(ConnectionErrorsHandle* errors) {
  ConnectionRowHandle* row = tradesRow("RowByOrder");
  void* record = NULL;
  expectNumber("field 0", setFieldAsStringWithIndex(row, 0, "7"), true);
  expectNumber("append null", appendFieldAsString(row, NULL), true);
  expectNumber("append", appendFieldAsString(row, "2.5"), true);
  expectNumber("negative index", setFieldAsStringWithIndex(row, -1, "x"), false);
  expectNumber("size", size(row), 3);
  expectNumber("default operation", getOp(row), 'p');
  setOp(row, 'I');
  expectText("no flags", getFlagsAsString(row), "");
  setFlagsAsString(row, "s");

  record = toRow(row, 1, errors);
  expectNumber("converted", record != NULL, true);
  if (record != NULL) {
    expectNumber("length", headerWord(record, 0), 24 + 4 * 3 + 4 + 8);
    expectNumber("operation", headerWord(record, 1), 1);
    expectNumber("stream", headerWord(record, 2), 17);
    clearData(row);
    expectNumber("size after clearing", size(row), 0);
    expectNumber("read back", fromRow(row, record, 1, errors), true);
    expectField(row, 0, "7");
    expectField(row, 1, NULL);
    expectField(row, 2, "2.500000");
    expectNumber("operation letter", getOp(row), 'i');
    expectText("flags", getFlagsAsString(row), "s");
  }
  free(record);

  setFieldAsStringWithIndex(row, 0, "seven");
  expectNumber("refused", toRow(row, 2, errors) == NULL, true);
  expectReport(errors,
               "record 2: Error converting data 'seven'->INTEGER for Stream 'Trades' Column 'Id': "
               "integer constant does not begin with a legal character");
  clear(row);
  expectNumber("cleared rows have no schema", getStreamType(row) == NULL, true);
  deleteConnectionRow(row);
}

static void csvRow(ConnectionErrorsHandle* errors) {
  ConnectionRowHandle* line = tradesRow("RowCsv");
  ConnectionRowHandle* fields = tradesRow("RowByOrder");
  void* record = NULL;
  char text[] = "Trades;d;8;'x y';\r\n";
  setSeparator(line, ';');
  setWithService(line, true);
  setBuffer(line, text);
  record = toRow(line, 1, errors);
  expectNumber("converted line", record != NULL, true);
  if (record != NULL) expectNumber("read back", fromRow(fields, record, 1, errors), true);
  free(record);
  expectField(fields, 0, "8");
  expectField(fields, 1, "x y");
  expectField(fields, 2, NULL);
  expectNumber("operation letter", getOp(fields), 'd');

  setWithService(line, false);
  strcpy(allocBuffer(line, 16), "1;2");
  expectNumber("short line", toRow(line, 9, errors) == NULL, true);
  expectNumber("one message", sizeConnectionErrors(errors), 1);
  clearConnectionErrors(errors);
  expectNumber("lines cannot be read back", fromRow(line, NULL, 9, errors), false);
  expectReport(errors, "Conversion from raw rows to this subtype of ConnectionRow is not implemented.");
  deleteConnectionRow(fields);
  deleteConnectionRow(line);
}

static void namedRow(ConnectionErrorsHandle* errors) {
  ConnectionRowHandle* names = tradesRow("RowByNames");
  ConnectionRowHandle* fields = tradesRow("RowByOrder");
  const char* text = NULL;
  void* record = NULL;
  expectNumber("set by name", setFieldAsStringWithKey(names, "Price", "2.5"), true);
  expectNumber("set the operation", setFieldAsStringWithKey(names, "KYV_OPS", "update"), true);
  expectNumber("get by name", getFieldAsStringWithKey(names, "Price", &text), true);
  expectText("named field", text, "2.5");
  expectNumber("get an unknown name", getFieldAsStringWithKey(names, "Id", &text), false);
  expectText("unknown field", text, NULL);
  record = toRow(names, 1, errors);
  expectNumber("read back", record != NULL && fromRow(fields, record, 1, errors), true);
  free(record);
  expectField(fields, 0, NULL);
  expectField(fields, 2, "2.500000");
  expectNumber("operation letter", getOp(fields), 'u');
  deleteConnectionRow(fields);
  deleteConnectionRow(names);
}

/* A record's key and operation taken from columns. */
static void guaranteedDelivery(ConnectionErrorsHandle* errors) {
  static const char* const names[] = {"Seq", "Op", "Name"};
  static const unsigned int types[] = {kLong, kInteger, kString};
  ConnectionRowType** schema = createConnectionRowType("Queue", 1, 3, names, types);
  ConnectionRowHandle* row = createConnectionRow("RowByOrder");
  void* record = NULL;
  setStreamType(row, schema, false);
  setFieldAsStringWithIndex(row, 0, "42");
  setFieldAsStringWithIndex(row, 1, "5");
  setFieldAsStringWithIndex(row, 2, "x");
  record = toRow(row, 1, errors);
  enableGDMode(row);
  setGDKeyColumnName(row, "Seq");
  setOpcodeColumnName(row, "Op");
  expectNumber("read back", record != NULL && fromRow(row, record, 1, errors), true);
  expectNumber("key", getGDKey(row), 42);
  expectNumber("operation of the column", getOp(row), 'd');
  expectNumber("remaining fields", size(row), 1);
  free(record);
  deleteConnectionRow(row);
  deleteConnectionRowType(schema);
}

/* Operations of other external forms answer zero, and complain on standard error. */
static void operationsOfOtherForms(ConnectionErrorsHandle* errors) {
  ConnectionRowHandle* row = tradesRow("RowByOrder");
  ConnectionRowHandle* none = createConnectionRow("RowBinary");
  setRow(row, NULL, 0);
  adoptRow(row, NULL);
  expectNumber("allocRow", allocRow(row, 4) == NULL, true);
  expectNumber("getRow", getRow(row) == NULL, true);
  expectNumber("getRowSize", getRowSize(row), 0);
  expectNumber("validate", validate(row, errors), false);
  expectNumber("a handle without a row", none != NULL, true);
  deleteConnectionRow(none);
  deleteConnectionRow(row);
  deleteConnectionRow(NULL);
}

/* A pool whose prototype has the trades' schema. */
static ConnectionRowPoolHandle* tradesPool(void) {
  ConnectionRowPoolHandle* pool = createConnectionRowPool();
  ConnectionRowHandle* none = alloc(pool);
  expectNumber("a handle without a row", none != NULL, true);
  freeConnectionRow(pool, none);
  freeConnectionRow(pool, NULL);
  setPrototype(pool, tradesRow("RowByOrder"));
  return pool;
}

static void rowsOfAPool(void) {
  ConnectionRowPoolHandle* pool = tradesPool();
  ConnectionRowHandle* row = alloc(pool);
  ConnectionRowHandle* stranger = tradesRow("RowByOrder");
  expectNumber("the prototype's schema", getStreamType(row) != NULL, true);
  expectNumber("a row of the pool", validateConnectionRow(pool, row), true);
  expectNumber("another row", validateConnectionRow(pool, stranger), false);
  setPrototype(pool, stranger);
  expectNumber("a row of the former prototype", validateConnectionRow(pool, row), false);
  freeConnectionRow(pool, row);
  deleteConnectionRowPool(pool);
  deleteConnectionRowPool(NULL);
}

/* Converts each row of a transaction into a record of a raw transaction. */
static void transactions(ConnectionErrorsHandle* errors) {
  ConnectionRowPoolHandle* pool = tradesPool();
  ConnectionTrans* trans = createConnectionTrans();
  ConnectionRawTransHandle* records = createConnectionRawTrans();
  expectNumber("no record", getConnectionRawTrans(records, 0) == NULL, true);
  expectNumber("filled", allocTrans(pool, trans, 2), true);
  expectNumber("rows", getConnectionTransSize(trans), 2);
  expectNumber("no row", getConnectionTrans(trans, 2) == NULL, true);
  for (int i = 0; i < getConnectionTransSize(trans); ++i) {
    ConnectionRowHandle* row = getConnectionTrans(trans, i);
    setFieldAsStringWithIndex(row, 2, NULL);
    setOp(row, i == 0 ? 'i' : 'd');
    pushBackConnectionRawTrans(records, toRow(row, 1, errors));
    releaseConnectionRow(row);
  }
  freeTrans(pool, trans);
  expectNumber("rows left", getConnectionTransSize(trans), 0);
  expectNumber("records", getConnectionRawTransSize(records), 2);
  expectNumber("operation", headerWord(getConnectionRawTrans(records, 1), 1), 5);
  clearConnectionRawTrans(records);
  expectNumber("records left", getConnectionRawTransSize(records), 0);
  deleteConnectionRawTrans(records);
  deleteConnectionRawTrans(NULL);
  deleteConnectionTrans(trans);
  deleteConnectionTrans(NULL);
  deleteConnectionRowPool(pool);
}

/* A permutation of the trades' columns with fields that stand in the opposite order, prepared. */
static ConnectionPermutationHandle* tradesPermutation(void) {
  static const char* const names[] = {"amount", "title", "code"};
  static const unsigned int types[] = {kFloat, kString, kInteger};
  ConnectionPermutationHandle* permutation = createConnectionPermutation();
  ConnectionRowType** schema = tradesSchema();
  ConnectionRowType** external = createConnectionRowType("External", 1, 3, names, types);
  char* error = NULL;
  expectNumber("direct", isDirect(permutation), 1);
  expectNumber("read", setPermutation(permutation, 1, "Id=code:Price=amount", &error), 1);
  setPlatOrder(permutation, *schema);
  setExternalOrderWithConnRowTypeAsParam(permutation, *external);
  expectNumber("prepared", prepareOrder(permutation, 0, &error), 1);
  expectText("no message", error, NULL);
  expectNumber("no longer direct", isDirect(permutation), 0);
  deleteConnectionRowType(external);
  deleteConnectionRowType(schema);
  return permutation;
}

static void permutationLookups(ConnectionPermutationHandle* permutation) {
  const char* name = NULL;
  int position = -1;
  expectNumber("by platform name", plat2extWithFieldName(permutation, "Price", &name), 1);
  expectText("external name", name, "amount");
  expectNumber("by external name", ext2platWithFieldName(permutation, "code", &name), 1);
  expectText("platform name", name, "Id");
  expectNumber("by an unpaired name", plat2extWithFieldName(permutation, "Name", &name), 0);
  expectText("the name itself", name, "Name");
  expectNumber("by platform position", plat2extWithFieldNum(permutation, 2, &position), 1);
  expectNumber("external position", position, 0);
  expectNumber("by external position", ext2platWithIndex(permutation, 2, &position), 1);
  expectNumber("platform position", position, 0);
  expectNumber("by an unpaired position", ext2platWithIndex(permutation, 1, &position), 0);
  expectNumber("the position itself", position, 1);
}

static void externalOrder(ConnectionPermutationHandle* permutation) {
  const char** names = getExtOrder(permutation);
  char* name = NULL;
  expectNumber("external fields", getExtOrderSize(permutation), 3);
  expectText("the middle one", names[1], "title");
  free(names);
  getColumnNameFromExtOrder(permutation, 2, &name);
  expectNewText("the last one", name, "code");
  getColumnNameFromExtOrder(permutation, 3, &name);
  expectText("none behind it", name, NULL);
  getColumnNameFromExtOrder(permutation, -1, &name);
  expectText("none before the first", name, NULL);
  setExternalCount(permutation, 2);
  getColumnNameFromExtOrder(permutation, 1, &name);
  expectNewText("a generated one", name, "field_01");
  setExternalOrder(permutation, NULL);
  expectNumber("an empty order", getExtOrderSize(permutation), 0);
}

static void permutations(void) {
  ConnectionPermutationHandle* permutation = tradesPermutation();
  char* error = NULL;
  char line[sizeof "Trades;i;2.5;x;7" + 3];
  permutationLookups(permutation);
  expectNumber("reordered", permuteCsvIn(permutation, "Trades;i;2.5;x;7", ';', 1, line), 1);
  expectText("line", line, "Trades;i;7;;2.5");
  expectNumber("a missing field", permuteCsvIn(permutation, "2.5;x", ';', 0, line), 0);
  externalOrder(permutation);
  expectNumber("names without numbers", prepareOrder(permutation, 1, &error), 0);
  expectNewText("message", error, "Misformatted external field name, expected field_N, got 'amount'");
  expectNumber("failed", isFailed(permutation), 1);
  expectNumber("a message that nobody wants", setPermutation(permutation, 0, "Id", NULL), 0);
  clearConnectionPermutation(permutation);
  expectNumber("no longer failed", isFailed(permutation), 0);
  deleteConnectionPermutation(permutation);
  deleteConnectionPermutation(NULL);
}

/* Without a store, whatever machine this runs on: a handle and a text all the same. */
static void delivery(void) {
  char* error = NULL;
  GDSupportHandle* support = NULL;
  setenv("KYV_STORE", "?", 1);
  support = createGDSupport("Keys", "adapters", 1, &error);
  expectNumber("a handle", support != NULL, true);
  expectNewText("not connected", error, "KYV_STORE is '?', which is no store's name");
  expectNumber("no key", getLastProcessedGDKey(support, NULL), 0);
  expectNumber("no update", updateTruncateStream(support, 1, 0, &error) != 0, true);
  deleteL10NMessage(error);
  error = NULL;
  deleteGDSupport(support, &error);
  deleteGDSupport(NULL, &error);
  expectText("deleted", error, NULL);
}

static void statistics(void) {
  AdapterStatisticsMapHandle* map = createAdapterStatisticsMap();
  const char* names[2] = {NULL, NULL};
  const char* values[2] = {NULL, NULL};
  expectNumber("none", getAdapterStatistics(map, 0, NULL, NULL), 0);
  expectNumber("added", addAdapterStatistics(map, "rows", "1") != NULL, true);
  expectNumber("updated", addAdapterStatistics(map, "rows", "2") != NULL, true);
  expectNumber("one name", getAdapterStatistics(map, 2, names, values), 1);
  expectText("name", names[0], "rows");
  expectText("value", values[0], "2");
  addAdapterStatistics(map, "Rows", "3");
  names[1] = NULL;
  expectNumber("two names, though one is asked for", getAdapterStatistics(map, 1, names, values), 2);
  expectText("only one is stored", names[1], NULL);
  expectNumber("none is stored", getAdapterStatistics(map, -1, NULL, NULL), 2);
  cleanUpAdapterStatistics(map);
  expectNumber("cleaned up", getAdapterStatistics(map, 2, names, values), 0);
  deleteAdapterStatisticsMap(map);
  deleteAdapterStatisticsMap(NULL);
}

int main(void) {
  ConnectionErrorsHandle* errors = createConnectionErrors();
  ConnectionRowHandle* row = tradesRow("RowByOrder");
  typeNames();
  errorCollector();
  localisedMessages();
  rowSettings(row);
  deleteConnectionRow(row);
  orderedRow(errors);
  csvRow(errors);
  namedRow(errors);
  guaranteedDelivery(errors);
  operationsOfOtherForms(errors);
  rowsOfAPool();
  transactions(errors);
  permutations();
  delivery();
  statistics();
  expectReport(errors, NULL);
  deleteConnectionErrors(errors);
  return failures == 0 ? 0 : 1;
}
