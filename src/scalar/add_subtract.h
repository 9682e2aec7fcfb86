// SPDX-License-Identifier: MIT
// 501 add and 502 subtract a constant: x + A and x - A (subtraction adds -A).
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "scalar/evaluation.h"

namespace qm::scalar {

struct AddOp {
    static constexpr bool kZeroGuard = false;
    template <class V> QM_INLINE static V Plain(V x, double a) noexcept { return x + a; }
    QM_INLINE static uint32_t Integer(uint32_t x, uint32_t a) noexcept { return x + a; }
    template <bool kFma> QM_INLINE static ExactValue Exact(double x, double a) noexcept { return TwoSum(x, a); }
    QM_INLINE static ExactValue Scaled(double x, double a) noexcept { return TwoSum(x, a); }
};

// Exactness argument for x + a, a already negated for subtraction:
// - an F64 destination rounds the double sum once, which is the exact sum rounded;
// - an integral |a| <= 2^52 with an integer source gives an exact integer sum, and between
//   integer types wrapping 32-bit arithmetic keeps the same low bits;
// - an integer x and a are both multiples of 2^low (low = the weight of a's last bit, or 1), so
//   the sum is exact while its magnitude stays below 2^(53 + low);
// - otherwise TwoSum is exact at every magnitude.
inline Eval ChooseAdd(Kind src, Kind dst, double a) noexcept {
    if (dst.f64 || !std::isfinite(a) || a == 0.0) return Eval::Plain;
    if (src.integer) {
        if (IsIntegral(a) && std::fabs(a) <= 0x1p52) return dst.integer ? Eval::Integer : Eval::Plain;
        const Significand s = Analyse(a);
        const int low = std::min(0, s.exponent - s.bits);
        const double bound = src.bound + std::fabs(a);
        if (bound <= std::ldexp(1.0, 52 + low)) return Eval::Plain;
        if (dst.integer && bound < 0x1p30) return Eval::Exact32;
    }
    return Eval::Exact;
}

}  // namespace qm::scalar
