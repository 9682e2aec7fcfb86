// SPDX-License-Identifier: MIT
// The arithmetic family's kernels, written once over the lanes of core/lanes.h and compiled once
// for each instruction set by arith_kernels_<set>.cpp. Include only there.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "arith/arith_kernels.h"
#include "arith/arith_rules.h"
#include "core/blocks.h"
#include "core/element_types.h"
#include "core/lanes.h"
#include "core/truncate.h"

namespace qm::arith::QM_ISA_NS {
namespace {

using namespace ::qm::QM_ISA_NS;

// The integer entries of kWide elements of B.
template <class B> QM_INLINE VW EntryWide(const unsigned char* p) noexcept {
    if constexpr (std::is_integral_v<B>) {
        return LoadWide<B>(p);
    } else {
        static_assert(kWide == 2 * kLanes);
        alignas(QM_VECTOR_BYTES) int32_t entries[kWide];
        for (size_t h = 0; h < 2; ++h) {
            const VI half = TruncateLow32(LoadDouble<B>(p + h * kLanes * sizeof(B)));
            std::memcpy(entries + h * kLanes, &half, 4 * kLanes);
        }
        return LoadW(entries);
    }
}

template <class Rule, class B> void IntegerBlock(int32_t* a, const unsigned char* b, size_t n) noexcept {
    size_t i = 0;
    for (; i + kWide <= n; i += kWide) {
        const VW x = LoadW(a + i), y = EntryWide<B>(b + i * sizeof(B));
        StoreW(a + i, std::is_same_v<Rule, AddRule>        ? AddW(x, y)
                      : std::is_same_v<Rule, SubtractRule> ? SubW(x, y)
                                                           : MulW(x, y));
    }
    for (; i < n; ++i) {
        const double y = static_cast<double>(LoadAt<B>(b, i));
        const auto entry = std::is_integral_v<B> ? static_cast<uint32_t>(static_cast<int32_t>(LoadAt<B>(b, i)))
                                                 : static_cast<uint32_t>(static_cast<uint64_t>(TruncateToInteger(y)));
        a[i] = static_cast<int32_t>(Rule::Integer(static_cast<uint32_t>(a[i]), entry));
    }
}

template <class Rule, class B> bool RealBlock(double* a, const unsigned char* b, size_t n) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) StoreVD(a + i, Rule::Real(LoadVD(a + i), LoadDouble<B>(b + i * sizeof(B))));
    for (; i < n; ++i) a[i] = Rule::Real(a[i], static_cast<double>(LoadAt<B>(b, i)));
    return false;
}

template <class B> bool QuotientBlock(double* a, const unsigned char* b, size_t n) noexcept {
    bool zero = false;
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        decltype(VD{} < VD{}) kept;
        StoreVD(a + i, RealQuotient(LoadVD(a + i), LoadDouble<B>(b + i * sizeof(B)), kept));
        zero |= !AllOf(kept);
    }
    for (; i < n; ++i) {
        bool kept = false;
        a[i] = RealQuotient(a[i], static_cast<double>(LoadAt<B>(b, i)), kept);
        zero |= !kept;
    }
    return zero;
}

template <class D> bool DivideBlock(const int32_t* a, const int32_t* b, size_t n, unsigned char* dst) noexcept {
    alignas(64) D out[blocks::kBlock];  // results gathered first, so the branch-free rule vectorises
    uint32_t zero = 0;
    for (size_t i = 0; i < n; ++i)
        zero |=
            static_cast<uint32_t>(IntegerQuotient<D>(static_cast<uint32_t>(a[i]), static_cast<uint32_t>(b[i]), out[i]));
    std::memcpy(dst, out, n * sizeof(D));
    return zero != 0;
}

// The float quotient of IntegerQuotient over whole vectors, straight from the operands: entries
// reduced to D lie within 2^16, far below the 2^24 its exactness asks of the dividend.
template <class S, class D>
bool NarrowDivide(const unsigned char* a, const unsigned char* b, size_t n, unsigned char* dst) noexcept {
    static_assert(sizeof(D) <= 2);
    VS zeros{};
    size_t i = 0;
    for (; i + kWide <= n; i += kWide) {
        const VS x = ReduceTo<D>(reinterpret_cast<VS>(LoadWide<S>(a + i * sizeof(S))));
        const VS y = ReduceTo<D>(reinterpret_cast<VS>(LoadWide<S>(b + i * sizeof(S))));
        const VS vanishes = y == 0;
        const VF q = __builtin_convertvector(x, VF) / __builtin_convertvector(vanishes ? 1 : y, VF);
        zeros |= vanishes;
        StoreWide<D>(dst + i * sizeof(D), reinterpret_cast<VW>(vanishes ? 0 : __builtin_convertvector(q, VS)));
    }
    bool zero = false;
    for (size_t k = 0; k < kWide; ++k) zero |= zeros[k] != 0;
    for (; i < n; ++i) {
        D q;
        zero |= IntegerQuotient<D>(static_cast<uint32_t>(static_cast<int32_t>(LoadAt<S>(a, i))),
                                   static_cast<uint32_t>(static_cast<int32_t>(LoadAt<S>(b, i))), q);
        StoreAt<D>(dst, i, q);
    }
    return zero;
}

// The double quotient of IntegerQuotient for I32 operands into I32, over whole vectors. A divisor
// of -1 needs no case of its own here: -(-2^31) = 2^31 is beyond int32, and the truncating
// conversion gives every such lane 0x80000000, which is -2^31, the wrapped negation.
bool WordDivide(const unsigned char* a, const unsigned char* b, size_t n, unsigned char* dst) noexcept {
    bool zero = false;
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        const VD x = ToDouble(LoadInt<int32_t>(a + i * 4)), y = ToDouble(LoadInt<int32_t>(b + i * 4));
        const auto kept = y != 0.0;
        zero |= !AllOf(kept);
        const VD q = x / (kept ? y : SplatVD(1.0));
        StoreInt<int32_t>(dst + i * 4, TruncateToInt32(kept ? q : VD{}));
    }
    for (; i < n; ++i) {
        int32_t q;
        zero |= IntegerQuotient<int32_t>(LoadAt<uint32_t>(a, i), LoadAt<uint32_t>(b, i), q);
        StoreAt<int32_t>(dst, i, q);
    }
    return zero;
}

template <class S> constexpr void SetNarrowDivide(Kernels& k, int32_t type) noexcept {
    k.directDivide[type][kI8] = &NarrowDivide<S, int8_t>;
    k.directDivide[type][kI16] = &NarrowDivide<S, int16_t>;
    k.directDivide[type][kU8] = &NarrowDivide<S, uint8_t>;
    k.directDivide[type][kU16] = &NarrowDivide<S, uint16_t>;
}

template <class B> constexpr void SetOperand(Kernels& k, int32_t type) noexcept {
    k.integer[kAdd][type] = &IntegerBlock<AddRule, B>;
    k.integer[kSubtract][type] = &IntegerBlock<SubtractRule, B>;
    k.integer[kMultiply][type] = &IntegerBlock<MultiplyRule, B>;
    k.real[kAdd][type] = &RealBlock<AddRule, B>;
    k.real[kSubtract][type] = &RealBlock<SubtractRule, B>;
    k.real[kMultiply][type] = &RealBlock<MultiplyRule, B>;
    k.real[kDivide][type] = &QuotientBlock<B>;
}

constexpr Kernels MakeKernels() noexcept {
    Kernels k{};
    SetOperand<int8_t>(k, kI8);
    SetOperand<int16_t>(k, kI16);
    SetOperand<int32_t>(k, kI32);
    SetOperand<float>(k, kF32);
    SetOperand<double>(k, kF64);
    SetOperand<uint8_t>(k, kU8);
    SetOperand<uint16_t>(k, kU16);
    SetOperand<int32_t>(k, kU32);  // U32 operands are read as I32
    k.divide[kI8] = &DivideBlock<int8_t>;
    k.divide[kI16] = &DivideBlock<int16_t>;
    k.divide[kI32] = &DivideBlock<int32_t>;
    k.divide[kU8] = &DivideBlock<uint8_t>;
    k.divide[kU16] = &DivideBlock<uint16_t>;
    k.divide[kU32] = &DivideBlock<uint32_t>;
    SetNarrowDivide<int8_t>(k, kI8);
    SetNarrowDivide<int16_t>(k, kI16);
    SetNarrowDivide<int32_t>(k, kI32);
    SetNarrowDivide<uint8_t>(k, kU8);
    SetNarrowDivide<uint16_t>(k, kU16);
    k.directDivide[kI32][kI32] = &WordDivide;
    return k;
}

}  // namespace

extern constinit const Kernels kKernels = MakeKernels();

}  // namespace qm::arith::QM_ISA_NS
