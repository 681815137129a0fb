#include "datatypes/digit_lanes.h"

#if defined(__SSE2__)

namespace kyv_internal {

namespace {

template <class T, std::size_t lanes>
constexpr std::array<T, lanes> allLanes(const std::array<T, 2>& neighbours) {
  std::array<T, lanes> all{};
  for (std::size_t i = 0; i < lanes; ++i) all[i] = neighbours[i % 2];
  return all;
}

}  // namespace

constexpr LaneConstants kLanes = {.zeroCharacter = allLanes<std::uint8_t, 16>({'0', '0'}),
                                  .point = allLanes<std::uint8_t, 16>({'.' ^ '0', '.' ^ '0'}),
                                  .aboveDigits = allLanes<std::uint8_t, 16>({10, 10}),
                                  .joinDigits = allLanes<std::uint16_t, 8>({1 + (10 << 8), 1 + (10 << 8)}),
                                  .joinPairs = allLanes<std::uint16_t, 8>({100, 1}),
                                  .joinFours = allLanes<std::uint16_t, 8>({10'000, 1}),
                                  .joinEights = allLanes<std::uint32_t, 4>({kBlockRange, kBlockRange})};

}  // namespace kyv_internal

#endif
