#include "connection/named_columns.h"

#include <cstring>

namespace kyv_internal {

bool NamedColumns::isUpToDate(const SchemaReader& reader, std::size_t count, const NamedFields& fields) const {
  return slots_.size() == count && schemaVersion_ == reader.version() && namesVersion_ == fields.version();
}

void NamedColumns::find(const ConnectionRowType& schema, const NamedFields& fields) {
  for (std::size_t i = 0; i < slots_.size(); ++i) {
    NamedFields::Slot& slot = slots_[i];
    const char* const name = schema.getColumnName(static_cast<int>(i));
    if (slot == NamedFields::kNone || std::strcmp(fields.name(slot), name) != 0) slot = fields.slotOf(name);
  }
}

std::span<const RowField> NamedColumns::fieldsOf(const ConnectionRowType& schema, const SchemaReader& reader,
                                                 std::size_t count, const NamedFields& fields) {
  const bool known = isUpToDate(reader, count, fields);
  if (!known) {
    slots_.assign(count, NamedFields::kNone);
    fields_.resize(count);
    schemaVersion_ = reader.version();
    namesVersion_ = fields.version();
  }
  if (!known || !reader.neverChanges()) find(schema, fields);
  textBytes_ = 0;
  for (std::size_t i = 0; i < count; ++i) {
    fields_[i] = fields.text(slots_[i]);
    textBytes_ += fields_[i].size;
  }
  return fields_;
}

}  // namespace kyv_internal
