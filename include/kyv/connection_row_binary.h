#pragma once

// The row converter whose external side is a binary record already. It holds a copy of one record and hands out copies,
// so that adapters with records can use rows, pools and transactions as others do. It converts and checks nothing, and
// writes no message.
//
// Sizes are in bytes. A null record, and one whose size is negative, is none.

#include <memory>

#include "kyv/connection_row.h"
#include "kyv/export.h"

class KYV_EXPORT ConnectionRowBinary : public ConnectionRow {
 public:
  ConnectionRowBinary();
  ~ConnectionRowBinary() override;

  void clear() override;
  void clearData() override;  // releases the record
  ConnectionRow* createNew() override;

  // Holds a copy of the record's first `size` bytes; 0 means as many as its length word says.
  void setRow(void* record, int size) override;
  // Holds a new record of `size` bytes (4 at least) whose length word is set, and returns the address of the bytes
  // behind that word, for the caller to fill in. Null, and no record, for a negative size and for one above 1 MiB.
  void* allocRow(int size) override;
  // Takes over a record that was made with new[]; its length word is its size.
  void adoptRow(void* record) override;
  bool validate(ConnectionErrors& errors) override;  // always true: nothing is checked
  bool validate(ConnectionErrors* errors) override;
  // The record that the row holds and goes on owning; null without one.
  void* getRow() const override;
  int getRowSize() override;  // 0 without a record

  // A copy of the record, from malloc, which the caller frees; null without one.
  void* toRow(ConnectionCallback* callback, unsigned long recordNo, ConnectionErrors& errors) override;
  void* toRow(unsigned long recordNo, ConnectionErrors* errors) override;
  // Holds a copy of the record, as long as its length word says. False, and no record, when that is not above 0.
  bool fromRow(void* record, ConnectionCallback* callback, unsigned long recordNo, ConnectionErrors& errors) override;
  bool fromRow(void* record, unsigned long recordNo, ConnectionErrors* errors) override;

 private:
  void holdCopy(const void* record, int size);

  // In the order of the class's fields.
  int rowSize_ = 0;                       // bytes of the record
  std::unique_ptr<unsigned char[]> row_;  // the record; null without one
};
