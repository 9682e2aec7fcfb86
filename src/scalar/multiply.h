// SPDX-License-Identifier: MIT
// 503 multiply by a constant: x * A.
#pragma once

#include <cmath>
#include <cstdint>

#include "scalar/evaluation.h"

namespace qm::scalar {

struct MulOp {
    static constexpr bool kZeroGuard = false;
    template <class V> QM_INLINE static V Plain(V x, double a) noexcept { return x * a; }
    QM_INLINE static uint32_t Integer(uint32_t x, uint32_t a) noexcept { return x * a; }
    template <bool kFma> QM_INLINE static ExactValue Exact(double x, double a) noexcept {
        return TwoProduct<kFma>(x, a);
    }
    QM_INLINE static ExactValue Scaled(double x, double a) noexcept { return ScaledProduct(x, a); }
};

// Exactness argument for x * a:
// - an F64 destination rounds the double product once;
// - an integer x of b bits times an a of s significant bits has at most b + s bits: exact in
//   double when b + s <= 53, else TwoProduct (exact while both stay within 2^±900: beyond that
//   every non-zero product leaves the float and int64 ranges, or falls below 2^-869, so its plain
//   rounding stores the same element);
// - between integer types an integral |a| < 2^31 keeps the low bits in wrapping 32-bit arithmetic;
// - a single has 24 significant bits, so the same budget holds with b = 24;
// - a double source needs the product scaled to [0.5, 1) first, unless a is a power of two,
//   which only moves the exponent.
inline Eval ChooseMul(Kind src, Kind dst, double a) noexcept {
    if (dst.f64 || !std::isfinite(a) || a == 0.0) return Eval::Plain;
    const Significand s = Analyse(a);
    if (src.integer) {
        if (!Within(a, 0x1p-900, 0x1p900)) return Eval::Plain;
        if (s.bits + src.bits > 53)
            return dst.integer && src.bound * std::fabs(a) < 0x1p30 ? Eval::Exact32 : Eval::Exact;
        if (dst.integer && IsIntegral(a) && std::fabs(a) < 0x1p31) return Eval::Integer;
        return Eval::Plain;
    }
    if (src.f32) {
        if (!Within(a, 0x1p-700, 0x1p700)) return Eval::Plain;
        return s.bits + 24 <= 53 ? Eval::Plain : Eval::Exact;
    }
    return s.bits == 1 ? Eval::Plain : Eval::Scaled;
}

}  // namespace qm::scalar
