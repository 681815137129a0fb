#include "byte_segments.h"

#include <algorithm>
#include <set>
#include <utility>

namespace kyv_internal {
namespace {

using ActiveClaim = std::pair<ClaimKind, std::size_t>;  // with the part, in the order in which they are named

// Where a claim begins or ends.
struct Border {
  std::size_t at;
  bool begins;
  ActiveClaim claim;
};

std::vector<Border> bordersOf(const std::vector<Claim>& claims) {
  std::vector<Border> borders;
  for (const Claim& claim : claims) {
    if (claim.bytes.empty()) continue;
    borders.push_back({claim.bytes.begin, true, {claim.kind, claim.part}});
    borders.push_back({claim.bytes.end, false, {claim.kind, claim.part}});
  }
  std::sort(borders.begin(), borders.end(), [](const Border& left, const Border& right) { return left.at < right.at; });
  return borders;
}

ClaimedBytes claimedBytes(ByteRange bytes, const std::set<ActiveClaim>& active) {
  ClaimedBytes claimed = {{bytes, {}}};
  if (!active.empty()) claimed.kind = active.begin()->first;
  for (const auto& [kind, part] : active) {
    if (claimed.segment.parts.size() == Segment::kMostParts) break;
    claimed.segment.parts.push_back(part);
  }
  return claimed;
}

}  // namespace

std::vector<ClaimedBytes> cutIntoSegments(const std::vector<Claim>& claims, std::size_t size) {
  std::vector<ClaimedBytes> segments;
  std::set<ActiveClaim> active;
  std::size_t done = 0;
  const auto goOnTo = [&](std::size_t at) {
    if (at > done) segments.push_back(claimedBytes({done, at}, active));
    done = at;
  };
  for (const Border& border : bordersOf(claims)) {
    goOnTo(border.at);
    if (border.begins) {
      active.insert(border.claim);
    } else {
      active.erase(border.claim);
    }
  }
  goOnTo(size);
  return segments;
}

}  // namespace kyv_internal
