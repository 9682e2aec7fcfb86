// SPDX-License-Identifier: MIT
// The decimal logarithm over vector lanes of doubles, its error bound, and the rule that decides
// from the bound which lanes' stored results are certain. Include in a kernel unit, after
// core/lanes.h.
//
// Rule. Every stored logarithm must be the element that the extended logarithm (core/log10.h,
// Log10Extended) rounds or truncates to. The lanes give y, a double within a proven distance of
// log10(x); when every value within that distance stores the same element (the same single, the
// same truncation), so does Log10Extended(x), and y is stored. Lanes the bound cannot settle, and
// arguments that are not positive normal doubles, go to Log10Extended one by one. A double
// destination needs more digits than a double holds, so every lane of it goes that way.
//
// Evaluation. x = 2^e m with m in [c, 2c), c = sqrt(2)/2 rounded to double, taken from the bits.
// Then log10(x) = e log10(2) + A atanh(s), with A = 2 log10(e), s = (m - 1) / (m + 1) and
// |s| <= 0.17158, s^2 <= 0.029440. atanh(s) = s + s^3/3 + ... is summed to s^15/15.
//
// Bound. With u = 2^-53:
//   - m - 1 is exact (m lies within a factor 2 of 1); m + 1 and the quotient round once each, so
//     s carries a relative error <= 2.0001u, s^2 <= 5.001u.
//   - The sum Q(s^2) = 1/3 + s^2/5 + ... + s^12/15 (coefficients rounded, Horner) is >= 1/3 and
//     carries <= 3.3u; w = s^2 Q <= 0.0102 carries <= 9.4u.
//   - q = A s carries <= 4.0001u (A rounded, s, the product); r = q + q w, rounded once (or twice
//     without a fused unit), is A s (1 + w) within 4.0001u + 0.0102 x 9.4u + 1.02u <= 5.2u.
//   - The terms left out, s^17/17 + ..., are below |s| s^16 / (17 (1 - s^2)) <= 3.40e-14 |s|.
//   So r = A atanh(s) within a relative 3.40e-14 + 5.2u <= 3.46e-14.
//   - e = 0: y = r (the other terms vanish exactly), within 3.46e-14 |log10(x)|.
//   - e != 0: log10(2) = L + l with L of 42 bits, so e L (|e| <= 1074, 11 bits) is exact;
//     |A atanh(s)| <= 0.15052 <= |e| log10(2) / 2, so |log10(x)| >= 0.1505 max(1, |e|). The
//     error of r (<= 3.46e-14 x 0.15052), the rounding of r + e l and that of the final sum (each
//     <= u, relative to |log10(x)|, with e l = 2^-45 e at most) and the rounding of l (< 2^-95 |e|)
//     come to <= 3.46e-14 + 2.1u <= 3.49e-14 relative.
// Hence |y - log10(x)| <= 2^-44.7 |log10(x)|. The settling test widens y by 2^-42 |y| each way
// (8x the bound, which leaves room for the rounding of the widened ends and for Log10Extended's
// own error, a few ulps of 2^-64), plus a caller's absolute slack for an argument that is itself
// rounded (x (1 + d) moves log10 by at most log10(e) |d| (1 + |d|)). SettledLanes turns that
// reach into tests on the bits of y.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/lanes.h"
#include "core/log10.h"

namespace qm::QM_ISA_NS {

// log10 of lanes holding positive normal doubles, within 2^-44.7 |log10(x)| (other lanes give
// values of no meaning).
QM_INLINE VD Log10Lanes(VD x) noexcept {
    constexpr uint64_t kHalfRoot = 0x3FE6A09E667F3BCDull;  // bits of sqrt(2)/2
    constexpr uint64_t kOne = 0x3FF0000000000000ull;
    const VU64 bits = reinterpret_cast<VU64>(x);
    // t's exponent field is e + 1023 (bits >= 2^52 for a normal x, so nothing wraps).
    const VU64 t = bits + (kOne - kHalfRoot);
    const VU64 biased = t >> 52;
    const VD e = reinterpret_cast<VD>(biased | 0x4330000000000000ull) - (0x1p52 + 1023.0);
    const VD m = reinterpret_cast<VD>(bits - ((t & 0xFFF0000000000000ull) - kOne));
    const VD s = (m - 1.0) / (m + 1.0);
    const VD z = s * s;
    VD q = SplatVD(1.0 / 15.0);
    q = MulAdd(q, z, SplatVD(1.0 / 13.0));
    q = MulAdd(q, z, SplatVD(1.0 / 11.0));
    q = MulAdd(q, z, SplatVD(1.0 / 9.0));
    q = MulAdd(q, z, SplatVD(1.0 / 7.0));
    q = MulAdd(q, z, SplatVD(1.0 / 5.0));
    q = MulAdd(q, z, SplatVD(1.0 / 3.0));
    const VD w = z * q;
    const VD as = s * 0x1.bcb7b1526e50ep-1;  // 2 log10(e)
    const VD r = MulAdd(as, w, as);
    return MulAdd(e, SplatVD(0x1.34413509f78p-2), MulAdd(e, SplatVD(0x1.fef311f12b358p-46), r));
}

// What one call allows beside the bound: `slack`, the caller's absolute allowance (0 or at most
// 2^-52), taken once into the constants of the tests below.
struct LogReach {
    double integer;  // the whole reach about y for integer targets: 2^-42 x 330 < 2^-33, plus slack
    double zero;     // y equal to this settles outright: 0 (log10(1) is 0 exactly) without slack, else NaN
    double floor;    // singles with slack: |y| at least this (2^-10), so slack <= 2^-42 |y|
};
inline LogReach ReachOf(double slack) noexcept {
    const bool exact = slack == 0.0;
    return {0x1p-33 + slack, exact ? 0.0 : __builtin_nan(""), exact ? 0.0 : 0x1p-10};
}

inline constexpr unsigned kAllLanes = (1u << kLanes) - 1;

// Bit k set where lane k of x is a positive normal double and every value within the reach of
// y_k stores the same element of the target as y_k does.
//   Singles: for |y| >= 2^-126 (every y but 0, which x = 1 alone gives) the singles of y's binade
//   are the doubles whose low 29 significand bits t are 0 and the midpoints those with t = 2^28;
//   the reach, 2^-42 |y| (+ slack <= 2^-42 |y| where |y| >= 2^-10), is at most 2^12 ulps of y,
//   so |t - 2^28| > 2^12 settles the lane (a power of two below y is a single, not a midpoint,
//   and the midpoint under it lies 2^27 ulps away).
//   Integers: truncation changes only at integers; y within 2^-33 + slack of none settles.
template <LogTarget T> QM_INLINE unsigned SettledLanes(VD x, VD y, const LogReach& reach) noexcept {
#if QM_VECTOR_BYTES == 64
    const __m512i xb = reinterpret_cast<__m512i>(x);
    __mmask8 ok = _mm512_cmplt_epu64_mask(_mm512_sub_epi64(xb, _mm512_set1_epi64(int64_t{1} << 52)),
                                          _mm512_set1_epi64(0x7FE0000000000000));
    const __m512d yd = reinterpret_cast<__m512d>(y);
    if constexpr (T == LogTarget::Single) {
        const __m512i t = _mm512_and_si512(reinterpret_cast<__m512i>(y), _mm512_set1_epi64((int64_t{1} << 29) - 1));
        const __m512i d = _mm512_abs_epi64(_mm512_sub_epi64(t, _mm512_set1_epi64(int64_t{1} << 28)));
        ok &= _mm512_cmpgt_epi64_mask(d, _mm512_set1_epi64(int64_t{1} << 12));
        ok &= _mm512_cmp_pd_mask(_mm512_abs_pd(yd), _mm512_set1_pd(reach.floor), _CMP_GE_OQ);
    } else {
        const __m512d n = _mm512_roundscale_pd(yd, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
        const __m512d d = _mm512_abs_pd(_mm512_sub_pd(yd, n));
        ok &= _mm512_cmp_pd_mask(d, _mm512_set1_pd(reach.integer), _CMP_GT_OQ) |
              _mm512_cmp_pd_mask(yd, _mm512_set1_pd(reach.zero), _CMP_EQ_OQ);
    }
    return ok;
#else
    typedef int64_t VL __attribute__((vector_size(QM_VECTOR_BYTES)));
    const VU64 xb = reinterpret_cast<VU64>(x);
    // Unsigned lanes compared through a sign flip (SSE2 and AVX2 compare signed lanes only).
    const VL shifted = reinterpret_cast<VL>((xb - (uint64_t{1} << 52)) ^ 0x8000000000000000ull);
    VL ok = shifted < static_cast<int64_t>(0x7FE0000000000000ull ^ 0x8000000000000000ull);
    const VD a = reinterpret_cast<VD>(reinterpret_cast<VU64>(y) & 0x7FFFFFFFFFFFFFFFull);
    if constexpr (T == LogTarget::Single) {
        const VL d = (reinterpret_cast<VL>(y) & ((int64_t{1} << 29) - 1)) - (int64_t{1} << 28);
        ok &= (d > (int64_t{1} << 12)) | (d < -(int64_t{1} << 12));
        ok &= reinterpret_cast<VL>(a >= reach.floor);
    } else {
        const VD n = (y + 0x1.8p52) - 0x1.8p52;  // y rounded to an integer (|y| < 2^51)
        const VD d = y - n;
        const VD r = SplatVD(reach.integer);
        ok &= reinterpret_cast<VL>((d > r) | (d < -r) | (y == reach.zero));
    }
#if QM_VECTOR_BYTES == 32
    return static_cast<unsigned>(_mm256_movemask_pd(reinterpret_cast<__m256d>(ok)));
#else
    return static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<__m128d>(ok)));
#endif
#endif
}

// The vector logarithm of x stored into out[0, kLanes), where the reach settles it; exact(k)
// stores lane k where it does not.
template <LogTarget T, class Exact>
QM_INLINE void StoreLog10Lanes(VD x, const LogReach& reach, double* out, Exact&& exact) noexcept {
    const VD y = Log10Lanes(x);
    StoreVD(out, y);
    const unsigned settled = SettledLanes<T>(x, y, reach);
    if (settled == kAllLanes) return;
    for (size_t k = 0; k < kLanes; ++k)
        if ((settled >> k & 1) == 0) exact(k);
}

}  // namespace qm::QM_ISA_NS
