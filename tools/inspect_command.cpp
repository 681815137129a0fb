#include <algorithm>
#include <cstdlib>
#include <string>

#include "block_reader.h"
#include "commands.h"
#include "complaint.h"
#include "framing.h"
#include "input_file.h"
#include "interrupt.h"
#include "kyv/string_utility.h"
#include "output_file.h"
#include "raw_dump.h"
#include "record_header.h"
#include "record_page.h"
#include "record_text.h"
#include "schema_file.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

// So much is shown of bytes where no record can begin.
constexpr std::size_t kMostBrokenBytes = 64;

// What is shown of each record, and around all of them.
class RecordView {
 public:
  RecordView() = default;
  RecordView(const RecordView&) = delete;
  RecordView& operator=(const RecordView&) = delete;
  virtual ~RecordView() = default;

  virtual std::string begin() const { return ""; }
  virtual std::string record(std::string_view bytes, const RecordMap& map, std::uint64_t number,
                             std::uint64_t position) const = 0;
  virtual std::string end(const std::string& /*summary*/) const { return ""; }
};

class TextView final : public RecordView {
 public:
  explicit TextView(Colour colour) : colour_(colour) {}
  std::string record(std::string_view /*bytes*/, const RecordMap& map, std::uint64_t number,
                     std::uint64_t position) const override {
    return recordText(map, number, position, colour_) + "\n";
  }

 private:
  Colour colour_;
};

class PageView final : public RecordView {
 public:
  PageView(std::string file, std::string stream) : file_(std::move(file)), stream_(std::move(stream)) {}
  std::string begin() const override { return pageBegin(file_, stream_); }
  std::string record(std::string_view /*bytes*/, const RecordMap& map, std::uint64_t number,
                     std::uint64_t position) const override {
    return recordSection(map, number, position);
  }
  std::string end(const std::string& summary) const override { return pageEnd(summary); }

 private:
  std::string file_;
  std::string stream_;
};

class RawView final : public RecordView {
 public:
  std::string record(std::string_view bytes, const RecordMap& /*map*/, std::uint64_t /*number*/,
                     std::uint64_t /*position*/) const override {
    return rawDump(bytes);
  }
};

