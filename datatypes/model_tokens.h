#pragma once

// The tokens of a format model, found once, with the modes that hold at each of them, and what is wrong with the model.

#include <cstddef>
#include <string_view>
#include <vector>

#include "datatypes/format_tokens.h"
#include "kyv/time_model.h"

namespace kyv_internal {

struct ModelTokenStep {
  ModelToken token;
  DataTypes::TimeFormatParser::Case letters;
  char character;  // of a literal; of FFn its digit
  bool fill;
  bool exact;
  std::size_t position;  // in the model
  std::size_t length;
};

struct ModelTokens {
  explicit ModelTokens(std::string_view model);

  std::vector<ModelTokenStep> steps;  // all but FM and FX, which are the modes of those behind them
  std::vector<ModelTokenStep> modes;  // FM and FX, with the modes that they set
  bool exactAtEnd = false;
  bool readsYear = false;  // or a count, which tells all
  kyv::ModelFault formatFault;
  kyv::ModelFault parseFault;
};

// What a token stands for, in a few words. Static.
const char* meaningOf(const ModelTokenStep& step);

}  // namespace kyv_internal
