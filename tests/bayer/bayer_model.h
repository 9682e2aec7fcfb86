// SPDX-License-Identifier: MIT
// The channel rule of the interpolating reconstruction, as a plain per-value model: a neighbourhood
// mean, offset, gain and shift into one clipped byte.
#pragma once

#include <cmath>
#include <cstdint>

namespace bayermodel {

inline int64_t Wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); }
inline int64_t Truncate(double p) {
    return std::isnan(p) || std::fabs(p) >= 0x1p63 ? INT64_MIN : static_cast<int64_t>(p);
}

inline uint8_t Channel(int64_t x, double gain, int32_t offset, bool blue, uint16_t shift) {
    x = Wrap32(x);
    if (shift == 0) {
        const auto t = static_cast<uint32_t>(Truncate(static_cast<double>(static_cast<uint32_t>(x - offset)) * gain));
        return static_cast<uint8_t>(t > 255 ? 255 : t);
    }
    if (x <= offset) return 0;
    const int64_t t = Wrap32(Truncate(static_cast<double>(blue ? x : Wrap32(x - offset)) * gain)) >> (shift % 32);
    return static_cast<uint8_t>(t > 255 ? 255 : t);
}

}  // namespace bayermodel
