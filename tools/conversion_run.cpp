#include "conversion_run.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "bad_row_report.h"
#include "block_pipeline.h"
#include "complaint.h"
#include "input_file.h"
#include "interrupt.h"
#include "kyv/string_utility.h"
#include "record_header.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

// What all threads together hold at a time, however many there are: text, and what its rows become.
constexpr std::size_t kSharedTextBytes = std::size_t{4} << 20;
constexpr std::size_t kSharedConvertedBytes = std::size_t{16} << 20;

std::uint64_t lineFeeds(std::string_view text) {
  return static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

// The rows of a block, bad ones too, and the blank lines that were done before this run.
ReadRows countDone(const ConvertedBlock& block, const DoneRows& done) {
  if (done.isWhole) return block;
  const auto isDone = [&](const auto& there) { return there.outputBytes < done.bytes; };
  ReadRows rows;
  const auto bad = std::count_if(block.badRows.begin(), block.badRows.end(), isDone);
  rows.rows = static_cast<std::uint32_t>(done.records + static_cast<std::size_t>(bad));
  for (const Gap& gap : block.gaps) rows.blankLines += isDone(gap) ? gap.rows : 0;
  rows.blankLines -= static_cast<std::uint32_t>(bad);
  return rows;
}

}  // namespace

ConversionRun::ConversionRun(const CommandOptions& options, ConversionPlan plan, std::unique_ptr<RowSink> sink)
    : options_(options),
      plan_(std::move(plan)),
      blockBytes_(std::min(kBlockBytes, kSharedTextBytes / options.threads)),
      convertedBytes_(kSharedConvertedBytes / options.threads),
      badRows_(options),
      sink_(std::move(sink)) {}

ExitStatus ConversionRun::run() {
  if (!checkPaths()) return ExitStatus::kUsage;
  catchInterrupts();
  if (!open()) {
    complain(fault_.message);
    return fault_.status;
  }
  convertBlocks();
  return finish();
}

// False, with a message, when one file would have to be two things at once.
bool ConversionRun::checkPaths() const {
  const std::string& output = options_.output;
  const std::string& rejects = options_.rejects;
  const struct {
    bool applies;
    const char* problem;
  } clashes[] = {
      {options_.takesStandardInputTwice(), kStandardInputTwice},
      {isSameFile(options_.input, output), "the output would replace the input"},
      {isSameFile(options_.schema, output), "the output would replace the schema"},
      {isSameFile(options_.input, rejects), "the rejected rows would replace the input"},
      {isSameFile(options_.schema, rejects), "the rejected rows would replace the schema"},
      {willBeSameFile(rejects, output), "output and rejected rows have the same file"},
  };
  for (const auto& clash : clashes) {
    if (!clash.applies) continue;
    complain(clash.problem);
    return false;
  }
  return true;
}

bool ConversionRun::openInput() {
  input_ = std::move(plan_.source);
  if (input_ != nullptr) return true;
  auto file = std::make_unique<InputFile>();
  const bool opened = file->open(options_.input, fault_.message);
  input_ = std::move(file);
  return opened;
}

bool ConversionRun::open() {
  if (!openInput()) return false;
  progress_ = std::make_unique<ProgressBar>(options_.quiet ? Terminal::kNone : Terminal::kDetect, input_->size());
  if (!sink_->open(*progress_, fault_)) return false;
  const auto rejects = sink_->isResumed() ? OutputFile::Content::kContinued : OutputFile::Content::kNew;
  if (!badRows_.open(rejects, fault_.message)) return false;
  toSkip_ = sink_->rowsToSkip();
  reader_ = std::make_unique<BlockReader>(*input_, *plan_.framing, plan_.mostRowBytes, blockBytes_);
  if (plan_.rows == RowForm::kText) reader_->dropByteOrderMark();
  explainer_ = plan_.makeConverter();
  return true;
}

void ConversionRun::convertBlocks() {
  std::vector<Slot> slots(options_.threads);
  for (Slot& slot : slots) slot.converter = plan_.makeConverter();
  runBlocks(slots.size(), {[&](std::size_t i) { return read(slots[i]); }, [&](std::size_t i) { convert(slots[i]); },
                           [&](std::size_t i) { return write(slots[i]); }});
  if (reader_->failed() && !fault_.happened()) fault_ = {input_->error(), input_->failureStatus()};
}

BlockRead ConversionRun::read(Slot& slot) {
  if (!reader_->next(slot.block) || !startBlock(slot)) return BlockRead::kNone;
  skipDone(slot);
  return isLarge(slot.block) ? BlockRead::kLarge : BlockRead::kUsual;
}

// The header is in the first block that holds more than blank lines. False when it does not fit the options.
bool ConversionRun::startBlock(Slot& slot) {
  slot.rest = slot.block.text();
  slot.firstLine = plan_.firstLine;
  if (slot.rest.find_first_not_of("\r\n") == std::string_view::npos) return true;
  plan_.firstLine = FirstLine::kRow;
  return slot.firstLine == FirstLine::kRow || takeHeader(slot.rest);
}

// How many rows a block has is found out here at once, in the order of the blocks.
void ConversionRun::skipDone(Slot& slot) {
  const BlockKind kind = slot.block.kind;
  slot.skipped = {};
  slot.isSkipped = kind == BlockKind::kOversized && toSkip_ > 0;
  if (slot.isSkipped) --toSkip_;
  if (toSkip_ == 0 || (kind != BlockKind::kRecords && kind != BlockKind::kUnfinished)) return;
  slot.converter->skip(slot.rest, slot.firstLine, toSkip_, slot.skipped);
  slot.rest.remove_prefix(slot.skipped.textBytes);
  if (!slot.skipped.header.empty()) slot.firstLine = FirstLine::kRow;
  toSkip_ -= slot.skipped.rows + slot.skipped.blankLines;
}

bool ConversionRun::takeHeader(std::string_view text) {
  if (plan_.takeHeader) headerFault_ = plan_.takeHeader(text);
  return headerFault_.empty();
}

void ConversionRun::convert(Slot& slot) const {
  const BlockKind kind = slot.block.kind;
  const bool whole = kind == BlockKind::kRecords || (kind == BlockKind::kUnfinished && plan_.rows == RowForm::kText);
  if (!whole) return;
  slot.converter->convert(slot.rest, slot.firstLine, slot.converted, convertedBytes_);
}

// False ends the run. What a large block took is given back.
bool ConversionRun::write(Slot& slot) {
  const bool goesOn = writeBlock(slot);
  if (isLarge(slot.block)) {
    slot = {};
    slot.converter = plan_.makeConverter();
  }
  return goesOn;
}

bool ConversionRun::writeBlock(Slot& slot) {
  const Block& block = slot.block;
  summary_.bytes = block.offset + block.text().size();
  passOver(slot.skipped);
  switch (block.kind) {
    case BlockKind::kUnfinished:
      if (plan_.rows == RowForm::kRecords) return refuseRecords(block);
      [[fallthrough]];
    case BlockKind::kRecords:
      return writeAllRows(slot);
    case BlockKind::kOversized:
      return takeOversized(slot);
    case BlockKind::kMoreOversized:
      return keepOversized(slot);
    case BlockKind::kBroken:
      return refuseRecords(block);
  }
  return false;
}

void ConversionRun::passOver(const ReadRows& skipped) {
  if (!skipped.header.empty()) badRows_.setHeader(skipped.header);
  summary_.skipped += skipped.rows;
  lines_ += skipped.lines;
  sink_->passOver(std::uint64_t{skipped.rows} + skipped.blankLines);
}

// What is left because the rows before it became much is converted and written here, piece by piece.
bool ConversionRun::writeAllRows(Slot& slot) {
  while (writeRows(slot)) {
    slot.rest.remove_prefix(slot.converted.textBytes);
    if (slot.rest.empty()) return true;
    slot.firstLine = FirstLine::kRow;
    convert(slot);
  }
  return false;
}

bool ConversionRun::writeRows(const Slot& slot) {
  const ConvertedBlock& converted = slot.converted;
  if (!converted.header.empty()) badRows_.setHeader(converted.header);
  const DoneRows done = sink_->findDone(converted);
  const ReadRows doneRows = countDone(converted, done);
  if (!converted.badRows.empty() && !takeBadRows(slot, done, doneRows)) return false;
  if (!sink_->take(converted, {done.bytes, converted.output.size()}, fault_)) return false;
  count(converted, doneRows);
  lines_ += converted.lines;
  progress_->update(summary_.bytes, rowsBefore());
  return true;
}

// Counts what was read of a block, and how much of it was done; its rejected rows were told to the log before.
void ConversionRun::count(const ReadRows& read, const ReadRows& done) {
  summary_.skipped += done.rows;
  summary_.read += read.rows - done.rows;
  summary_.rejected = badRows_.rows();
  summary_.blankLines += read.blankLines - done.blankLines;
}

// False when the run ends within this block; what comes before its end is written then.
bool ConversionRun::takeBadRows(const Slot& slot, const DoneRows& done, const ReadRows& doneRows) {
  const ConvertedBlock& converted = slot.converted;
  progress_->hide();
  for (const BadRow& row : converted.badRows) {
    if (done.covers(row)) continue;
    takeBadRow(slot, row);
    if (!badRows_.isFull()) continue;
    count({row.row + 1, row.blankLines, 0, 0, {}}, doneRows);
    if (badRows_.flush(fault_.message)) (void)sink_->take(converted, {done.bytes, row.outputBytes}, fault_);
    return false;
  }
  return badRows_.flush(fault_.message);
}

void ConversionRun::takeBadRow(const Slot& slot, const BadRow& row) {
  badRows_.count();
  if (badRows_.wantsReports()) reportBadRow(slot, row);
  badRows_.keep(slot.rest.substr(row.begin, row.size));
}

void ConversionRun::reportBadRow(const Slot& slot, const BadRow& row) {
  const std::string_view text = slot.rest.substr(row.begin, row.size);
  const RowFault fault = explainer_->explain(text, rowsBefore() + row.row + 1);
  if (plan_.rows == RowForm::kRecords) return reportFault(0, fault, {});
  reportFault(lines_ + row.line + lineFeeds(text.substr(0, fault.fieldBegin)) + 1, fault, text);
}

bool ConversionRun::takeOversized(Slot& slot) {
  sink_->passOver(1);
  slot.isSkipped = slot.isSkipped || sink_->findDone({}).isWhole;
  keepsOversized_ = !slot.isSkipped;
  if (slot.isSkipped) {
    ++summary_.skipped;
    return keepOversized(slot);
  }
  badRows_.count();
  progress_->hide();
  const unsigned long long record = rowsBefore() + 1;
  RowFault fault;
  fault.message =
      strprintf("record %llu: longer than %zu bytes, the most that a row may have", record, plan_.mostRowBytes);
  if (badRows_.wantsReports()) reportFault(lines_ + 1, fault, slot.block.text());
  count({1, 0, 0, 0, {}}, {});
  return keepOversized(slot) && !badRows_.isFull();
}

bool ConversionRun::keepOversized(const Slot& slot) {
  lines_ += lineFeeds(slot.block.text());
  if (keepsOversized_) badRows_.keep(slot.block.text());
  return badRows_.flush(fault_.message);
}

void ConversionRun::reportFault(std::uint64_t line, const RowFault& fault, std::string_view row) const {
  BadRowReport report;
  report.file = input_->name();
  report.line = line;
  report.message = fault.message;
  report.row = row;
  if (fault.column >= 0) {
    report.column = plan_.columns[static_cast<std::size_t>(fault.column)];
    report.fieldBegin = fault.fieldBegin;
    report.fieldEnd = fault.fieldEnd;
  }
  std::fputs(reportText(report).c_str(), stderr);
}

// What stands here is no record, so where the next one begins is unknown too.
bool ConversionRun::refuseRecords(const Block& block) {
  const unsigned long long record = summary_.read + 1;
  const unsigned long long offset = block.offset;
  const std::size_t there = block.text().size();
  const bool torn = block.kind == BlockKind::kUnfinished;
  const long long length = there < kRecordLengthBytes ? 0 : static_cast<long long>(recordLength(block.text().data()));
  if (torn && length > 0) {
    return fail(strprintf("the file ends within record %llu at byte %llu: %zu of %lld bytes are there", record, offset,
                          there, length));
  }
  if (torn) return fail(strprintf("the file ends within the length of record %llu at byte %llu", record, offset));
  return fail(strprintf("no record begins at byte %llu, where record %llu should: its length would be %lld bytes",
                        offset, record, length));
}

bool ConversionRun::fail(const std::string& error) {
  fault_.message = input_->name() + ": " + error;
  return false;
}

RunEnd ConversionRun::howItEnded() const {
  if (fault_.happened()) return RunEnd::kFailed;
  if (badRows_.isFull()) return RunEnd::kStopped;
  return interrupted() && reader_->failed() ? RunEnd::kInterrupted : RunEnd::kComplete;
}

ExitStatus ConversionRun::finish() {
  progress_->hide();
  if (!headerFault_.empty()) {
    complainInLines(headerFault_);
    return ExitStatus::kUsage;
  }
  const RunEnd end = howItEnded();
  sink_->finish(end, summary_, fault_);
  if (sink_->isUnwanted()) return ExitStatus::kOk;
  if (fault_.happened()) complain(fault_.message);
  summary_.seconds = progress_->seconds();
  tellSummary();
  if (fault_.happened()) return fault_.status;
  if (end == RunEnd::kInterrupted) {
    complain("interrupted" + sink_->remains());
    return ExitStatus::kInterrupted;
  }
  if (end == RunEnd::kStopped) complain("stopped by --max-errors" + sink_->remains());
  return summary_.rejected > 0 ? ExitStatus::kBadRows : ExitStatus::kOk;
}

void ConversionRun::tellSummary() {
  if (options_.json) {
    std::fprintf(sink_->usesStandardOutput() ? stderr : stdout, "%s\n", summary_.json().c_str());
  } else if (!options_.quiet) {
    std::fprintf(stderr, "%s\n", summary_.text().c_str());
  }
}

}  // namespace kyv_internal
