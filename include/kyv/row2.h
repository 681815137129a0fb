#pragma once

// Row2, the server's binary row record: one self-describing block of bytes with a row's operation, flags, column values
// and options. A Row2 is only ever pointed at, never made: a pointer to it is the address of a record's first byte,
// which needs no alignment. docs/record_layout.md draws the layout.
//
// Threads: no operation keeps state; one thread at a time may change a record.

#include <cstddef>
#include <cstdio>
#include <span>
#include <string>

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

  // --- Checks -------------------------------------------------------------------------------------------------------
  //
  // Each returns true when the record passes; else it stores one message in `error` and returns false. None reads
  // outside the bytes that the record's length word claims, so that as many must be there. A record without a whole
  // header counts as one with zeros in it.
  //
  // A schema is `fixedColumns` columns, followed, unless `repeatColumns` is 0, by any number of groups of
  // `repeatColumns` columns; neither is negative. Of column i, `nullable` has the entry i, or that of the same place in
  // the first group: whether it may be NULL or shine through. A null `nullable` allows it everywhere. So it is with
  // `types`, but messages and conversions take the type at the column's own index: give one for every column of the
  // record.

  KYV_EXPORT bool validateOpcode(std::string& error) const;
  // The column count, and that the record is as long as its header and offset table.
  KYV_EXPORT bool validateColumnCount(std::string& error, int fixedColumns, int repeatColumns) const;
  // That as many options are there as the flags say.
  KYV_EXPORT bool validateOptionCount(std::string& error) const;
  // That offsets rise and lie between the offset table and the record's end.
  KYV_EXPORT bool validateColumnOffsets(std::string& error) const;
  // That values are as long as their types need, strings are terminated, and columns have the value that they must
  // have. Null `types` pass. Without groups, columns behind the fixed ones have the message of a wrong count.
  KYV_EXPORT bool validateColumnTypes(std::string& error, int fixedColumns, int repeatColumns,
                                      const unsigned int* types, const bool* nullable) const;
  KYV_EXPORT bool validateOptionSizes(std::string& error) const;
  // Always passes.
  KYV_EXPORT bool validateOptionContents(std::string& error) const;

  // The option count and the offsets of a record in host order; nothing else: the schema is not looked at.
  KYV_EXPORT bool validateVar(std::string& error, int fixedColumns, int repeatColumns, const unsigned int* types,
                              const bool* nullable) const;
  // The same for a record whose flag says host order. One of the opposite order is converted in place, and its columns
  // and option sizes are checked as well; when that fails it is left converted in part, fit only to be thrown away.
  KYV_EXPORT bool validateVarToNativeByteOrder(std::string& error, int fixedColumns, int repeatColumns,
                                               const unsigned int* types, const bool* nullable);

  // What is wrong with a record, and at which byte of it the fault lies.
  struct Fault {
    std::string message;
    std::size_t position = 0;
  };

  // Proves a record from outside safe: when it passes, nothing that the library does with the record and these types
  // reads outside it, and it stays so when it is converted to the other byte order. The record stands at the start of
  // `bytes`, which may go on behind it, in either byte order, and is not changed. `types` and `nullable` have an entry
  // for each of the fixed columns and of one group.
  //
  // One pass checks the length word against the bytes, the operation, the counts of columns and options, all that the
  // checks above do about offsets, values and options, and in values: that a binary value's length lies inside it,
  // that a decimal has at most 34 digits, not more than its precision (the schema's where that has one), and at most
  // as many places as digits. What follows the terminator in a string is padding, and may be anything; so are flags
  // that have no meaning, options other than the latencies, and bytes behind the end of data. No memory is taken for a
  // record that passes.
  KYV_EXPORT static bool validateUntrusted(std::string& error, std::span<const std::byte> bytes, int fixedColumns,
                                           int repeatColumns, const unsigned int* types, const bool* nullable);
  KYV_EXPORT static bool validateUntrusted(Fault& fault, std::span<const std::byte> bytes, int fixedColumns,
                                           int repeatColumns, const unsigned int* types, const bool* nullable);

  // --- Dumps, of records in host order ------------------------------------------------------------------------------

  // Writes the header as a line. Like the checks, dumps do not read outside the record's own length.
  KYV_EXPORT static void dumpRow2Fixed(std::FILE* out, const Row2* record);
  // Writes the header, the first `maxOffsets` offsets and the payload as hexadecimal text, as far as it lies in the
  // first `length` bytes. Where fewer bytes are there than the record claims, its caller bounds both.
  KYV_EXPORT static void dumpRow2(std::FILE* out, const Row2* record, int length, int maxOffsets);
  // Writes bytes as hexadecimal text, 32 a line, with `prefix` before each line but the first and no line end behind.
  KYV_EXPORT static void hexdump(std::FILE* out, const char* bytes, int count, const char* prefix);
};
