// Whether a kernel may read a whole run of source elements before writing the destination
// elements of the same indices, and still give the module's element order (element i read just
// before element i is written, in index order).
#pragma once

#include <cstddef>
#include <cstdint>

namespace qm {

// True when the n-element destination and source (element sizes ds and ss) do not overlap, or
// when every destination element starts at or before the source element of its index and is no
// wider: then no write reaches a source element of a later index.
inline bool BlockwiseIsSafe(const void* dst, size_t ds, const void* src, size_t ss, size_t n) noexcept {
    const auto d = reinterpret_cast<uintptr_t>(dst), s = reinterpret_cast<uintptr_t>(src);
    if (d + n * ds <= s || s + n * ss <= d) return true;
    return d <= s && ds <= ss;
}

}  // namespace qm
