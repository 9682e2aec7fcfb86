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
// needs more digits than a double holds: AVX-512 and AVX2 evaluate it as a pair of doubles
// (below), SSE2 sends every lane of it to Log10Extended.
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

// The table of 16 (see above): k_i near 1 / m, and T'_i = log10(1 / k_i) as a pair of doubles
// (high, low), for the double evaluations.
alignas(64) inline constexpr double kLogK[16] = {1.0,
                                                 0x1.d41d41d41d41dp-1,
                                                 0x1.bacf914c1bad0p-1,
                                                 0x1.a41a41a41a41ap-1,
                                                 0x1.8f9c18f9c18fap-1,
                                                 0x1.7d05f417d05f4p-1,
                                                 0x1.6c16c16c16c17p-1,
                                                 0x1.5c9882b931057p-1,
                                                 0x1.4e5e0a72f0539p+0,
                                                 0x1.4141414141414p+0,
                                                 0x1.3521cfb2b78c1p+0,
                                                 0x1.29e4129e4129ep+0,
                                                 0x1.1f7047dc11f70p+0,
                                                 0x1.15b1e5f75270dp+0,
                                                 0x1.0c9714fbcda3bp+0,
                                                 1.0};
alignas(64) inline constexpr double kLogTHigh[16] = {0.0,
                                                     0x1.3ed1199a5e427p-5,
                                                     0x1.02428c1f08014p-4,
                                                     0x1.5fe80488af4fep-4,
                                                     0x1.b8de4d3ab3d97p-4,
                                                     0x1.06cbd67a6c3b7p-3,
                                                     0x1.2f3b691c5a000p-3,
                                                     0x1.55e8c518b10f9p-3,
                                                     -0x1.db11ed766abf2p-4,
                                                     -0x1.93e7de0fc3e7fp-4,
                                                     -0x1.4f7aad9bbcbaep-4,
                                                     -0x1.0d966cc6500f8p-4,
                                                     -0x1.9c197abf00dd3p-5,
                                                     -0x1.21681b5c8c213p-5,
                                                     -0x1.559bd2406c3c1p-6,
                                                     0.0};
alignas(64) inline constexpr double kLogTLow[16] = {0.0,
                                                    -0x1.0786157f83bddp-62,
                                                    0x1.6da08b50eed6bp-59,
                                                    -0x1.039f94805daaep-58,
                                                    -0x1.00b1b6ca31ffbp-59,
                                                    -0x1.d041131768d18p-57,
                                                    0x1.2aacd09e444c0p-58,
                                                    -0x1.13e33703cdd4fp-57,
                                                    0x1.31af4b2b29f75p-58,
                                                    -0x1.c9e0d5b0608eep-60,
                                                    0x1.75ae196b7ad7bp-58,
                                                    -0x1.a43f8a0fac876p-59,
                                                    -0x1.b8bd51f759890p-59,
                                                    -0x1.0a0a677b7a057p-60,
                                                    0x1.c6f9416c363a8p-60,
                                                    0.0};

// log10(e) (-1)^(j+1) / j rounded to double, for j = 1 to 15: the series of log10(1 + r).
inline constexpr double kLogSeries[16] = {0.0,
                                          0x1.bcb7b1526e50ep-2,
                                          -0x1.bcb7b1526e50ep-3,
                                          0x1.287a7636f435fp-3,
                                          -0x1.bcb7b1526e50ep-4,
                                          0x1.63c62775250d8p-4,
                                          -0x1.287a7636f435fp-4,
                                          0x1.fc3fa615105c7p-5,
                                          -0x1.bcb7b1526e50ep-5,
                                          0x1.8b4df2f3f047ep-5,
                                          -0x1.63c62775250d8p-5,
                                          0x1.436e526a7ec67p-5,
                                          -0x1.287a7636f435fp-5,
                                          0x1.11ac1e5a1c809p-5,
                                          -0x1.fc3fa615105c7p-6,
                                          0x1.da5d89f186bcbp-6};
// C_from + C_(from+1) r + ... + C_to r^(to - from), by Horner with fused steps.
template <int kFrom, int kTo> QM_INLINE VD LogSeries(VD r) noexcept {
    VD h = SplatVD(kLogSeries[kTo]);
#pragma GCC unroll 16
    for (int j = kTo - 1; j >= kFrom; --j) h = MulAdd(h, r, SplatVD(kLogSeries[j]));
    return h;
}

#if QM_VECTOR_BYTES == 64
// log10 of lanes holding positive finite doubles, within 2^-39 |log10(x)| (other lanes give
// values of no meaning).
// The reduction both AVX-512 evaluations share: x = 2^e m with m in [0.75, 1.5) (getmant, getexp),
// the entry i from the significand's top four bits, and its k_i.
struct LogReduction {
    __m512d m, e;
    __m512i index;  // the permutes read the low four bits of each lane: the significand's top four
    __m512d k;
};
QM_INLINE LogReduction ReduceLog(VD x) noexcept {
    const __m512d xd = reinterpret_cast<__m512d>(x);
    const __m512d m = _mm512_getmant_pd(xd, _MM_MANT_NORM_p75_1p5, _MM_MANT_SIGN_zero);
    const __m512i index = _mm512_srli_epi64(reinterpret_cast<__m512i>(m), 48);
    return {m, _mm512_getexp_pd(xd), index,
            _mm512_permutex2var_pd(_mm512_load_pd(kLogK), index, _mm512_load_pd(kLogK + 8))};
}

QM_INLINE VD Log10Lanes(VD x) noexcept {
    const auto [m, e, index, k] = ReduceLog(x);
    const __m512d tLow =
        _mm512_setr_pd(0.0, 0x1.3ed1199a5e427p-5, 0x1.02428c1f08014p-4, 0x1.5fe80488af4fep-4, 0x1.b8de4d3ab3d97p-4,
                       0x1.06cbd67a6c3b7p-3, 0x1.2f3b691c5a000p-3, 0x1.55e8c518b10f9p-3);
    const __m512d tHigh =
        _mm512_setr_pd(0x1.7af97358b9e05p-3, 0x1.9e8e7b0c0d4bep-3, 0x1.c0c5134610e27p-3, 0x1.e1b733b0c7382p-3,
                       0x1.00be05b217845p-2, 0x1.1014319e661bdp-2, 0x1.1ee777e5f0dc3p-2, 0x1.34413509f79ffp-2);
    const __m512d t = _mm512_permutex2var_pd(tLow, index, tHigh);
    const VD r = reinterpret_cast<VD>(_mm512_fmsub_pd(m, k, _mm512_set1_pd(1.0)));
    const VD h = LogSeries<1, 9>(r);
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

// Negative where the bits of x, read as unsigned (they wrap where signed ones would overflow; the
// sign is the top bit), are not those of an argument the lanes settle: below the set's lowest
// argument (zero and every negative included) or above the largest double (infinities, NaN).
QM_INLINE VU64 ArgumentMargin(VD x) noexcept {
    const VU64 bits = reinterpret_cast<VU64>(x);
    return (bits - kLogBound.lowestArgument) | (uint64_t{0x7FEFFFFFFFFFFFFF} - bits);
}

#if QM_VECTOR_BYTES >= 32
// Doubles (AVX-512 and AVX2, both with fused steps). A double destination keeps every bit of the
// logarithm, so the lanes evaluate it as an unevaluated sum s + low of about 2^-62 relative error,
// and their rounding z is stored where no value within the reach of s + low rounds to another
// double; the other lanes go to the extended logarithm. The reduction is AVX-512's above (AVX2
// takes the same m, E and i from the bits, and the entries by gathers), with the exponent E' = E +
// 1 for m < 1 in place of log10(2) inside the table, so that T'_i = log10(1 / k_i) and T'_0 =
// T'_15 = 0:
//   p = m k_i and its exact rest pe (one fused step); r = p - 1, exact (p in [0.96, 1.07], Sterbenz);
//       1 + r + pe = m k_i exactly, |r| < 1/16 (i = 0), <= 1/32 (i = 15), <= 0.0286 + 2^-52
//       elsewhere; pe = 0 where k_i = 1, else |pe| <= 2^-53.
//   q = log10(1 + r + pe) = C1 r + C2 r^2 + r^3 P(r) + C1 pe (1 - r + r^2) + O(pe r^3), with
//       C_j = (-1)^(j+1) log10(e) / j; C1 r and C2 r^2 = (C1 / 2)(r^2) are carried exactly as
//       a + ae and b + be (C1 = C1h + C1l to 2^-107, C2h = -C1h / 2 exactly), P = C3 + ... + C15 r^12
//       by Horner.
//   y = E' L2a + T'h + a + b + [E' L2b + T'l + ae + be + the rest of q], the bracket summed
//       plainly; E' L2a is exact (L2a has 42 bits, |E'| < 2^11); the head's three sums are
//       Fast2Sum steps with their rests into the bracket: |E' L2a| >= 0.3 > |T'h| <= 0.127 unless
//       E' = 0; |a| <= 0.0273 is below |E' L2a + T'h| (>= 0.02 for E' = 0 and i not 0 or 15, which
//       else is 0); |b| <= |y| / 30.
// Bound, relative to |y| (|y| >= 0.0137 unless E' = 0 and k_i = 1, where y = q):
//   - the series' remainder after r^15: (1/16)^15 / (16 x 0.968) < 2^-64 of q;
//   - r^3 P(r): about seven roundings reach it (s, s r, Horner's last steps, the fused step, the
//     bracket's sums), under 2^-50 of its 0.145 |r|^3. Where k_i is not 1: 2^-68.2 at |r| = 0.0286
//     (x near 1.0625, |y| >= 0.0263) and |r| <= 0.0164 where |y| comes down to 0.0137 (i = 14),
//     so under 2^-62.9 of |y|. Where k_i = 1 and E' = 0: |r^3 P| <= 0.335 r^2 |q| <= 2^-9.5 |q|,
//     so 2^-59.5 of |y|;
//   - the neglected C1 pe r^3 (<= 2^-69.6, and the same pairing of r and y) and the roundings of
//     the rest of q (< 2^-105): under 2^-64.4 of |y|;
//   - L2, T' and C1 as pairs (2^-95 |E'| L2, 2^-106, 2^-107), and the bracket's own roundings
//     (six, of terms below ulp(y)): below 2^-90.
//   So |s + low - log10(x)| <= 2^-62 |y| where k_i is not 1 or E' is not 0, and 2^-59.4 |y| where
//   k_i = 1 and E' = 0. The extended logarithm is taken within 2^-62 |y| too (its
//   measured worst is 1.8 x 2^-64 over 200,000 arguments, near 1 included), so the reach is 2^-61
//   (2^-59 where k_i = 1 and E' = 0), covering both and the roundings of the test below. z = s + low
//   rounded; d = (s - z) + low is s + low - z within 2^-53 |d| (s - z is exact, Sterbenz). A lane
//   settles when |d| + reach |z| < ulp(z) / 2: then no double midpoint lies between log10(x)
//   and s + low, nor between log10(x) and the extended logarithm, and both round to z. z = 0 (x =
//   1) and z a power of two (the midpoint below it is half as far) are left to the extended
//   logarithm, as are arguments that are not positive normal doubles.
inline constexpr bool kLogDoubleLanes = true;
// m (in [0.75, 1.5)), E', k_i and T'_i (high, low) of each lane.
struct DoubleReduction {
    VD m, e, k, th, tl;
};
#if QM_VECTOR_BYTES == 64
QM_INLINE DoubleReduction ReduceDouble(VD x) noexcept {
    const auto [m, exponent, index, k] = ReduceLog(x);
    const __mmask8 belowOne = _mm512_cmp_pd_mask(m, _mm512_set1_pd(1.0), _CMP_LT_OQ);
    const __m512d e = _mm512_mask_add_pd(exponent, belowOne, exponent, _mm512_set1_pd(1.0));
    const __m512d th = _mm512_permutex2var_pd(_mm512_load_pd(kLogTHigh), index, _mm512_load_pd(kLogTHigh + 8));
    const __m512d tl = _mm512_permutex2var_pd(_mm512_load_pd(kLogTLow), index, _mm512_load_pd(kLogTLow + 8));
    return {reinterpret_cast<VD>(m), reinterpret_cast<VD>(e), reinterpret_cast<VD>(k), reinterpret_cast<VD>(th),
            reinterpret_cast<VD>(tl)};
}
#else
// From the bits of x (a positive normal double): E and M in [1, 2), i the top four bits of M's
// fraction; m = M, E' = E for i < 8, m = M / 2, E' = E + 1 from 8 on; the entries by gathers.
QM_INLINE DoubleReduction ReduceDouble(VD x) noexcept {
    const VU64 bits = reinterpret_cast<VU64>(x);
    const VU64 index = (bits >> 48) & 15;
    const VU64 upper = index >> 3;  // 1 where m = M / 2
    const VU64 biased = (bits >> 52) + upper;
    const VD e = reinterpret_cast<VD>(biased | 0x4330000000000000ull) - (0x1p52 + 1023.0);
    const VD m = reinterpret_cast<VD>((bits & 0x000FFFFFFFFFFFFFull) | (0x3FF0000000000000ull - (upper << 52)));
    const __m256i i = reinterpret_cast<__m256i>(index);
    return {m, e, reinterpret_cast<VD>(_mm256_i64gather_pd(kLogK, i, 8)),
            reinterpret_cast<VD>(_mm256_i64gather_pd(kLogTHigh, i, 8)),
            reinterpret_cast<VD>(_mm256_i64gather_pd(kLogTLow, i, 8))};
}
#endif
QM_INLINE VD Log10DoubleLanes(VD x, VS64& margin) noexcept {
    const auto [m, e, k, th, tl] = ReduceDouble(x);
    const VD p = m * k;
    const VD pe = MulAdd(m, k, -p);
    const VD r = p - 1.0;
    constexpr double kC1High = 0x1.bcb7b1526e50ep-2, kC1Low = 0x1.95355baaafad3p-57;
    const VD a = r * kC1High, ae = MulAdd(r, SplatVD(kC1High), -a);
    const VD s = r * r, se = MulAdd(r, r, -s);
    const VD b = s * (-0.5 * kC1High), be = MulAdd(s, SplatVD(-0.5 * kC1High), -b);
    const VD h = LogSeries<3, 15>(r);
    const VD rest = MulAdd(s * r, h, MulAdd(se, SplatVD(-0.5 * kC1High), r * kC1Low + s * (-0.5 * kC1Low))) +
                    (pe * kC1High) * ((1.0 - r) + s);
    // The head, by Fast2Sum steps.
    const VD h1 = e * 0x1.34413509f78p-2;
    const VD s1 = h1 + th, s1e = th - (s1 - h1);
    const VD s2 = s1 + a, s2e = a - (s2 - s1);
    const VD s3 = s2 + b, s3e = b - (s3 - s2);
    const VD low = ((s1e + s2e) + s3e) + ((e * 0x1.fef311f12b358p-46 + tl) + ((ae + be) + rest));
    const VD z = s3 + low;
    const VD d = (s3 - z) + low;
    // The test: negative where the lane is left open.
    const VU64 zb = reinterpret_cast<VU64>(z);
    const VD half = reinterpret_cast<VD>((zb & uint64_t{0x7FF0000000000000}) - (uint64_t{53} << 52));
    const VD reach = (k == 1.0 && e == 0.0) ? SplatVD(0x1p-59) : SplatVD(0x1p-61);
    const VD room = half - MulAdd(AbsVD(z), reach, AbsVD(d));
    margin = reinterpret_cast<VS64>(ArgumentMargin(x) | reinterpret_cast<VU64>(room) |
                                    ((zb & uint64_t{0x000FFFFFFFFFFFFF}) - 1));
    return z;
}
#else
inline constexpr bool kLogDoubleLanes = false;
VD Log10DoubleLanes(VD x, VS64& margin) noexcept;  // never called where kLogDoubleLanes is false
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
    VU64 margin = ArgumentMargin(x);
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
        const VD n = (y + 0x1.8p52) - 0x1.8p52;    // y rounded to an integer (|y| < 2^51)
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
    static_assert(T != LogTarget::Double || (kLogDoubleLanes && !kSlack), "double lanes, and without slack");
    VD y[G];
    VS64 margin[G];
    VS64 any{};
#pragma GCC unroll 8
    for (size_t g = 0; g < G; ++g) {
        if constexpr (T == LogTarget::Double) {
            y[g] = Log10DoubleLanes(x[g], margin[g]);
        } else {
            y[g] = Log10Lanes(x[g]);
            margin[g] = LogMargin<T, kSlack>(x[g], y[g], reach);
        }
        any |= margin[g];
    }
#pragma GCC unroll 8
    for (size_t g = 0; g < G; ++g) put(g, y[g]);
    if (__builtin_expect(NegativeLanes(any) != 0, 0)) SettleOpenLanes(keep, margin, exact);
}

}  // namespace qm::QM_ISA_NS
