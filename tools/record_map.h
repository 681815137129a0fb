#pragma once

// A record taken apart into labelled ranges of bytes: its header, its offset table, its values, and what lies between.
// Nothing in it is believed. What does not fit together is a fault of the part that is to blame, and every byte that is
// there gets a label all the same. Who shows a record walks its map and need not know where a record keeps what.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "value_decoder.h"

namespace kyv_internal {

struct ByteRange {
  std::size_t begin = 0;
  std::size_t end = 0;

  std::size_t size() const { return end - begin; }
  bool empty() const { return end == begin; }
};

enum class PartKind : std::uint8_t {
  kHeader,  // a word of the header
  kEntry,   // a word of the offset table, or those of the columns that are not shown
  kColumn,
  kOption,
  kGap,  // bytes that are no part's
};

enum class PartState : std::uint8_t {
  kPresent,
  kNull,
  kShineThrough,  // no value: the receiver keeps its own
  kMissing,       // not in the record, or cut off; or an option without content
  kUnreadable,
};

// All texts are harmless on any screen.
struct RecordPart {
  PartKind kind = PartKind::kHeader;
  PartState state = PartState::kPresent;
  std::string mark;  // a short name to stand below bytes: "length", "@3" for an offset, "3" for a column, "o1"
  std::string name;
  std::string type;
  ByteRange bytes;    // empty where nothing is there
  std::string where;  // what the offset table says of a value, or of itself: "0x28"
  std::string text;   // the content
  std::string fault;  // empty when sound
  // The part that this one belongs to: a value's entry of the offset table; else itself. Parts of a tie are one thing.
  std::size_t tie = 0;
};

// A run of bytes that are the same parts'. More than one part: they overlap.
struct Segment {
  static constexpr std::size_t kMostParts = 4;

  ByteRange bytes;
  std::vector<std::size_t> parts;  // at least one; of more than kMostParts the first

  bool overlaps() const { return parts.size() > 1; }
};

struct RecordMap {
  std::string_view bytes;  // what is there of the record; the caller's
  std::vector<RecordPart> parts;
  std::vector<std::size_t> header;  // parts to list: the header's words,
  std::vector<std::size_t> rows;    // and values, the end of data, gaps
  std::vector<Segment> segments;    // each byte in one of them, in order

  // What is wrong with a part or with its entry of the offset table.
  std::vector<std::string> faultsOf(std::size_t part) const;
  // All faults, each behind the name of its part.
  std::vector<std::string> faults() const;
};

inline constexpr std::size_t kMostMappedColumns = 1000;

// Maps a record in either byte order. `bytes` is what is there of it, from its first byte on, and may be less than the
// record says, or nothing. More than `mostColumns` are counted, but have no parts of their own.
RecordMap mapRecord(std::string_view bytes, ValueDecoder& values, std::size_t mostColumns = kMostMappedColumns);

}  // namespace kyv_internal
