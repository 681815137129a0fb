#pragma once

// One run of a command that reads rows in one form and writes them in another: blocks of rows through as many threads
// as asked for, with bad rows, progress, summary and exit status.

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
#include "output_file.h"
#include "progress_bar.h"
#include "row_converter.h"
#include "row_source.h"
#include "run_summary.h"

namespace kyv_internal {

// A row longer than this is a bad row, so that a quote that is never closed cannot fill the memory.
inline constexpr std::size_t kMostTextRowBytes = std::size_t{1} << 20;

enum class RowForm { kText, kRecords };

struct ConversionPlan {
  std::unique_ptr<RowSource> source;  // without one, rows come from the file that the options name
  RowForm rows = RowForm::kText;      // of the input
  FirstLine firstLine = FirstLine::kRow;
  std::unique_ptr<Framing> framing;
  std::size_t mostRowBytes = kMostTextRowBytes;
  std::function<std::unique_ptr<RowConverter>()> makeConverter;
  std::vector<std::string> columns;  // their names
  std::string preamble;              // written before all rows
  // Told of the text that begins with the header, before any row is converted. A message ends the run.
  std::function<std::string(std::string_view text)> takeHeader;
};

class ConversionRun {
 public:
  // The options must outlive the run.
  ConversionRun(const CommandOptions& options, ConversionPlan plan);

  ExitStatus run();

 private:
  struct Slot {
    Block block;
    std::string_view rest;  // of its text: what was not yet converted and written
    FirstLine firstLine = FirstLine::kRow;
    ConvertedBlock converted;
    std::unique_ptr<RowConverter> converter;
  };

  bool open();
  bool openInput();
  bool checkPaths() const;
  void convertBlocks();
  BlockRead read(Slot& slot);
  bool takeHeader(std::string_view text);
  void convert(Slot& slot) const;
  bool write(Slot& slot);
  bool writeBlock(Slot& slot);
  bool writeAllRows(Slot& slot);
  bool writeRows(const Slot& slot);
  void countRows(std::uint64_t rows, std::uint64_t blankLines);
  bool isLarge(const Block& block) const { return block.text().size() > 2 * blockBytes_; }
  bool writeOutput(std::string_view bytes);
  bool takeBadRows(const Slot& slot);
  void takeBadRow(const Slot& slot, const BadRow& row);
  bool takeOversized(const Block& block);
  bool refuseRecords(const Block& block);
  void reportBadRow(const Slot& slot, const BadRow& row);
  void reportFault(std::uint64_t line, const RowFault& fault, std::string_view row) const;
  bool fail(const std::string& error);
  ExitStatus finish();
  void tellSummary();

  const CommandOptions& options_;
  ConversionPlan plan_;
  std::size_t blockBytes_;      // of a usual block
  std::size_t convertedBytes_;  // what rows may become before they are written
  std::unique_ptr<RowSource> input_;
  OutputFile output_;
  BadRowLog badRows_;
  std::unique_ptr<BlockReader> reader_;
  std::unique_ptr<RowConverter> explainer_;
  std::unique_ptr<ProgressBar> progress_;
  RunSummary summary_;
  std::uint64_t lines_ = 0;                  // before the block that is written
  std::string error_;                        // why the run failed
  ExitStatus failure_ = ExitStatus::kFiles;  // what it then ends with
  std::string headerFault_;                  // why the header does not fit the options
};

}  // namespace kyv_internal
