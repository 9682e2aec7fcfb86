// SPDX-License-Identifier: MIT
// The channel rule in 16-bit integer lanes, for mosaics of 8- and 16-bit unsigned samples.
//
// For such samples every interpolated value x lies in [0, 65535], so a channel's byte is a function
// of x alone. Where that function has the shape
//
//     x < cutFrom: cutByte
//     otherwise:   min(floor((min(max(x - sub, 0), limit) << up) * multiplier / 2^(32 + down)), 255)
//
// with a 32-bit multiplier, the whole rule runs in 16-bit lanes (two high and one low 16 x 16-bit
// multiply and a carry). A multiplier whose low 16 bits are 0 (the short form) needs one high
// multiply and a right shift by `down`; it is tried first, with its 16 bits placed where they keep
// the most of the gain. The form is found once per call and checked against the exact rule, and
// used only where it gives the same byte for every sample:
//
// - The gain is finite and not negative, sub (the offset, or 0 for blue under a shift) is not
//   negative, and (largest x - sub) * gain stays below 2^30, so the exact rule neither wraps nor
//   truncates a product of 2^31 or more. Then on [cutFrom, high] the exact byte never decreases
//   as x grows, and neither does the integer form (each of its steps is monotonic).
// - Two such functions into 0..255 are equal when, for every level k from 1 to 255, they reach k
//   at the same first x. The integer form reaches k first at x_k = ceil(k * 2^(32 + down - up) /
//   multiplier) + sub; the check evaluates both rules at x_k and x_k - 1 (or at the ends of the
//   range) and demands that both reach k at x_k and neither at x_k - 1: at most four evaluations
//   a level, whatever the shift.
// - Below cutFrom the shifted rule gives 0 (the value is cut off). The unshifted rule wraps the
//   difference to 2^32 - d for d from 1 to the offset; for a gain below 0.999 those products stay
//   below 2^32, so their bytes grow with x and equal ones at both ends make them all equal.
//   Otherwise every such x is evaluated, within a budget.
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
    uint16_t limit, up, down;
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
    const uint64_t product = q * ((uint64_t{c.mulHigh} << 16) | c.mulLow) >> (32 + c.down);
    return static_cast<uint8_t>(product > 255 ? 255 : product);
}

// The exact rule of the call (shifted or not) for one value.
QM_INLINE uint8_t ApplyExact(int32_t x, const BayerChannel& c, bool shifted, uint32_t shift) noexcept {
    return shifted ? ShiftedRule<false>::Apply(x, c, shift) : PlainRule<false>::Apply(x, c, shift);
}

// Finds the integer form of channel `c` for values in [0, high] and checks it; `budget` is the
// number of cut-off values the check may still evaluate one by one, and is reduced by those it
// does. False when the rule has no such form or the check would exceed the budget. `shortForm`
// asks for a multiplier with 16 bits (mulLow 0).
inline bool MakeFixedChannel(const BayerChannel& c, bool shifted, uint32_t shift, int32_t high, int64_t& budget,
                             FixedChannel& out, bool shortForm = false) noexcept {
    const double gain = c.gain;
    if (!(gain >= 0.0) || !std::isfinite(gain)) return false;
    const int64_t sub = shifted ? c.subtrahend : c.offset;
    const int64_t cutFrom = shifted ? std::max<int64_t>(0, int64_t{c.offset} + 1) : std::max<int64_t>(0, c.offset);
    if (cutFrom > 65535 || sub < 0 || static_cast<double>(high - sub) * gain >= 0x1p30) return false;

    const double scaled = shifted ? std::ldexp(gain, -static_cast<int>(shift)) : gain;
    int up = 0, down = 0;
    uint64_t multiplier = 0;
    if (!shortForm) {
        while (std::ldexp(scaled, 32 - up) > 0x1p32 - 1.0) ++up;
        multiplier = static_cast<uint64_t>(std::ceil(std::ldexp(scaled, 32 - up)));
    } else if (scaled > 0.0) {
        // 16 bits m = ceil(scaled * 2^e) in [2^15, 2^16], then scaled ~ m * 2^(up - 16 - down).
        int exponent = 0;
        std::frexp(scaled, &exponent);
        int e = 16 - exponent;
        uint64_t m = static_cast<uint64_t>(std::ceil(std::ldexp(scaled, e)));
        if (m > 65535) m = static_cast<uint64_t>(std::ceil(std::ldexp(scaled, --e)));
        if (e >= 16)
            down = e - 16;
        else
            up = 16 - e;
        if (down > 15) return false;
        multiplier = m << 16;
    }
    if (up > 15) return false;
    uint64_t limit = 65535;
    if (multiplier != 0)
        limit = std::min<uint64_t>(limit, ((uint64_t{255} << (32 + down) >> up) + multiplier - 1) / multiplier);
    if ((limit << up) > 65535) return false;

    out = {static_cast<uint16_t>(cutFrom),
           0,
           static_cast<uint16_t>(sub),
           static_cast<uint16_t>(limit),
           static_cast<uint16_t>(up),
           static_cast<uint16_t>(down),
           static_cast<uint16_t>(multiplier >> 16),
           static_cast<uint16_t>(multiplier & 0xFFFF)};
    const auto exact = [&](int64_t x) { return ApplyExact(static_cast<int32_t>(x), c, shifted, shift); };
    if (cutFrom > 0) {
        out.cutByte = exact(0);
        if (!shifted && gain < 0.999) {
            if (exact(cutFrom - 1) != out.cutByte) return false;
        } else if (!shifted) {
            if ((budget -= cutFrom) < 0) return false;
            for (int64_t x = 1; x < cutFrom; ++x)
                if (exact(x) != out.cutByte) return false;
        }
    }
    const auto reaches = [&](int64_t x, uint32_t k) {
        return exact(x) >= k && ApplyFixed(static_cast<int32_t>(x), out) >= k;
    };
    const auto below = [&](int64_t x, uint32_t k) {
        return exact(x) < k && ApplyFixed(static_cast<int32_t>(x), out) < k;
    };
    for (uint32_t k = 1; k <= 255; ++k) {
        const uint64_t t =
            multiplier == 0 ? uint64_t{1} << 40 : ((uint64_t{k} << (32 + down) >> up) + multiplier - 1) / multiplier;
        const int64_t x = static_cast<int64_t>(std::min<uint64_t>(t, uint64_t{1} << 40)) + sub;
        if (x > high) {
            if (!below(high, k)) return false;
        } else if (x <= cutFrom) {
            if (!reaches(cutFrom, k)) return false;
        } else if (!reaches(x, k) || !below(x - 1, k)) {
            return false;
        }
    }
    return true;
}

}  // namespace qm
