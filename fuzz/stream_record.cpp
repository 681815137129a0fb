// Any bytes as a record that somebody publishes to a stream, or that a damaged store gives back. Nothing outside them
// is read (the address sanitizer watches). What the stream takes has its values and its key inside the bytes, and the
// same key whatever is not part of it; what it refuses has a message. What the library's own check for foreign records
// passes, a stream takes, unless columns shine through.
//
// Input: how many columns, and the first one's type, one character each; then the record.

#include "platform/sdk/stream_record.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "kyv/data_types.h"
#include "kyv/row2.h"
#include "row2/row2_layout.h"

namespace {

using kyv_fuzz::require;
using kyv_internal::Failure;
using kyv_internal::StreamDefinition;
using kyv_internal::StreamRecord;

constexpr std::size_t kMostColumns = 8;

// A table whose key is every second column; types follow each other in the order of their codes.
StreamDefinition makeStream(kyv_fuzz::FuzzInput& input) {
  const std::size_t count = 1 + input.choice(kMostColumns);
  std::size_t type = input.choice(DataTypes::kTypeCount);
  StreamDefinition stream{"Stream", 1, {}, {}};
  for (std::size_t i = 0; i < count; ++i) {
    while (type == DataTypes::kUndefined || type == DataTypes::kUnnamed) ++type;
    stream.columns.push_back({"c" + std::to_string(i), static_cast<std::uint32_t>(type)});
    if (i % 2 == 0) stream.key.push_back(i);
    type = (type + 1) % DataTypes::kTypeCount;
  }
  return stream;
}

bool shinesThrough(std::string_view bytes, std::size_t columns) {
  for (std::size_t i = 0; i < columns; ++i) {
    if (kyv_internal::tableEntry(bytes.data(), i) < 0) return true;
  }
  return false;
}

bool isSoundInHostOrder(const StreamDefinition& stream, std::string_view bytes) {
  std::vector<unsigned int> types;
  for (const auto& column : stream.columns) types.push_back(column.type);
  std::string error;
  return Row2::validateUntrusted(error, std::as_bytes(std::span(bytes)), static_cast<int>(types.size()), 0,
                                 types.data(), nullptr) &&
         kyv_internal::load<std::uint32_t>(bytes.data()) == bytes.size() &&
         (kyv_internal::load<std::uint32_t>(bytes.data() + kyv_internal::kFlagsOffset) &
          kyv_internal::kBigEndianFlag) == kyv_internal::kHostByteOrderFlag;
}

void checkTaken(const StreamRecord& record, const StreamDefinition& stream) {
  const std::string_view bytes = record.bytes();
  bool hasKey = true;
  for (std::size_t i = 0; i < stream.columns.size(); ++i) {
    const auto value = record.value(i);
    hasKey = hasKey && (value || i % 2 != 0);
    if (!value) continue;
    require(value->data() > bytes.data() && value->data() + value->size() <= bytes.data() + bytes.size(),
            "values lie inside the record");
  }
  Failure failure;
  std::string key;
  require(record.appendKey(key, failure) == hasKey, "a key is there when its columns are");
  require(failure.message.empty() == hasKey, "a missing key has a message");
  require(key.size() <= bytes.size() + 4 * stream.key.size(), "a key is part of its record");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const StreamDefinition stream = makeStream(input);
  const std::vector<char> copy(input.bytes().begin(), input.bytes().end());  // of exactly this size
  const std::string_view bytes(copy.data(), copy.size());
  Failure failure;
  const auto record = StreamRecord::check(stream, bytes, failure);
  require(record.has_value() == failure.message.empty(), "what is refused has a message");
  if (record) {
    checkTaken(*record, stream);
  } else if (isSoundInHostOrder(stream, bytes)) {
    require(shinesThrough(bytes, stream.columns.size()), "a stream takes what the library finds sound");
  }
  return 0;
}
