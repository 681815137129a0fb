#include "framing.h"

#include <cstring>

#include "record_header.h"

namespace kyv_internal {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// The end of the last line that ends within [from, to), or 0.
std::size_t lastLineEnd(std::string_view text, std::size_t from, std::size_t to) {
  const void* found = to > from ? ::memrchr(text.data() + from, '\n', to - from) : nullptr;
  return found == nullptr ? 0 : static_cast<std::size_t>(static_cast<const char*>(found) - text.data()) + 1;
}

}  // namespace

std::size_t LineFraming::wholeRecords(std::string_view text) {
  const std::size_t end = lastLineEnd(text, seen_, text.size());
  seen_ = end > 0 ? 0 : text.size();
  return end;
}

std::size_t QuotedFraming::wholeRecords(std::string_view text) {
  bool goesOn = true;
  while (goesOn && seen_ < text.size()) {
    const std::size_t before = seen_;
    inQuotes_ ? scanQuoted(text) : scanUnquoted(text);
    goesOn = seen_ > before;
  }
  const std::size_t end = end_;
  if (end > 0) restart();
  return end;
}

void QuotedFraming::restart() {
  seen_ = end_ = 0;
  inQuotes_ = false;
}

// Up to the next quote, which opens a field when it stands at the field's start.
void QuotedFraming::scanUnquoted(std::string_view text) {
  const std::size_t quote = text.find('"', seen_);
  const std::size_t stop = quote == kNone ? text.size() : quote;
  const std::size_t lineEnd = lastLineEnd(text, seen_, stop);
  if (lineEnd > 0) end_ = lineEnd;
  seen_ = stop;
  if (quote == kNone) return;
  inQuotes_ = quote == 0 || text[quote - 1] == separator_ || text[quote - 1] == '\n';
  ++seen_;
}

// Up to the end of the quoted text. A quote that is the last byte so far may be the first of two: it waits.
void QuotedFraming::scanQuoted(std::string_view text) {
  const std::size_t quote = text.find('"', seen_);
  seen_ = quote == kNone ? text.size() : quote;
  if (seen_ + 1 >= text.size()) return;
  const bool doubled = text[quote + 1] == '"';
  inQuotes_ = doubled;
  seen_ = quote + (doubled ? 2 : 1);
}

std::size_t RecordFraming::wholeRecords(std::string_view text) {
  std::size_t end = 0;
  while (text.size() - end >= lead_ + kRecordLengthBytes) {
    const std::int64_t length = recordLength(text.data() + end + lead_);
    if (length < static_cast<std::int64_t>(least_) || length > static_cast<std::int64_t>(most_))
      return end > 0 ? end : kBroken;
    if (static_cast<std::size_t>(length) > text.size() - end - lead_) break;
    end += lead_ + static_cast<std::size_t>(length);
  }
  return end;
}

}  // namespace kyv_internal
