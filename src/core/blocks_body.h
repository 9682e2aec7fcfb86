// SPDX-License-Identifier: MIT
// The block stages of core/blocks.h, written once over the lanes of core/lanes.h and compiled
// once for each instruction set by blocks_<set>.cpp. Include only there.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "core/blocks.h"
#include "core/element_types.h"
#include "core/lanes.h"
#include "core/truncate.h"

namespace qm::blocks::QM_ISA_NS {
namespace {

using namespace ::qm::QM_ISA_NS;

template <class S> void LoadBlock(const unsigned char* src, size_t n, double* out) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) StoreVD(out + i, LoadDouble<S>(src + i * sizeof(S)));
    for (; i < n; ++i) out[i] = static_cast<double>(LoadAt<S>(src, i));
}

template <class S> void EntryBlock(const unsigned char* src, size_t n, int32_t* out) noexcept {
    size_t i = 0;
    if constexpr (std::is_integral_v<S>) {
        for (; i + kWide <= n; i += kWide) StoreW(out + i, LoadWide<S>(src + i * sizeof(S)));
        for (; i < n; ++i) out[i] = static_cast<int32_t>(LoadAt<S>(src, i));
    } else {
        for (; i + kLanes <= n; i += kLanes) StoreVI(out + i, TruncateLow32(LoadDouble<S>(src + i * sizeof(S))));
        for (; i < n; ++i) {
            const auto t = static_cast<uint64_t>(TruncateToInteger(static_cast<double>(LoadAt<S>(src, i))));
            out[i] = static_cast<int32_t>(static_cast<uint32_t>(t));
        }
    }
}

template <class D> void StoreBlock(const double* v, size_t n, unsigned char* dst) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        const VD x = LoadVD(v + i);
        unsigned char* p = dst + i * sizeof(D);
        if constexpr (std::is_same_v<D, double>) {
            std::memcpy(p, &x, sizeof x);
        } else if constexpr (std::is_same_v<D, float>) {
            StoreFloat(p, x);
        } else {
            StoreInt<D>(p, TruncateLow32(x));
        }
    }
    for (; i < n; ++i) StoreAt<D>(dst, i, ::qm::StoreFloat<D>(v[i]));
}

template <class D> void StoreIntBlock(const int32_t* v, size_t n, unsigned char* dst) noexcept {
    size_t i = 0;
    for (; i + kWide <= n; i += kWide) StoreWide<D>(dst + i * sizeof(D), LoadW(v + i));
    for (; i < n; ++i) StoreAt<D>(dst, i, static_cast<D>(v[i]));
}

// Streaming stores of the widest register: a line of 64 bytes is written by one store (AVX-512)
// or by neighbours (AVX2, SSE2), and reaches memory whole, unread; dst's unaligned head and tail
// go through ordinary stores. Narrow streaming stores measured slower than ordinary ones here, the
// widest faster.
void StreamCopyLanes(unsigned char* dst, const unsigned char* src, size_t n) noexcept {
    constexpr size_t kBytes = QM_VECTOR_BYTES;
    const size_t head = std::min(n, (kBytes - reinterpret_cast<uintptr_t>(dst) % kBytes) % kBytes);
    std::memcpy(dst, src, head);
    size_t i = head;
    for (; i + kBytes <= n; i += kBytes) {
#if QM_VECTOR_BYTES == 64
        _mm512_stream_si512(reinterpret_cast<__m512i*>(dst + i), _mm512_loadu_si512(src + i));
#elif QM_VECTOR_BYTES == 32
        _mm256_stream_si256(reinterpret_cast<__m256i*>(dst + i),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i)));
#else
        _mm_stream_si128(reinterpret_cast<__m128i*>(dst + i),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i)));
#endif
    }
    std::memcpy(dst + i, src + i, n - i);
}

// U32 elements are read as I32.
template <int32_t Code> using Read = Element<Code == kU32 ? kI32 : Code>;

template <int32_t... Code> constexpr Kernels MakeKernels(std::integer_sequence<int32_t, Code...>) noexcept {
    Kernels k{};
    ((k.load[Code] = &LoadBlock<Read<Code>>), ...);
    ((k.entry[Code] = &EntryBlock<Read<Code>>), ...);
    ((k.store[Code] = &StoreBlock<Element<Code>>), ...);
    ((k.storeInt[Code] =
          std::is_integral_v<Element<Code>>
              ? &StoreIntBlock<std::conditional_t<std::is_integral_v<Element<Code>>, Element<Code>, int32_t>>
              : nullptr),
     ...);
    k.streamCopy = &StreamCopyLanes;
    return k;
}

}  // namespace

extern constinit const Kernels kKernels =
    MakeKernels(std::integer_sequence<int32_t, kI8, kI16, kI32, kF32, kF64, kU8, kU16, kU32>{});

}  // namespace qm::blocks::QM_ISA_NS
