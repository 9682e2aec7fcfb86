// SPDX-License-Identifier: MIT
// The one rule for the destination of every Bayer reconstruction: it holds nWidth x nHeight
// elements of the size its type gives, like every descriptor, and the reconstruction writes 3
// bytes a pixel. A call that would write more bytes than that is refused before it writes, so a
// U8- or U16-typed destination of the mosaic's shape is refused and a colour one is used.
#pragma once

#include <cstdint>

#include "core/element_types.h"
#include "core/status.h"
#include "qmath/qmath.h"

namespace qm {

inline Status CheckColourDestination(const QmdDataStruct& dst, uint64_t pixels) noexcept {
    uint64_t colourBytes = 0, described = 0;
    // More than 2^64 bytes fit in no buffer.
    if (__builtin_mul_overflow(pixels, uint64_t{3}, &colourBytes)) return Status::CountMismatch;
    // A descriptor of 2^64 bytes or more holds every write that can be counted.
    if (__builtin_mul_overflow(uint64_t{dst.nWidth} * dst.nHeight, uint64_t{ElementSize(dst.eType)}, &described))
        return Status::Ok;
    return colourBytes <= described ? Status::Ok : Status::CountMismatch;
}

}  // namespace qm
