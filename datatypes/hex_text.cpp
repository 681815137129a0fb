#include "datatypes/hex_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace kyv_internal {

namespace {

// Sixteen bytes that the compiler keeps in one vector register, whatever the machine calls it.
using Lanes = unsigned char __attribute__((vector_size(16)));
constexpr std::size_t kLanes = sizeof(Lanes);
constexpr std::size_t kBlockText = 2 * kLanes;

Lanes loadLanes(const void* from) {
  Lanes lanes;
  std::memcpy(&lanes, from, kLanes);
  return lanes;
}

// --- Text to bytes --------------------------------------------------------------------------------------------------

constexpr unsigned char kNoDigit = 0xFF;

constexpr std::array<unsigned char, 256> kDigitValues = [] {
  std::array<unsigned char, 256> values{};
  values.fill(kNoDigit);
  for (unsigned char i = 0; i < 10; ++i) values['0' + i] = i;
  for (unsigned char i = 10; i < 16; ++i) values['a' + i - 10] = values['A' + i - 10] = i;
  return values;
}();

struct LaneDigits {
  Lanes values;
  Lanes valid;  // all ones where the character is a digit
};

LaneDigits readLanes(const char* text) {
  const Lanes characters = loadLanes(text);
  const Lanes decimal = characters - '0';
  const Lanes letter = (characters | 0x20) - 'a';
  const Lanes isDecimal = reinterpret_cast<Lanes>(decimal < 10);
  const Lanes isLetter = reinterpret_cast<Lanes>(letter < 6);
  return {(decimal & isDecimal) | ((letter + 10) & isLetter), isDecimal | isLetter};
}

// 32 digits to 16 bytes. False, having written nothing, when the text holds anything else.
bool readBlock(const char* text, unsigned char* out) {
  const LaneDigits a = readLanes(text);
  const LaneDigits b = readLanes(text + kLanes);
  const auto valid = std::bit_cast<std::array<std::uint64_t, 2>>(a.valid & b.valid);
  if ((valid[0] & valid[1]) != ~std::uint64_t{0}) return false;
  const Lanes high =
      __builtin_shufflevector(a.values, b.values, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
  const Lanes low =
      __builtin_shufflevector(a.values, b.values, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
  const Lanes bytes = high << 4 | low;
  std::memcpy(out, &bytes, kLanes);
  return true;
}

// Reads text into `out` piece by piece; what is between two pieces is the first digit of an unfinished pair.
class HexReader {
 public:
  explicit HexReader(std::span<unsigned char> out) : out_(out) {}

  // Reads whole blocks of digits while there are any; returns the rest.
  std::string_view readBlocks(std::string_view text) {
    while (!half_ && text.size() >= kBlockText && out_.size() - written_ >= kLanes &&
           readBlock(text.data(), out_.data() + written_)) {
      text.remove_prefix(kBlockText);
      written_ += kLanes;
    }
    return text;
  }

  // Null, or the message of a failure.
  const char* readCharacters(std::string_view text) {
    for (const char c : text) {
      if (isPlainSpace(c)) continue;
      const unsigned char digit = kDigitValues[static_cast<unsigned char>(c)];
      if (digit == kNoDigit) return "Invalid hex character";
      if (!addDigit(digit)) return "Output buffer too small";
    }
    return nullptr;
  }

  Parsed<std::size_t> result() const {
    if (half_) return Parsed<std::size_t>::failure("Odd number of characters in hex string");
    return {written_};
  }

 private:
  bool addDigit(unsigned char digit) {
    half_ = !half_;
    if (half_) {
      high_ = digit;
      return true;
    }
    if (written_ == out_.size()) return false;
    out_[written_++] = static_cast<unsigned char>(high_ << 4 | digit);
    return true;
  }

  std::span<unsigned char> out_;
  std::size_t written_ = 0;
  unsigned char high_ = 0;
  bool half_ = false;  // high_ waits for its partner
};

}  // namespace

Parsed<std::size_t> parseHex(std::string_view text, std::span<unsigned char> out) {
  HexReader reader(out);
  while (!text.empty()) {
    text = reader.readBlocks(text);
    // White space stopped the blocks: pass it before they are tried again.
    const std::string_view piece = text.substr(0, kBlockText);
    if (const char* error = reader.readCharacters(piece)) return Parsed<std::size_t>::failure(error);
    text.remove_prefix(piece.size());
  }
  return reader.result();
}

// --- Bytes to text --------------------------------------------------------------------------------------------------

namespace {

Lanes digitsOf(Lanes values) {
  const Lanes letters = reinterpret_cast<Lanes>(values > 9) & ('A' - '0' - 10);
  return values + '0' + letters;
}

void printBlock(const unsigned char* bytes, char* out) {
  const Lanes values = loadLanes(bytes);
  const Lanes high = digitsOf(values >> 4);
  const Lanes low = digitsOf(values & 0x0F);
  const Lanes first = __builtin_shufflevector(high, low, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
  const Lanes second = __builtin_shufflevector(high, low, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
  std::memcpy(out, &first, kLanes);
  std::memcpy(out + kLanes, &second, kLanes);
}

}  // namespace

char* printHex(std::span<const unsigned char> bytes, char* out) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  for (; bytes.size() >= kLanes; bytes = bytes.subspan(kLanes), out += kBlockText) printBlock(bytes.data(), out);
  for (const unsigned char byte : bytes) {
    *out++ = kDigits[byte >> 4];
    *out++ = kDigits[byte & 0x0F];
  }
  return out;
}

}  // namespace kyv_internal
