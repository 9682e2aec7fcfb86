// SPDX-License-Identifier: MIT
// Sixteen int32 lanes in AVX-512 registers for the vector row kernels. Include only where the
// AVX-512 target is selected.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "core/cpu.h"

namespace qm {

struct Avx512Lanes {
    using V = __m512i;
    using D = __m512d;
    static constexpr int kWidth = 16;

    QM_INLINE static V Splat(int32_t x) noexcept { return _mm512_set1_epi32(x); }
    QM_INLINE static D SplatDouble(double x) noexcept { return _mm512_set1_pd(x); }
    QM_INLINE static V Load(const uint8_t* p) noexcept {
        return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    QM_INLINE static V Load(const uint16_t* p) noexcept {
        return _mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    }
    QM_INLINE static V Load(const int16_t* p) noexcept {
        return _mm512_cvtepi16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    }
    QM_INLINE static V LoadWords(const uint16_t* p) noexcept { return _mm512_loadu_si512(p); }

    QM_INLINE static V Add(V a, V b) noexcept { return _mm512_add_epi32(a, b); }
    QM_INLINE static V Sub(V a, V b) noexcept { return _mm512_sub_epi32(a, b); }
    QM_INLINE static V And(V a, V b) noexcept { return _mm512_and_si512(a, b); }
    QM_INLINE static V Or(V a, V b) noexcept { return _mm512_or_si512(a, b); }
    template <int N> QM_INLINE static V Srai(V a) noexcept { return _mm512_srai_epi32(a, N); }
    template <int N> QM_INLINE static V Srli(V a) noexcept { return _mm512_srli_epi32(a, N); }
    template <int N> QM_INLINE static V Slli(V a) noexcept { return _mm512_slli_epi32(a, N); }
    QM_INLINE static V Sra(V a, uint32_t n) noexcept {
        return _mm512_sra_epi32(a, _mm_cvtsi32_si128(static_cast<int>(n)));
    }
    QM_INLINE static V Srl(V a, uint32_t n) noexcept {
        return _mm512_srl_epi32(a, _mm_cvtsi32_si128(static_cast<int>(n)));
    }
    QM_INLINE static V MinSigned(V a, V b) noexcept { return _mm512_min_epi32(a, b); }
    QM_INLINE static V MinUnsigned(V a, V b) noexcept { return _mm512_min_epu32(a, b); }
    // x > limit ? value : 0, signed.
    QM_INLINE static V KeepWhereGreater(V x, V limit, V value) noexcept {
        return _mm512_maskz_mov_epi32(_mm512_cmpgt_epi32_mask(x, limit), value);
    }
    // Even lanes from a, odd lanes from b.
    QM_INLINE static V Alternate(V a, V b) noexcept { return _mm512_mask_blend_epi32(0xAAAA, a, b); }
    // Truncated products of the lanes with a gain; every product lies inside int32.
    QM_INLINE static V MulTruncate(V v, D gain) noexcept {
        const __m256i low = _mm512_cvttpd_epi32(_mm512_mul_pd(_mm512_cvtepi32_pd(_mm512_castsi512_si256(v)), gain));
        const __m256i high =
            _mm512_cvttpd_epi32(_mm512_mul_pd(_mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(v, 1)), gain));
        return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    }
    // The low 32 bits of the truncated products whatever their size: a product that is NaN, infinite
    // or outside int64 truncates to INT64_MIN, whose low bits are 0. Unsigned reads the lanes as
    // unsigned.
    static constexpr bool kWideProducts = true;
    template <bool Unsigned> QM_INLINE static __m256i MulTruncateLow(__m256i v, D gain) noexcept {
        const D x = Unsigned ? _mm512_cvtepu32_pd(v) : _mm512_cvtepi32_pd(v);
        return _mm512_cvtepi64_epi32(_mm512_cvttpd_epi64(_mm512_mul_pd(x, gain)));
    }
    template <bool Unsigned> QM_INLINE static V MulTruncateLow(V v, D gain) noexcept {
        const __m256i low = MulTruncateLow<Unsigned>(_mm512_castsi512_si256(v), gain);
        const __m256i high = MulTruncateLow<Unsigned>(_mm512_extracti64x4_epi64(v, 1), gain);
        return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    }
    // The three low bytes of every lane, 48 bytes.
    QM_INLINE static void StoreLow3(uint8_t* out, V a) noexcept {
        const __m512i bytes = _mm512_shuffle_epi8(
            a, _mm512_broadcast_i32x4(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1)));
        const __m512i packed =
            _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0, 0, 0, 0), bytes);
        _mm512_mask_storeu_epi8(out, 0xFFFFFFFFFFFFull, packed);
    }
};

}  // namespace qm
