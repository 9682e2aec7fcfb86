// SPDX-License-Identifier: MIT
// The channel rule in 16-bit integer lanes, for mosaics of 8- and 16-bit unsigned samples.
//
// For such samples every interpolated value x lies in [0, 65535], so a channel's byte is a function
// of x alone. Where that function has the shape
//
//     x < cutFrom: cutByte
//     otherwise:   min(floor((min(max(x - sub, 0), limit) << up) * multiplier / 2^32), 255)
//
// with a 32-bit multiplier, the whole rule runs in 16-bit lanes (two high and one low 16 x 16-bit
// multiply and a carry). The form is found once per call and then checked against the exact rule
// for every x that can differ, so it is used only where it gives the same byte for every sample:
//
// - The gain is finite and not negative, sub (the offset, or 0 for blue under a shift) is not
//   negative, and (largest x - sub) * gain stays below 2^30, so the
//   exact rule neither wraps nor truncates a product of 2^31 or more. Then, from cutFrom on, the
//   exact byte never decreases as x grows; neither does the integer form (each step of it is
//   monotonic). Both are capped at 255, so once both give 255 at some x they agree at every larger
//   x, and the check walks x upward from cutFrom only until that point.
// - Below cutFrom the shifted rule gives 0 (the value is cut off); the unshifted rule wraps the
//   difference to a value near 2^32, and every such x is checked to give the one cutByte.
// - The shift folds into the multiplier: floor(floor(v * g) / 2^s) = floor(v * g / 2^s) for v * g
//   >= 0, so the multiplier approximates g / 2^s from above (ceil of its 32-bit scaling); the small
//   excess, and the double rounding of the exact rule's product, are what the check rules on.
// - `limit` is the least argument at which the integer form reaches 255, so clamping there changes
//   no byte and keeps (limit << up) inside 16 bits.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "bayer/channel_rule.h"
#include "core/cpu.h"

namespace qm {

struct FixedChannel {
    uint16_t cutFrom, cutByte;
    uint16_t sub;
    uint16_t limit, up;
    uint16_t mulHigh, mulLow;  // the multiplier's high and low 16 bits
};

struct FixedChannels {
    FixedChannel blue, green, red;
};

// The integer form, one value at a time, exactly as the vector kernels compute it lane by lane.
QM_INLINE uint8_t ApplyFixed(int32_t x, const FixedChannel& c) noexcept {
    if (x < c.cutFrom) return static_cast<uint8_t>(c.cutByte);
    const int32_t t = x > c.sub ? x - c.sub : 0;
    const uint64_t q = static_cast<uint64_t>(t < c.limit ? t : c.limit) << c.up;
    const uint64_t product = q * ((uint64_t{c.mulHigh} << 16) | c.mulLow) >> 32;
    return static_cast<uint8_t>(product > 255 ? 255 : product);
}

// The exact rule of the call (shifted or not) for one value.
QM_INLINE uint8_t ApplyExact(int32_t x, const BayerChannel& c, bool shifted, uint32_t shift) noexcept {
    return shifted ? ShiftedRule<false>::Apply(x, c, shift) : PlainRule<false>::Apply(x, c, shift);
}

// Finds the integer form of channel `c` for values in [0, high] and checks it; `budget` is the
// number of values the check may still evaluate and is reduced by those it does. False when the
// rule has no such form or the check would exceed the budget.
inline bool MakeFixedChannel(const BayerChannel& c, bool shifted, uint32_t shift, int32_t high, int64_t& budget,
                             FixedChannel& out) noexcept {
    const double gain = c.gain;
    if (!(gain >= 0.0) || !std::isfinite(gain)) return false;
    const int64_t sub = shifted ? c.subtrahend : c.offset;
    const int64_t cutFrom = shifted ? std::max<int64_t>(0, int64_t{c.offset} + 1) : std::max<int64_t>(0, c.offset);
    if (cutFrom > 65535 || sub < 0 || static_cast<double>(high - sub) * gain >= 0x1p30) return false;

    const double scaled = shifted ? std::ldexp(gain, -static_cast<int>(shift)) : gain;
    int up = 0;
    while (std::ldexp(scaled, 32 - up) > 0x1p32 - 1.0) ++up;
    if (up > 15) return false;
    const uint64_t multiplier = static_cast<uint64_t>(std::ceil(std::ldexp(scaled, 32 - up)));
    uint64_t limit = 65535;
    if (multiplier != 0) limit = std::min<uint64_t>(limit, ((uint64_t{255} << 32 >> up) + multiplier - 1) / multiplier);
    if ((limit << up) > 65535) return false;

    out = {static_cast<uint16_t>(cutFrom),
           0,
           static_cast<uint16_t>(sub),
           static_cast<uint16_t>(limit),
           static_cast<uint16_t>(up),
           static_cast<uint16_t>(multiplier >> 16),
           static_cast<uint16_t>(multiplier & 0xFFFF)};
    if (cutFrom > 0) {
        out.cutByte = ApplyExact(0, c, shifted, shift);
        if ((budget -= cutFrom) < 0) return false;
        for (int32_t x = 1; x < cutFrom; ++x)
            if (ApplyExact(x, c, shifted, shift) != out.cutByte) return false;
    }
    for (int32_t x = static_cast<int32_t>(cutFrom); x <= high; ++x) {
        if (--budget < 0) return false;
        const uint8_t exact = ApplyExact(x, c, shifted, shift);
        if (ApplyFixed(x, out) != exact) return false;
        if (exact == 255) break;  // and the integer form too: both stay 255 from here on
    }
    return true;
}

}  // namespace qm
