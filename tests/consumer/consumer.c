#include <kyv/flat.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
  const char* const names[] = {"Id", "Name", "Price"};
  const unsigned int types[] = {2, 5, 12}; /* long, string, money(2) */
  ConnectionRowType** trades = createConnectionRowType("Trades", 1, 3, names, types);
  ConnectionErrorsHandle* errors = createConnectionErrors();
  ConnectionRowHandle* row = createConnectionRow("RowByOrder");
  const char* price = "";
  setStreamType(row, trades, false);
  appendFieldAsString(row, "7");
  appendFieldAsString(row, "Ada");
  appendFieldAsString(row, "2.5");

  void* record = toRow(row, 1, errors); /* ours to free; null and a message in `errors` on failure */
  if (record != NULL && fromRow(row, record, 1, errors)) getFieldAsStringWithIndex(row, 2, &price);
  printf("%c %s\n", getOp(row), price); /* p 2.50 */

  free(record);
  deleteConnectionRow(row);
  deleteConnectionErrors(errors);
  deleteConnectionRowType(trades);
  return 0;
}
