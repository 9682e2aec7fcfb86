// SPDX-License-Identifier: MIT
// The channel rule of the interpolating reconstruction: an interpolated value (signed 32-bit), the
// channel's offset and gain, and the call's shift give one output byte.
//
// Shift not 0: a value at or below the channel's offset (signed compare) gives 0. Otherwise red
// and green multiply value - offset (32-bit, wrapping) by the gain, blue multiplies the value
// itself (its offset only decides the cut-off); the product is truncated toward zero, its low 32
// bits are shifted right arithmetically by the shift count mod 32, and anything above 255 gives
// 255. A shift of 32 therefore shifts by 0 but still follows this rule, not the one below.
// Shift 0: value - offset is taken as unsigned 32-bit (a value below its offset wraps high), the
// product is truncated, and a result whose low 32 bits exceed 255 as unsigned gives 255.
// In both, the low byte is stored.
//
// Each rule has an exact form (through TruncateToInteger) and a narrow one that converts straight
// to int32, which vectorises; the narrow one is chosen per call only when every value the sample
// type and offset allow keeps the product inside int32, where both give the same byte.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "core/cpu.h"
#include "core/truncate.h"

namespace qm {

struct BayerChannel {
    double gain;
    int32_t offset;      // values at or below it are cut off (shifted rule) or wrap (plain rule)
    int32_t subtrahend;  // what the shifted rule subtracts before the multiply: offset, or 0 for blue
};

// The three channels in the order of the output bytes, and the shift count mod 32.
struct BayerChannels {
    BayerChannel blue, green, red;
    uint32_t shift;
};

template <bool Narrow> struct ShiftedRule {
    QM_INLINE static uint8_t Apply(int32_t x, const BayerChannel& c, uint32_t shift) noexcept {
        // A cut-off value multiplies 0, which gives 0 for any gain.
        const int32_t v =
            c.offset >= x ? 0 : static_cast<int32_t>(static_cast<uint32_t>(x) - static_cast<uint32_t>(c.subtrahend));
        int32_t t;
        if constexpr (Narrow)
            t = static_cast<int32_t>(static_cast<double>(v) * c.gain);
        else
            t = LowBits<int32_t>(TruncateToInteger(static_cast<double>(v) * c.gain));
        t >>= shift;
        return static_cast<uint8_t>(t > 255 ? 255 : t);
    }
};

template <bool Narrow> struct PlainRule {
    QM_INLINE static uint8_t Apply(int32_t x, const BayerChannel& c, uint32_t) noexcept {
        const uint32_t v = static_cast<uint32_t>(x) - static_cast<uint32_t>(c.offset);
        uint32_t t;
        if constexpr (Narrow)
            t = static_cast<uint32_t>(static_cast<int32_t>(static_cast<double>(static_cast<int64_t>(v)) * c.gain));
        else
            t = LowBits<uint32_t>(TruncateToInteger(static_cast<double>(v) * c.gain));
        return static_cast<uint8_t>(t > 255u ? 255u : t);
    }
};

// Largest |multiplicand| the rule can meet for values in [low, high]: the bound that decides
// whether the narrow form is exact.
QM_INLINE double ShiftedBound(int64_t low, int64_t high, const BayerChannel& c) noexcept {
    const int64_t first = std::max(low, int64_t{c.offset} + 1);  // first value not cut off
    if (first > high) return 0.0;                                // every value is cut off
    const int64_t from = first - c.subtrahend, to = high - c.subtrahend;
    if (from < INT32_MIN || to > INT32_MAX) return 0x1p31;  // the difference wraps
    return static_cast<double>(std::max(std::abs(from), std::abs(to)));
}

QM_INLINE double PlainBound(int64_t low, int64_t high, const BayerChannel& c) noexcept {
    return c.offset <= low ? static_cast<double>(high - c.offset) : 0x1p32 - 1.0;
}

QM_INLINE bool NarrowSuffices(double bound, double gain) noexcept { return bound * std::fabs(gain) < 0x1p31; }

}  // namespace qm
