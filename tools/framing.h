#pragma once

// Where records end in a stream of bytes, found fast and in one pass, so that the stream can be cut into blocks of
// whole records which several threads convert at once. Framing looks at no more than that needs: what a record holds is
// read later, block by block.

#include <cstddef>
#include <string_view>

#include "record_header.h"

namespace kyv_internal {

class Framing {
 public:
  static constexpr std::size_t kBroken = static_cast<std::size_t>(-1);

  Framing() = default;
  Framing(const Framing&) = delete;
  Framing& operator=(const Framing&) = delete;
  virtual ~Framing() = default;

  // How many bytes at the start of `text` are whole records; `text` starts where a record does. While the answer is 0
  // the caller asks again with the same text grown longer, and only what was added is looked at. kBroken when no record
  // can start there.
  virtual std::size_t wholeRecords(std::string_view text) = 0;

  // Forgets a text whose record never ended: the next one is another.
  virtual void restart() {}
};

// One record a line.
class LineFraming final : public Framing {
 public:
  std::size_t wholeRecords(std::string_view text) override;
  void restart() override { seen_ = 0; }

 private:
  std::size_t seen_ = 0;
};

// A line, or several where a field in double quotes holds line ends. A quote opens a field only at the field's start;
// elsewhere in an unquoted field it is a character like any other.
class QuotedFraming final : public Framing {
 public:
  explicit QuotedFraming(char separator) : separator_(separator) {}
  std::size_t wholeRecords(std::string_view text) override;
  void restart() override;

 private:
  void scanUnquoted(std::string_view text);
  void scanQuoted(std::string_view text);

  char separator_;
  std::size_t seen_ = 0;
  std::size_t end_ = 0;  // of the last whole record within `seen_`
  bool inQuotes_ = false;
};

// Binary records, each led by its own length.
class RecordFraming final : public Framing {
 public:
  // A record of fewer bytes than `least`, or of more than `most`, counts as nonsense. `least` is at least the size of
  // the length, so that reading goes on. So many bytes more lead each record.
  explicit RecordFraming(std::size_t most, std::size_t least = kLeastRecordBytes, std::size_t lead = 0)
      : least_(least), most_(most), lead_(lead) {}
  std::size_t wholeRecords(std::string_view text) override;

 private:
  std::size_t least_;
  std::size_t most_;
  std::size_t lead_;
};

}  // namespace kyv_internal
