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
  char letter = 0;
  unsigned char abilities = 0;
  char literal = 0;  // the one character that it stands for
  std::string_view expansion = {};
};

constexpr Conversion kConversions[] = {
    {'%', kReads | kPrintsPlain, '%'},
    {'A', kReads | kPrintsPlain},
    {'B', kReads | kReadsO | kPrintsPlain},
    {'C', kReads | kReadsE},
    {'D', kReads | kPrintsPlain, 0, "%m/%d/%y"},
    {'F', kReads | kPrintsPlain, 0, "%Y-%m-%d"},
    {'G', kReads},
    {'H', kReads | kReadsO | kPrintsNumber},
    {'I', kReads | kReadsO | kPrintsNumber},
    {'M', kReads | kReadsO | kPrintsNumber},
    {'P', kPrintsPlain},
    {'R', kReads | kPrintsPlain, 0, "%H:%M"},
    {'S', kReads | kReadsO | kPrintsNumber},
    {'T', kReads | kPrintsPlain, 0, "%H:%M:%S"},
    {'U', kReads | kReadsO | kPrintsNumber},
    {'V', kReads | kReadsO},
    {'W', kReads | kReadsO | kPrintsNumber},
    {'X', kReads | kReadsE | kPrintsPlain, 0, "%H:%M:%S"},
    {'Y', kReads | kReadsE | kPrintsNumber},
    {'Z', kReads | kPrintsPlain},
    {'a', kReads | kPrintsPlain},
    {'b', kReads | kReadsO | kPrintsPlain},
    {'c', kReads | kReadsE | kPrintsPlain, 0, "%a %b %e %H:%M:%S %Y"},
    {'d', kReads | kReadsO | kPrintsNumber},
    {'e', kReads | kReadsO | kPrintsNumber},
    {'g', kReads},
    {'h', kReads | kReadsO | kPrintsPlain},
    {'j', kReads | kPrintsNumber},
    {'k', kReads | kPrintsNumber},
    {'l', kReads | kPrintsNumber},
    {'m', kReads | kReadsO | kPrintsNumber},
    {'n', kReads | kPrintsPlain, '\n'},
    {'p', kReads | kPrintsPlain},
    {'r', kReads | kPrintsPlain, 0, "%I:%M:%S %p"},
    {'s', kReads | kPrintsNumber},
    {'t', kReads | kPrintsPlain, '\t'},
    {'u', kReads | kPrintsNumber},
    {'w', kReads | kReadsO | kPrintsNumber},
    {'x', kReads | kReadsE | kPrintsPlain, 0, "%m/%d/%y"},
    {'y', kReads | kReadsE | kReadsO | kPrintsNumber},
    {'z', kReads | kPrintsPlain},
};

constexpr char readLiteral(char literal) { return isSpace(literal) ? kBlanks : kLiteralStep; }

// What to read for a conversion, kNothing where the steps of its expansion do it.
constexpr char readCode(const Conversion& conversion, char modifier) {
  const unsigned char needed = modifier == 'E' ? kReadsE : modifier == 'O' ? kReadsO : kReads;
  if (!(conversion.abilities & needed)) return kNever;
  if (!conversion.expansion.empty()) return kNothing;
  return conversion.literal ? readLiteral(conversion.literal) : conversion.letter;
}

// What to print for a conversion with flags, a width or a modifier.
char printCode(const Conversion& conversion, char modifier) {
  // "%Es" is printed here too: the library would count its seconds in the process's time zone.
  const bool printsNumber = (conversion.abilities & kPrintsNumber) && (!modifier || conversion.letter == 's');
  return printsNumber ? conversion.letter : kByLibrary;
}

// A letter with the step of its conversion when nothing stands between it and the "%".
struct Letter {
  Conversion conversion;
  Step plain;

  bool printsPlain() const { return conversion.abilities & (kPrintsPlain | kPrintsNumber); }
};

constexpr std::array<Letter, 128> kLetters = [] {
  std::array<Letter, 128> letters{};
  for (const Conversion& row : kConversions)
    letters[static_cast<unsigned char>(row.letter)] = {
        row, {.read = readCode(row, 0), .print = row.literal ? kLiteralStep : row.letter, .literal = row.literal}};
  return letters;
}();

const Letter& letterOf(char c) {
  const auto index = static_cast<unsigned char>(c);
  return kLetters[index < kLetters.size() ? index : 0];
}

// One conversion as the format spells it: "%", flags, width, modifier, letter. The letter is 0 where the format ends
// early.
struct Spelling {
  std::string_view text;
  char pad = 0;
  std::uint32_t width = 0;
  char modifier = 0;
  char letter = 0;
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

}  // namespace

void PercentSteps::addFormat(std::string_view format) {
  while (!format.empty())
    format.remove_prefix(format.front() == '%' ? addConversion(format) : addLiteral(format.front()));
}

// These three return the characters that they take.
std::size_t PercentSteps::addLiteral(char literal) {
  Step& step = add();
  step.read = readLiteral(literal);
  step.print = kLiteralStep;
  step.literal = literal;
  return 1;
}

std::size_t PercentSteps::addConversion(std::string_view format) {
  const Letter& letter = letterOf(format.size() > 1 ? format[1] : '\0');
  if (!letter.printsPlain()) return addSpelledConversion(format);
  if (letter.conversion.expansion.empty())
    add() = letter.plain;
  else
    addFormat(letter.conversion.expansion);
  return 2;
}

std::size_t PercentSteps::addSpelledConversion(std::string_view format) {
  const Spelling spelling = SpellingScanner(format).scan();
  const Conversion& conversion = letterOf(spelling.letter).conversion;
  Step& step = add();
  step.read = readCode(conversion, spelling.modifier);
  step.print = printCode(conversion, spelling.modifier);
  step.literal = conversion.literal;
  step.pad = spelling.pad;
  step.operand = step.print == kByLibrary ? addLibraryText(spelling.text) : spelling.width;
  if (step.read == kNothing) addForReading(conversion.expansion);
  return spelling.text.size();
}

std::uint32_t PercentSteps::addLibraryText(std::string_view text) {
  const std::size_t begin = libraryTexts_.size();
  libraryTexts_.append(text).push_back('\0');
  return static_cast<std::uint32_t>(begin);
}

void PercentSteps::addForReading(std::string_view format) {
  const std::size_t begin = steps().size();
  addFormat(format);
  for (std::size_t i = begin; i < steps().size(); ++i) (many_.empty() ? few_[i] : many_[i]).print = kNothing;
}

// The next step, to be filled in where it lies: a copy made byte by byte would stall the processor.
Step& PercentSteps::add() {
  if (count_ < few_.size()) return few_[count_++];
  if (many_.empty()) {
    many_.reserve(4 * few_.size());
    many_.assign(few_.begin(), few_.end());
  }
  return many_.emplace_back();
}

}  // namespace kyv_internal
