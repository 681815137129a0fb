#pragma once

// Groups of rows and of records that travel together. ConnectionTrans is a plain list of rows, filled and emptied by a
// pool (connection_row_pool.h), which also says who deletes them. ConnectionRawTrans owns plain records (row2.h).
//
// Threads: not locked; one thread at a time.

#include <cstdlib>
#include <memory>
#include <vector>

#include "kyv/export.h"

class ConnectionRow;

using ConnectionTrans = std::vector<ConnectionRow*>;

class KYV_EXPORT ConnectionRawTrans {
 public:
  ConnectionRawTrans();
  ConnectionRawTrans(const ConnectionRawTrans&) = delete;
  ConnectionRawTrans& operator=(const ConnectionRawTrans&) = delete;
  ~ConnectionRawTrans();

  // Takes over a record from malloc, even when memory is exhausted: then it is freed and std::bad_alloc thrown.
  void pushBack(void* record);
  int size() const;
  // The record at an index from 0 on, which the transaction goes on owning; null outside.
  void* get(int index) const;
  // Frees all records.
  void clear();

 private:
  struct FreeRecord {
    void operator()(void* record) const { std::free(record); }
  };

  std::vector<std::unique_ptr<void, FreeRecord>> records_;
};
