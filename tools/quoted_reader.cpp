#include "quoted_reader.h"

#include <algorithm>

#include "byte_search.h"

namespace kyv_internal {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// The quote that closes the text that begins at `from`, or npos.
std::size_t closingQuote(std::string_view text, std::size_t from, bool& doubled) {
  for (;;) {
    const std::size_t quote = text.find('"', from);
    if (quote == kNone || quote + 1 == text.size() || text[quote + 1] != '"') return quote;
    doubled = true;
    from = quote + 2;
  }
}

// The end of the line's own text when the line feed stands at `lineFeed`, or the text ends there.
std::size_t withoutReturn(std::string_view text, std::size_t begin, std::size_t lineFeed) {
  return lineFeed > begin && text[lineFeed - 1] == '\r' ? lineFeed - 1 : lineFeed;
}

}  // namespace

QuotedRecord QuotedReader::read(std::string_view text) {
  fields_.clear();
  undoubled_.clear();
  if (undoubled_.capacity() < text.size()) undoubled_.reserve(text.size());
  QuotedRecord record;
  std::size_t at = 0;
  for (;;) {
    at = at < text.size() && text[at] == '"' ? readQuoted(text, at, record) : readUnquoted(text, at, record);
    if (at == text.size() || text[at] == '\n') break;
    ++at;
  }
  const bool lineFeed = at < text.size();
  record.size = at + (lineFeed ? 1 : 0);
  record.lineFeeds += lineFeed ? 1 : 0;
  return record;
}

void QuotedReader::addField(const QuotedField& field, QuotedRecord& record) {
  if (fields_.size() < kMostFields) {
    fields_.push_back(field);
  } else {
    record.fault = QuotedFault::kTooManyFields;
  }
}

// Returns where the separator or line end after the field stands.
std::size_t QuotedReader::readUnquoted(std::string_view text, std::size_t begin, QuotedRecord& record) {
  const std::size_t stop = findEither(text, begin, separator_, '\n');
  const bool last = stop == text.size() || text[stop] == '\n';
  const std::size_t end = last ? withoutReturn(text, begin, stop) : stop;
  addField({text.substr(begin, end - begin), begin, end, false}, record);
  return stop;
}

std::size_t QuotedReader::readQuoted(std::string_view text, std::size_t begin, QuotedRecord& record) {
  bool doubled = false;
  const std::size_t quote = closingQuote(text, begin + 1, doubled);
  const std::size_t textEnd = std::min(quote, text.size());
  const std::string_view inner = text.substr(begin + 1, textEnd - begin - 1);
  record.lineFeeds += static_cast<std::size_t>(std::count(inner.begin(), inner.end(), '\n'));
  const bool unclosed = quote == kNone;
  addField({doubled ? withoutDoubling(inner) : inner, begin, unclosed ? textEnd : textEnd + 1, true}, record);
  if (!unclosed) return checkAfterQuote(text, quote + 1, record);
  record.fault = QuotedFault::kUnclosed;
  record.faultyField = fields_.size() - 1;
  return text.size();
}

// `at` is behind a closing quote. Returns where the next separator or line end stands.
std::size_t QuotedReader::checkAfterQuote(std::string_view text, std::size_t at, QuotedRecord& record) const {
  const std::size_t stop = findEither(text, at, separator_, '\n');
  const bool last = stop == text.size() || text[stop] == '\n';
  const bool clean = stop == at || (last && withoutReturn(text, at, stop) == at);
  if (!clean && record.fault == QuotedFault::kNone) {
    record.fault = QuotedFault::kTextAfterQuote;
    record.faultyField = fields_.size() - 1;
  }
  return stop;
}

std::string_view QuotedReader::withoutDoubling(std::string_view text) {
  const std::size_t begin = undoubled_.size();
  std::size_t quote = 0;
  while ((quote = text.find('"')) != kNone) {
    undoubled_.append(text.substr(0, quote + 1));
    text.remove_prefix(std::min(quote + 2, text.size()));
  }
  undoubled_.append(text);
  return std::string_view(undoubled_).substr(begin);
}

}  // namespace kyv_internal
