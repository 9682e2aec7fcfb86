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

// Both operands of one type S, in one pass from the operands to the destination D, for the sums,
// differences and products of integer operands into integer destinations (wrapping, in 16-bit
// lanes where S and D have at most 16 bits, whose low bits are those of the 32-bit result) and for
// all four operations into float destinations (in double, rounded once by the store).
template <class Rule, class S, class D>
bool DirectBlock(const unsigned char* a, const unsigned char* b, size_t n, unsigned char* dst) noexcept {
    size_t i = 0;
    if constexpr (std::is_floating_point_v<D>) {
        constexpr bool kDivide = std::is_same_v<Rule, DivideRule>;
        decltype(VD{} < VD{}) kept = VD{} == VD{};
        for (; i + kLanes <= n; i += kLanes) {
            const VD x = LoadDouble<S>(a + i * sizeof(S)), y = LoadDouble<S>(b + i * sizeof(S));
            VD r;
            if constexpr (kDivide) {
                decltype(kept) nonzero;
                r = RealQuotient(x, y, nonzero);
                kept &= nonzero;
            } else {
                r = Rule::Real(x, y);
            }
            if constexpr (std::is_same_v<D, float>)
                StoreFloat(dst + i * sizeof(D), r);
            else
                std::memcpy(dst + i * sizeof(D), &r, sizeof r);
        }
        bool zero = !AllOf(kept);
        for (; i < n; ++i) {
            const auto x = static_cast<double>(LoadAt<S>(a, i)), y = static_cast<double>(LoadAt<S>(b, i));
            double r;
            if constexpr (kDivide) {
                bool nonzero = false;
                r = RealQuotient(x, y, nonzero);
                zero |= !nonzero;
            } else {
                r = Rule::Real(x, y);
            }
            StoreAt<D>(dst, i, static_cast<D>(r));
        }
        return zero;
    } else {
        if constexpr (sizeof(S) <= 2 && sizeof(D) <= 2) {
            for (; i + kHalfLanes <= n; i += kHalfLanes) {
                const VH x = LoadHalves<S>(a + i * sizeof(S)), y = LoadHalves<S>(b + i * sizeof(S));
                StoreHalves<D>(dst + i * sizeof(D), std::is_same_v<Rule, AddRule>        ? x + y
                                                    : std::is_same_v<Rule, SubtractRule> ? x - y
                                                                                         : x * y);
            }
        } else {
            for (; i + kWide <= n; i += kWide) {
                const VW x = LoadWide<S>(a + i * sizeof(S)), y = LoadWide<S>(b + i * sizeof(S));
                StoreWide<D>(dst + i * sizeof(D), std::is_same_v<Rule, AddRule>        ? AddW(x, y)
                                                  : std::is_same_v<Rule, SubtractRule> ? SubW(x, y)
                                                                                       : MulW(x, y));
            }
        }
        for (; i < n; ++i)
            StoreAt<D>(dst, i,
                       static_cast<D>(Rule::Integer(static_cast<uint32_t>(static_cast<int32_t>(LoadAt<S>(a, i))),
                                                    static_cast<uint32_t>(static_cast<int32_t>(LoadAt<S>(b, i))))));
        return false;
    }
}

template <class Rule, class S> constexpr void SetDirectRule(DirectFn (&row)[9]) noexcept {
    row[kF32] = &DirectBlock<Rule, S, float>;
    row[kF64] = &DirectBlock<Rule, S, double>;
    if constexpr (std::is_integral_v<S>) {
        // Wrapping results keep the same low bits whatever the destination's signedness.
        row[kI8] = row[kU8] = &DirectBlock<Rule, S, uint8_t>;
        row[kI16] = row[kU16] = &DirectBlock<Rule, S, uint16_t>;
        row[kI32] = row[kU32] = &DirectBlock<Rule, S, uint32_t>;
    }
}

// The direct kernels of operand type S: every operation into floats, the wrapping ones into
// integers (integer S only), the quotients of NarrowDivide into 8- and 16-bit destinations.
template <class S> constexpr void SetDirect(Kernels& k, int32_t type) noexcept {
    k.direct[kDivide][type][kF32] = &DirectBlock<DivideRule, S, float>;
    k.direct[kDivide][type][kF64] = &DirectBlock<DivideRule, S, double>;
    SetDirectRule<AddRule, S>(k.direct[kAdd][type]);
    SetDirectRule<SubtractRule, S>(k.direct[kSubtract][type]);
    SetDirectRule<MultiplyRule, S>(k.direct[kMultiply][type]);
    if constexpr (std::is_integral_v<S>) {
        k.direct[kDivide][type][kI8] = &NarrowDivide<S, int8_t>;
        k.direct[kDivide][type][kI16] = &NarrowDivide<S, int16_t>;
        k.direct[kDivide][type][kU8] = &NarrowDivide<S, uint8_t>;
        k.direct[kDivide][type][kU16] = &NarrowDivide<S, uint16_t>;
    }
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
    ForEachReadType([&k]<class B>(int32_t type) {
        SetOperand<B>(k, type);
        SetDirect<B>(k, type);
    });
    k.divide[kI8] = &DivideBlock<int8_t>;
    k.divide[kI16] = &DivideBlock<int16_t>;
    k.divide[kI32] = &DivideBlock<int32_t>;
    k.divide[kU8] = &DivideBlock<uint8_t>;
    k.divide[kU16] = &DivideBlock<uint16_t>;
    k.divide[kU32] = &DivideBlock<uint32_t>;
    k.direct[kDivide][kI32][kI32] = &WordDivide;
    return k;
}

}  // namespace

extern constinit const Kernels kKernels = MakeKernels();

}  // namespace qm::arith::QM_ISA_NS
