// SPDX-License-Identifier: MIT
// The decimal logarithm over vector lanes of doubles, its error bound, and the rule that decides
// from the bound which lanes' stored results are certain. Include in a kernel unit, after
// core/lanes.h.
//
// Rule. Every stored logarithm must be the element that the extended logarithm (core/log10.h,
// Log10Extended) rounds or truncates to. The lanes give y, a double within a proven distance of
// log10(x); when every value within that distance stores the same element (the same single, the
// same truncation), so does Log10Extended(x), and y is stored. Lanes the bound cannot settle, and
// arguments the evaluation does not take, go to Log10Extended one by one. A double destination
// needs more digits than a double holds, so every lane of it goes that way.
//
// Two evaluations, one per kind of set; each has its bound B (|y - log10(x)| <= B |log10(x)|)
// and takes its reach from it (LogBound below).
//
// AVX-512: a table of 16 in two registers. getmant gives x = 2^E M with M in [1, 2) and
// m = M or M / 2 in [0.75, 1.5); the top four bits of the significand pick entry i (0-7: M in
// [1 + i/16, 1 + (i+1)/16), m = M; 8-15: M in [1.5 + (i-8)/16, ...), m = M / 2). Entry i holds
// a double k_i near 1 / m (k_0 = k_15 = 1) and T_i, log10(1 / k_i) rounded to double, plus
// log10(2) for i >= 8, where m = M / 2 (so T_15 is exactly L, log10(2) rounded). Then
//   r = m k_i - 1, one fused rounding;  |r| < 1/16 for i = 0, r in [-1/32, 0] for i = 15,
//       |r| <= 0.0286 (+ a rounding) elsewhere;
//   q = log10(e) (r - r^2/2 + ... + r^9/9), Horner with fused steps;
//   y = fma(E, L, T_i) + q.
// Bound, with u = 2^-53:
//   - The series: alternating with falling terms for r >= 0, so the remainder is below r^10/10,
//     and log(1+r) >= r (1 - r/2); relative to log(1+r) that is <= (1/16)^9 / (10 x 0.96875)
//     = 2^-39.28. For r < 0 every term has the sign of log(1+r) and the remainder is below
//     |r|^10 / (10 (1 - |r|)), relative <= (1/32)^9 / 9.6 < 2^-48.
//   - The roundings of q: r carries u (moving q by 1.04u relative, as q'(r) r / q(r) <= 1.04),
//     the coefficients and the Horner steps 2.2u (each later term is below |r| / 2 of the one
//     before), the last product u: q is log10(1 + r) within 2^-39.28 + 4.3u relative.
//   - x in [0.75, 1.5) (E = 0 with i < 8, E = -1 with i >= 8): for i = 0 and 15 the first term
//     is exactly 0 (fma(0, L, 0) and fma(-1, L, L)) and y = q. Else |r| <= 0.029 puts the
//     series' remainder below 2^-49 relative, |log10(x)| >= 0.0137 (x outside [0.9688, 1.0625)),
//     and T_i's and L's roundings (2^-55 each), the fma's and the sum's (u |y|) stay below 2^-47
//     relative.
//   - Any other x: |log10(x)| >= 0.125 max(1, |E| / 2) (x >= 1.5 or x < 0.75); L's error
//     moves E L by |E| 2^-55, and with T_i's, the two roundings (1.25u, u) and q's error
//     (|q| <= 0.027) that comes to < 2^-41 relative. (getmant and getexp would take subnormal x
//     too; the lanes settle normal ones only, see kLogBound.)
//   So B = 2^-39. The reach is 4B = 2^-37 |y| (covering |log10(x)| vs |y| and Log10Extended's own
//   error, a few ulps of 2^-64), plus the caller's slack: 2^-37 |y| + slack <= 2^-36 |y| for
//   |y| >= 2^-15, which is under 2^17 ulps of y; for integer targets 2^-36 x 324 < 2^-27.
//
// SSE2 and AVX2: x = 2^e m with m in [c, 2c), c = sqrt(2)/2 rounded to double, from the bits.
// Then log10(x) = e log10(2) + A atanh(s), A = 2 log10(e), s = (m - 1) / (m + 1), |s| <=
// 0.17158, s^2 <= 0.029440, atanh(s) = s + s^3/3 + ... summed to s^15/15. Positive normal x only.
//   - m - 1 is exact; m + 1 and the quotient round once each: s carries <= 2.0001u, s^2 5.001u.
//   - Q(s^2) = 1/3 + s^2/5 + ... + s^12/15 is >= 1/3 and carries <= 3.3u; w = s^2 Q <= 0.0102
//     carries <= 9.4u; q = A s carries 4.0001u; r = q + q w is A s (1 + w) within 5.2u.
//   - The terms left out are below |s| s^16 / (17 (1 - s^2)) <= 3.40e-14 |s|; so r = A atanh(s)
//     within 3.46e-14 relative. e = 0: y = r. e != 0: log10(2) = L + l with L of 42 bits (e L
//     exact); |A atanh(s)| <= 0.15052 <= |e| log10(2) / 2; r's error, the roundings of r + e l
//     and of the sum and l's own come to <= 3.49e-14 relative.
//   So B = 2^-44.7, the reach 2^-42 |y| (8B) plus slack, <= 2^-41 |y| for |y| >= 2^-10: under
//   2^12 ulps of y; integer targets 2^-41 x 330 < 2^-33.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/lanes.h"
#include "core/log10.h"

namespace qm::QM_ISA_NS {

// What the set's evaluation settles (see above): its bound B; the reach about y in ulps of y, as
// a power of two, for singles; the reach for integers beside the slack; the least |y| at which
// a slack still fits in the single reach; and the least bits of an argument the lanes settle
// (2^52: positive normal doubles).
struct LogBound {
    double bound;
    int ulpBits;
    double integer;
    double floor;
    uint64_t lowestArgument;
};
#if QM_VECTOR_BYTES == 64
// Subnormal arguments, which the evaluation would take, are left to the extended logarithm all
// the same: a host's denormals-are-zero mode then cannot reach a stored result.
inline constexpr LogBound kLogBound{0x1p-39, 17, 0x1p-27, 0x1p-15, uint64_t{1} << 52};
#else
inline constexpr LogBound kLogBound{3.49e-14, 12, 0x1p-33, 0x1p-10, uint64_t{1} << 52};
#endif

#if QM_VECTOR_BYTES == 64
// log10 of lanes holding positive finite doubles, within 2^-39 |log10(x)| (other lanes give
// values of no meaning).
QM_INLINE VD Log10Lanes(VD x) noexcept {
    const __m512d xd = reinterpret_cast<__m512d>(x);
    const __m512d m = _mm512_getmant_pd(xd, _MM_MANT_NORM_p75_1p5, _MM_MANT_SIGN_zero);
    const __m512d e = _mm512_getexp_pd(xd);
    // The permutes read the low four bits of each index lane: the significand's top four.
    const __m512i index = _mm512_srli_epi64(reinterpret_cast<__m512i>(m), 48);
    const __m512d kLow =
        _mm512_setr_pd(1.0, 0x1.d41d41d41d41dp-1, 0x1.bacf914c1bad0p-1, 0x1.a41a41a41a41ap-1, 0x1.8f9c18f9c18fap-1,
                       0x1.7d05f417d05f4p-1, 0x1.6c16c16c16c17p-1, 0x1.5c9882b931057p-1);
    const __m512d kHigh =
        _mm512_setr_pd(0x1.4e5e0a72f0539p+0, 0x1.4141414141414p+0, 0x1.3521cfb2b78c1p+0, 0x1.29e4129e4129ep+0,
                       0x1.1f7047dc11f70p+0, 0x1.15b1e5f75270dp+0, 0x1.0c9714fbcda3bp+0, 1.0);
    const __m512d tLow =
        _mm512_setr_pd(0.0, 0x1.3ed1199a5e427p-5, 0x1.02428c1f08014p-4, 0x1.5fe80488af4fep-4, 0x1.b8de4d3ab3d97p-4,
                       0x1.06cbd67a6c3b7p-3, 0x1.2f3b691c5a000p-3, 0x1.55e8c518b10f9p-3);
    const __m512d tHigh =
        _mm512_setr_pd(0x1.7af97358b9e05p-3, 0x1.9e8e7b0c0d4bep-3, 0x1.c0c5134610e27p-3, 0x1.e1b733b0c7382p-3,
                       0x1.00be05b217845p-2, 0x1.1014319e661bdp-2, 0x1.1ee777e5f0dc3p-2, 0x1.34413509f79ffp-2);
    const __m512d k = _mm512_permutex2var_pd(kLow, index, kHigh);
    const __m512d t = _mm512_permutex2var_pd(tLow, index, tHigh);
    const VD r = reinterpret_cast<VD>(_mm512_fmsub_pd(m, k, _mm512_set1_pd(1.0)));
    // log10(e) (-1)^(j+1) / j for j = 9 down to 1.
    VD h = SplatVD(0x1.8b4df2f3f047ep-5);
    h = MulAdd(h, r, SplatVD(-0x1.bcb7b1526e50ep-5));
    h = MulAdd(h, r, SplatVD(0x1.fc3fa615105c7p-5));
    h = MulAdd(h, r, SplatVD(-0x1.287a7636f435fp-4));
    h = MulAdd(h, r, SplatVD(0x1.63c62775250d8p-4));
    h = MulAdd(h, r, SplatVD(-0x1.bcb7b1526e50ep-4));
    h = MulAdd(h, r, SplatVD(0x1.287a7636f435fp-3));
    h = MulAdd(h, r, SplatVD(-0x1.bcb7b1526e50ep-3));
    h = MulAdd(h, r, SplatVD(0x1.bcb7b1526e50ep-2));
    const VD head = reinterpret_cast<VD>(_mm512_fmadd_pd(e, _mm512_set1_pd(0x1.34413509f79ffp-2), t));
    return head + h * r;
}
#else
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
#endif

// What one call allows beside the bound: `slack`, the caller's absolute allowance (0 or at most
// 2^-52), taken once into the constants of the tests below, as bits of doubles where the tests
// compare bits.
struct LogReach {
    int64_t integer;  // bits of the whole reach about y for integer targets: kLogBound.integer + slack
    int64_t zero;     // y = 0 settles outright (log10(1) is 0 exactly) without slack: 0, else -1
    int64_t floor;    // bits of the least |y| for singles: 0 without slack, else kLogBound.floor
};
inline LogReach ReachOf(double slack) noexcept {
    const bool exact = slack == 0.0;
    const double integer = kLogBound.integer + slack, floor = exact ? 0.0 : kLogBound.floor;
    int64_t integerBits, floorBits;
    std::memcpy(&integerBits, &integer, sizeof integerBits);
    std::memcpy(&floorBits, &floor, sizeof floorBits);
    return {integerBits, exact ? 0 : -1, floorBits};
}

// A lane that is negative where lane k of x is not an argument the evaluation takes, or some
// value within the reach of y_k stores another element of the target than y_k does; every other
// lane is at least 0. Margins of several vectors combine by |.
//   Arguments: the bits X of x, as signed, within [lowestArgument, bits of the largest double];
//   below that X - lowest is negative, above it (infinities, NaN) max - X is.
//   Singles: for |y| >= 2^-126 (every y but 0, which x = 1 alone gives) the singles of y's binade
//   are the doubles whose low 29 significand bits t are 0 and the midpoints those with t = 2^28;
//   the reach is under 2^b ulps of y (b = kLogBound.ulpBits), so t outside [2^28 - 2^b, 2^28 +
//   2^b) settles the lane (a power of two below y is a single, not a midpoint, and the midpoint
//   under it lies 2^27 ulps away); t - (2^28 - 2^b) as unsigned, shifted right by b + 1, is 0
//   exactly inside. With slack, |y| below the floor is not settled either.
//   Integers: truncation changes only at integers; y farther than the reach from all of them
//   settles, and y = 0 does without slack.
template <LogTarget T, bool kSlack> QM_INLINE VS64 LogMargin(VD x, VD y, const LogReach& reach) noexcept {
    // In unsigned lanes, which wrap where signed ones would overflow; the sign is the top bit.
    const VU64 bits = reinterpret_cast<VU64>(x);
    VU64 margin = (bits - kLogBound.lowestArgument) | (uint64_t{0x7FEFFFFFFFFFFFFF} - bits);
    const VU64 yb = reinterpret_cast<VU64>(y);
    const VU64 magnitude = yb & uint64_t{0x7FFFFFFFFFFFFFFF};
    if constexpr (T == LogTarget::Single) {
        constexpr int b = kLogBound.ulpBits;
        const VU64 w = (yb & ((uint64_t{1} << 29) - 1)) - ((uint64_t{1} << 28) - (uint64_t{1} << b));
        margin |= (w >> (b + 1)) - 1;
        if constexpr (kSlack) margin |= magnitude - static_cast<uint64_t>(reach.floor);
    } else {
#if QM_VECTOR_BYTES == 64
        const VD n = reinterpret_cast<VD>(
            _mm512_roundscale_pd(reinterpret_cast<__m512d>(y), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
#else
        const VD n = (y + 0x1.8p52) - 0x1.8p52;  // y rounded to an integer (|y| < 2^51)
#endif
        const VU64 off = reinterpret_cast<VU64>(y - n) & uint64_t{0x7FFFFFFFFFFFFFFF};
        // Negative where |y - n| is within the reach, unless y = 0 settles.
        const VU64 within = off - static_cast<uint64_t>(reach.integer) - 1;
        if constexpr (kSlack)
            margin |= within & ((0 - magnitude) | static_cast<uint64_t>(reach.zero));
        else
            margin |= within & (0 - magnitude);
    }
    return reinterpret_cast<VS64>(margin);
}

// Bit k set where lane k of a margin is negative.
QM_INLINE unsigned NegativeLanes(VS64 margin) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm512_movepi64_mask(reinterpret_cast<__m512i>(margin));
#elif QM_VECTOR_BYTES == 32
    return static_cast<unsigned>(_mm256_movemask_pd(reinterpret_cast<__m256d>(margin)));
#else
    return static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<__m128d>(margin)));
#endif
}

// The lanes a group leaves open, each by exact(j, keep_j): rare, so kept out of line, where what
// is kept and the margins go through memory and the common path holds them in registers.
template <size_t G, class Exact>
[[gnu::noinline, gnu::cold]] void SettleOpenLanes(const VD (&keep)[G], const VS64 (&margin)[G], Exact& exact) noexcept {
    for (size_t g = 0; g < G; ++g) {
        const unsigned open = NegativeLanes(margin[g]);
        for (size_t k = 0; k < kLanes; ++k)
            if (open >> k & 1) exact(g * kLanes + k, keep[g][k]);
    }
}

// The vector logarithms of G vectors x[g] stored by put(g, y) where the reach settles every lane
// of them; otherwise the lanes it settles so and each other lane j (g kLanes + k) by
// exact(j, keep_j), keep being what the caller needs to redo a lane (x itself, or what x was
// formed from). One test decides all G vectors. kSlack: whether the reach may hold a slack (else
// the floor test is left out).
template <LogTarget T, bool kSlack, size_t G, class Put, class Exact>
QM_INLINE void StoreLog10Lanes(const VD (&x)[G], const VD (&keep)[G], const LogReach& reach, Put&& put,
                               Exact&& exact) noexcept {
    VD y[G];
    VS64 margin[G];
    VS64 any{};
#pragma GCC unroll 8
    for (size_t g = 0; g < G; ++g) {
        y[g] = Log10Lanes(x[g]);
        margin[g] = LogMargin<T, kSlack>(x[g], y[g], reach);
        any |= margin[g];
    }
#pragma GCC unroll 8
    for (size_t g = 0; g < G; ++g) put(g, y[g]);
    if (__builtin_expect(NegativeLanes(any) != 0, 0)) SettleOpenLanes(keep, margin, exact);
}

}  // namespace qm::QM_ISA_NS
