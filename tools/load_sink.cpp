#include "load_sink.h"

#include <cstdio>
#include <utility>

#include "complaint.h"
#include "interrupt.h"
#include "load_messages.h"
#include "record_header.h"

namespace kyv_internal {

LoadSink::LoadSink(LoadPlan plan, const LoadOptions& options)
    : plan_(std::move(plan)),
      options_(options),
      project_(options.project, plan_.adapter),
      queue_(options.batchRows, options.batchTime) {}

LoadSink::~LoadSink() {
  queue_.abandon();
  join();
}

void LoadSink::join() {
  if (publishing_.joinable()) publishing_.join();
}

bool LoadSink::open(ProgressBar& progress, RunFault& fault) {
  progress_ = &progress;
  StoreFailure failure;
  if (!project_.open(plan_.schema, failure)) {
    fault = connectFault(failure, options_.project);
    return false;
  }
  if (!openDelivery(fault) || !openBookkeeping(fault)) return false;
  cursor_.emplace(plan_.keyColumn, start_);
  publisher_.emplace(project_, options_, plan_.schema.stream, start_, statistics_,
                     [this](const std::string& line) { tell(line); });
  if (start_) statistics_.setPosition(*start_);
  if (start_) tell("resuming after " + start_->text());
  publishing_ = std::thread([this] { publishBatches(); });
  if (options_.stats.count() > 0) {
    reporter_.emplace(options_.stats, [this] { tellStatistics(); });
  }
  return true;
}

bool LoadSink::openDelivery(RunFault& fault) {
  const auto how = options_.takesOver ? LoadProject::Take::kAnyway : LoadProject::Take::kIfFree;
  StoreFailure failure;
  if (!project_.takeDelivery(how, start_, failure)) {
    fault = storeFault(failure, project_, plan_.schema.stream);
    return false;
  }
  const std::string refusal = refuseStart(start_, plan_.keyColumn.has_value(), plan_.adapter);
  if (!refusal.empty()) fault = {refusal, ExitStatus::kUsage};
  return refusal.empty();
}

bool LoadSink::openBookkeeping(RunFault& fault) {
  const std::string& stream = options_.bookkeeping;
  if (stream.empty()) return true;
  StoreFailure failure;
  bookkeeping_.emplace();
  long long last = 0;
  const bool opened = project_.addBookkeeping(LoadBookkeeping::schema(stream), failure) &&
                      bookkeeping_->open(stream, options_.project, failure.message) &&
                      bookkeeping_->read(last, failure.message);
  if (!opened) fault = connectFault(failure, stream);
  // 0 is what a stream without any key gives.
  if (opened && last != 0 && (!start_ || last > start_->key)) {
    fault = {userMessage("rowsLost", {std::to_string(last), start_ ? start_->text() : "-"}), ExitStatus::kServer};
  }
  return !fault.happened();
}

// Not when the store failed: it may be another adapter's delivery by now.
void LoadSink::writeBookkeeping(bool isComplete, RunFault& fault) {
  const std::optional<LoadPosition>& stored = publisher_->stored();
  const bool storeFailed = fault.happened() && fault.status == ExitStatus::kServer;
  std::string error;
  if (!bookkeeping_ || !stored || storeFailed || bookkeeping_->write(stored->key, isComplete, error)) return;
  fault = {userMessage("publishFailed", {options_.bookkeeping, error}), ExitStatus::kServer};
}

void LoadSink::tell(const std::string& line) const {
  if (plan_.isQuiet) return;
  progress_->hide();
  complain(line);
}

void LoadSink::tellStatistics() {
  progress_->hide();
  std::fprintf(stderr, "%s\n", statistics_.report(plan_.reports).c_str());
}

// Throws nothing: what is thrown ends the run and is kept.
void LoadSink::publishBatches() noexcept {
  try {
    LoadBatch batch;
    while (queue_.take(batch) && publisher_->publish(batch, publishFault_)) continue;
  } catch (...) {
    thrown_ = std::current_exception();
  }
  queue_.abandon();
  if (publishFault_.happened() || thrown_) interruptInput();
}

bool LoadSink::take(const ConvertedBlock& block, OutputRange range, RunFault& fault) {
  while (range.begin < range.end) {
    const std::size_t room = queue_.waitForRoom();
    if (room == 0) {
      join();
      fault = publishFault_;
      return false;
    }
    range.begin += takeRows(block, range, room);
    if (cursor_->fault().empty()) continue;
    fault = {cursor_->fault(), ExitStatus::kFiles};
    return false;
  }
  if (range.end == block.output.size()) cursor_->leave(block);
  return true;
}

// Hands on rows that fit into a batch with so much room, and gives their bytes.
std::size_t LoadSink::takeRows(const ConvertedBlock& block, OutputRange range, std::size_t mostRows) {
  std::size_t rows = 0;
  std::size_t bytes = 0;
  while (range.begin + bytes < range.end && rows < mostRows && bytes < LoadQueue::kMostBatchBytes) {
    const std::size_t size = cursor_->advance(block, range.begin + bytes);
    if (size == 0) break;
    bytes += size;
    ++rows;
  }
  if (rows > 0) queue_.add(block.output.view().substr(range.begin, bytes), rows, *cursor_->position());
  return bytes;
}

void LoadSink::finish(RunEnd end, RunSummary& summary, RunFault& fault) {
  queue_.close();
  join();
  reporter_.reset();
  if (thrown_) std::rethrow_exception(thrown_);
  if (options_.stats.count() > 0) tellStatistics();
  summary.published = statistics_.rows();
  if (!fault.happened()) fault = publishFault_;
  if (end == RunEnd::kComplete && !fault.happened()) fault = {cursor_->faultAtEnd(), ExitStatus::kFiles};
  const bool isComplete = end == RunEnd::kComplete && !fault.happened() && summary.rejected == 0;
  writeBookkeeping(isComplete, fault);
}

}  // namespace kyv_internal
