#pragma once

// The header of a record, word by word, in words.

#include <cstdint>
#include <string>
#include <vector>

#include "kyv/stream_schema.h"
#include "record_words.h"

namespace kyv_internal {

struct HeaderWord {
  std::size_t offset;
  const char* name;
  std::string text;
  std::string fault;  // empty for a sound word
};

// The words in order. Texts are harmless on any screen.
std::vector<HeaderWord> describeHeader(const RecordWords& record, const kyv::StreamSchema& schema);

inline constexpr unsigned int kLatencySlot = std::countr_zero(kInstrumentLatencyFlag / kFirstOptionFlag);

// The option slots that a record's flags say are taken, in order; and what a slot is called.
std::vector<unsigned int> optionSlots(std::uint32_t flags);
std::string optionName(unsigned int slot);

}  // namespace kyv_internal
