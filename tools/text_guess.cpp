#include "text_guess.h"

#include <algorithm>
#include <array>
#include <utility>

#include "conversion_run.h"

namespace kyv_internal {
namespace {

constexpr std::array kSeparators = {',', ';', '\t', '|'};
constexpr std::size_t kSampleRows = 20;

bool holdsNul(std::string_view text) { return text.find('\0') != std::string_view::npos; }

bool isWrapped(std::string_view field, char quote) {
  return field.size() >= 2 && field.front() == quote && field.back() == quote;
}

// How many of the first rows have as many fields as the very first, if that is more than one.
struct Evenness {
  std::size_t rows = 0;
  std::size_t fields = 1;

  bool beats(const Evenness& other) const {
    return rows != other.rows ? rows > other.rows : rows > 0 && fields > other.fields;
  }
};

Evenness evenness(std::string_view text, char separator) {
  QuotedReader reader(separator);
  Evenness even;
  for (std::size_t row = 0; row < kSampleRows && !text.empty(); ++row) {
    text.remove_prefix(reader.read(text).size);
    if (row == 0) even.fields = reader.fields().size();
    if (even.fields > 1 && reader.fields().size() == even.fields) ++even.rows;
  }
  return even;
}

}  // namespace

char guessSeparator(std::string_view text) {
  char best = kDefaultSeparator;
  Evenness most;
  for (const char separator : kSeparators) {
    const Evenness even = evenness(text, separator);
    if (!even.beats(most)) continue;
    most = even;
    best = separator;
  }
  return best;
}

TextGuess::TextGuess(const TextLayout& layout, std::string_view firstBlock)
    : layout_(layout),
      separator_(layout.separator ? *layout.separator : guessSeparator(firstBlock)),
      formats_{{FormatList::Kind::kDate, layout.dateFormat}, {FormatList::Kind::kTimestamp, layout.timestampFormat}},
      plain_(formats_),
      quoted_(formats_),
      reader_(separator_) {}

void TextGuess::addLines(std::string_view block) {
  if (!sawQuotes_ && block.find_first_of("\"'") != std::string_view::npos) beginQuoted();
  if (sawQuotes_ && pending_.empty()) {
    addQuotedRecords(block, false);
  } else if (sawQuotes_) {
    const std::string text = std::exchange(pending_, {}) + std::string(block);
    addQuotedRecords(text, false);
  }
  while (!block.empty()) {
    const std::size_t end = std::min(block.find('\n'), block.size());
    addPlainLine(block.substr(0, end));
    block.remove_prefix(std::min(end + 1, block.size()));
  }
}

// Up to the first quote, both ways of reading see the same.
void TextGuess::beginQuoted() {
  sawQuotes_ = true;
  quoted_ = plain_;
  quotedLines_ = plainLines_;
}

void TextGuess::addOversizedLine(std::uint64_t lineFeeds, bool begins) {
  if (begins) {
    plain_.addBad(plainLines_ + 1);
    if (sawQuotes_) quoted_.addBad(quotedLines_ + 1);
    pending_.clear();
  }
  plainLines_ += lineFeeds;
  quotedLines_ = plainLines_;
}

void TextGuess::addPlainLine(std::string_view line) {
  ++plainLines_;
  if (holdsNul(line)) return plain_.addBad(plainLines_);
  const bool isRow = !isBlankLine(line) || (!plain_.empty() && plain_.columns() == 1);
  if (!isRow) return;
  if (line.ends_with('\r')) line.remove_suffix(1);
  fields_.clear();
  for (std::size_t begin = 0; begin <= line.size();) {
    const std::size_t end = std::min(line.find(separator_, begin), line.size());
    std::string_view field = line.substr(begin, end - begin);
    if (isWrapped(field, '\'') || isWrapped(field, '"')) field = field.substr(1, field.size() - 2);
    if (fields_.size() <= kMostFields) fields_.push_back({field, false});
    begin = end + 1;
  }
  if (fields_.size() > kMostFields) return plain_.addBad(plainLines_);
  plain_.add(fields_, plainLines_);
}

// A record without its end waits for more lines, as long as it is no longer than a row may be.
void TextGuess::addQuotedRecords(std::string_view text, bool ended) {
  while (!text.empty()) {
    const QuotedRecord record = reader_.read(text);
    if (record.fault == QuotedFault::kUnclosed && !ended && text.size() < kMostTextRowBytes) {
      pending_ = text;
      return;
    }
    addQuotedRecord(text.substr(0, record.size), record);
    text.remove_prefix(record.size);
  }
}

void TextGuess::addQuotedRecord(std::string_view row, const QuotedRecord& record) {
  const std::uint64_t line = quotedLines_ + 1;
  quotedLines_ += std::max<std::size_t>(record.lineFeeds, 1);
  if (record.fault != QuotedFault::kNone || holdsNul(row)) return quoted_.addBad(line);
  fields_.clear();
  for (const QuotedField& field : reader_.fields()) {
    sawDoubleQuotes_ = sawDoubleQuotes_ || field.quoted;
    sawSingleQuotes_ = sawSingleQuotes_ || (!field.quoted && isWrapped(field.text, '\''));
    fields_.push_back({field.text, field.quoted});
  }
  const bool isRow = !isBlankLine(row) || (!quoted_.empty() && quoted_.columns() == 1);
  if (isRow) quoted_.add(fields_, line);
}

// Quotes protect when there are some at the right places, and reading them so makes as much sense as not. Single quotes
// never protect, but a plain reading would take them off.
bool TextGuess::isQuoted(std::vector<std::string>& notes) const {
  if (layout_.quoted) return *layout_.quoted;
  if (quoted_.badRows() > plain_.badRows()) return false;
  if (sawDoubleQuotes_) return true;
  if (sawSingleQuotes_) notes.emplace_back("fields in single quotes keep them (--no-quoted takes them off)");
  return sawSingleQuotes_;
}

std::optional<TextGuess::Result> TextGuess::finish() {
  const std::string rest = std::exchange(pending_, {});
  addQuotedRecords(rest, true);
  Result result;
  const bool isQuotedText = isQuoted(result.notes);
  TableGuess& table = isQuotedText && sawQuotes_ ? quoted_ : plain_;
  if (table.empty()) return std::nullopt;
  result.schema = table.finish(layout_.header, result.notes);
  result.schema.text.quoted = isQuotedText;
  result.schema.text.separator = separator_;
  result.badRows = table.badRows();
  result.firstBadLine = table.firstBadLine();
  return result;
}

}  // namespace kyv_internal
