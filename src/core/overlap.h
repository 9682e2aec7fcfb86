// SPDX-License-Identifier: MIT
// Whether a kernel may read a whole run of source elements before writing the destination
// elements of the same indices, and still give the module's element order (element i read just
// before element i is written, in index order).
#pragma once

#include <cstddef>
#include <cstdint>

namespace qm {

// Whether the byte ranges [a, a + an) and [b, b + bn) share a byte.
inline bool Overlaps(const void* a, size_t an, const void* b, size_t bn) noexcept {
    const auto x = reinterpret_cast<uintptr_t>(a), y = reinterpret_cast<uintptr_t>(b);
    return x < y + bn && y < x + an;
}

// True when the n-element destination and source (element sizes ds and ss) do not overlap, or
// when every destination element starts at or before the source element of its index and is no
// wider: then no write reaches a source element of a later index.
inline bool BlockwiseIsSafe(const void* dst, size_t ds, const void* src, size_t ss, size_t n) noexcept {
    if (!Overlaps(dst, n * ds, src, n * ss)) return true;
    return reinterpret_cast<uintptr_t>(dst) <= reinterpret_cast<uintptr_t>(src) && ds <= ss;
}

}  // namespace qm
