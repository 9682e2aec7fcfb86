// SPDX-License-Identifier: MIT
// Streaming stores for outputs larger than the last-level cache. Such an output is written a
// block at a time from a scratch block in the first-level cache, with stores that bypass the
// caches (as memcpy does for large copies), so the cache keeps what is read and no line of the
// output is read before it is overwritten.
#pragma once

#include <cstddef>

namespace qm {

// Outputs of at least this many bytes are streamed, unless they are also read (updated in place,
// or accumulated into): three quarters of the last-level cache the system reports, read once at
// load. That is the size from which the C library's memcpy streams its own copies, so an output
// bypasses the cache exactly when a copy of the same bytes would (a virtual machine that reports
// its host's whole cache streams late, and so does its memcpy).
size_t StreamingThreshold() noexcept;
// Tests move the threshold to reach the streaming path with small buffers; 0 restores the default.
void SetStreamingThreshold(size_t bytes) noexcept;

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
