#include "datatypes/percent_steps.h"

#include <algorithm>

#include "datatypes/parsed.h"
#include "datatypes/percent_format.h"

namespace kyv_internal {

namespace {

// What the two sides do with a conversion that has no flags, width or modifier, and which of its variants they know.
// The modifiers E and O change nothing in the "C" locale.
enum Ability : unsigned char {
  kReads = 1,
  kReadsE = 2,        // with the modifier E
  kReadsO = 4,        // with the modifier O
  kPrintsPlain = 8,   // printed here without flags, width or modifier
  kPrintsNumber = 16  // printed here with flags and width
};

struct Conversion {
  char letter;
  unsigned char abilities;
  std::string_view expansion = {};
  char literal = 0;  // the one character that it stands for
};

constexpr Conversion kConversions[] = {
    {'%', kReads | kPrintsPlain, {}, '%'},
    {'A', kReads | kPrintsPlain},
    {'B', kReads | kReadsO | kPrintsPlain},
    {'C', kReads | kReadsE},
    {'D', kReads | kPrintsPlain, "%m/%d/%y"},
    {'F', kReads | kPrintsPlain, "%Y-%m-%d"},
    {'G', kReads},
    {'H', kReads | kReadsO | kPrintsNumber},
    {'I', kReads | kReadsO | kPrintsNumber},
    {'M', kReads | kReadsO | kPrintsNumber},
    {'P', kPrintsPlain},
    {'R', kReads | kPrintsPlain, "%H:%M"},
    {'S', kReads | kReadsO | kPrintsNumber},
    {'T', kReads | kPrintsPlain, "%H:%M:%S"},
    {'U', kReads | kReadsO | kPrintsNumber},
    {'V', kReads | kReadsO},
    {'W', kReads | kReadsO | kPrintsNumber},
    {'X', kReads | kReadsE | kPrintsPlain, "%H:%M:%S"},
    {'Y', kReads | kReadsE | kPrintsNumber},
    {'Z', kReads | kPrintsPlain},
    {'a', kReads | kPrintsPlain},
    {'b', kReads | kReadsO | kPrintsPlain},
    {'c', kReads | kReadsE | kPrintsPlain, "%a %b %e %H:%M:%S %Y"},
    {'d', kReads | kReadsO | kPrintsNumber},
    {'e', kReads | kReadsO | kPrintsNumber},
    {'g', kReads},
    {'h', kReads | kReadsO | kPrintsPlain},
    {'j', kReads | kPrintsNumber},
    {'k', kReads | kPrintsNumber},
    {'l', kReads | kPrintsNumber},
    {'m', kReads | kReadsO | kPrintsNumber},
    {'n', kReads | kPrintsPlain, {}, '\n'},
    {'p', kReads | kPrintsPlain},
    {'r', kReads | kPrintsPlain, "%I:%M:%S %p"},
    {'s', kReads | kPrintsNumber},
    {'t', kReads | kPrintsPlain, {}, '\t'},
    {'u', kReads | kPrintsNumber},
    {'w', kReads | kReadsO | kPrintsNumber},
    {'x', kReads | kReadsE | kPrintsPlain, "%m/%d/%y"},
    {'y', kReads | kReadsE | kReadsO | kPrintsNumber},
    {'z', kReads | kPrintsPlain},
};

constexpr std::array<Conversion, 128> kConversionOf = [] {
  std::array<Conversion, 128> byLetter{};
  for (const Conversion& row : kConversions) byLetter[static_cast<unsigned char>(row.letter)] = row;
  return byLetter;
}();

const Conversion& conversionOf(char letter) {
  const auto index = static_cast<unsigned char>(letter);
  return kConversionOf[index < kConversionOf.size() ? index : 0];
}

// One conversion as the format spells it: "%", flags, width, modifier, letter. The letter is 0 where the format ends
// early.
struct Spelling {
  std::string_view text;
  char pad = 0;
  std::uint32_t width = 0;
  char modifier = 0;
  char letter = 0;

  bool plain() const { return text.size() == 2; }
};

// REQUIRES: `format` begins with "%".
class SpellingScanner {
 public:
  explicit SpellingScanner(std::string_view format) : format_(format) {}

  Spelling scan() {
    readFlags();
    readWidth();
    if (peek() == 'E' || peek() == 'O') spelling_.modifier = take();
    spelling_.letter = take();
    spelling_.text = format_.substr(0, at_);
    return spelling_;
  }

 private:
  char peek() const { return at_ < format_.size() ? format_[at_] : '\0'; }
  char take() { return at_ < format_.size() ? format_[at_++] : '\0'; }

  void readFlags() {
    for (;; ++at_) {
      const char flag = peek();
      if (flag == '_' || flag == '-' || flag == '0')
        spelling_.pad = flag;
      else if (flag != '^' && flag != '#')
        return;
    }
  }

  // A width beyond the longest text is as good as the next one.
  void readWidth() {
    for (; isDigit(peek()); ++at_) {
      const std::uint32_t width = 10 * spelling_.width + static_cast<std::uint32_t>(peek() - '0');
      spelling_.width = std::min<std::uint32_t>(width, kMaxFormattedText + 1);
    }
  }

  std::string_view format_;
  std::size_t at_ = 1;
  Spelling spelling_;
};

char readLiteral(char literal) { return isSpace(literal) ? kBlanks : kLiteral; }

char readCode(const Spelling& spelling, const Conversion& conversion) {
  const unsigned char needed = spelling.modifier == 'E' ? kReadsE : spelling.modifier == 'O' ? kReadsO : kReads;
  if (!(conversion.abilities & needed)) return kNever;
  if (!conversion.expansion.empty()) return kNothing;
  return conversion.literal ? readLiteral(conversion.literal) : spelling.letter;
}

char printCode(const Spelling& spelling, const Conversion& conversion) {
  // "%Es" is printed here too: the library would count its seconds in the process's time zone.
  if ((conversion.abilities & kPrintsNumber) && (!spelling.modifier || spelling.letter == 's')) return spelling.letter;
  if (!spelling.plain() || !(conversion.abilities & kPrintsPlain)) return kByLibrary;
  if (!conversion.expansion.empty()) return kNothing;
  return conversion.literal ? kLiteral : spelling.letter;
}

}  // namespace

void PercentSteps::addFormat(std::string_view format) {
  while (!format.empty()) {
    const char c = format.front();
    if (c != '%') add({.read = readLiteral(c), .print = kLiteral, .literal = c});
    format.remove_prefix(c == '%' ? addConversion(format) : 1);
  }
}

// Returns the characters that the conversion takes.
std::size_t PercentSteps::addConversion(std::string_view format) {
  const Spelling spelling = SpellingScanner(format).scan();
  const Conversion& conversion = conversionOf(spelling.letter);
  Step step = {.read = readCode(spelling, conversion),
               .print = printCode(spelling, conversion),
               .literal = conversion.literal,
               .pad = spelling.pad,
               .operand = spelling.width};
  if (step.print == kByLibrary) step.operand = addLibraryText(spelling.text);
  add(step);
  if (!conversion.expansion.empty()) addExpansion(conversion.expansion, step);
  return spelling.text.size();
}

std::uint32_t PercentSteps::addLibraryText(std::string_view text) {
  const std::size_t begin = libraryTexts_.size();
  libraryTexts_.append(text).push_back('\0');
  return static_cast<std::uint32_t>(begin);
}

// The steps of "%T" and its like, for the sides where the step `whole` does nothing.
void PercentSteps::addExpansion(std::string_view format, const Step& whole) {
  const std::size_t begin = steps().size();
  addFormat(format);
  for (std::size_t i = begin; i < steps().size(); ++i) {
    Step& part = many_.empty() ? few_[i] : many_[i];
    if (whole.read != kNothing) part.read = kNothing;
    if (whole.print != kNothing) part.print = kNothing;
  }
}

void PercentSteps::add(const Step& step) {
  if (step.read == kNothing && step.print == kNothing) return;
  if (count_ < few_.size()) {
    few_[count_++] = step;
    return;
  }
  if (many_.empty()) many_.assign(few_.begin(), few_.end());
  many_.push_back(step);
}

}  // namespace kyv_internal
