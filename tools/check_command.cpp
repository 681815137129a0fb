#include <cstdint>
#include <cstdio>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "block_reader.h"
#include "commands.h"
#include "complaint.h"
#include "framing.h"
#include "input_file.h"
#include "interrupt.h"
#include "kyv/string_utility.h"
#include "printable_text.h"
#include "progress_bar.h"
#include "record_checker.h"
#include "record_header.h"
#include "run_summary.h"
#include "schema_file.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

// What stands at the end of a file that is no whole record.
std::string describeRest(const Block& block) {
  const std::string_view text = block.text();
  if (text.size() < kRecordLengthBytes) return strprintf("torn: the file ends within the length word");
  const long long length = recordLength(text.data());
  if (block.kind == BlockKind::kBroken) {
    return strprintf("no record begins here, its length would be %lld bytes; %s", length,
                     block.offset == 0 ? "is this a file of records?" : "what follows cannot be checked");
  }
  return strprintf("torn: the file ends after %zu of its %lld bytes", text.size(), length);
}

class CheckRun {
 public:
  CheckRun(const CommandOptions& options, const SchemaFile& schema) : options_(options), checker_(schema.schema()) {}

  ExitStatus run() {
    catchInterrupts();
    std::string error;
    if (!input_.open(options_.input, error)) {
      complain(error);
      return ExitStatus::kFiles;
    }
    ProgressBar progress(options_.quiet ? Terminal::kNone : Terminal::kDetect, input_.size());
    const bool failed = !readRecords(progress);
    progress.hide();
    summary_.seconds = progress.seconds();
    if (failed && !interrupted()) {
      complain(input_.error());
      return ExitStatus::kFiles;
    }
    tellSummary();
    return status(failed);
  }

 private:
  // False when the input failed, or the run was interrupted. A record that is too short for a header still tells where
  // the next one begins.
  bool readRecords(ProgressBar& progress) {
    RecordFraming framing(kMostRecordBytes, kRecordLengthBytes);
    BlockReader reader(input_, framing, std::numeric_limits<std::size_t>::max());
    Block block;
    while (!isFull() && reader.next(block)) {
      block.kind == BlockKind::kRecords ? takeRecords(block, progress) : takeRest(block, progress);
      progress.update(summary_.bytes, summary_.read);
    }
    return !reader.failed();
  }

  void takeRecords(const Block& block, ProgressBar& progress) {
    std::string_view text = block.text();
    summary_.bytes = block.offset;
    while (!text.empty() && !isFull()) {
      const auto length = static_cast<std::size_t>(recordLength(text.data()));
      take(checker_.check(text.substr(0, length)), progress);
      summary_.bytes += length;
      text.remove_prefix(length);
    }
  }

  void takeRest(const Block& block, ProgressBar& progress) {
    summary_.bytes = block.offset;
    take({{describeRest(block), 0}}, progress);
    summary_.bytes += block.text().size();
  }

  // The record that begins behind the bytes done.
  void take(const std::vector<Row2::Fault>& faults, ProgressBar& progress) {
    ++summary_.read;
    if (faults.empty()) return;
    ++summary_.rejected;
    if (options_.quiet) return;
    progress.hide();
    for (const Row2::Fault& fault : faults) options_.json ? reportAsJson(fault) : report(fault);
  }

  void report(const Row2::Fault& fault) const {
    const unsigned long long record = summary_.read, byte = summary_.bytes + fault.position;
    std::fprintf(stderr, "%s: record %llu, at byte %llu: %s\n", printable(input_.name()).c_str(), record, byte,
                 fault.message.c_str());
  }

  void reportAsJson(const Row2::Fault& fault) const {
    const nlohmann::ordered_json line = {{"record", summary_.read},
                                         {"begins", summary_.bytes},
                                         {"byte", summary_.bytes + fault.position},
                                         {"message", fault.message}};
    std::printf("%s\n", line.dump().c_str());
  }

  // Whether there are as many bad records as there may be.
  bool isFull() const { return options_.maxErrors && summary_.rejected >= *options_.maxErrors; }

  void tellSummary() const {
    if (options_.json) {
      std::printf("%s\n", summary_.json().c_str());
    } else if (!options_.quiet) {
      std::fprintf(stderr, "%s\n", summary_.text().c_str());
    }
  }

  ExitStatus status(bool wasInterrupted) const {
    if (wasInterrupted) {
      complain("interrupted");
      return ExitStatus::kInterrupted;
    }
    if (isFull()) complain("stopped by --max-errors");
    return summary_.rejected > 0 ? ExitStatus::kBadRows : ExitStatus::kOk;
  }

  const CommandOptions& options_;
  RecordChecker checker_;
  InputFile input_;
  RunSummary summary_;  // its bytes are those before the record at hand
};

}  // namespace

// Records checked, all of them.
ExitStatus runCheck(const CommandOptions& options) {
  if (options.takesStandardInputTwice()) {
    complain(kStandardInputTwice);
    return ExitStatus::kUsage;
  }
  SchemaFile schema;
  std::string error;
  if (!readSchemaFile(options.schema, schema, error)) {
    complain(error);
    return ExitStatus::kFiles;
  }
  return CheckRun(options, schema).run();
}

}  // namespace kyv_internal
