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

namespace qm::arith::QM_ISA_NS {
namespace {

using namespace ::qm::QM_ISA_NS;

template <class Rule> void IntegerBlock(int32_t* a, const int32_t* b, size_t n) noexcept {
    size_t i = 0;
    for (; i + kWide <= n; i += kWide) {
        const VW x = LoadW(a + i), y = LoadW(b + i);
        StoreW(a + i, std::is_same_v<Rule, AddRule>        ? AddW(x, y)
                      : std::is_same_v<Rule, SubtractRule> ? SubW(x, y)
                                                           : MulW(x, y));
    }
    for (; i < n; ++i)
        a[i] = static_cast<int32_t>(Rule::Integer(static_cast<uint32_t>(a[i]), static_cast<uint32_t>(b[i])));
}

template <class Rule> bool RealBlock(double* a, const double* b, size_t n) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) StoreVD(a + i, Rule::Real(LoadVD(a + i), LoadVD(b + i)));
    for (; i < n; ++i) a[i] = Rule::Real(a[i], b[i]);
    return false;
}

bool QuotientBlock(double* a, const double* b, size_t n) noexcept {
    bool zero = false;
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        decltype(VD{} < VD{}) kept;
        StoreVD(a + i, RealQuotient(LoadVD(a + i), LoadVD(b + i), kept));
        zero |= !AllOf(kept);
    }
    for (; i < n; ++i) {
        bool kept = false;
        a[i] = RealQuotient(a[i], b[i], kept);
        zero |= !kept;
    }
    return zero;
}

template <class D> bool DivideBlock(const int32_t* a, const int32_t* b, size_t n, unsigned char* dst) noexcept {
    alignas(64) D out[blocks::kBlock];  // results gathered first, so the branch-free rule vectorises
    uint32_t zero = 0;
    for (size_t i = 0; i < n; ++i)
        zero |= static_cast<uint32_t>(IntegerQuotient<D>(static_cast<uint32_t>(a[i]), static_cast<uint32_t>(b[i]), out[i]));
    std::memcpy(dst, out, n * sizeof(D));
    return zero != 0;
}

constexpr Kernels MakeKernels() noexcept {
    Kernels k{};
    k.integer[kAdd] = &IntegerBlock<AddRule>;
    k.integer[kSubtract] = &IntegerBlock<SubtractRule>;
    k.integer[kMultiply] = &IntegerBlock<MultiplyRule>;
    k.real[kAdd] = &RealBlock<AddRule>;
    k.real[kSubtract] = &RealBlock<SubtractRule>;
    k.real[kMultiply] = &RealBlock<MultiplyRule>;
    k.real[kDivide] = &QuotientBlock;
    k.divide[kI8] = &DivideBlock<int8_t>;
    k.divide[kI16] = &DivideBlock<int16_t>;
    k.divide[kI32] = &DivideBlock<int32_t>;
    k.divide[kU8] = &DivideBlock<uint8_t>;
    k.divide[kU16] = &DivideBlock<uint16_t>;
    k.divide[kU32] = &DivideBlock<uint32_t>;
    return k;
}

}  // namespace

extern constinit const Kernels kKernels = MakeKernels();

}  // namespace qm::arith::QM_ISA_NS
