#pragma once

// Rows into a stream of a project, each once: a thread of its own publishes them in batches, with the position that the
// delivery has then reached, and a later run goes on from there.
//
// Threads: as a sink; what it starts ends with finish(), or with the sink.

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "load_bookkeeping.h"
#include "load_cursor.h"
#include "load_options.h"
#include "load_plan.h"
#include "load_project.h"
#include "load_publisher.h"
#include "load_queue.h"
#include "load_reporter.h"
#include "load_statistics.h"
#include "row_sink.h"

namespace kyv_internal {

class LoadSink final : public RowSink {
 public:
  // The options must outlive the sink.
  LoadSink(LoadPlan plan, const LoadOptions& options);
  ~LoadSink() override;

  bool open(ProgressBar& progress, RunFault& fault) override;
  bool isResumed() const override { return start_.has_value(); }
  std::uint64_t rowsToSkip() const override { return cursor_->rowsToSkip(); }
  void passOver(std::uint64_t rows) override { cursor_->passOver(rows); }
  DoneRows findDone(const ConvertedBlock& block) override { return cursor_->findDone(block); }
  bool take(const ConvertedBlock& block, OutputRange range, RunFault& fault) override;
  void finish(RunEnd end, RunSummary& summary, RunFault& fault) override;
  std::string remains() const override { return publisher_->remains(); }

 private:
  bool openDelivery(RunFault& fault);
  bool openBookkeeping(RunFault& fault);
  void writeBookkeeping(bool isComplete, RunFault& fault);
  void tell(const std::string& line) const;
  void tellStatistics();
  void publishBatches() noexcept;
  void join();
  std::size_t takeRows(const ConvertedBlock& block, OutputRange range, std::size_t mostRows);

  const LoadPlan plan_;
  const LoadOptions& options_;
  ProgressBar* progress_ = nullptr;  // once open
  LoadProject project_;
  std::optional<LoadBookkeeping> bookkeeping_;
  LoadStatistics statistics_;
  std::optional<LoadPosition> start_;
  std::optional<LoadCursor> cursor_;
  LoadQueue queue_;
  std::optional<LoadReporter> reporter_;
  std::optional<LoadPublisher> publisher_;
  std::thread publishing_;
  RunFault publishFault_;      // of that thread, until it has ended
  std::exception_ptr thrown_;  // by it
};

}  // namespace kyv_internal
