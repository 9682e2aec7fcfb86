// SPDX-License-Identifier: MIT
// Error-free transformations of double arithmetic, and the one rounding of an exact value, held
// as an unevaluated sum of doubles, to a float, a double or an integer element.
//
// An exact value v is carried as {hi, lo, tail}: hi is v rounded to the nearest double, lo is
// v - hi rounded to the nearest double, and tail (of which only the sign and whether it is zero
// count) stands for what is left, v - hi - lo. Sums and products are exact with two doubles, so
// their tail is 0; quotients need the tail.
//
// Validity: TwoSum is exact for all finite operands whose sum does not overflow. The products and
// remainders are exact when no operand exceeds 2^995 in magnitude (so that the split cannot
// overflow) and the product is 0 or at least 2^-960 in magnitude (so that no partial product loses
// bits to underflow). Callers establish these ranges once per call, or scale by powers of two.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "core/cpu.h"
#include "core/truncate.h"

namespace qm {

struct ExactValue {
    double hi;
    double lo;
    double tail = 0.0;
};

// The rounding error of s = a + b, exactly, written over a value type V (a double, or a vector of
// doubles in the kernels' lanes).
template <class V> QM_INLINE V SumError(V a, V b, V s) noexcept {
    const V bb = s - a;
    return (a - (s - bb)) + (b - bb);
}

QM_INLINE ExactValue TwoSum(double a, double b) noexcept {
    const double s = a + b;
    return {s, SumError(a, b, s), 0.0};
}

// The rounding error of p = x * a, exactly, without a fused multiply-add: each factor split into
// a high part of 26 significant bits and the rest (both exact), and the partial products summed.
template <class V> QM_INLINE V ProductErrorBySplit(V x, V a, V p) noexcept {
    const V cx = 134217729.0 * x, ca = 134217729.0 * a;  // 2^27 + 1
    const V xh = cx - (cx - x), ah = ca - (ca - a);
    const V xl = x - xh, al = a - ah;
    return ((xh * ah - p) + xh * al + xl * ah) + xl * al;
}

// x * a as hi + lo exactly. kFma: the hardware fused multiply-add gives the error in one step
// (only in the loop variants compiled with FMA enabled; contraction is off everywhere else).
template <bool kFma> QM_INLINE ExactValue TwoProduct(double x, double a) noexcept {
    const double p = x * a;
    if constexpr (kFma) {
        return {p, std::fma(x, a, -p), 0.0};
    } else {
        return {p, ProductErrorBySplit(x, a, p), 0.0};
    }
}

// x - q * a exactly, where q is x / a rounded to nearest (such a remainder is always a double).
template <bool kFma> QM_INLINE double Remainder(double x, double q, double a) noexcept {
    if constexpr (kFma) {
        return std::fma(-q, a, x);
    } else {
        const ExactValue p = TwoProduct<false>(q, a);
        return (x - p.hi) - p.lo;  // x - p.hi is exact (Sterbenz), and so is the difference
    }
}

// x / a: the rounded quotient, the rounded quotient of its remainder, and the sign of what is left.
template <bool kFma> QM_INLINE ExactValue TwoQuotient(double x, double a) noexcept {
    const double q = x / a;
    const double r = Remainder<kFma>(x, q, a);
    const double q2 = r / a;
    const double r2 = Remainder<kFma>(r, q2, a);
    return {q, q2, a < 0.0 ? -r2 : r2};
}

// The same for operands of any magnitude, by scaling both to [0.5, 1) first. Beyond the double
// range the parts saturate to infinity or lose low bits to underflow, where every float or
// integer store gives the same element as the exact value would.
QM_INLINE ExactValue ScaledProduct(double x, double a) noexcept {
    int ex = 0, ea = 0;
    const double mx = std::frexp(x, &ex), ma = std::frexp(a, &ea);
    const ExactValue m = TwoProduct<false>(mx, ma);
    return {std::ldexp(m.hi, ex + ea), std::ldexp(m.lo, ex + ea), 0.0};
}
QM_INLINE ExactValue ScaledQuotient(double x, double a) noexcept {
    int ex = 0, ea = 0;
    const double mx = std::frexp(x, &ex), ma = std::frexp(a, &ea);
    const ExactValue m = TwoQuotient<false>(mx, ma);
    return {std::ldexp(m.hi, ex - ea), std::ldexp(m.lo, ex - ea), m.tail};
}

// v rounded once to the nearest float. hi is first replaced by v rounded to odd in double (the
// neighbour of hi towards v when hi's last bit is even); 53 bits rounded to odd, then to 24 bits,
// round exactly as v would. Without this, a hi that lands on a midpoint between two floats would
// be rounded to even although v lies off the midpoint.
QM_INLINE float RoundToFloat(const ExactValue& v) noexcept {
    const double rest = v.lo != 0.0 ? v.lo : v.tail;
    const uint64_t bits = std::bit_cast<uint64_t>(v.hi);
    // Written without branches so that loops over it vectorise.
    const uint64_t toOdd = static_cast<uint64_t>(rest != 0.0) & static_cast<uint64_t>(v.hi != 0.0) &
                           static_cast<uint64_t>(std::fabs(v.hi) <= std::numeric_limits<double>::max()) & ~bits & 1u;
    const uint64_t away = static_cast<uint64_t>((rest < 0.0) == (v.hi < 0.0));
    const uint64_t step = (toOdd & away) - (toOdd & (away ^ 1u));  // +1, -1 (wrapping) or 0
    return static_cast<float>(std::bit_cast<double>(bits + step));
}

// floor(lo + tail) for |tail| below half an ulp of lo.
QM_INLINE double FloorWithTail(double lo, double tail) noexcept {
    const double f = std::floor(lo);
    return (f == lo && tail < 0.0) ? f - 1.0 : f;
}

// v truncated toward zero, with the out-of-range rule of TruncateToInteger (NaN, infinities and
// values outside int64 give INT64_MIN).
QM_INLINE int64_t TruncateExact(const ExactValue& v) noexcept {
    const int64_t t = TruncateToInteger(v.hi);
    if (!(std::fabs(v.hi) <= 0x1p63) || std::floor(v.hi) != v.hi || v.hi == 0.0) return t;
    // hi is a non-zero integer: the rest moves the truncation by floor (or ceil) of itself.
    const double c = v.hi > 0.0 ? FloorWithTail(v.lo, v.tail) : -FloorWithTail(-v.lo, -v.tail);
    if (v.hi == 0x1p63 && c >= 0.0) return t;   // at or beyond 2^63
    if (v.hi == -0x1p63 && c <= 0.0) return t;  // -2^63 itself, or beyond
    return static_cast<int64_t>(static_cast<uint64_t>(t) + static_cast<uint64_t>(static_cast<int64_t>(c)));
}

// The store rule applied to an exact value.
template <class D> QM_INLINE D StoreExact(const ExactValue& v) noexcept {
    if constexpr (std::is_same_v<D, double>) {
        return v.hi;
    } else if constexpr (std::is_same_v<D, float>) {
        return RoundToFloat(v);
    } else {
        return LowBits<D>(TruncateExact(v));
    }
}

}  // namespace qm
