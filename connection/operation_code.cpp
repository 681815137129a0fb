#include "connection/operation_code.h"

#include <algorithm>
#include <array>

#include "kyv/string_utility.h"

namespace kyv_internal {

namespace {

using DALVON::Kyv::strprintf;

struct OperationLetter {
  StreamInterface::StreamOperations operation;
  char letter;
};

// Letters are looked up from the front, so that "d" reads as the first delete. The usual operation stands first.
constexpr std::array<OperationLetter, 5> kLetters{{{StreamInterface::Upsert, 'p'},
                                                   {StreamInterface::Insert, 'i'},
                                                   {StreamInterface::Update, 'u'},
                                                   {StreamInterface::Delete, 'd'},
                                                   {StreamInterface::SecondDelete, 'd'}}};

constexpr char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

const OperationLetter* rowOfLetter(char letter) {
  const auto* const found = std::find_if(kLetters.begin(), kLetters.end(), [letter](const OperationLetter& row) {
    return row.letter == lowerCase(letter);
  });
  return found != kLetters.end() ? found : nullptr;
}

const OperationLetter* rowOfOperation(int operation) {
  const auto* const found = std::find_if(
      kLetters.begin(), kLetters.end(), [operation](const OperationLetter& row) { return row.operation == operation; });
  return found != kLetters.end() ? found : nullptr;
}

}  // namespace

char shown(char c) { return c >= ' ' && c <= '~' ? c : '?'; }

bool parseOperation(StreamInterface::StreamOperations& out, char letter, unsigned long recordNo,
                    ConnectionErrors& errors) {
  if (const OperationLetter* const row = rowOfLetter(letter)) {
    out = row->operation;
    return true;
  }
  errors.addGeneral(strprintf("record %lu: unknown operation '%c', not i/u/d/p", recordNo, shown(letter)));
  return false;
}

bool printOperation(char& out, int operation, unsigned long recordNo, ConnectionErrors& errors) {
  if (const OperationLetter* const row = rowOfOperation(operation)) {
    out = row->letter;
    return true;
  }
  errors.addGeneral(
      strprintf("record %lu: unknown operation '0x%x', not i/u/d/p", recordNo, static_cast<unsigned int>(operation)));
  return false;
}

bool parseFlags(bool& shineThrough, const char* flags, unsigned long recordNo, ConnectionErrors& errors) {
  shineThrough = false;
  if (flags == nullptr || *flags == 0) return true;
  shineThrough = *flags == kShineLetter;
  if (shineThrough) return true;
  errors.addGeneral(
      strprintf("record %lu: unknown flag '%c', only \"s\"(shine through) supported", recordNo, shown(*flags)));
  return false;
}

}  // namespace kyv_internal
