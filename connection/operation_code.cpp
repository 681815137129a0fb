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

// Letters are looked up from the front, so that "d" reads as the first delete.
constexpr std::array<OperationLetter, 5> kLetters{{{StreamInterface::Insert, 'i'},
                                                   {StreamInterface::Update, 'u'},
                                                   {StreamInterface::Delete, 'd'},
                                                   {StreamInterface::Upsert, 'p'},
                                                   {StreamInterface::SecondDelete, 'd'}}};

constexpr char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::optional<StreamInterface::StreamOperations> operationOf(char letter) {
  const auto found = std::find_if(kLetters.begin(), kLetters.end(),
                                  [letter](const OperationLetter& row) { return row.letter == lowerCase(letter); });
  if (found == kLetters.end()) return std::nullopt;
  return found->operation;
}

std::optional<char> letterOf(int operation) {
  const auto found = std::find_if(kLetters.begin(), kLetters.end(),
                                  [operation](const OperationLetter& row) { return row.operation == operation; });
  if (found == kLetters.end()) return std::nullopt;
  return found->letter;
}

char shown(char c) { return c >= ' ' && c <= '~' ? c : '?'; }

bool parseOperation(StreamInterface::StreamOperations& out, char letter, unsigned long recordNo,
                    ConnectionErrors& errors) {
  const auto operation = operationOf(letter);
  if (operation) {
    out = *operation;
    return true;
  }
  errors.addGeneral(strprintf("record %lu: unknown operation '%c', not i/u/d/p", recordNo, shown(letter)));
  return false;
}

bool printOperation(char& out, int operation, unsigned long recordNo, ConnectionErrors& errors) {
  const auto letter = letterOf(operation);
  if (letter) {
    out = *letter;
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
