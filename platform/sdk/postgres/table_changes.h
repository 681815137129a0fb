#pragma once

// What a publish does to a table: which keys must be looked for, whether every change may be done, and the last one of
// each key, which is all that is stored.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/sdk/event_store.h"
#include "platform/sdk/postgres/parameters.h"

namespace kyv_internal {

class TableChanges {
 public:
  // The rows must outlive it.
  explicit TableChanges(std::span<const PublishedRow> rows);

  // The keys of which it must be known whether they are there, as a parameter.
  bool hasQuestions() const { return !asked_.empty(); }
  ArrayParameter questions() const;
  // The answer: the key at this place of the questions is there.
  void setThere(std::size_t question) { keys_.at(asked_.at(question)).isThere = true; }

  // Goes through the rows in their order and numbers them behind `last`, which becomes the last row's number.
  [[nodiscard]] bool resolve(const std::string& stream, std::int64_t& last, Failure& failure);
  // What resolve() left to store, as parameters of pieces: keys, numbers, whether the key is gone, records.
  std::vector<Parameters> pieces(std::int64_t stream) const;

 private:
  struct State {
    bool isThere = false;
    std::int64_t number = 0;             // of its last change; 0: none
    const PublishedRow* last = nullptr;  // its last change
  };

  const std::span<const PublishedRow> rows_;
  std::unordered_map<std::string_view, State> keys_;
  std::vector<std::string_view> asked_;
};

}  // namespace kyv_internal
