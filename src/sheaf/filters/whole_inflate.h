// Inflating a whole stream at once, which takes half the time of doing it in pieces.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sheaf {

/// Inflates the zlib stream (RFC 1950) at the start of `data`, of `len` bytes, what follows it being ignored. The
/// result is a block of the QVAlloc family, which the caller owns, with four bytes of room after its `size` bytes.
/// `estimate` is the size that it may have. Null for a stream that is damaged, cut, or longer than `most` bytes,
/// without memory, and in a build that cannot do it: who then inflates in pieces gets what there is.
std::uint8_t* inflate_whole(const std::uint8_t* data, std::size_t len, std::size_t estimate, std::size_t most,
                            std::size_t& size);

}  // namespace sheaf
