#include "kyv/time_model.h"

#include "datatypes/model_program.h"

namespace kyv {

TimeModel::TimeModel(std::string_view model, const char* zone)
    : program_(std::make_shared<const kyv_internal::ModelProgram>(model, zone)) {}

const ModelFault& TimeModel::formatFault() const { return program_->tokens().formatFault; }

const ModelFault& TimeModel::parseFault() const { return program_->tokens().parseFault; }

bool TimeModel::readsYear() const { return program_->tokens().readsYear; }

std::size_t TimeModel::maxLength() const { return program_->maxLength(); }

std::optional<std::string_view> TimeModel::format(TimeType type, std::int64_t value, std::span<char> room) const {
  return program_->format(type, value, room);
}

std::optional<std::int64_t> TimeModel::parse(TimeType type, std::string_view text) const {
  return program_->parse(type, text);
}

ModelTrace TimeModel::traceFormat(TimeType type, std::int64_t value) const {
  return program_->traceFormat(type, value);
}

ModelTrace TimeModel::traceParse(TimeType type, std::string_view text) const {
  return program_->traceParse(type, text);
}

}  // namespace kyv
