#include "row2/json_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kyv_internal {

namespace {

using Byte = unsigned char;

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr char kHexDigits[] = "0123456789abcdef";

constexpr bool isPlain(char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; }

// What a lead byte promises: how many bytes follow it, and the range of the first of them.
struct Lead {
  std::size_t following;
  Byte low;
  Byte high;
};

constexpr Lead leadOf(Byte byte) {
  if (byte >= 0xC2 && byte <= 0xDF) return {1, 0x80, 0xBF};
  if (byte == 0xE0) return {2, 0xA0, 0xBF};
  if (byte == 0xED) return {2, 0x80, 0x9F};
  if (byte >= 0xE1 && byte <= 0xEF) return {2, 0x80, 0xBF};
  if (byte == 0xF0) return {3, 0x90, 0xBF};
  if (byte >= 0xF1 && byte <= 0xF3) return {3, 0x80, 0xBF};
  if (byte == 0xF4) return {3, 0x80, 0x8F};
  return {0, 0, 0};
}

// Bytes of the character beyond ASCII that the text begins with; 0 when it begins with none.
std::size_t characterLength(std::string_view text) {
  const Lead lead = leadOf(static_cast<Byte>(text.front()));
  if (lead.following == 0 || text.size() <= lead.following) return 0;
  const Byte first = static_cast<Byte>(text[1]);
  if (first < lead.low || first > lead.high) return 0;
  const auto isContinuation = [](char c) { return (static_cast<Byte>(c) & 0xC0) == 0x80; };
  const std::string_view rest = text.substr(2, lead.following - 1);
  return std::all_of(rest.begin(), rest.end(), isContinuation) ? lead.following + 1 : 0;
}

// A character of ASCII that cannot stand in a JSON string as it is.
void appendEscaped(char c, kyv::ByteBuffer& out) {
  constexpr std::string_view kLetters = "\"\"\\\\\nn\rr\tt";  // pairs: character, what stands behind the backslash
  for (std::size_t i = 0; i < kLetters.size(); i += 2) {
    if (kLetters[i] != c) continue;
    const char escape[] = {'\\', kLetters[i + 1]};
    return out.append({escape, sizeof escape});
  }
  const char escape[] = {'\\', 'u', '0', '0', kHexDigits[(c >> 4) & 0xF], kHexDigits[c & 0xF]};
  out.append({escape, sizeof escape});
}

// Appends the character that the text begins with, which is not plain; returns the bytes it took.
std::size_t appendOther(std::string_view text, kyv::ByteBuffer& out) {
  const char c = text.front();
  if (static_cast<Byte>(c) < 0x80) {
    appendEscaped(c, out);
    return 1;
  }
  const std::size_t length = characterLength(text);
  out.append(length == 0 ? kReplacement : text.substr(0, length));
  return std::max<std::size_t>(length, 1);
}

}  // namespace

void appendJsonString(std::string_view text, kyv::ByteBuffer& out) {
  out.append("\"");
  while (!text.empty()) {
    const auto plainEnd = std::find_if_not(text.begin(), text.end(), isPlain);
    const auto plain = static_cast<std::size_t>(plainEnd - text.begin());
    out.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (!text.empty()) text.remove_prefix(appendOther(text, out));
  }
  out.append("\"");
}

}  // namespace kyv_internal
