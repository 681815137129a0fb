#pragma once

// Where the rows of a run go once they are converted: a file, or a stream of a project.
//
// Threads: one at a time, and in the order of the calls below.

#include <cstddef>
#include <cstdint>
#include <string>

#include "exit_status.h"
#include "progress_bar.h"
#include "row_converter.h"
#include "run_summary.h"

namespace kyv_internal {

// Why a run failed, and what the tool's status then is.
struct RunFault {
  std::string message;  // empty where nothing failed
  ExitStatus status = ExitStatus::kFiles;

  bool happened() const { return !message.empty(); }
};

// How the reading of rows came to its end.
enum class RunEnd {
  kComplete,     // with the input's end
  kInterrupted,  // before it, from the terminal
  kStopped,      // before it, by --max-errors
  kFailed,       // input or sink would not go on
};

// Rows at the start of a converted block that an earlier run has done.
struct DoneRows {
  std::size_t records = 0;
  std::size_t bytes = 0;  // of the block's output
  bool isWhole = false;   // all that the block was made from is done: bad rows behind its last record, too

  bool covers(const BadRow& row) const { return isWhole || row.outputBytes < bytes; }
};

// The part of a block's output from one byte to another.
struct OutputRange {
  std::size_t begin;
  std::size_t end;
};

class RowSink {
 public:
  RowSink() = default;
  RowSink(const RowSink&) = delete;
  RowSink& operator=(const RowSink&) = delete;
  virtual ~RowSink() = default;

  // Once, before rows are read. What the sink has to tell meanwhile goes around the progress bar, which outlives it.
  [[nodiscard]] virtual bool open(ProgressBar& progress, RunFault& fault) = 0;
  // Whether it goes on where an earlier run has ended.
  virtual bool isResumed() const { return false; }
  // So many rows at the input's start are done and need no converting, with blank lines behind the header.
  virtual std::uint64_t rowsToSkip() const { return 0; }
  // Such rows, of any kind, were passed over, or one was rejected before it could be converted.
  virtual void passOver(std::uint64_t) {}
  // Which rows of the next block are done.
  virtual DoneRows findDone(const ConvertedBlock&) { return {}; }
  // Takes rows of that block. False with a fault ends the run.
  [[nodiscard]] virtual bool take(const ConvertedBlock& block, OutputRange range, RunFault& fault) = 0;
  // Nothing comes any more. Adds to the summary, and tells a fault unless there is one already.
  virtual void finish(RunEnd end, RunSummary& summary, RunFault& fault) = 0;

  // Whether nobody wants what the run writes any more, which is nobody's fault.
  virtual bool isUnwanted() const { return false; }
  virtual bool usesStandardOutput() const { return false; }
  // Goes behind "interrupted" and "stopped": what became of what there was.
  virtual std::string remains() const { return ""; }
};

}  // namespace kyv_internal
