#pragma once

// What a handle of a row points at. An unknown kind, or an empty pool, gives one without a row.

#include "kyv/connection_row.h"
#include "kyv/flat.h"

struct ConnectionRowHandle {
  ConnectionRow* object;
};
