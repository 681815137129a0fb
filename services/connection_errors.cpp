#include "kyv/connection_errors.h"

void ConnectionErrors::addGeneral(const std::string& message) { general_.push_back(message); }

void ConnectionErrors::addParam(const std::string& parameter, const std::string& message) {
  firstParameterMessages_.emplace(parameter, message);
  parameters_.insert_or_assign(parameter, message);
}

bool ConnectionErrors::empty() const { return size() == 0; }

std::size_t ConnectionErrors::size() const { return general_.size() + parameters_.size(); }

std::string ConnectionErrors::report() const {
  std::string text;
  const auto startLine = [&text] {
    if (!text.empty()) text += '\n';
  };
  for (const auto& [parameter, message] : parameters_) {
    startLine();
    text.append("Parameter ").append(parameter).append(": ").append(message);
  }
  for (const std::string& message : general_) {
    startLine();
    text += message;
  }
  return text;
}

void ConnectionErrors::clear() {
  parameters_.clear();
  firstParameterMessages_.clear();
  general_.clear();
}
