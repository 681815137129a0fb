#pragma once

// Rows for reuse: a pool is given one configured row, the prototype, hands out rows with its settings and takes them
// back, so that a row in steady use is made once. Whole transactions of rows are filled and emptied the same way.
//
// Ownership: the pool owns its prototype and the rows that lie in it. A row from alloc belongs to the caller, who gives
// it back with free, once, or deletes it; it may outlive the pool.
// Threads: any number may use a pool at once, a mutex guards it. A row is still used by one thread at a time, and a
// transaction too.

#include <pthread.h>

#include <memory>

#include "kyv/connection_row.h"
#include "kyv/connection_trans.h"
#include "kyv/export.h"

class KYV_EXPORT ConnectionRowPool {
 public:
  // Without a prototype a pool hands out nothing.
  ConnectionRowPool();
  ConnectionRowPool(const ConnectionRowPool&) = delete;
  ConnectionRowPool& operator=(const ConnectionRowPool&) = delete;
  // Rows that are still out stay as they are.
  ~ConnectionRowPool();

  // Takes over a row made with new, or none, as the prototype, and deletes the old one and all rows that lie in the
  // pool. Rows that are out are deleted when they come back. The current prototype again changes nothing. The new one
  // is used by createNew alone from now on, and by nobody else. It is deleted, and the old one stays, when memory is
  // exhausted.
  void setPrototype(ConnectionRow* prototype);

  // A row without data and with the prototype's settings, or with those that it came back with; null without a
  // prototype. The prototype's createNew runs while the pool is locked and must not use it.
  ConnectionRow* alloc();
  // Clears a row's data and keeps it for the next alloc, when the current prototype made it; deletes any other row.
  // Nothing for null.
  void free(ConnectionRow* row);

  // Deletes the rows that the transaction still holds and fills it with `count` others. False, with those that there
  // were, without a prototype.
  bool allocTrans(ConnectionTrans* trans, int count);
  // Takes all rows back and empties the transaction.
  void freeTrans(ConnectionTrans* trans);

  // Whether the current prototype made the row, so that free would keep it. False for null.
  bool validate(const ConnectionRow* row);

 private:
  bool isCurrent(const ConnectionRow& row) const;
  ConnectionRow* makeRow();
  void deleteFreeRows();

  // In the order of the class's fields; additions follow.
  pthread_mutex_t mutex_;  // guards what follows
  std::unique_ptr<ConnectionRow> prototype_;
  ConnectionRow* freeRows_ = nullptr;  // a list, linked by poolNext
  // An addition: tells this prototype from an earlier one that lay at the same address. Rows of the pool hold it too.
  std::shared_ptr<const void> generation_;
};
