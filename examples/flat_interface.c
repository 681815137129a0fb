/* One line to a record and back through the flat layer, from C.
 *
 *   flat_interface '7,EUR,2.5'
 */

#include <kyv/flat.h>
#include <stdio.h>
#include <stdlib.h>

/* Type codes: see kyv/data_types.h. */
enum { kLong = 2, kFloat = 3, kString = 5 };

static int showErrors(ConnectionErrorsHandle* errors) {
  char* report = NULL;
  getAdapterError(errors, &report);
  if (report == NULL) return EXIT_SUCCESS;
  fprintf(stderr, "%s\n", report);
  deleteL10NMessage(report);
  return EXIT_FAILURE;
}

static void showFields(ConnectionRowHandle* row, const char* const* names) {
  for (int i = 0; i < size(row); ++i) {
    const char* text = NULL; /* stays the row's */
    getFieldAsStringWithIndex(row, i, &text);
    printf("%s=%s\n", names[i], text != NULL ? text : "NULL");
  }
}

int main(int argc, char** argv) {
  const char* names[] = {"Id", "Currency", "Rate"};
  const unsigned int types[] = {kLong, kString, kFloat};
  ConnectionRowType** schema = createConnectionRowType("Rates", 1, 3, names, types);
  ConnectionErrorsHandle* errors = createConnectionErrors();

  ConnectionRowHandle* line = createConnectionRow("RowCsv");
  setStreamType(line, schema, false); /* false: the rows borrow the schema */
  setBuffer(line, argc > 1 ? argv[1] : "7,EUR,2.5");
  void* record = toRow(line, 1, errors);

  ConnectionRowHandle* fields = createConnectionRow("RowByOrder");
  setStreamType(fields, schema, false);
  if (record != NULL && fromRow(fields, record, 1, errors)) showFields(fields, names);

  free(record);
  deleteConnectionRow(fields);
  deleteConnectionRow(line);
  deleteConnectionRowType(schema);
  const int status = showErrors(errors);
  deleteConnectionErrors(errors);
  return status;
}
