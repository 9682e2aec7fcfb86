// The scalar family's kernels, written once over the lanes of core/lanes.h and compiled once for
// each instruction set by scalar_kernels_<set>.cpp. Include only there.
#include <cstddef>
#include <cstdint>
#include <type_traits>

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

// Source elements, exactly, as doubles.
template <class S> void LoadBlock(const unsigned char* src, size_t n, double* out) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) StoreVD(out + i, LoadDouble<S>(src + i * sizeof(S)));
    for (; i < n; ++i) out[i] = static_cast<double>(LoadAt<S>(src, i));
}

// Integer source elements as int32.
template <class S> void LoadIntBlock(const unsigned char* src, size_t n, int32_t* out) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        const VI x = LoadInt<S>(src + i * sizeof(S));
        std::memcpy(out + i, &x, 4 * kLanes);
    }
    for (; i < n; ++i) out[i] = static_cast<int32_t>(LoadAt<S>(src, i));
}

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

template <class Op> void IntegerForm(int32_t* v, size_t n, uint32_t c) noexcept {
    size_t i = 0;
    const VI k = SplatInt(static_cast<int32_t>(c));
    for (; i + kLanes <= n; i += kLanes) {
        VI x;
        std::memcpy(&x, v + i, 4 * kLanes);
        x = std::is_same_v<Op, AddOp> ? AddInt(x, k) : MulInt(x, k);
        std::memcpy(v + i, &x, 4 * kLanes);
    }
    for (; i < n; ++i) v[i] = static_cast<int32_t>(Op::Integer(static_cast<uint32_t>(v[i]), c));
}

// The store rule of doubles into D: floats round to nearest, integers keep the low bits of the
// truncation toward zero (0 for NaN, infinities and values beyond int64).
template <class D> void StoreBlock(const double* v, size_t n, unsigned char* dst) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        const VD x = LoadVD(v + i);
        unsigned char* p = dst + i * sizeof(D);
        if constexpr (std::is_same_v<D, double>) {
            std::memcpy(p, &x, sizeof x);
        } else if constexpr (std::is_same_v<D, float>) {
            ::qm::QM_ISA_NS::StoreFloat(p, x);
        } else if (AllWithinInt32(x)) {
            StoreInt<D>(p, TruncateToInt32(x));
        } else {
            for (size_t k = 0; k < kLanes; ++k) StoreAt<D>(p, k, qm::StoreFloat<D>(v[i + k]));
        }
    }
    for (; i < n; ++i) StoreAt<D>(dst, i, qm::StoreFloat<D>(v[i]));
}

// The low bits of int32 values into integer elements D.
template <class D> void StoreIntBlock(const int32_t* v, size_t n, unsigned char* dst) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        VI x;
        std::memcpy(&x, v + i, 4 * kLanes);
        ::qm::QM_ISA_NS::StoreInt<D>(dst + i * sizeof(D), x);
    }
    for (; i < n; ++i) StoreAt<D>(dst, i, static_cast<D>(v[i]));
}

// An exact evaluation of Op over a block, each result stored into D.
template <class Op, Eval kEval, class D> void Exact(const double* v, size_t n, double a, unsigned char* dst) noexcept {
    for (size_t i = 0; i < n; ++i) StoreAt<D>(dst, i, ApplyExact<Op, kEval, D, kFma>(v[i], a));
}

template <template <class> class Fn, class R> constexpr void FillByType(R (&row)[9]) noexcept {
    row[kI8] = Fn<int8_t>::Run;
    row[kI16] = Fn<int16_t>::Run;
    row[kI32] = Fn<int32_t>::Run;
    row[kU8] = Fn<uint8_t>::Run;
    row[kU16] = Fn<uint16_t>::Run;
    row[kU32] = Fn<uint32_t>::Run;
    if constexpr (Fn<float>::kFloats) {
        row[kF32] = Fn<float>::Run;
        row[kF64] = Fn<double>::Run;
    }
}

// Adapters that name each stage by one element type, for the tables.
template <class T> struct LoadOf {
    static constexpr bool kFloats = true;
    using Source = std::conditional_t<std::is_same_v<T, uint32_t>, int32_t, T>;  // U32 reads as I32
    static constexpr LoadFn Run = &LoadBlock<Source>;
};
template <class T> struct LoadIntOf {
    static constexpr bool kFloats = false;
    using Source = std::conditional_t<std::is_same_v<T, uint32_t>, int32_t, T>;
    static constexpr LoadIntFn Run = &LoadIntBlock<std::conditional_t<std::is_integral_v<T>, Source, int32_t>>;
};
template <class T> struct StoreOf {
    static constexpr bool kFloats = true;
    static constexpr StoreFn Run = &StoreBlock<T>;
};
template <class T> struct StoreIntOf {
    static constexpr bool kFloats = false;
    static constexpr StoreIntFn Run = &StoreIntBlock<std::conditional_t<std::is_integral_v<T>, T, int32_t>>;
};
template <class Op, Eval kEval> struct ExactInto {
    template <class T> struct Of {
        static constexpr bool kFloats = true;
        static constexpr ExactFn Run = &Exact<Op, kEval, T>;
    };
};

template <class Op> constexpr void FillExact(ExactFn (&row)[2][9]) noexcept {
    FillByType<ExactInto<Op, Eval::Exact>::template Of>(row[0]);
    FillByType<ExactInto<Op, Eval::Scaled>::template Of>(row[1]);
}

constexpr Kernels MakeKernels() noexcept {
    Kernels k{};
    FillByType<LoadOf>(k.load);
    FillByType<LoadIntOf>(k.loadInt);
    k.form[static_cast<int>(Form::Add)] = &PlainForm<AddOp>;
    k.form[static_cast<int>(Form::Mul)] = &PlainForm<MulOp>;
    k.form[static_cast<int>(Form::Div)] = &PlainForm<DivOp>;
    k.form[static_cast<int>(Form::Reciprocal)] = &PlainForm<ReciprocalOp>;
    k.form[static_cast<int>(Form::Clip)] = &BoundsForm<ClipForm>;
    k.form[static_cast<int>(Form::Band)] = &BoundsForm<BandForm>;
    k.form[static_cast<int>(Form::Zero)] = &ZeroForm;
    k.intAdd = &IntegerForm<AddOp>;
    k.intMul = &IntegerForm<MulOp>;
    FillByType<StoreOf>(k.store);
    FillByType<StoreIntOf>(k.storeInt);
    FillExact<AddOp>(k.exact[static_cast<int>(ExactOp::Add)]);
    FillExact<MulOp>(k.exact[static_cast<int>(ExactOp::Mul)]);
    FillExact<DivOp>(k.exact[static_cast<int>(ExactOp::Div)]);
    FillExact<ReciprocalOp>(k.exact[static_cast<int>(ExactOp::Reciprocal)]);
    return k;
}

}  // namespace

extern constinit const Kernels kKernels = MakeKernels();

}  // namespace qm::scalar::QM_ISA_NS
