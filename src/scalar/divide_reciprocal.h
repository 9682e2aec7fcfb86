// SPDX-License-Identifier: MIT
// 504 divide by a constant (x / A) and 508 reciprocal (1 / x).
//
// 504: A equal to 0 or NaN stores 0 in every element (status 0). 508: an element equal to 0 or
// NaN stores 0 (status 0).
#pragma once

#include <cmath>
#include <cstdint>

#include "scalar/evaluation.h"

namespace qm::scalar {

struct DivOp {
    static constexpr bool kZeroGuard = false;
    template <class V> QM_INLINE static V Plain(V x, double a) noexcept { return x / a; }
    template <bool kFma> QM_INLINE static ExactValue Exact(double x, double a) noexcept {
        return TwoQuotient<kFma>(x, a);
    }
    QM_INLINE static ExactValue Scaled(double x, double a) noexcept { return ScaledQuotient(x, a); }
};

struct ReciprocalOp {
    static constexpr bool kZeroGuard = true;
    template <class V> QM_INLINE static V Plain(V x, double) noexcept { return 1.0 / x; }
    template <bool kFma> QM_INLINE static ExactValue Exact(double x, double) noexcept {
        return TwoQuotient<kFma>(1.0, x);
    }
    QM_INLINE static ExactValue Scaled(double x, double) noexcept { return ScaledQuotient(1.0, x); }
};

// Exactness argument for x / a, a neither 0, NaN nor a power of two (dividing by a power of two
// is multiplying by its reciprocal, the same exact value, and goes through multiply.h):
// - an F64 destination, or an infinite a, rounds the double quotient once;
// - an integer x over an integral a: |x| < 2^53, so a quotient of integers never rounds across an
//   integer (integer destinations), and it lands on a float midpoint only when it is that
//   midpoint, as long as |a| < 2^28 (F32 destinations);
// - otherwise TwoQuotient, within 2^±900 for integer sources and 2^±700 for singles (beyond them
//   the plain rounding stores the same element), and scaled for double sources.
inline Eval ChooseDiv(Kind src, Kind dst, double a) noexcept {
    if (dst.f64 || std::isinf(a)) return Eval::Plain;
    if (src.integer) {
        if (!Within(a, 0x1p-900, 0x1p900)) return Eval::Plain;
        if (IsIntegral(a)) return dst.integer || std::fabs(a) < 0x1p28 ? Eval::Plain : Eval::Exact;
        return dst.integer && src.bound / std::fabs(a) < 0x1p30 ? Eval::Exact32 : Eval::Exact;
    }
    if (src.f32) return Within(a, 0x1p-700, 0x1p700) ? Eval::Exact : Eval::Plain;
    return Eval::Scaled;
}

// Exactness argument for 1 / x: |1 / x| <= 1 for an integer x, so integer destinations truncate
// the plain quotient correctly; a reciprocal of a 16-bit integer has at most 24 significant bits
// before it lands on a float midpoint only when exact; wider sources need TwoQuotient.
inline Eval ChooseReciprocal(Kind src, Kind dst) noexcept {
    if (dst.f64) return Eval::Plain;
    if (src.integer) return dst.integer || src.bits <= 16 ? Eval::Plain : Eval::Exact;
    if (src.f32) return dst.integer ? Eval::Exact : Eval::Plain;
    return Eval::Scaled;
}

// Division in singles, for 8- and 16-bit integer sources (every element is a single):
// - into integer destinations, by an integral |a| < 2^24 (a single too): a quotient of integers is
//   either exact in single or lies at least 1/|a| from every integer, farther than its rounding to
//   single (at most |x / a| x 2^-24 < 1/|a|) can move it, so the truncation of the single quotient
//   is that of the exact one;
// - into F32, by a finite a that is a single: the single division rounds the exact quotient once,
//   to nearest, which is the store rule itself.
// 1 / x is the same with 1 over x.
inline bool DividesInSingles(Kind src, Kind dst, double a) noexcept {
    if (!src.integer || src.bits > 16) return false;
    if (dst.f32) return std::fabs(a) <= 0x1.fffffep127 && static_cast<double>(static_cast<float>(a)) == a;
    return dst.integer && IsIntegral(a) && std::fabs(a) < 0x1p24;
}
inline bool ReciprocalInSingles(Kind src, Kind dst) noexcept { return DividesInSingles(src, dst, 1.0); }

}  // namespace qm::scalar
