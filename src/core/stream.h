// SPDX-License-Identifier: MIT
// Streaming stores for outputs larger than the last-level cache. Such an output is written a
// block at a time from a scratch block in the first-level cache, with stores that bypass the
// caches (as memcpy does for large copies), so the cache keeps what is read and no line of the
// output is read before it is overwritten.
#pragma once

#include <cstddef>

namespace qm {

// Outputs of at least this many bytes are streamed, unless they are also read (updated in place,
// or accumulated into): three quarters of the last-level cache (at most of 32 MiB), read once at
// load.
size_t StreamingThreshold() noexcept;

// Whether an output of `bytes` that no source overlaps is streamed.
inline bool Streams(size_t bytes, bool overlapsSource) noexcept {
    return !overlapsSource && bytes >= StreamingThreshold();
}

// Copies n bytes from `src` to `dst` with streaming stores (the unaligned head and tail of dst with
// ordinary ones).
void StreamCopy(unsigned char* dst, const unsigned char* src, size_t n) noexcept;

// Orders the streamed stores before whatever the caller does next; once per call.
void StreamFence() noexcept;

}  // namespace qm
