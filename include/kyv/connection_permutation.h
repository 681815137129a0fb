#pragma once

// The mapping between a stream's own column order (the platform order) and the order in which an adapter's source or
// sink has them (the external order). A permutation text pairs names, "Id=code:Price=amount"; prepareOrder finds the
// names' positions; lookups translate names and positions, and lines and binary records are put into the other order.
// docs/permutations.md shows it.
//
// Positions are from 0 on. Names are compared byte by byte. External fields without names are called field_00,
// field_01, ..., field_99, field_100 and so on.
// Order of calls: setPermutation, setPlatOrder and setExternalOrder or setExternalCount where the orders are not those
// of the text, prepareOrder, then everything else. Without pairs the object is direct: both orders are the same.
// Failures: false and a message, which is left alone on success. Only exhausted memory throws.
// Threads: not locked; any number of threads may use the `const` operations while nobody changes the object.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kyv/byte_buffer.h"
#include "kyv/export.h"

class ConnectionRowType;

class KYV_EXPORT ConnectionPermutation {
 public:
  // --- Configuration ------------------------------------------------------------------------------------------------

  // Reads a text of pairs PLATFORM=EXTERNAL with colons between them, after clear(). Both orders are then those of the
  // pairs; unless `externalHasNames`, the external one has generated names. After a failure the pairs before the bad
  // one stay, and every lookup fails. A text without any byte leaves the object direct.
  bool setPermutation(bool externalHasNames, const char* text, std::string& error);

  // The orders, copied. A null vector is an empty one.
  void setPlatOrder(const std::vector<std::string>& names);
  void setPlatOrder(ConnectionRowType* type);
  void setExternalOrder(const std::vector<std::string>& names);
  void setExternalOrder(const std::vector<std::string>* names);
  void setExternalOrder(ConnectionRowType* type);
  // Generated names for `count` fields; none for a count below 1.
  void setExternalCount(int count);

  // Finds the positions of all pairs. An empty external order is first made from the external names, which must then be
  // field_N, N at most 1,000,000; with `requireNoHoles` every N below the highest must be there. That order has as many
  // names as the highest N says, so the highest field is not in it. After a failure every lookup fails.
  bool prepareOrder(bool requireNoHoles, std::string& error);

  // As when it was made.
  void clear();

  bool isDirect() const { return direct; }  // no pair was read
  bool isFailed() const { return failed; }  // something was wrong, since the last clear() or setPermutation

  // --- Lookups ------------------------------------------------------------------------------------------------------

  // The other side's name or position. A direct object gives what it was given and true. A failed one, and one without
  // such a pair, gives what it was given and false. Names need no prepareOrder. A `const char*` result is the argument
  // or belongs to the object, until its configuration changes.
  bool plat2ext(const char* name, const char** out) const;
  bool plat2ext(const std::string& name, std::string& out) const;
  bool plat2ext(int position, int* out) const;
  bool ext2plat(const char* name, const char** out) const;
  bool ext2plat(const std::string& name, std::string& out) const;
  bool ext2plat(int position, int* out) const;

  // --- Rows ---------------------------------------------------------------------------------------------------------

  // Writes a line with its fields in platform order. With service, the first two fields stay where they are. A
  // separator always separates. `out` has room for the line, a byte for each platform column and a terminator, and lies
  // apart from the line; all of that room may be written to. A column without a pair is empty; when it is the first
  // one, and the line is without service, there is one empty field more in front. False, with what was written up to
  // there, when a paired field is missing; with "", when the object is failed or the service fields are missing; with
  // the service fields, when there are more than 999 others.
  bool permuteCsvIn(const char* line, char separator, bool withService, char* out) const;

  // A new record (malloc) with the columns of a compact binary record in another order: the column at output position i
  // is the input column that `map` gives for i, NULL when it gives none or the record has no value there. `map` is
  // asked twice for each position, and answers alike. False, and null in `*out`, when memory is exhausted or the record
  // would pass 2 GiB. Of an input record, which is not null, nothing outside its own length is read.
  bool permuteBinaryRow(void* row, void** out, int outCount, int inCount,
                        bool (*map)(const ConnectionPermutation*, int, int*)) const;
  // The same from platform to external order, and back. These use the lookups by position.
  bool permuteBinaryRowOut(void* row, void** out) const;
  bool permuteBinaryRowIn(void* row, void** out) const;

  // --- Additions ----------------------------------------------------------------------------------------------------

  // The same as permuteCsvIn for a line that needs no terminator, and without limits of room: appends the result. On
  // failure `out` is as before.
  bool appendCsvIn(std::string_view line, char separator, bool withService, kyv::ByteBuffer& out) const;

  // Whether `size` bytes from outside are a compact record of `columns` columns, whose length, offsets and values lie
  // within them; a message when they are not. The bytes need no alignment.
  static bool validateBinaryRow(const void* bytes, std::size_t size, int columns, std::string& error);

  // The external names by position, until the configuration changes.
  const std::vector<std::string>& externalOrder() const { return extOrder; }

  struct Extent {
    std::size_t begin = 0;
    std::size_t end = 0;
  };
  // Where in the permutation text the pair stands, in bytes, that the last failure was about, if it was about one.
  std::optional<Extent> faultyPair() const { return faultyPair_; }

 protected:
  using Names = std::map<std::string, std::string, std::less<>>;
  using Positions = std::map<std::int32_t, std::int32_t>;

  // The order of these is part of the interface; additions follow.
  Names platToExtNames;
  Names extToPlatNames;
  std::vector<std::string> platOrder;
  std::vector<std::string> extOrder;
  bool direct = true;
  bool failed = false;
  bool prepared = false;
  Positions platToExtIndex;
  Positions extToPlatIndex;

 private:
  bool pairsAll() const;
  bool fail(std::string message, std::string& error);
  bool addPair(bool externalHasNames, std::string_view platform, std::string_view external, std::string& error);
  bool deriveExternalOrder(bool requireNoHoles, std::string& error);
  bool findPositions(std::string& error);
  void blamePairOf(std::string_view platformName);

  // What the two maps say, by position: -1 where they say nothing. For the row operations.
  std::vector<std::int32_t> extOfPlat_;
  std::vector<std::int32_t> platOfExt_;
  std::string text_;
  std::optional<Extent> faultyPair_;
};
