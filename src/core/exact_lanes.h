// SPDX-License-Identifier: MIT
// Exact sums, products and quotients over the lanes of one instruction set, delivered rounded in a
// way that a single hardware conversion then stores exactly.
//
// - Toward zero: the exact value v rounded toward zero to a double. Every integer of magnitude
//   below 2^53 is a double, so rounding toward zero never passes one, and truncating the rounded
//   value gives the truncation of v.
// - To odd: v itself when it is a double, else whichever of its two neighbouring doubles has an
//   odd last bit. A double of 53 bits rounded to odd and then to nearest single (24 bits) rounds
//   exactly as v would, and below 2^52 an odd double is never an integer, so truncating it also
//   gives the truncation of v.
//
// AVX-512 rounds toward zero within the instruction, and tells inexact lanes by the error of that
// rounding (a residual computed with a fused multiply-add, exact for a product or quotient
// rounded either way) or by rounding up and down. The other sets form the error-free
// transformations of core/exact_arith.h (its SumError and ProductErrorBySplit, or the fused
// multiply-add, and the quotient's remainder) lane by lane and move hi to its odd neighbour towards v, as RoundToFloat
// does; that value serves both stores. Valid in the ranges where those transformations are exact, which the callers
// establish once per call; there a zero hi is always an exact zero. Include after core/lanes.h, in kernel units only.
#pragma once

#include <cstdint>
#include <limits>

#include "core/exact_arith.h"
#include "core/lanes.h"

namespace qm::QM_ISA_NS {

// x * a - p exactly, p being x * a rounded to nearest (no overflow or underflow on the way).
QM_INLINE VD ProductError(VD x, VD a, VD p) noexcept {
#if defined(__FMA__)
    return MulAdd(x, a, -p);
#else
    return ProductErrorBySplit(x, a, p);
#endif
}

#if QM_VECTOR_BYTES == 64

namespace exact_lanes {
inline constexpr int kUp = _MM_FROUND_TO_POS_INF | _MM_FROUND_NO_EXC;
inline constexpr int kDown = _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC;
inline constexpr int kTowardZero = _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC;
QM_INLINE __m512d M(VD v) noexcept { return reinterpret_cast<__m512d>(v); }
// r with its last bit set in the lanes of inexact.
QM_INLINE VD SetOdd(__m512d r, __mmask8 inexact) noexcept {
    const auto bits = reinterpret_cast<__m512i>(r);
    return reinterpret_cast<VD>(_mm512_mask_or_epi64(bits, inexact, bits, _mm512_set1_epi64(1)));
}
// Lanes of a residual that are not zero. An infinite or NaN result leaves a NaN residual, and stays
// as it is.
QM_INLINE __mmask8 NonZero(__m512d v) noexcept { return _mm512_cmp_pd_mask(v, _mm512_setzero_pd(), _CMP_NEQ_OQ); }
}  // namespace exact_lanes

struct SumLanes {
    QM_INLINE static VD TowardZero(VD x, VD a) noexcept {
        using namespace exact_lanes;
        return reinterpret_cast<VD>(_mm512_add_round_pd(M(x), M(a), kTowardZero));
    }
    // Rounded up and down: equal when exact; else the one nearer zero, made odd.
    QM_INLINE static VD ToOdd(VD x, VD a) noexcept {
        using namespace exact_lanes;
        const __m512d up = _mm512_add_round_pd(M(x), M(a), kUp), down = _mm512_add_round_pd(M(x), M(a), kDown);
        // Of two doubles of one sign, the one nearer zero has the smaller bit pattern.
        const __m512i nearer = _mm512_min_epu64(reinterpret_cast<__m512i>(up), reinterpret_cast<__m512i>(down));
        return SetOdd(reinterpret_cast<__m512d>(nearer), _mm512_cmp_pd_mask(up, down, _CMP_NEQ_OQ));
    }
};

struct ProductLanes {
    QM_INLINE static VD TowardZero(VD x, VD a) noexcept {
        using namespace exact_lanes;
        return reinterpret_cast<VD>(_mm512_mul_round_pd(M(x), M(a), kTowardZero));
    }
    QM_INLINE static VD ToOdd(VD x, VD a) noexcept {
        using namespace exact_lanes;
        const __m512d p = _mm512_mul_round_pd(M(x), M(a), kTowardZero);
        return SetOdd(p, NonZero(_mm512_fmsub_pd(M(x), M(a), p)));  // x a - p, exactly
    }
};

struct QuotientLanes {
    QM_INLINE static VD TowardZero(VD x, VD d) noexcept {
        using namespace exact_lanes;
        return reinterpret_cast<VD>(_mm512_div_round_pd(M(x), M(d), kTowardZero));
    }
    QM_INLINE static VD ToOdd(VD x, VD d) noexcept {
        using namespace exact_lanes;
        const __m512d q = _mm512_div_round_pd(M(x), M(d), kTowardZero);
        return SetOdd(q, NonZero(_mm512_fnmadd_pd(q, M(d), M(x))));  // x - q d, exactly
    }
    // A double whose truncation is that of x / a, for a constant a with r = 1 / a rounded to
    // nearest and |x / a| < 2^51, by multiplies instead of a division (larger quotients give
    // values beyond 2^50, and infinities or NaN give NaN). x r lies within |x / a| 2^-52 (1 + 2^-52)
    // < 1/2 of x / a, so the integer k nearest it is within 1 of x / a, and the remainder
    // d = x - k a, rounded once by the fused multiply-add, keeps its exact sign and whether it is
    // zero. k + d r then lies on the same side of k as x / a (d r has the sign of d / a, and is
    // below 1 in magnitude), strictly between the same two integers or on k with it; rounded
    // toward zero it cannot pass an integer, so it truncates as x / a does. d r does not underflow
    // where it counts: with k not 0, x is within a factor 2 of k a, and a non-zero d is a multiple
    // of the last bit of x or of k a, at least |a| 2^-54.
    QM_INLINE static VD TruncatableByReciprocal(VD x, VD a, VD r) noexcept {
        using namespace exact_lanes;
        const __m512d k = _mm512_roundscale_pd(M(x * r), _MM_FROUND_TO_NEAREST_INT);
        const __m512d d = _mm512_fnmadd_pd(k, M(a), M(x));
        return reinterpret_cast<VD>(_mm512_fmadd_round_pd(d, M(r), k, kTowardZero));
    }
};

#else

namespace exact_lanes {
// hi, moved to its neighbour towards v (v - hi has the sign of rest, or is zero with it) when v
// lies off hi and hi's last bit is even.
QM_INLINE VD ToOddFrom(VD hi, VD rest) noexcept {
    const auto bits = reinterpret_cast<VS64>(hi);
    const VD magnitude = reinterpret_cast<VD>(bits & std::numeric_limits<int64_t>::max());
    const VS64 moves = (rest != 0.0) & (hi != 0.0) & (magnitude <= std::numeric_limits<double>::max());
    const VS64 toOdd = moves & ((bits ^ 1) & 1);                      // 0 or 1
    const VS64 inward = (rest < 0.0) != (hi < 0.0);                   // all ones or zero; comparisons of doubles only
    return reinterpret_cast<VD>(bits + ((toOdd ^ inward) - inward));  // +1, -1 or 0
}
}  // namespace exact_lanes

struct SumLanes {
    QM_INLINE static VD ToOdd(VD x, VD a) noexcept {
        const VD s = x + a;
        return exact_lanes::ToOddFrom(s, SumError(x, a, s));
    }
    QM_INLINE static VD TowardZero(VD x, VD a) noexcept { return ToOdd(x, a); }
};

struct ProductLanes {
    QM_INLINE static VD ToOdd(VD x, VD a) noexcept {
        const VD p = x * a;
        return exact_lanes::ToOddFrom(p, ProductError(x, a, p));
    }
    QM_INLINE static VD TowardZero(VD x, VD a) noexcept { return ToOdd(x, a); }
};

struct QuotientLanes {
    // x / d - q has the sign of the remainder x - q d (a double, computed exactly) times d's.
    QM_INLINE static VD ToOdd(VD x, VD d) noexcept {
        const VD q = x / d;
#if defined(__FMA__)
        const VD r = MulAdd(-q, d, x);
#else
        const VD p = q * d;
        const VD r = (x - p) - ProductError(q, d, p);  // x - p is exact (Sterbenz)
#endif
        return exact_lanes::ToOddFrom(q, d < 0.0 ? -r : r);
    }
    QM_INLINE static VD TowardZero(VD x, VD d) noexcept { return ToOdd(x, d); }
    QM_INLINE static VD TruncatableByReciprocal(VD x, VD a, VD) noexcept { return ToOdd(x, a); }
};

#endif

}  // namespace qm::QM_ISA_NS
