#pragma once

// Which parts of a record claim a byte: claims that may overlap or leave bytes out, cut into runs of bytes that the
// same parts claim.

#include <cstddef>
#include <vector>

#include "record_map.h"

namespace kyv_internal {

enum class ClaimKind : std::uint8_t { kContent, kPadding };

struct Claim {
  std::size_t part;
  ByteRange bytes;
  ClaimKind kind = ClaimKind::kContent;
};

struct ClaimedBytes {
  Segment segment;                       // without parts where nobody claims the bytes
  ClaimKind kind = ClaimKind::kContent;  // padding where no part has content there
};

// Cuts the bytes from 0 to `size` at every begin and end of a claim. Claims lie within them. Parts stand in order,
// those with content before those with padding.
std::vector<ClaimedBytes> cutIntoSegments(const std::vector<Claim>& claims, std::size_t size);

}  // namespace kyv_internal
