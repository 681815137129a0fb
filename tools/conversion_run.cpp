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

}  // namespace

ConversionRun::ConversionRun(const CommandOptions& options, ConversionPlan plan)
    : options_(options),
      plan_(std::move(plan)),
      blockBytes_(std::min(kBlockBytes, kSharedTextBytes / options.threads)),
      convertedBytes_(kSharedConvertedBytes / options.threads),
      badRows_(options) {}

ExitStatus ConversionRun::run() {
  if (!checkPaths()) return ExitStatus::kUsage;
  catchInterrupts();
  if (!open()) {
    complain(error_);
    return ExitStatus::kFiles;
  }
  if (plan_.rows == RowForm::kText && output_.isTerminal()) {
    complain("records are not for a terminal's screen: name a file with -o, or redirect the output");
    return ExitStatus::kUsage;
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
  const bool opened = file->open(options_.input, error_);
  input_ = std::move(file);
  return opened;
}

bool ConversionRun::open() {
  if (!openInput() || !output_.open(options_.output, error_) || !badRows_.open(error_)) {
    return false;
  }
  reader_ = std::make_unique<BlockReader>(*input_, *plan_.framing, plan_.mostRowBytes, blockBytes_);
  if (plan_.rows == RowForm::kText) reader_->dropByteOrderMark();
  explainer_ = plan_.makeConverter();
  progress_ = std::make_unique<ProgressBar>(options_.quiet ? Terminal::kNone : Terminal::kDetect, input_->size());
  return true;
}

void ConversionRun::convertBlocks() {
  std::vector<Slot> slots(options_.threads);
  for (Slot& slot : slots) slot.converter = plan_.makeConverter();
  if (!plan_.preamble.empty() && !writeOutput(plan_.preamble)) return;
  runBlocks(slots.size(), {[&](std::size_t i) { return read(slots[i]); }, [&](std::size_t i) { convert(slots[i]); },
                           [&](std::size_t i) { return write(slots[i]); }});
  if (!reader_->failed() || !error_.empty()) return;
  error_ = input_->error();
  failure_ = input_->failureStatus();
}

// The header is in the first block that holds more than blank lines.
BlockRead ConversionRun::read(Slot& slot) {
  if (!reader_->next(slot.block)) return BlockRead::kNone;
  slot.rest = slot.block.text();
  slot.firstLine = plan_.firstLine;
  const BlockRead block = isLarge(slot.block) ? BlockRead::kLarge : BlockRead::kUsual;
  if (slot.rest.find_first_not_of("\r\n") == std::string_view::npos) return block;
  plan_.firstLine = FirstLine::kRow;
  return slot.firstLine == FirstLine::kRow || takeHeader(slot.rest) ? block : BlockRead::kNone;
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
  switch (block.kind) {
    case BlockKind::kUnfinished:
      if (plan_.rows == RowForm::kRecords) return refuseRecords(block);
      [[fallthrough]];
    case BlockKind::kRecords:
      return writeAllRows(slot);
    case BlockKind::kOversized:
      return takeOversized(block);
    case BlockKind::kMoreOversized:
      lines_ += lineFeeds(block.text());
      badRows_.keep(block.text());
      return badRows_.flush(error_);
    case BlockKind::kBroken:
      return refuseRecords(block);
  }
  return false;
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
  if (!converted.badRows.empty() && !takeBadRows(slot)) return false;
  if (!writeOutput(converted.output.view())) return false;
  countRows(converted.rows, converted.blankLines);
  lines_ += converted.lines;
  progress_->update(summary_.bytes, summary_.read);
  return true;
}

// The rejected ones among them were told to the log before.
void ConversionRun::countRows(std::uint64_t rows, std::uint64_t blankLines) {
  summary_.read += rows;
  summary_.rejected = badRows_.rows();
  summary_.blankLines += blankLines;
}

bool ConversionRun::writeOutput(std::string_view bytes) { return output_.write(bytes, error_); }

// False when the run ends within this block; what comes before its end is written then.
bool ConversionRun::takeBadRows(const Slot& slot) {
  progress_->hide();
  for (const BadRow& row : slot.converted.badRows) {
    takeBadRow(slot, row);
    if (!badRows_.isFull()) continue;
    countRows(row.row + std::uint64_t{1}, row.blankLines);
    if (badRows_.flush(error_)) writeOutput(slot.converted.output.view().substr(0, row.outputBytes));
    return false;
  }
  return badRows_.flush(error_);
}

void ConversionRun::takeBadRow(const Slot& slot, const BadRow& row) {
  badRows_.count();
  if (badRows_.wantsReports()) reportBadRow(slot, row);
  badRows_.keep(slot.rest.substr(row.begin, row.size));
}

void ConversionRun::reportBadRow(const Slot& slot, const BadRow& row) {
  const std::string_view text = slot.rest.substr(row.begin, row.size);
  const RowFault fault = explainer_->explain(text, summary_.read + row.row + 1);
  if (plan_.rows == RowForm::kRecords) return reportFault(0, fault, {});
  reportFault(lines_ + row.line + lineFeeds(text.substr(0, fault.fieldBegin)) + 1, fault, text);
}

bool ConversionRun::takeOversized(const Block& block) {
  badRows_.count();
  countRows(1, 0);
  progress_->hide();
  RowFault fault;
  fault.message = strprintf("record %llu: longer than %zu bytes, the most that a row may have",
                            static_cast<unsigned long long>(summary_.read), plan_.mostRowBytes);
  if (badRows_.wantsReports()) reportFault(lines_ + 1, fault, block.text());
  lines_ += lineFeeds(block.text());
  badRows_.keep(block.text());
  return badRows_.flush(error_) && !badRows_.isFull();
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
  error_ = input_->name() + ": " + error;
  return false;
}

ExitStatus ConversionRun::finish() {
  progress_->hide();
  const bool stopped = badRows_.isFull();
  const bool wasInterrupted = interrupted() && reader_->failed();
  if (!headerFault_.empty()) {
    complainInLines(headerFault_);
    return ExitStatus::kUsage;
  }
  if (output_.readerHasGone()) return ExitStatus::kOk;
  const bool complete = error_.empty() && !stopped && !wasInterrupted;
  const bool failed = !error_.empty() || (complete && !output_.commit(error_));
  if (failed) complain(error_);
  summary_.seconds = progress_->seconds();
  tellSummary();
  if (failed) return failure_;
  const std::string unwritten = output_.isTemporary() ? "; " + options_.output + " was not written" : "";
  if (wasInterrupted) {
    complain("interrupted" + unwritten);
    return ExitStatus::kInterrupted;
  }
  if (stopped) complain("stopped by --max-errors" + unwritten);
  return summary_.rejected > 0 ? ExitStatus::kBadRows : ExitStatus::kOk;
}

void ConversionRun::tellSummary() {
  if (options_.json) {
    std::fprintf(output_.isStandardOutput() ? stderr : stdout, "%s\n", summary_.json().c_str());
  } else if (!options_.quiet) {
    std::fprintf(stderr, "%s\n", summary_.text().c_str());
  }
}

}  // namespace kyv_internal
