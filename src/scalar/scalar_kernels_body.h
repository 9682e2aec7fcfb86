// The scalar family's kernels, written once over the lanes of core/lanes.h and compiled once for
// each instruction set by scalar_kernels_<set>.cpp. Include only there.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/blocks.h"
#include "core/element_types.h"
#include "core/lanes.h"
#include "core/truncate.h"
#include "scalar/add_subtract.h"
#include "scalar/clip_band.h"
#include "scalar/divide_reciprocal.h"
#include "scalar/evaluation.h"
#include "scalar/multiply.h"
#include "scalar/scalar_kernels.h"

namespace qm::scalar::QM_ISA_NS {
namespace {

using namespace ::qm::QM_ISA_NS;

// Applies a plain form to every double of a block.
template <class Fn> QM_INLINE void Map(double* v, size_t n, Fn fn) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) StoreVD(v + i, fn(LoadVD(v + i)));
    for (; i < n; ++i) v[i] = fn(v[i]);
}

template <class Op> void PlainForm(double* v, size_t n, Constants c) noexcept {
    if constexpr (Op::kZeroGuard) {
        // Elements equal to 0 or NaN store 0.
        Map(v, n, [a = c.a](auto x) { return (x != 0.0) & (x == x) ? Op::Plain(x, a) : decltype(x){}; });
    } else {
        Map(v, n, [a = c.a](auto x) { return Op::Plain(x, a); });
    }
}
template <class F> void BoundsForm(double* v, size_t n, Constants c) noexcept {
    Map(v, n, [c](auto x) { return F::Apply(x, c.a, c.b); });
}
void ZeroForm(double* v, size_t n, Constants) noexcept { std::memset(v, 0, n * sizeof(double)); }

bool Digits(double* v, size_t n) noexcept {
    bool failed = false;
    const auto digits = [&failed](auto x) {
        failed |= !AllOfLanes(x > 0.0);
        decltype(x) d{};
        double power = 10.0;
        for (int k = 1; k <= 9; ++k, power *= 10.0) d += x >= power ? Broadcast<decltype(x)>(1.0) : decltype(x){};
        return d;
    };
    Map(v, n, digits);
    return failed;
}

template <class Op> void IntegerForm(int32_t* v, size_t n, uint32_t c) noexcept {
    size_t i = 0;
    const VW k = SplatW(static_cast<int32_t>(c));
    for (; i + kWide <= n; i += kWide) {
        const VW x = LoadW(v + i);
        StoreW(v + i, std::is_same_v<Op, AddOp> ? AddW(x, k) : MulW(x, k));
    }
    for (; i < n; ++i) v[i] = static_cast<int32_t>(Op::Integer(static_cast<uint32_t>(v[i]), c));
}

// An exact evaluation of Op over a block, each result stored into D.
template <class Op, Eval kEval, class D> void Exact(const double* v, size_t n, double a, unsigned char* dst) noexcept {
    alignas(64) D out[blocks::kBlock];  // results gathered first, so the branch-free forms vectorise
    for (size_t i = 0; i < n; ++i) out[i] = ApplyExact<Op, kEval, D, kFma>(v[i], a);
    std::memcpy(dst, out, n * sizeof(D));
}

// The exact evaluation of Op into each element type, for the tables.
template <class Op, int32_t... Code> constexpr void FillExact(ExactFn (&row)[3][9], std::integer_sequence<int32_t, Code...>) noexcept {
    ((row[0][Code] = &Exact<Op, Eval::Exact, Element<Code>>), ...);
    ((row[1][Code] = std::is_integral_v<Element<Code>> ? &Exact<Op, Eval::Exact32, std::conditional_t<std::is_integral_v<Element<Code>>, Element<Code>, int32_t>> : nullptr), ...);
    ((row[2][Code] = &Exact<Op, Eval::Scaled, Element<Code>>), ...);
}
template <class Op> constexpr void FillExact(ExactFn (&row)[3][9]) noexcept {
    FillExact<Op>(row, std::integer_sequence<int32_t, kI8, kI16, kI32, kF32, kF64, kU8, kU16, kU32>{});
}

constexpr Kernels MakeKernels() noexcept {
    Kernels k{};
    k.form[static_cast<int>(Form::Add)] = &PlainForm<AddOp>;
    k.form[static_cast<int>(Form::Mul)] = &PlainForm<MulOp>;
    k.form[static_cast<int>(Form::Div)] = &PlainForm<DivOp>;
    k.form[static_cast<int>(Form::Reciprocal)] = &PlainForm<ReciprocalOp>;
    k.form[static_cast<int>(Form::Clip)] = &BoundsForm<ClipForm>;
    k.form[static_cast<int>(Form::Band)] = &BoundsForm<BandForm>;
    k.form[static_cast<int>(Form::Zero)] = &ZeroForm;
    k.digits = &Digits;
    k.intAdd = &IntegerForm<AddOp>;
    k.intMul = &IntegerForm<MulOp>;
    FillExact<AddOp>(k.exact[static_cast<int>(ExactOp::Add)]);
    FillExact<MulOp>(k.exact[static_cast<int>(ExactOp::Mul)]);
    FillExact<DivOp>(k.exact[static_cast<int>(ExactOp::Div)]);
    FillExact<ReciprocalOp>(k.exact[static_cast<int>(ExactOp::Reciprocal)]);
    return k;
}

}  // namespace

extern constinit const Kernels kKernels = MakeKernels();

}  // namespace qm::scalar::QM_ISA_NS
