// SPDX-License-Identifier: MIT
// Raw element buffers, shared by the model comparisons.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

#include "core/element_types.h"

namespace qmtest {

using Bytes = std::vector<unsigned char>;

// Element i of p (elements of `size` bytes) as raw bits.
inline uint64_t BitsAt(const Bytes& p, size_t i, size_t size) {
    uint64_t w = 0;
    std::memcpy(&w, p.data() + i * size, size);
    return w;
}

// Raw bits of an element of `type` as the number the engines read: U32 counts as signed, since
// it shares the I32 routines.
inline double Value(int32_t type, uint64_t w) {
    const int unused = 64 - 8 * static_cast<int>(qm::ElementSize(type));
    if (type == qm::kF32) return std::bit_cast<float>(static_cast<uint32_t>(w));
    if (type == qm::kF64) return std::bit_cast<double>(w);
    if (type == qm::kU8 || type == qm::kU16) return static_cast<double>(w);
    return static_cast<double>(static_cast<int64_t>(w << unused) >> unused);
}

}  // namespace qmtest
