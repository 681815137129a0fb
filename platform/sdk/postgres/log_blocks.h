#pragma once

// How the rows of a log lie in the database: many in a row of a table, a block, because the server's work grows with
// the number of its rows and not with their bytes. A block is the records behind one another, each behind its size in
// four bytes, the highest first; the number of the block is that of its last row.

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/sdk/event_store.h"
#include "platform/sdk/postgres/parameters.h"

namespace kyv_internal {

// So much fits into a page of the server, if not compressed. A larger record is a block of its own.
inline constexpr std::size_t kBlockBytes = 8000;
// What goes to the server at once, and a record that it would not take.
inline constexpr std::size_t kPieceBytes = std::size_t{4} << 20;
inline constexpr std::size_t kTooLarge = std::size_t{500} << 20;

// The blocks of some rows, whose numbers follow `last`, as parameters of pieces: numbers of last rows, and blocks.
std::vector<Parameters> packBlocks(std::int64_t stream, std::int64_t last, std::span<const PublishedRow> rows);

// Appends the rows behind a number from a block. False when it is damaged.
[[nodiscard]] bool unpackBlock(std::string_view block, std::int64_t last, std::int64_t after, RowChunk& chunk);

}  // namespace kyv_internal
