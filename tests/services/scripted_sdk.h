#pragma once

// The client SDK's calls as a test wants them to be: linked in the place of the SDK, they write down how they are
// called, answer from a script, and any one of them fails when it is told to.

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace kyv_test {

constexpr int kForever = std::numeric_limits<int>::max();

struct ScriptedSdk {
  using Row = std::vector<std::optional<std::int64_t>>;
  struct Event {
    std::int32_t type;
    std::vector<Row> rows;
  };

  std::vector<std::int32_t> columnTypes;
  std::vector<Event> events;

  std::string failing;  // the call that fails
  int failures = 0;     // how many times from now on

  std::vector<std::string> calls;  // without their "kyv_", with their values
  std::string message;             // of the last call, "CALL failed"
  bool hasTexts = true;            // or null in their place
  std::size_t nextEvent = 0;
  std::size_t nextRow = 0;
};

// What the calls use; a test begins by giving it a new value.
ScriptedSdk& scriptedSdk();

}  // namespace kyv_test
