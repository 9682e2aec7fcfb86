// SPDX-License-Identifier: MIT
// 256 clip to [A, B] and 500 band mask (A, B).
//
// Both compare the widened element with the double constants, so the plain double form is exact:
// clip stores A, B or the element itself through the store rule, band stores 1 or 0.
#pragma once

#include <cmath>
#include <cstdint>

#include "core/cpu.h"

namespace qm::scalar {

// a in every lane of V (a - 0 keeps the sign of a zero, where 0 + a would not).
template <class V> QM_INLINE V Broadcast(double a) noexcept { return a - V{}; }

// 256: A is tested first, so with A > B every result is A or B; an unordered comparison counts as
// below, so a NaN element stores A.
struct ClipForm {
    template <class V> QM_INLINE static V Apply(V x, double a, double b) noexcept {
        return !(x >= a) ? Broadcast<V>(a) : (x > b ? Broadcast<V>(b) : x);
    }
};

// 500: 1 strictly inside (A, B), else 0 (NaN gives 0).
struct BandForm {
    template <class V> QM_INLINE static V Apply(V x, double a, double b) noexcept {
        return ((x > a) & (x < b)) ? Broadcast<V>(1.0) : V{};
    }
};

// The same comparisons for an integer element x of at most 17 bits (8- and 16-bit sources), as
// integer thresholds worked out once per call: x >= a exactly when x >= ceil(a), x > b exactly when
// x >= floor(b) + 1, x < b exactly when x < ceil(b). Thresholds are clamped to +-2^17, which keeps
// every comparison with such an x; an infinite constant clamps to its end, and a NaN one, which no
// comparison holds for, becomes a threshold no x reaches (2^17). Each kernel lane then compares
// int32 with int32.
struct IntegerBounds {
    int32_t atLeastA;  // clip: x >= a
    int32_t aboveB;    // clip: x > b
    int32_t aboveA;    // band: x > a
    int32_t belowB;    // band: x < b is x < belowB
};
inline int32_t Threshold(double t) noexcept {
    if (!(t == t)) return 1 << 17;
    return static_cast<int32_t>(t < -0x1p17 ? -0x1p17 : t > 0x1p17 ? 0x1p17 : t);
}
inline IntegerBounds IntegerBoundsOf(double a, double b) noexcept {
    const double ca = std::ceil(a), fb = std::floor(b), fa = std::floor(a), cb = std::ceil(b);
    return {Threshold(ca), Threshold(fb + 1.0), Threshold(fa + 1.0), b == b ? Threshold(cb) : -(1 << 17)};
}

}  // namespace qm::scalar
