// Records as text for the person who looks for a fault.

#include <algorithm>
#include <cinttypes>
#include <cstddef>
#include <cstdint>

#include "kyv/row2.h"
#include "row2/record_header.h"

namespace kyv_internal {

namespace {

constexpr int kBytesPerLine = 32;
constexpr int kBytesPerGroup = 8;

constexpr const char* kIndent = "  ";

// What stands behind a byte that is not the last, `count` bytes so far.
void printGap(std::FILE* out, int count, const char* prefix) {
  if (count % kBytesPerLine == 0) {
    std::fprintf(out, "\n%s", prefix);
  } else {
    std::fputs(count % kBytesPerGroup == 0 ? "  " : " ", out);
  }
}

// As many entries as the record has bytes for, however many it claims.
void printOffsets(std::FILE* out, const void* record, const RecordHeader& header, int most) {
  const std::int64_t there = (std::int64_t{header.length} - std::int64_t{kTableOffset}) / std::int64_t{kEntrySize};
  const std::int64_t wanted = std::min(static_cast<std::int64_t>(header.entries()) + 1, std::int64_t{most});
  std::fputs("  Offsets:", out);
  for (std::int64_t i = 0; i < std::min(wanted, there); ++i) {
    std::fprintf(out, " 0x%" PRIx32, static_cast<std::uint32_t>(tableEntry(record, static_cast<std::size_t>(i))));
  }
}

}  // namespace

}  // namespace kyv_internal

void Row2::dumpRow2Fixed(std::FILE* out, const Row2* record) {
  const auto header = kyv_internal::headerOf<kyv_internal::WordOrder::Host>(record);
  std::fprintf(out, "Len:0x%" PRIx32 " Flags:0x%08" PRIx32 " Op:%" PRId32 " Cols:0x%" PRIx32 " Opts:0x%" PRIx32 "\n",
               static_cast<std::uint32_t>(header.length), header.flags, header.opcode, header.columns, header.options);
}

void Row2::dumpRow2(std::FILE* out, const Row2* record, int length, int maxOffsets) {
  const auto header = kyv_internal::headerOf<kyv_internal::WordOrder::Host>(record);
  dumpRow2Fixed(out, record);
  kyv_internal::printOffsets(out, record, header, maxOffsets);
  const int begin = std::min(header.payload(), length);
  const int end = std::min(length, header.length);
  std::fprintf(out, "\n%s", kyv_internal::kIndent);
  if (begin < end) {
    const void* const payload = kyv_internal::at(record, static_cast<std::size_t>(begin));
    hexdump(out, static_cast<const char*>(payload), end - begin, kyv_internal::kIndent);
  }
  std::fputc('\n', out);
}

void Row2::hexdump(std::FILE* out, const char* bytes, int count, const char* prefix) {
  for (int i = 0; i < count; ++i) {
    if (i > 0) kyv_internal::printGap(out, i, prefix);
    std::fprintf(out, "%02X", static_cast<unsigned char>(bytes[i]));
  }
}
