// SPDX-License-Identifier: MIT
// Four int32 lanes in SSE2 registers (baseline x86-64) for the vector row kernels.
//
// A lane set L offers: V (kWidth int32 lanes) and D (doubles for a gain); Splat, SplatDouble;
// Load of kWidth samples widened to int32 (zero-extended for unsigned, sign-extended for signed
// types) and LoadWords (kWidth 32-bit words); lane-wise Add, Sub, And, Or, shifts by a constant
// (Srai, Srli, Slli) and by a count (Sra, Srl), MinSigned, MinUnsigned; KeepWhereGreater(x,
// limit, value) = x > limit ? value : 0; Alternate(a, b) = even lanes of a, odd lanes of b;
// MulTruncate (products known to lie inside int32, truncated); where kWideProducts,
// MulTruncateLow<Unsigned> (the low 32 bits of any truncated product); StoreLow3, which writes the three
// low bytes of each lane, 3 * kWidth bytes in all.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "core/cpu.h"

namespace qm {

struct Sse2Lanes {
    using V = __m128i;
    using D = __m128d;
    static constexpr int kWidth = 4;

    QM_INLINE static V Splat(int32_t x) noexcept { return _mm_set1_epi32(x); }
    QM_INLINE static D SplatDouble(double x) noexcept { return _mm_set1_pd(x); }
    QM_INLINE static V Load(const uint8_t* p) noexcept {
        int32_t word;
        std::memcpy(&word, p, sizeof word);
        const V zero = _mm_setzero_si128();
        return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(word), zero), zero);
    }
    QM_INLINE static V Load(const uint16_t* p) noexcept {
        return _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
    }
    QM_INLINE static V Load(const int16_t* p) noexcept {
        const V x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        return _mm_srai_epi32(_mm_unpacklo_epi16(x, x), 16);
    }
    QM_INLINE static V LoadWords(const uint16_t* p) noexcept {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    }

    QM_INLINE static V Add(V a, V b) noexcept { return _mm_add_epi32(a, b); }
    QM_INLINE static V Sub(V a, V b) noexcept { return _mm_sub_epi32(a, b); }
    QM_INLINE static V And(V a, V b) noexcept { return _mm_and_si128(a, b); }
    QM_INLINE static V Or(V a, V b) noexcept { return _mm_or_si128(a, b); }
    template <int N> QM_INLINE static V Srai(V a) noexcept { return _mm_srai_epi32(a, N); }
    template <int N> QM_INLINE static V Srli(V a) noexcept { return _mm_srli_epi32(a, N); }
    template <int N> QM_INLINE static V Slli(V a) noexcept { return _mm_slli_epi32(a, N); }
    QM_INLINE static V Sra(V a, uint32_t n) noexcept {
        return _mm_sra_epi32(a, _mm_cvtsi32_si128(static_cast<int>(n)));
    }
    QM_INLINE static V Srl(V a, uint32_t n) noexcept {
        return _mm_srl_epi32(a, _mm_cvtsi32_si128(static_cast<int>(n)));
    }
    QM_INLINE static V Select(V mask, V ifSet, V ifClear) noexcept {
        return _mm_or_si128(_mm_and_si128(mask, ifSet), _mm_andnot_si128(mask, ifClear));
    }
    QM_INLINE static V MinSigned(V a, V b) noexcept { return Select(_mm_cmpgt_epi32(a, b), b, a); }
    QM_INLINE static V MinUnsigned(V a, V b) noexcept {
        const V bias = _mm_set1_epi32(INT32_MIN);
        return Select(_mm_cmpgt_epi32(_mm_xor_si128(a, bias), _mm_xor_si128(b, bias)), b, a);
    }
    QM_INLINE static V KeepWhereGreater(V x, V limit, V value) noexcept {
        return _mm_and_si128(_mm_cmpgt_epi32(x, limit), value);
    }
    QM_INLINE static V Alternate(V a, V b) noexcept { return Select(_mm_setr_epi32(0, -1, 0, -1), b, a); }
    static constexpr bool kWideProducts = false;  // no MulTruncateLow
    QM_INLINE static V MulTruncate(V v, D gain) noexcept {
        const V low = _mm_cvttpd_epi32(_mm_mul_pd(_mm_cvtepi32_pd(v), gain));
        const V high = _mm_cvttpd_epi32(_mm_mul_pd(_mm_cvtepi32_pd(_mm_unpackhi_epi64(v, v)), gain));
        return _mm_unpacklo_epi64(low, high);
    }
    QM_INLINE static void StoreLow3(uint8_t* out, V a) noexcept {
        uint64_t first, second;  // (through memory: 32-bit targets have no 64-bit register moves)
        _mm_storel_epi64(reinterpret_cast<__m128i*>(&first), a);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(&second), _mm_unpackhi_epi64(a, a));
        const uint64_t lane0 = first & 0xFFFFFF, lane1 = (first >> 32) & 0xFFFFFF;
        const uint64_t lane2 = second & 0xFFFFFF, lane3 = (second >> 32) & 0xFFFFFF;
        const uint64_t head = lane0 | lane1 << 24 | lane2 << 48;
        const uint32_t tail = static_cast<uint32_t>(lane2 >> 16 | lane3 << 8);
        std::memcpy(out, &head, sizeof head);
        std::memcpy(out + 8, &tail, sizeof tail);
    }
};

}  // namespace qm
