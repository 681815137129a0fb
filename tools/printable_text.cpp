#include "printable_text.h"

#include <algorithm>

namespace kyv_internal {
namespace {

constexpr char kDelete = 0x7F;

char printableByte(char byte) {
  if (byte == '\t') return ' ';
  const bool control = static_cast<unsigned char>(byte) < ' ' || byte == kDelete;
  return control ? '?' : byte;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), printableByte);
  return out;
}

std::string printableClipped(std::string_view text, std::size_t most) {
  if (text.size() <= most) return printable(text);
  std::size_t head = most / 2;
  std::size_t tail = text.size() - (most - head);
  while (head > 0 && continuesCharacter(text[head])) --head;
  while (tail < text.size() && continuesCharacter(text[tail])) ++tail;
  return printable(text.substr(0, head)) + " ... " + printable(text.substr(tail));
}

std::size_t countCharacters(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return !continuesCharacter(byte); }));
}

}  // namespace kyv_internal
