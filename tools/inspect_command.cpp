#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "block_reader.h"
#include "commands.h"
#include "complaint.h"
#include "framing.h"
#include "input_file.h"
#include "interrupt.h"
#include "kyv/string_utility.h"
#include "output_file.h"
#include "record_header.h"
#include "record_view.h"
#include "schema_file.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

// So much is shown of bytes where no record can begin.
constexpr std::size_t kMostBrokenBytes = 64;

class InspectRun {
 public:
  InspectRun(const CommandOptions& options, const SchemaFile& schema)
      : options_(options),
        values_(schema.schema(), TextLayout::merge(options.text, schema.text)),
        stream_(schema.stream) {}

  ExitStatus run() {
    catchInterrupts();
    const std::string& target = options_.html.empty() ? options_.output : options_.html;
    if (!input_.open(options_.input, error_) || !output_.open(target, error_)) return fail();
    view_ = makeView();
    const bool read = write(view_->begin()) && readRecords();
    if (output_.readerHasGone()) return ExitStatus::kOk;
    if (!read && interrupted()) {
      complain("interrupted");
      return ExitStatus::kInterrupted;
    }
    if (!read) return fail();
    if (shown_ == 0 && records_ > 0) return refuseChoice();
    if (!write(view_->end(summary())) || !output_.commit(error_)) return fail();
    return finish();
  }

 private:
  ExitStatus fail() const {
    complain(error_);
    return ExitStatus::kFiles;
  }

  // A page that was there before stays as it was.
  ExitStatus refuseChoice() const {
    complain(strprintf("%s: there is no record %llu, only %llu", input_.name().c_str(), wide(options_.records.first),
                       wide(records_)));
    return ExitStatus::kUsage;
  }

  std::unique_ptr<RecordView> makeView() const {
    if (!options_.html.empty()) return makePageView(input_.name(), stream_);
    if (options_.raw) return makeRawView();
    return makeTextView(wantsColour() ? Colour::kAnsi : Colour::kNone);
  }

  // See no-color.org: the variable counts when it is not empty.
  bool wantsColour() const {
    if (options_.colour != ColourChoice::kAuto) return options_.colour == ColourChoice::kAlways;
    const char* const refused = std::getenv("NO_COLOR");
    return output_.isTerminal() && (refused == nullptr || *refused == 0);
  }

  bool write(const std::string& text) { return output_.write(text, error_); }

  // False when the input or the output failed, or the run was interrupted.
  bool readRecords() {
    RecordFraming framing(kMostRecordBytes);
    BlockReader reader(input_, framing, std::numeric_limits<std::size_t>::max());
    Block block;
    while (reader.next(block)) {
      const bool goesOn = block.kind == BlockKind::kRecords ? takeRecords(block) : takeRest(block);
      if (!goesOn) return false;
    }
    error_ = input_.error();
    return !reader.failed();
  }

  bool takeRecords(const Block& block) {
    std::uint64_t position = block.offset;
    for (std::string_view text = block.text(); !text.empty();) {
      const auto length = static_cast<std::size_t>(recordLength(text.data()));
      ++records_;
      if (options_.records.holds(records_) && !show(text.substr(0, length), position)) return false;
      position += length;
      text.remove_prefix(length);
    }
    return true;
  }

  // The end of a file that ends within a record, or in which no record begins where one should.
  bool takeRest(const Block& block) {
    ++records_;
    if (block.kind == BlockKind::kBroken) brokenAt_ = block.offset;
    const std::string_view text = brokenAt_ ? block.text().substr(0, kMostBrokenBytes) : block.text();
    if (options_.records.holds(records_)) return show(text, block.offset);
    ++faulty_;
    tellFault(mapRecord(text, values_), block.offset);
    return true;
  }

  bool show(std::string_view bytes, std::uint64_t position) {
    const RecordMap map = mapRecord(bytes, values_);
    ++shown_;
    const bool sound = map.faults().empty();
    if (!sound) ++faulty_;
    if (!sound && options_.raw) tellFault(map, position);
    return write(view_->record(map, records_, position));
  }

  void tellFault(const RecordMap& map, std::uint64_t position) const {
    complain(strprintf("%s: record %llu, at byte %llu: ", input_.name().c_str(), wide(records_), wide(position)) +
             map.faults().front());
  }

  static unsigned long long wide(std::uint64_t count) { return count; }

  std::string summary() const {
    std::string text = strprintf("%llu of %llu records shown", wide(shown_), wide(records_));
    if (faulty_ > 0) text += strprintf(", %llu with faults", wide(faulty_));
    if (brokenAt_) text += strprintf("; no record begins at byte %llu", wide(*brokenAt_));
    return text;
  }

  ExitStatus finish() const {
    if (!options_.quiet) {
      const char* const more = shown_ < records_ ? " (--record N-M shows others, --all all)" : "";
      std::fprintf(stderr, "%s%s\n", summary().c_str(), more);
    }
    return faulty_ > 0 ? ExitStatus::kBadRows : ExitStatus::kOk;
  }

  const CommandOptions& options_;
  ValueDecoder values_;
  std::string stream_;
  InputFile input_;
  OutputFile output_;
  std::unique_ptr<RecordView> view_;
  std::string error_;
  std::uint64_t records_ = 0;
  std::uint64_t shown_ = 0;
  std::uint64_t faulty_ = 0;
  std::optional<std::uint64_t> brokenAt_;  // where reading ended, because no record can begin there
};

// False, with a message, when one file would have to be two things at once.
bool checkPaths(const CommandOptions& options) {
  const struct {
    bool applies;
    const char* problem;
  } clashes[] = {
      {options.takesStandardInputTwice(), kStandardInputTwice},
      {!options.html.empty() && isSameFile(options.input, options.html), "the page would replace the input"},
      {!options.html.empty() && isSameFile(options.schema, options.html), "the page would replace the schema"},
  };
  for (const auto& clash : clashes) {
    if (!clash.applies) continue;
    complain(clash.problem);
    return false;
  }
  return true;
}

}  // namespace

// Records taken apart.
ExitStatus runInspect(const CommandOptions& options) {
  if (!checkPaths(options)) return ExitStatus::kUsage;
  SchemaFile schema;
  std::string error;
  if (!readSchemaFile(options.schema, schema, error)) {
    complain(error);
    return ExitStatus::kFiles;
  }
  return InspectRun(options, schema).run();
}

}  // namespace kyv_internal
