// SPDX-License-Identifier: MIT
// Vector lanes for the kernels of one instruction set.
//
// A kernel unit is compiled three times, with the flags of baseline x86-64 (SSE2), AVX2 or
// AVX-512, and includes this header to get that set's lanes: kLanes doubles in a VD, the same
// number of int32 in a VI, and the few loads, conversions and stores the kernels are built from.
// Arithmetic on VD uses the compiler's vector operators (+, *, /, comparisons, ?:), so a rule
// written once over a value type V serves a whole vector and, with V = double, the one-lane tail.
// Everything here and in the kernels lives in the namespace QM_ISA_NS of the unit's set, so no
// function compiled for a wider set can stand in for a narrower one at link time.
//
// Host buffers are read and written only through unaligned loads and stores (or memcpy), so an
// image at any address is safe.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/cpu.h"
#include "core/host_memory.h"
#include "core/truncate.h"

#if defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__)
#define QM_ISA_NS avx512
#define QM_VECTOR_BYTES 64
#elif defined(__AVX2__)
#define QM_ISA_NS avx2
#define QM_VECTOR_BYTES 32
#else
#define QM_ISA_NS baseline
#define QM_VECTOR_BYTES 16
#endif

namespace qm::QM_ISA_NS {

// Whether this set fuses multiply and add (the AVX2 and AVX-512 units are built with FMA).
#if defined(__FMA__)
inline constexpr bool kFma = true;
#else
inline constexpr bool kFma = false;
#endif

inline constexpr size_t kLanes = QM_VECTOR_BYTES / sizeof(double);

typedef double VD __attribute__((vector_size(QM_VECTOR_BYTES)));
// kLanes int32 (a half-width register on the vector sets, the low half of one on SSE2).
#if QM_VECTOR_BYTES == 64
using VI = __m256i;
#else
using VI = __m128i;
#endif

QM_INLINE VD LoadVD(const double* p) noexcept {
    VD v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
QM_INLINE void StoreVD(double* p, VD v) noexcept { std::memcpy(p, &v, sizeof v); }
QM_INLINE VD SplatVD(double x) noexcept { return VD{} + x; }

// Whether every lane of a comparison of VDs holds.
template <class M> QM_INLINE bool AllOf(M m) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm512_movepi64_mask(reinterpret_cast<__m512i>(m)) == 0xFF;
#elif QM_VECTOR_BYTES == 32
    return _mm256_movemask_pd(reinterpret_cast<__m256d>(m)) == 0xF;
#else
    return _mm_movemask_pd(reinterpret_cast<__m128d>(m)) == 0x3;
#endif
}

// AllOf for a vector comparison, or a plain bool.
template <class M> QM_INLINE bool AllOfLanes(M m) noexcept {
    if constexpr (std::is_same_v<M, bool>)
        return m;
    else
        return AllOf(m);
}

// kLanes integer elements of S at p, sign- or zero-extended to int32 (int32 itself as it is).
template <class S> QM_INLINE VI LoadInt(const unsigned char* p) noexcept {
    static_assert(std::is_integral_v<S> && sizeof(S) <= 4);
#if QM_VECTOR_BYTES == 64
    if constexpr (sizeof(S) == 4)
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    else if constexpr (sizeof(S) == 2) {
        const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        return std::is_signed_v<S> ? _mm256_cvtepi16_epi32(w) : _mm256_cvtepu16_epi32(w);
    } else {
        const __m128i b = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        return std::is_signed_v<S> ? _mm256_cvtepi8_epi32(b) : _mm256_cvtepu8_epi32(b);
    }
#elif QM_VECTOR_BYTES == 32
    if constexpr (sizeof(S) == 4)
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    else if constexpr (sizeof(S) == 2) {
        const __m128i w = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        return std::is_signed_v<S> ? _mm_cvtepi16_epi32(w) : _mm_cvtepu16_epi32(w);
    } else {
        int32_t four;
        std::memcpy(&four, p, 4);
        const __m128i b = _mm_cvtsi32_si128(four);
        return std::is_signed_v<S> ? _mm_cvtepi8_epi32(b) : _mm_cvtepu8_epi32(b);
    }
#else
    if constexpr (sizeof(S) == 4)
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    else {
        int32_t bits = 0;
        std::memcpy(&bits, p, 2 * sizeof(S));
        __m128i v = _mm_cvtsi32_si128(bits);
        if constexpr (sizeof(S) == 1)
            v = _mm_unpacklo_epi8(v, v);  // each byte into the top of a word
        else
            v = _mm_unpacklo_epi16(v, v);  // each word into the top of a dword
        if constexpr (sizeof(S) == 1) v = _mm_unpacklo_epi16(v, v);
        return std::is_signed_v<S> ? _mm_srai_epi32(v, 32 - 8 * sizeof(S)) : _mm_srli_epi32(v, 32 - 8 * sizeof(S));
    }
#endif
}

QM_INLINE VD ToDouble(VI v) noexcept {
#if QM_VECTOR_BYTES == 64
    return reinterpret_cast<VD>(_mm512_cvtepi32_pd(v));
#elif QM_VECTOR_BYTES == 32
    return reinterpret_cast<VD>(_mm256_cvtepi32_pd(v));
#else
    return reinterpret_cast<VD>(_mm_cvtepi32_pd(v));
#endif
}

// kLanes elements of S at p, exactly as doubles.
template <class S> QM_INLINE VD LoadDouble(const unsigned char* p) noexcept {
    if constexpr (std::is_same_v<S, double>) {
        VD v;
        std::memcpy(&v, p, sizeof v);
        return v;
    } else if constexpr (std::is_same_v<S, float>) {
#if QM_VECTOR_BYTES == 64
        return reinterpret_cast<VD>(_mm512_cvtps_pd(_mm256_loadu_ps(reinterpret_cast<const float*>(p))));
#elif QM_VECTOR_BYTES == 32
        return reinterpret_cast<VD>(_mm256_cvtps_pd(_mm_loadu_ps(reinterpret_cast<const float*>(p))));
#else
        return reinterpret_cast<VD>(
            _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)))));
#endif
    } else {
        return ToDouble(LoadInt<S>(p));
    }
}

// Lanes truncated toward zero to int32; valid where every lane lies in (-2^31 - 1, 2^31).
QM_INLINE VI TruncateToInt32(VD v) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm512_cvttpd_epi32(reinterpret_cast<__m512d>(v));
#elif QM_VECTOR_BYTES == 32
    return _mm256_cvttpd_epi32(reinterpret_cast<__m256d>(v));
#else
    return _mm_cvttpd_epi32(reinterpret_cast<__m128d>(v));
#endif
}

QM_INLINE bool AllWithinInt32(VD v) noexcept { return AllOf((v > -2147483649.0) & (v < 2147483648.0)); }

// The low 32 bits of each lane's TruncateToInteger (0 for NaN, infinities and values beyond int64).
QM_INLINE VI TruncateLow32(VD v) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm512_cvtepi64_epi32(_mm512_cvttpd_epi64(reinterpret_cast<__m512d>(v)));  // the same rule in hardware
#else
    if (AllWithinInt32(v)) return TruncateToInt32(v);
    alignas(QM_VECTOR_BYTES) int32_t low[kLanes];
    for (size_t k = 0; k < kLanes; ++k)
        low[k] = static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(TruncateToInteger(v[k]))));
    VI r{};
    std::memcpy(&r, low, sizeof low);
    return r;
#endif
}

// The low bits of each int32 lane into kLanes elements of integer type D at p.
template <class D> QM_INLINE void StoreInt(unsigned char* p, VI v) noexcept {
    static_assert(std::is_integral_v<D> && sizeof(D) <= 4);
#if QM_VECTOR_BYTES == 64
    if constexpr (sizeof(D) == 4)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
    else if constexpr (sizeof(D) == 2)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_cvtepi32_epi16(v));
    else
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm256_cvtepi32_epi8(v));
#elif QM_VECTOR_BYTES == 32
    if constexpr (sizeof(D) == 4) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
    } else if constexpr (sizeof(D) == 2) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p),
                         _mm_shuffle_epi8(v, _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1)));
    } else {
        const int32_t four = _mm_cvtsi128_si32(
            _mm_shuffle_epi8(v, _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1)));
        std::memcpy(p, &four, 4);
    }
#else
    if constexpr (sizeof(D) == 4) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
    } else {
        const auto lo = static_cast<uint32_t>(_mm_cvtsi128_si32(v));
        const auto hi = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(v, 4)));
        const D two[2] = {static_cast<D>(lo), static_cast<D>(hi)};
        std::memcpy(p, two, sizeof two);
    }
#endif
}

// kLanes doubles rounded to nearest float (by the current rounding mode, as a scalar conversion).
QM_INLINE void StoreFloat(unsigned char* p, VD v) noexcept {
#if QM_VECTOR_BYTES == 64
    _mm256_storeu_ps(reinterpret_cast<float*>(p), _mm512_cvtpd_ps(reinterpret_cast<__m512d>(v)));
#elif QM_VECTOR_BYTES == 32
    _mm_storeu_ps(reinterpret_cast<float*>(p), _mm256_cvtpd_ps(reinterpret_cast<__m256d>(v)));
#else
    _mm_storel_pi(reinterpret_cast<__m64*>(p), _mm_cvtpd_ps(reinterpret_cast<__m128d>(v)));
#endif
}

// Each lane rounded to the nearest single, as a double.
QM_INLINE VD RoundToSingle(VD v) noexcept {
#if QM_VECTOR_BYTES == 64
    return reinterpret_cast<VD>(_mm512_cvtps_pd(_mm512_cvtpd_ps(reinterpret_cast<__m512d>(v))));
#elif QM_VECTOR_BYTES == 32
    return reinterpret_cast<VD>(_mm256_cvtps_pd(_mm256_cvtpd_ps(reinterpret_cast<__m256d>(v))));
#else
    return reinterpret_cast<VD>(_mm_cvtps_pd(_mm_cvtpd_ps(reinterpret_cast<__m128d>(v))));
#endif
}

#if QM_VECTOR_BYTES == 16
// The low 32 bits of four products on SSE2, which has no 32-bit multiply: the even and the odd
// lanes as 64-bit products, their low halves interleaved again.
QM_INLINE __m128i MulLowSse2(__m128i a, __m128i b) noexcept {
    const __m128i even = _mm_mul_epu32(a, b);
    const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
    return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                              _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0)));
}
#endif

// Int32 lanes: wrapping sum and difference, and low 32 bits of the product.
QM_INLINE VI AddInt(VI a, VI b) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm256_add_epi32(a, b);
#else
    return _mm_add_epi32(a, b);
#endif
}
QM_INLINE VI SubInt(VI a, VI b) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm256_sub_epi32(a, b);
#else
    return _mm_sub_epi32(a, b);
#endif
}
QM_INLINE VI MulInt(VI a, VI b) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm256_mullo_epi32(a, b);
#elif QM_VECTOR_BYTES == 32
    return _mm_mullo_epi32(a, b);
#else
    return MulLowSse2(a, b);
#endif
}
// kLanes int32 of a block (on SSE2 the upper half of the register is left 0 and not stored).
QM_INLINE VI LoadVI(const int32_t* p) noexcept {
    VI v{};
    std::memcpy(&v, p, 4 * kLanes);
    return v;
}
QM_INLINE void StoreVI(int32_t* p, VI v) noexcept { std::memcpy(p, &v, 4 * kLanes); }
QM_INLINE VI SplatInt(int32_t x) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm256_set1_epi32(x);
#else
    return _mm_set1_epi32(x);
#endif
}
// Whether no int32 lane of v has a bit of `bits` set (one test and branch on the vector sets).
QM_INLINE bool NoneSet(VI v, int32_t bits) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm256_testz_si256(v, _mm256_set1_epi32(bits));
#elif QM_VECTOR_BYTES == 32
    return _mm_testz_si128(v, _mm_set1_epi32(bits));
#else
    const __m128i clear = _mm_cmpeq_epi32(_mm_and_si128(v, _mm_set1_epi32(bits)), _mm_setzero_si128());
    return (_mm_movemask_epi8(clear) & 0xFF) == 0xFF;  // the kLanes = 2 low lanes
#endif
}

// --- Full-width int32 lanes, for integer-only stages ----------------------------------------------

// kWide int32 lanes in a whole register (twice kLanes): integer stages run at full width.
#if QM_VECTOR_BYTES == 64
using VW = __m512i;
#elif QM_VECTOR_BYTES == 32
using VW = __m256i;
#else
using VW = __m128i;
#endif
inline constexpr size_t kWide = QM_VECTOR_BYTES / sizeof(int32_t);

// The low and the high kLanes of kWide int32 lanes (on SSE2, where a VI is the low half of a
// register, the high half moved down).
QM_INLINE VI LowHalf(VW w) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm512_castsi512_si256(w);
#elif QM_VECTOR_BYTES == 32
    return _mm256_castsi256_si128(w);
#else
    return w;
#endif
}
QM_INLINE VI HighHalf(VW w) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm512_extracti64x4_epi64(w, 1);
#elif QM_VECTOR_BYTES == 32
    return _mm256_extracti128_si256(w, 1);
#else
    return _mm_srli_si128(w, 8);
#endif
}

// kWide integer elements of S at p, sign- or zero-extended to int32.
template <class S> QM_INLINE VW LoadWide(const unsigned char* p) noexcept {
    static_assert(std::is_integral_v<S> && sizeof(S) <= 4);
#if QM_VECTOR_BYTES == 64
    if constexpr (sizeof(S) == 4)
        return _mm512_loadu_si512(p);
    else if constexpr (sizeof(S) == 2) {
        const __m256i w = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        return std::is_signed_v<S> ? _mm512_cvtepi16_epi32(w) : _mm512_cvtepu16_epi32(w);
    } else {
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        return std::is_signed_v<S> ? _mm512_cvtepi8_epi32(b) : _mm512_cvtepu8_epi32(b);
    }
#elif QM_VECTOR_BYTES == 32
    if constexpr (sizeof(S) == 4)
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    else if constexpr (sizeof(S) == 2) {
        const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        return std::is_signed_v<S> ? _mm256_cvtepi16_epi32(w) : _mm256_cvtepu16_epi32(w);
    } else {
        const __m128i b = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        return std::is_signed_v<S> ? _mm256_cvtepi8_epi32(b) : _mm256_cvtepu8_epi32(b);
    }
#else
    if constexpr (sizeof(S) == 4)
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    else {
        __m128i v;
        if constexpr (sizeof(S) == 2) {
            v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
            v = _mm_unpacklo_epi16(v, v);
        } else {
            int32_t bits;
            std::memcpy(&bits, p, 4);
            v = _mm_cvtsi32_si128(bits);
            v = _mm_unpacklo_epi8(v, v);
            v = _mm_unpacklo_epi16(v, v);
        }
        return std::is_signed_v<S> ? _mm_srai_epi32(v, 32 - 8 * sizeof(S)) : _mm_srli_epi32(v, 32 - 8 * sizeof(S));
    }
#endif
}

// The low bits of kWide int32 lanes into elements of integer type D at p.
template <class D> QM_INLINE void StoreWide(unsigned char* p, VW v) noexcept {
    static_assert(std::is_integral_v<D> && sizeof(D) <= 4);
#if QM_VECTOR_BYTES == 64
    if constexpr (sizeof(D) == 4)
        _mm512_storeu_si512(p, v);
    else if constexpr (sizeof(D) == 2)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvtepi32_epi16(v));
    else
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm512_cvtepi32_epi8(v));
#elif QM_VECTOR_BYTES == 32
    if constexpr (sizeof(D) == 4) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
    } else if constexpr (sizeof(D) == 2) {
        const __m256i packed =
            _mm256_shuffle_epi8(v, _mm256_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 4,
                                                    5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(_mm256_permute4x64_epi64(packed, 0x08)));
    } else {
        const __m256i packed =
            _mm256_shuffle_epi8(v, _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 4,
                                                    8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(
                                                            packed, _mm256_setr_epi32(0, 4, 0, 0, 0, 0, 0, 0))));
    }
#else
    if constexpr (sizeof(D) == 4) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
    } else if constexpr (sizeof(D) == 2) {
        // Keep the low 16 bits of each lane, then pack the four words (signed saturation never
        // applies to values already sign-extended from 16 bits).
        const __m128i low = _mm_srai_epi32(_mm_slli_epi32(v, 16), 16);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packs_epi32(low, low));
    } else {
        const __m128i low = _mm_srai_epi32(_mm_slli_epi32(v, 24), 24);
        const __m128i words = _mm_packs_epi32(low, low);
        const int32_t four = _mm_cvtsi128_si32(_mm_packs_epi16(words, words));
        std::memcpy(p, &four, 4);
    }
#endif
}

// The same full-width lanes as compiler vectors of int32 and of float, for the operators (+, /,
// comparisons, ?:) and __builtin_convertvector.
typedef int32_t VS __attribute__((vector_size(QM_VECTOR_BYTES)));
typedef float VF __attribute__((vector_size(QM_VECTOR_BYTES)));

// The low bits of D in each lane, sign- or zero-extended back to int32.
template <class D> QM_INLINE VS ReduceTo(VS v) noexcept {
    static_assert(std::is_integral_v<D> && sizeof(D) <= 4);
    if constexpr (sizeof(D) == 4)
        return v;
    else if constexpr (std::is_signed_v<D>)
        return (v << (32 - 8 * sizeof(D))) >> (32 - 8 * sizeof(D));
    else
        return v & ((1 << (8 * sizeof(D))) - 1);
}

QM_INLINE VW LoadW(const int32_t* p) noexcept {
    VW v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
QM_INLINE void StoreW(int32_t* p, VW v) noexcept { std::memcpy(p, &v, sizeof v); }
QM_INLINE VW SplatW(int32_t x) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm512_set1_epi32(x);
#elif QM_VECTOR_BYTES == 32
    return _mm256_set1_epi32(x);
#else
    return _mm_set1_epi32(x);
#endif
}
QM_INLINE VW AddW(VW a, VW b) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm512_add_epi32(a, b);
#elif QM_VECTOR_BYTES == 32
    return _mm256_add_epi32(a, b);
#else
    return _mm_add_epi32(a, b);
#endif
}
QM_INLINE VW SubW(VW a, VW b) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm512_sub_epi32(a, b);
#elif QM_VECTOR_BYTES == 32
    return _mm256_sub_epi32(a, b);
#else
    return _mm_sub_epi32(a, b);
#endif
}
QM_INLINE VW MulW(VW a, VW b) noexcept {
#if QM_VECTOR_BYTES == 64
    return _mm512_mullo_epi32(a, b);
#elif QM_VECTOR_BYTES == 32
    return _mm256_mullo_epi32(a, b);
#else
    return MulLowSse2(a, b);
#endif
}

// 16-bit lanes (twice as many as int32 ones), for 8- and 16-bit elements whose wrapping 32-bit sums,
// differences and products keep only their low 16 bits or fewer.
typedef uint16_t VH __attribute__((vector_size(QM_VECTOR_BYTES)));
typedef int16_t VHs __attribute__((vector_size(QM_VECTOR_BYTES)));
typedef uint8_t VB __attribute__((vector_size(QM_VECTOR_BYTES / 2)));
typedef int8_t VBs __attribute__((vector_size(QM_VECTOR_BYTES / 2)));
inline constexpr size_t kHalfLanes = QM_VECTOR_BYTES / 2;

template <class S> QM_INLINE VH LoadHalves(const unsigned char* p) noexcept {
    if constexpr (sizeof(S) == 2) {
        VH v;
        std::memcpy(&v, p, sizeof v);
        return v;
    } else if constexpr (std::is_signed_v<S>) {
        VBs b;
        std::memcpy(&b, p, sizeof b);
        return reinterpret_cast<VH>(__builtin_convertvector(b, VHs));
    } else {
        VB b;
        std::memcpy(&b, p, sizeof b);
        return __builtin_convertvector(b, VH);
    }
}
template <class D> QM_INLINE void StoreHalves(unsigned char* p, VH v) noexcept {
    if constexpr (sizeof(D) == 2) {
        std::memcpy(p, &v, sizeof v);
    } else {
        const VB b = __builtin_convertvector(v, VB);
        std::memcpy(p, &b, sizeof b);
    }
}

// The same lanes as unsigned and signed 64-bit integers, for tests and steps on a double's bits.
typedef uint64_t VU64 __attribute__((vector_size(QM_VECTOR_BYTES)));
typedef int64_t VS64 __attribute__((vector_size(QM_VECTOR_BYTES)));

// |v|: the sign bits cleared.
QM_INLINE VD AbsVD(VD v) noexcept { return reinterpret_cast<VD>(reinterpret_cast<VU64>(v) & 0x7FFFFFFFFFFFFFFFull); }

// Whether every lane of v lies strictly within (-limit, limit) (NaN does not): one compare into a
// mask where the set has them.
QM_INLINE bool AllWithin(VD v, double limit) noexcept {
#if QM_VECTOR_BYTES == 64
    const __m512d m = reinterpret_cast<__m512d>(v);
    return _mm512_cmp_pd_mask(_mm512_abs_pd(m), _mm512_set1_pd(limit), _CMP_LT_OQ) == 0xFF;
#else
    return AllOf(AbsVD(v) < limit);
#endif
}

// a b + c, rounded once where the set has the fused unit (AVX2 and AVX-512), twice on baseline;
// a caller that needs the single rounding uses it only under __FMA__.
QM_INLINE VD MulAdd(VD a, VD b, VD c) noexcept {
#if QM_VECTOR_BYTES == 64
    return reinterpret_cast<VD>(
        _mm512_fmadd_pd(reinterpret_cast<__m512d>(a), reinterpret_cast<__m512d>(b), reinterpret_cast<__m512d>(c)));
#elif defined(__FMA__)
    return reinterpret_cast<VD>(
        _mm256_fmadd_pd(reinterpret_cast<__m256d>(a), reinterpret_cast<__m256d>(b), reinterpret_cast<__m256d>(c)));
#else
    return a * b + c;
#endif
}

}  // namespace qm::QM_ISA_NS
