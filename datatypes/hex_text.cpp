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
  const auto isDecimal = std::bit_cast<Lanes>(decimal < 10);
  const auto isLetter = std::bit_cast<Lanes>(letter < 6);
  return {(decimal & isDecimal) | ((letter + 10) & isLetter), isDecimal | isLetter};
}

bool allValid(Lanes valid) {
  const auto words = std::bit_cast<std::array<std::uint64_t, 2>>(valid);
  return (words[0] & words[1]) == ~std::uint64_t{0};
}

Lanes joinPairs(Lanes a, Lanes b) {
  const Lanes high = __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
  const Lanes low = __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
  return high << 4 | low;
}

// 32 digits to 16 bytes, and 16 to 8. False, having written nothing, when the text holds anything else.
bool readBlock(const char* text, unsigned char* out) {
  const LaneDigits a = readLanes(text);
  const LaneDigits b = readLanes(text + kLanes);
  if (!allValid(a.valid & b.valid)) return false;
  const Lanes bytes = joinPairs(a.values, b.values);
  std::memcpy(out, &bytes, kLanes);
  return true;
}

bool readHalfBlock(const char* text, unsigned char* out) {
  const LaneDigits a = readLanes(text);
  if (!allValid(a.valid)) return false;
  const Lanes bytes = joinPairs(a.values, a.values);
  std::memcpy(out, &bytes, kLanes / 2);
  return true;
}

// Reads the text from its start to its end. Blocks of digits go fast; white space, faults and what completes a pair
// across them go character by character.
class HexReader {
 public:
  HexReader(std::string_view text, std::span<unsigned char> out) : text_(text), out_(out) {}

  Parsed<std::size_t> read() {
    while (left() > 0) {
      if (!half_) readBlocks();
      // Something stopped the blocks: pass it before they are tried again.
      if (const char* error = readCharacters(std::min(left(), kBlockText))) return Parsed<std::size_t>::failure(error);
    }
    if (half_) return Parsed<std::size_t>::failure("Odd number of characters in hex string");
    return {written_};
  }

 private:
  std::size_t left() const { return text_.size() - at_; }
  std::size_t room() const { return out_.size() - written_; }

  void advance(std::size_t characters) {
    at_ += characters;
    written_ += characters / 2;
  }

  void readBlocks() {
    while (left() >= kBlockText && room() >= kLanes && readBlock(text_.data() + at_, out_.data() + written_))
      advance(kBlockText);
    if (left() >= kLanes && room() >= kLanes / 2 && readHalfBlock(text_.data() + at_, out_.data() + written_))
      advance(kLanes);
    if (left() > 0 && left() < kLanes && left() % 2 == 0) readEnd();
  }

  // The last pairs, fewer than a block: the block that ends with them is read, and its first bytes are written again.
  void readEnd() {
    const std::size_t pairs = left() / 2;
    const std::size_t again = kLanes / 2 - pairs;
    if (text_.size() < kLanes || written_ < again || room() < pairs) return;
    if (readHalfBlock(text_.data() + text_.size() - kLanes, out_.data() + written_ - again)) advance(left());
  }

  // Null, or the message of a failure.
  const char* readCharacters(std::size_t count) {
    for (const char c : text_.substr(at_, count)) {
      if (isPlainSpace(c)) continue;
      const unsigned char digit = kDigitValues[static_cast<unsigned char>(c)];
      if (digit == kNoDigit) return "Invalid hex character";
      if (!addDigit(digit)) return "Output buffer too small";
    }
    at_ += count;
    return nullptr;
  }

  bool addDigit(unsigned char digit) {
    half_ = !half_;
    if (half_) {
      high_ = digit;
      return true;
    }
    if (room() == 0) return false;
    out_[written_++] = static_cast<unsigned char>(high_ << 4 | digit);
    return true;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::span<unsigned char> out_;
  std::size_t written_ = 0;
  unsigned char high_ = 0;
  bool half_ = false;  // high_ waits for its partner
};

}  // namespace

Parsed<std::size_t> parseHex(std::string_view text, std::span<unsigned char> out) {
  return HexReader(text, out).read();
}

bool holdsHexBytes(std::string_view text, std::size_t bytes) {
  std::size_t digits = 0;
  while (!text.empty()) {
    const bool block = text.size() >= kLanes && allValid(readLanes(text.data()).valid);
    const char c = text.front();
    text.remove_prefix(block ? kLanes : 1);
    if (block)
      digits += kLanes;
    else if (kDigitValues[static_cast<unsigned char>(c)] != kNoDigit)
      ++digits;
    else if (!isPlainSpace(c))
      return false;
  }
  return digits == 2 * bytes;
}

// --- Bytes to text --------------------------------------------------------------------------------------------------

namespace {

Lanes digitsOf(Lanes values) {
  const Lanes letters = std::bit_cast<Lanes>(values > 9) & ('A' - '0' - 10);
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
