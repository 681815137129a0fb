#pragma once

// One run of a command that reads rows in one form and hands them on in another: blocks of rows through as many threads
// as asked for, with bad rows, progress, summary and exit status. Where they go is the sink's business.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bad_row_log.h"
#include "block_pipeline.h"
#include "block_reader.h"
#include "command_options.h"
#include "exit_status.h"
#include "framing.h"
#include "progress_bar.h"
#include "row_converter.h"
#include "row_sink.h"
#include "run_source.h"
#include "run_summary.h"

namespace kyv_internal {

// A row longer than this is a bad row, so that a quote that is never closed cannot fill the memory.
inline constexpr std::size_t kMostTextRowBytes = std::size_t{1} << 20;

enum class RowForm { kText, kRecords };

struct ConversionPlan {
  std::unique_ptr<RunSource> source;  // without one, rows come from the file that the options name
  RowForm rows = RowForm::kText;      // of the input
  FirstLine firstLine = FirstLine::kRow;
  std::unique_ptr<Framing> framing;
  std::size_t mostRowBytes = kMostTextRowBytes;
  std::function<std::unique_ptr<RowConverter>()> makeConverter;
  std::vector<std::string> columns;  // their names
  // Told of the text that begins with the header, before any row is converted. A message ends the run.
  std::function<std::string(std::string_view text)> takeHeader;
};

class ConversionRun {
 public:
  // The options must outlive the run.
  ConversionRun(const CommandOptions& options, ConversionPlan plan, std::unique_ptr<RowSink> sink);

  ExitStatus run();

 private:
  struct Slot {
    Block block;
    std::string_view rest;  // of its text: what was not yet converted and written
    FirstLine firstLine = FirstLine::kRow;
    ReadRows skipped;        // what stood before it and was done already
    bool isSkipped = false;  // it begins with an oversized row that was done already
    ConvertedBlock converted;
    std::unique_ptr<RowConverter> converter;
  };

  bool open();
  bool openInput();
  bool checkPaths() const;
  void convertBlocks();
  BlockRead read(Slot& slot);
  bool startBlock(Slot& slot);
  bool takeHeader(std::string_view text);
  void skipDone(Slot& slot);
  void convert(Slot& slot) const;
  bool write(Slot& slot);
  bool writeBlock(Slot& slot);
  bool writeAllRows(Slot& slot);
  bool writeRows(const Slot& slot);
  void passOver(const ReadRows& skipped);
  void count(const ReadRows& read, const ReadRows& done);
  bool isLarge(const Block& block) const { return block.text().size() > 2 * blockBytes_; }
  bool takeBadRows(const Slot& slot, const DoneRows& done, const ReadRows& doneRows);
  void takeBadRow(const Slot& slot, const BadRow& row);
  bool takeOversized(Slot& slot);
  bool keepOversized(const Slot& slot);
  bool refuseRecords(const Block& block);
  std::uint64_t rowsBefore() const { return summary_.skipped + summary_.read; }
  void reportBadRow(const Slot& slot, const BadRow& row);
  void reportFault(std::uint64_t line, const RowFault& fault, std::string_view row) const;
  bool fail(const std::string& error);
  ExitStatus finish();
  RunEnd howItEnded() const;
  void tellSummary();

  const CommandOptions& options_;
  ConversionPlan plan_;
  std::size_t blockBytes_;      // of a usual block
  std::size_t convertedBytes_;  // what rows may become before they are written
  std::unique_ptr<RunSource> input_;
  BadRowLog badRows_;
  std::unique_ptr<BlockReader> reader_;
  std::unique_ptr<RowConverter> explainer_;
  std::unique_ptr<ProgressBar> progress_;
  std::unique_ptr<RowSink> sink_;  // what it tells goes through the progress bar
  std::uint64_t toSkip_ = 0;       // rows and blank lines that are still to be passed over
  RunSummary summary_;
  bool keepsOversized_ = false;  // the oversized row that is written is one of the bad ones
  std::uint64_t lines_ = 0;      // before the block that is written
  RunFault fault_;
  std::string headerFault_;  // why the header does not fit the options
};

}  // namespace kyv_internal
