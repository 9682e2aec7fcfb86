// SPDX-License-Identifier: MIT
// Elements of host images, read and written without assuming their alignment: a host may pass an
// image that starts anywhere in a byte buffer.
#pragma once

#include <cstddef>
#include <cstring>

namespace qm {

// Element i of type T of the image at `base`.
template <class T> [[gnu::always_inline]] inline T LoadAt(const unsigned char* base, size_t i) noexcept {
    T v;
    std::memcpy(&v, base + i * sizeof(T), sizeof(T));
    return v;
}

template <class T> [[gnu::always_inline]] inline void StoreAt(unsigned char* base, size_t i, T v) noexcept {
    std::memcpy(base + i * sizeof(T), &v, sizeof(T));
}

}  // namespace qm
