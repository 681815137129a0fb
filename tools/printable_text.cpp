#include "printable_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "kyv/string_utility.h"

namespace kyv_internal {
namespace {

constexpr char kDelete = 0x7F;

char printableByte(char byte) {
  if (byte == '\t') return ' ';
  const bool control = static_cast<unsigned char>(byte) < ' ' || byte == kDelete;
  return control ? '?' : byte;
}

constexpr char kLeftOut[] = " ... ";

// Of a text of more than `most` bytes its two ends, together no longer than that, cut between characters.
std::pair<std::string_view, std::string_view> ends(std::string_view text, std::size_t most) {
  std::size_t head = most / 2;
  std::size_t tail = text.size() - (most - head);
  while (head > 0 && continuesCharacter(text[head])) --head;
  while (tail < text.size() && continuesCharacter(text[tail])) ++tail;
  return {text.substr(0, head), text.substr(tail)};
}

// A character of a UTF-8 text; no bytes where the text does not begin with one.
struct Character {
  std::uint32_t code = 0;
  std::size_t bytes = 0;
};

struct Utf8Form {
  unsigned char mask;   // of the first byte's bits that tell the form
  unsigned char lead;   // what they are
  std::uint32_t least;  // smaller codes have a shorter form
  std::size_t bytes;
};

constexpr std::array kForms = {Utf8Form{0x80, 0x00, 0, 1}, Utf8Form{0xE0, 0xC0, 0x80, 2},
                               Utf8Form{0xF0, 0xE0, 0x800, 3}, Utf8Form{0xF8, 0xF0, 0x10000, 4}};

constexpr bool isScalarValue(std::uint32_t code) { return code < 0xD800 || (code > 0xDFFF && code <= 0x10FFFF); }

Character firstCharacter(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  const auto* const form =
      std::find_if(kForms.begin(), kForms.end(), [first](const Utf8Form& f) { return (first & f.mask) == f.lead; });
  if (form == kForms.end() || form->bytes > text.size()) return {};
  std::uint32_t code = first & static_cast<unsigned char>(~form->mask);
  for (const char byte : text.substr(1, form->bytes - 1)) {
    if (!continuesCharacter(byte)) return {};
    code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  return code >= form->least && isScalarValue(code) ? Character{code, form->bytes} : Character{};
}

// Characters without ink: they would be missed, or would move what stands beside them.
constexpr bool isInvisible(std::uint32_t code) {
  constexpr struct {
    std::uint32_t first, last;
  } kRanges[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0xAD, 0xAD},     {0x200B, 0x200F}, {0x2028, 0x202E},
                 {0x2060, 0x206F}, {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFF0, 0xFFFB}, {0xE0000, 0xE0FFF}};
  return std::any_of(std::begin(kRanges), std::end(kRanges),
                     [code](const auto& range) { return code >= range.first && code <= range.last; });
}

std::string escapeOf(std::uint32_t code) {
  constexpr std::string_view kNamed = "\\\"\n\r\t";
  constexpr std::string_view kNames = "\\\"nrt";
  const std::size_t named = code < 0x80 ? kNamed.find(static_cast<char>(code)) : std::string_view::npos;
  if (named != std::string_view::npos) return {'\\', kNames[named]};
  return DALVON::Kyv::strprintf(code < 0x80 ? "\\x%02X" : "\\u%04X", code);
}

}  // namespace

std::string escaped(std::string_view text) {
  std::string out;
  for (Character next; !text.empty(); text.remove_prefix(std::max<std::size_t>(next.bytes, 1))) {
    next = firstCharacter(text);
    if (next.bytes == 0) {
      out += DALVON::Kyv::strprintf("\\x%02X", static_cast<unsigned char>(text.front()));
    } else if (next.code == '"' || next.code == '\\' || isInvisible(next.code)) {
      out += escapeOf(next.code);
    } else {
      out += text.substr(0, next.bytes);
    }
  }
  return out;
}

std::string printable(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), printableByte);
  return out;
}

std::string printableClipped(std::string_view text, std::size_t most) {
  if (text.size() <= most) return printable(text);
  const auto [head, tail] = ends(text, most);
  return printable(head) + kLeftOut + printable(tail);
}

std::string escapedClipped(std::string_view text, std::size_t most) {
  if (text.size() <= most) return escaped(text);
  const auto [head, tail] = ends(text, most);
  return escaped(head) + kLeftOut + escaped(tail);
}

std::string counted(std::size_t count, const char* noun) {
  return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::size_t countCharacters(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return !continuesCharacter(byte); }));
}

}  // namespace kyv_internal
