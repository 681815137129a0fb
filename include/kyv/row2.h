#pragma once

// Row2, the server's binary row record: one self-describing block of bytes with a row's operation, flags, column values
// and options. A Row2 is only ever pointed at, never made: a pointer to it is the address of a record's first byte,
// which needs no alignment. docs/record_layout.md draws the layout.
//
// Threads: no operation keeps state; one thread at a time may change a record.

#include "kyv/export.h"

class Row2 {
 public:
  Row2() = delete;

  // Its bytes in memory tell the host's byte order: the fourth is 0xFF on a big-endian host, 0 on a little-endian one.
  KYV_EXPORT static const unsigned int _byteOrderMask;

  // Turns a record of the opposite byte order into host order, in place. `types` has one type code per column. The flag
  // bit that tells the byte order is neither read nor changed: the caller does both. The record must be well formed.
  KYV_EXPORT void flipToNativeByteOrder(const unsigned int* types);
  // Turns a record in host order into the opposite order, in place.
  KYV_EXPORT void flipFromNativeByteOrder(const unsigned int* types);

  // The options' part of the two operations above, for a record whose counts and offsets are in host order.
  KYV_EXPORT void flipOptionsToNativeByteOrder();
  KYV_EXPORT void flipOptionsFromNativeByteOrder();
};
