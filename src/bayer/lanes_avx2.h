// SPDX-License-Identifier: MIT
// Eight int32 lanes in AVX2 registers for the vector row kernels. Include only where the AVX2
// target is selected.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "core/cpu.h"

namespace qm {

struct Avx2Lanes {
    using V = __m256i;
    using D = __m256d;
    static constexpr int kWidth = 8;

    QM_INLINE static V Splat(int32_t x) noexcept { return _mm256_set1_epi32(x); }
    QM_INLINE static D SplatDouble(double x) noexcept { return _mm256_set1_pd(x); }
    QM_INLINE static V Load(const uint8_t* p) noexcept {
        return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
    }
    QM_INLINE static V Load(const uint16_t* p) noexcept {
        return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    QM_INLINE static V Load(const int16_t* p) noexcept {
        return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    QM_INLINE static V LoadWords(const uint16_t* p) noexcept {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    }

    QM_INLINE static V Add(V a, V b) noexcept { return _mm256_add_epi32(a, b); }
    QM_INLINE static V Sub(V a, V b) noexcept { return _mm256_sub_epi32(a, b); }
    QM_INLINE static V And(V a, V b) noexcept { return _mm256_and_si256(a, b); }
    QM_INLINE static V Or(V a, V b) noexcept { return _mm256_or_si256(a, b); }
    template <int N> QM_INLINE static V Srai(V a) noexcept { return _mm256_srai_epi32(a, N); }
    template <int N> QM_INLINE static V Srli(V a) noexcept { return _mm256_srli_epi32(a, N); }
    template <int N> QM_INLINE static V Slli(V a) noexcept { return _mm256_slli_epi32(a, N); }
    QM_INLINE static V Sra(V a, uint32_t n) noexcept {
        return _mm256_sra_epi32(a, _mm_cvtsi32_si128(static_cast<int>(n)));
    }
    QM_INLINE static V Srl(V a, uint32_t n) noexcept {
        return _mm256_srl_epi32(a, _mm_cvtsi32_si128(static_cast<int>(n)));
    }
    QM_INLINE static V MinSigned(V a, V b) noexcept { return _mm256_min_epi32(a, b); }
    QM_INLINE static V MinUnsigned(V a, V b) noexcept { return _mm256_min_epu32(a, b); }
    // x > limit ? value : 0, signed.
    QM_INLINE static V KeepWhereGreater(V x, V limit, V value) noexcept {
        return _mm256_and_si256(_mm256_cmpgt_epi32(x, limit), value);
    }
    // Even lanes from a, odd lanes from b.
    QM_INLINE static V Alternate(V a, V b) noexcept { return _mm256_blend_epi32(a, b, 0xAA); }
    // Truncated products of the lanes with a gain; every product lies inside int32.
    static constexpr bool kWideProducts = false;  // no MulTruncateLow
    QM_INLINE static V MulTruncate(V v, D gain) noexcept {
        const __m128i low = _mm256_cvttpd_epi32(_mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(v)), gain));
        const __m128i high =
            _mm256_cvttpd_epi32(_mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(v, 1)), gain));
        return _mm256_set_m128i(high, low);
    }
    // The three low bytes of every lane, 24 bytes.
    QM_INLINE static void StoreLow3(uint8_t* out, V a) noexcept {
        const __m256i bytes =
            _mm256_shuffle_epi8(a, _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,  //
                                                    0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
        const __m256i packed = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(packed));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm256_extracti128_si256(packed, 1));
    }
};

}  // namespace qm
