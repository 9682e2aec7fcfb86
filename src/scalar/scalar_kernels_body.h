// SPDX-License-Identifier: MIT
// The scalar family's kernels, written once over the lanes of core/lanes.h and compiled once for
// each instruction set by scalar_kernels_<set>.cpp. Include only there.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "core/blocks.h"
#include "core/element_types.h"
#include "core/exact_lanes.h"
#include "core/lanes.h"
#include "core/log10.h"
#include "core/log10_lanes.h"
#include "core/truncate.h"
#include "scalar/add_subtract.h"
#include "scalar/clip_band.h"
#include "scalar/divide_reciprocal.h"
#include "scalar/evaluation.h"
#include "scalar/integer_form.h"
#include "scalar/log_root.h"
#include "scalar/multiply.h"
#include "scalar/scalar_kernels.h"

namespace qm::scalar::QM_ISA_NS {
namespace {

using namespace ::qm::QM_ISA_NS;

// Reads n elements of S into doubles, applying fn on the way.
template <class S, class Fn> QM_INLINE void Map(const unsigned char* src, size_t n, double* v, Fn fn) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) StoreVD(v + i, fn(LoadDouble<S>(src + i * sizeof(S))));
    for (; i < n; ++i) v[i] = fn(static_cast<double>(LoadAt<S>(src, i)));
}

template <class S, class Op> void PlainForm(const unsigned char* src, size_t n, double* v, Constants c) noexcept {
    if constexpr (Op::kZeroGuard) {
        // Elements equal to 0 or NaN store 0.
        Map<S>(src, n, v, [a = c.a](auto x) { return ((x != 0.0) & (x == x)) ? Op::Plain(x, a) : decltype(x){}; });
    } else {
        Map<S>(src, n, v, [a = c.a](auto x) { return Op::Plain(x, a); });
    }
}
template <class S, class F> void BoundsForm(const unsigned char* src, size_t n, double* v, Constants c) noexcept {
    Map<S>(src, n, v, [c](auto x) { return F::Apply(x, c.a, c.b); });
}
void ZeroForm(const unsigned char*, size_t n, double* v, Constants) noexcept { std::memset(v, 0, n * sizeof(double)); }

// Powers of ten a source type's values can reach: 10 and 100 for 8 bits, up to 10^4 for 16, 10^9
// for 32.
template <class S> inline constexpr int kDigitPowers = sizeof(S) == 1 ? 2 : sizeof(S) == 2 ? 4 : 9;

// Digits of 8- and 16-bit sources into destinations of their width (every count, 0 to 4, fits),
// counted in lanes of that width: each vector is loaded and stored whole, with no widening.
template <class S> QM_INLINE void CountDigitsNative(const unsigned char* src, size_t n, unsigned char* dst, size_t& i,
                                                    bool& failed) noexcept {
    typedef S VN __attribute__((vector_size(QM_VECTOR_BYTES)));
    typedef std::make_signed_t<S> VM __attribute__((vector_size(QM_VECTOR_BYTES)));
    constexpr size_t kN = QM_VECTOR_BYTES / sizeof(S);
    VM bad{};
    for (; i + kN <= n; i += kN) {
        VN x;
        std::memcpy(&x, src + i * sizeof(S), sizeof x);
        bad |= x <= 0;
        VM d{};
        int power = 10;
        for (int k = 1; k <= kDigitPowers<S>; ++k, power *= 10) d -= x >= static_cast<S>(power);  // true is -1
        std::memcpy(dst + i * sizeof(S), &d, sizeof d);
    }
    for (size_t k = 0; k < kN; ++k) failed |= bad[k] != 0;
}

// Digits counted by comparisons with the powers of ten up to the source's largest value, in int32
// lanes.
template <class S, class D> bool CountDigits(const unsigned char* src, size_t n, unsigned char* dst) noexcept {
    VS bad{};
    size_t i = 0;
    bool failed = false;
    if constexpr (sizeof(S) == sizeof(D) && sizeof(S) <= 2) CountDigitsNative<S>(src, n, dst, i, failed);
    for (; i + kWide <= n; i += kWide) {
        const VS x = reinterpret_cast<VS>(LoadWide<S>(src + i * sizeof(S)));
        bad |= x <= 0;
        VS d{};
        int64_t power = 10;
        for (int k = 1; k <= kDigitPowers<S>; ++k, power *= 10) d -= x >= static_cast<int32_t>(power);  // true is -1
        StoreWide<D>(dst + i * sizeof(D), reinterpret_cast<VW>(d));
    }
    for (size_t k = 0; k < kWide; ++k) failed |= bad[k] != 0;
    for (; i < n; ++i) {
        const auto x = static_cast<double>(LoadAt<S>(src, i));
        failed |= !(x > 0.0);
        StoreAt<D>(dst, i, static_cast<D>(Digits(x)));
    }
    return failed;
}

// 505 in place over a block (core/log10_lanes.h: the vector logarithm stands where its bound
// settles the stored element, the extended one elsewhere), G vectors to a decision. Doubles take
// the extended one where the set has no double lanes.
template <LogTarget T, size_t G> QM_INLINE void Log10Vectors(double* v, size_t n, size_t& i, bool& failed) noexcept {
    const LogReach reach = ReachOf(0.0);
    for (; i + G * kLanes <= n; i += G * kLanes) {
        double* p = v + i;
        VD x[G];
#pragma GCC unroll 8
        for (size_t g = 0; g < G; ++g) x[g] = LoadVD(p + g * kLanes);
        StoreLog10Lanes<T, false>(
            x, x, reach, [p](size_t g, VD y) { StoreVD(p + g * kLanes, y); },
            [&](size_t j, double xj) { failed |= Log10Exactly<T>(xj, p[j]); });
    }
}
template <LogTarget T> bool Log10InPlace(double* v, size_t n) noexcept {
    bool failed = false;
    size_t i = 0;
    if constexpr (T != LogTarget::Double || kLogDoubleLanes) {
        Log10Vectors<T, 4>(v, n, i, failed);
        Log10Vectors<T, 1>(v, n, i, failed);
    }
    for (; i < n; ++i) failed |= Log10Exactly<T>(v[i], v[i]);
    return failed;
}

template <class D> constexpr LogTarget kLogTargetOf = std::is_same_v<D, float>    ? LogTarget::Single
                                                      : std::is_same_v<D, double> ? LogTarget::Double
                                                                                  : LogTarget::Integer;

// 505 from a wide source (I32, F32, F64) straight into F32, 32-bit integers or (where the set has
// double lanes) F64, G vectors to a decision, with no block of doubles between. Each element is
// written after its own source element and those before it are read, which every layout the
// engine runs in blocks allows.
template <class S, class D, size_t G> QM_INLINE void Log10DirectVectors(const unsigned char* src, size_t n,
                                                                        unsigned char* dst, size_t& i,
                                                                        bool& failed) noexcept {
    constexpr LogTarget T = kLogTargetOf<D>;
    const LogReach reach = ReachOf(0.0);
    for (; i + G * kLanes <= n; i += G * kLanes) {
        const unsigned char* s = src + i * sizeof(S);
        unsigned char* d = dst + i * sizeof(D);
        VD x[G];
#pragma GCC unroll 8
        for (size_t g = 0; g < G; ++g) x[g] = LoadDouble<S>(s + g * kLanes * sizeof(S));
        StoreLog10Lanes<T, false>(
            x, x, reach,
            [d](size_t g, VD y) {
                if constexpr (T == LogTarget::Single)
                    StoreFloat(d + g * kLanes * sizeof(D), y);
                else if constexpr (T == LogTarget::Double)
                    StoreVD(reinterpret_cast<double*>(d + g * kLanes * sizeof(D)), y);
                else
                    StoreInt<D>(d + g * kLanes * sizeof(D), TruncateLow32(y));
            },
            [&](size_t j, double xj) {
                double out;
                failed |= Log10Exactly<T>(xj, out);
                StoreAt<D>(d, j, ::qm::StoreFloat<D>(out));
            });
    }
}
template <class S, class D> bool Log10Direct(const unsigned char* src, size_t n, unsigned char* dst) noexcept {
    constexpr LogTarget T = kLogTargetOf<D>;
    bool failed = false;
    size_t i = 0;
    Log10DirectVectors<S, D, 4>(src, n, dst, i, failed);
    Log10DirectVectors<S, D, 1>(src, n, dst, i, failed);
    for (; i < n; ++i) {
        double out;
        failed |= Log10Exactly<T>(static_cast<double>(LoadAt<S>(src, i)), out);
        StoreAt<D>(dst, i, ::qm::StoreFloat<D>(out));
    }
    return failed;
}
template <class S> constexpr void SetLog10Direct(Kernels& k, int32_t srcType) noexcept {
    k.log10Direct[srcType][kF32] = &Log10Direct<S, float>;
    if constexpr (kLogDoubleLanes) k.log10Direct[srcType][kF64] = &Log10Direct<S, double>;
    // U32 destinations hold the same low 32 bits as I32 ones.
    k.log10Direct[srcType][kI32] = k.log10Direct[srcType][kU32] = &Log10Direct<S, int32_t>;
}

// 505 from 8- and 16-bit sources into singles through the table, gathered a register at a time
// where the set has a gather; elements not above 0 (any of them, in a register) report failure.
template <class S>
bool Log10Gather(const float* table, const unsigned char* src, size_t n, unsigned char* dst) noexcept {
    size_t i = 0;
    bool failed = false;
#if QM_VECTOR_BYTES >= 32
    constexpr int32_t kMask = (1 << (8 * sizeof(S))) - 1;
    VS bad{};
    for (; i + kWide <= n; i += kWide) {
        const VS x = reinterpret_cast<VS>(LoadWide<S>(src + i * sizeof(S)));
        bad |= x <= 0;
        const VW index = reinterpret_cast<VW>(x & kMask);
        float* out = reinterpret_cast<float*>(dst + i * sizeof(float));
#if QM_VECTOR_BYTES == 64
        _mm512_storeu_ps(out, _mm512_i32gather_ps(index, table, 4));
#else
        _mm256_storeu_ps(out, _mm256_i32gather_ps(table, index, 4));
#endif
    }
    for (size_t k = 0; k < kWide; ++k) failed |= bad[k] != 0;
#endif
    return Log10ByTable<S, float>(table, src + i * sizeof(S), n - i, dst + i * sizeof(float)) || failed;
}

// Integer entries of n elements of S, with wrapping 32-bit Op by c, into elements of D.
template <class S, class Op, class D>
void IntegerForm(const unsigned char* src, size_t n, unsigned char* dst, uint32_t c) noexcept {
    size_t i = 0;
    if constexpr (sizeof(S) <= 2 && sizeof(D) <= 2) {
        const auto k = static_cast<uint16_t>(c);
        for (; i + kHalfLanes <= n; i += kHalfLanes) {
            const VH x = LoadHalves<S>(src + i * sizeof(S));
            StoreHalves<D>(dst + i * sizeof(D), std::is_same_v<Op, AddOp> ? x + k : x * k);
        }
    } else {
        const VW k = SplatW(static_cast<int32_t>(c));
        for (; i + kWide <= n; i += kWide) {
            const VW x = LoadWide<S>(src + i * sizeof(S));
            StoreWide<D>(dst + i * sizeof(D), std::is_same_v<Op, AddOp> ? AddW(x, k) : MulW(x, k));
        }
    }
    for (; i < n; ++i)
        StoreAt<D>(dst, i,
                   static_cast<D>(Op::Integer(static_cast<uint32_t>(static_cast<int32_t>(LoadAt<S>(src, i))), c)));
}

// The floor form of integer_form.h over n elements of S (8 or 16 bits) into elements of D, kWide
// int32 lanes at a time; the shift is logical for unsigned sources, arithmetic for signed ones.
template <class S, class D>
void FloorFormKernel(const unsigned char* src, size_t n, unsigned char* dst, const FloorForm& k) noexcept {
    typedef uint32_t VU __attribute__((vector_size(QM_VECTOR_BYTES)));
    const VU a = VU{} + k.a, c = VU{} + k.c, f = VU{} + k.f, b = VU{} + k.b;
    const int s = k.s;
    size_t i = 0;
    for (; i + kWide <= n; i += kWide) {
        const auto x = reinterpret_cast<VU>(LoadWide<S>(src + i * sizeof(S)));
        const VU t = x * f + b;
        VU q;
        if constexpr (std::is_signed_v<S>)
            q = reinterpret_cast<VU>(reinterpret_cast<VS>(t) >> s);
        else
            q = t >> s;
        StoreWide<D>(dst + i * sizeof(D), reinterpret_cast<VW>(x * a + c + q));
    }
    for (; i < n; ++i) StoreAt<D>(dst, i, static_cast<D>(ApplyFloorForm<S>(LoadAt<S>(src, i), k)));
}

// x / a or 1 / x in singles, kWide elements at a time: truncated into integers, stored as they are
// into F32.
template <class S, class D, bool kReciprocal>
void NarrowQuotient(const unsigned char* src, size_t n, unsigned char* dst, double a) noexcept {
    const auto divisor = static_cast<float>(a);
    size_t i = 0;
    for (; i + kWide <= n; i += kWide) {
        const VS x = reinterpret_cast<VS>(LoadWide<S>(src + i * sizeof(S)));
        VF q;
        if constexpr (kReciprocal) {
            const VS vanishes = x == 0;
            q = VF{} + 1.0f / __builtin_convertvector(vanishes ? 1 : x, VF);
            q = vanishes ? 0.0f : q;
        } else {
            q = __builtin_convertvector(x, VF) / divisor;
        }
        if constexpr (std::is_same_v<D, float>)
            std::memcpy(dst + i * sizeof(D), &q, sizeof q);
        else
            StoreWide<D>(dst + i * sizeof(D), reinterpret_cast<VW>(__builtin_convertvector(q, VS)));
    }
    for (; i < n; ++i) {
        const auto x = static_cast<float>(LoadAt<S>(src, i));
        const float q = kReciprocal ? (x == 0.0f ? 0.0f : 1.0f / x) : x / divisor;
        if constexpr (std::is_same_v<D, float>)
            StoreAt<float>(dst, i, q);
        else
            StoreAt<D>(dst, i, static_cast<D>(static_cast<int32_t>(q)));
    }
}

// Clip (kBand false) and band mask of 8- and 16-bit integer sources in int32 lanes, by the integer
// thresholds of clip_band.h, into an integer D (its low bits) or F32: no block of doubles.
template <class S, bool kBand, class D>
void IntegerBoundsForm(const unsigned char* src, size_t n, unsigned char* dst, Constants c) noexcept {
    const IntegerBounds t = IntegerBoundsOf(c.a, c.b);
    using Lane = std::conditional_t<std::is_same_v<D, float>, float, int32_t>;
    using V = std::conditional_t<std::is_same_v<D, float>, VF, VS>;
    const auto stored = [](double v) {  // A or B through the store rule, as a lane value
        if constexpr (std::is_same_v<D, float>)
            return StoreFloat<float>(v);
        else
            return static_cast<int32_t>(StoreFloat<D>(v));
    };
    const Lane sa = stored(c.a), sb = stored(c.b);
    const auto rule = [&](auto x, auto value) {  // x as int32 (lanes or one), value as a lane value
        if constexpr (kBand) {
            using R = decltype(value);
            return ((x >= t.aboveA) & (x < t.belowB)) ? R{} + Lane{1} : R{};
        } else {
            return x < t.atLeastA ? decltype(value){} + sa : (x >= t.aboveB ? decltype(value){} + sb : value);
        }
    };
    size_t i = 0;
    for (; i + kWide <= n; i += kWide) {
        const VS x = reinterpret_cast<VS>(LoadWide<S>(src + i * sizeof(S)));
        V r;
        if constexpr (std::is_same_v<D, float>)
            r = rule(x, __builtin_convertvector(x, VF));
        else
            r = rule(x, x);
        if constexpr (std::is_same_v<D, float>)
            std::memcpy(dst + i * sizeof(D), &r, sizeof r);
        else
            StoreWide<D>(dst + i * sizeof(D), reinterpret_cast<VW>(r));
    }
    for (; i < n; ++i) {
        const auto x = static_cast<int32_t>(LoadAt<S>(src, i));
        const Lane r = kBand ? (x >= t.aboveA && x < t.belowB ? Lane{1} : Lane{0})
                             : (x < t.atLeastA  ? sa
                                : x >= t.aboveB ? sb
                                                : static_cast<Lane>(x));
        StoreAt<D>(dst, i, static_cast<D>(r));
    }
}

template <class S, bool kBand> constexpr void SetIntegerBounds(IntBoundsFn (&row)[9]) noexcept {
    row[kF32] = &IntegerBoundsForm<S, kBand, float>;
    row[kI8] = row[kU8] = &IntegerBoundsForm<S, kBand, uint8_t>;
    row[kI16] = row[kU16] = &IntegerBoundsForm<S, kBand, uint16_t>;
    row[kI32] = row[kU32] = &IntegerBoundsForm<S, kBand, uint32_t>;
}

template <class S, class D> constexpr void SetIntegerPair(Kernels& k, int32_t type, int32_t dstType) noexcept {
    k.digits[type][dstType] = &CountDigits<S, D>;
    k.intAdd[type][dstType] = &IntegerForm<S, AddOp, D>;
    k.intMul[type][dstType] = &IntegerForm<S, MulOp, D>;
    if constexpr (sizeof(S) <= 2) {
        k.floor[type][dstType] = &FloorFormKernel<S, D>;
        k.narrow[0][type][dstType] = &NarrowQuotient<S, D, false>;
        k.narrow[1][type][dstType] = &NarrowQuotient<S, D, true>;
    }
}

template <class S> constexpr void SetForms(Kernels& k, int32_t type) noexcept {
    auto& row = k.form[type];
    row[static_cast<int>(Form::Add)] = &PlainForm<S, AddOp>;
    row[static_cast<int>(Form::Mul)] = &PlainForm<S, MulOp>;
    row[static_cast<int>(Form::Div)] = &PlainForm<S, DivOp>;
    row[static_cast<int>(Form::Reciprocal)] = &PlainForm<S, ReciprocalOp>;
    row[static_cast<int>(Form::Clip)] = &BoundsForm<S, ClipForm>;
    row[static_cast<int>(Form::Band)] = &BoundsForm<S, BandForm>;
    row[static_cast<int>(Form::Zero)] = &ZeroForm;
    if constexpr (std::is_integral_v<S>) {
        SetIntegerPair<S, uint8_t>(k, type, kI8);
        SetIntegerPair<S, uint8_t>(k, type, kU8);
        SetIntegerPair<S, uint16_t>(k, type, kI16);
        SetIntegerPair<S, uint16_t>(k, type, kU16);
        SetIntegerPair<S, uint32_t>(k, type, kI32);
        SetIntegerPair<S, uint32_t>(k, type, kU32);
    }
    if constexpr (std::is_integral_v<S> && sizeof(S) <= 2) {
        k.narrow[0][type][kF32] = &NarrowQuotient<S, float, false>;
        k.narrow[1][type][kF32] = &NarrowQuotient<S, float, true>;
        SetIntegerBounds<S, false>(k.bounds[0][type]);
        SetIntegerBounds<S, true>(k.bounds[1][type]);
    }
}

template <class Op> inline constexpr ExactOp ExactOf = std::is_same_v<Op, AddOp>   ? ExactOp::Add
                                                       : std::is_same_v<Op, MulOp> ? ExactOp::Mul
                                                       : std::is_same_v<Op, DivOp> ? ExactOp::Div
                                                                                   : ExactOp::Reciprocal;

// Op's exact value over vector lanes (core/exact_lanes.h): x + a, x * a, x / a, or 1 / x.
template <class Op> struct LanesOf;
template <> struct LanesOf<AddOp> : SumLanes {};
template <> struct LanesOf<MulOp> : ProductLanes {};
template <> struct LanesOf<DivOp> : QuotientLanes {};
template <> struct LanesOf<ReciprocalOp> {
    QM_INLINE static VD ToOdd(VD x, VD) noexcept { return QuotientLanes::ToOdd(SplatVD(1.0), x); }
    QM_INLINE static VD TowardZero(VD x, VD) noexcept { return QuotientLanes::TowardZero(SplatVD(1.0), x); }
};

// An exact evaluation of Op element by element, over n doubles: double sources scaled first
// (Scaled), and the vectors whose integer results reach beyond 2^31 (Exact).
template <class Op, Eval kEval, class D>
[[gnu::noinline]] void Exact(const double* v, size_t n, double a, unsigned char* dst) noexcept {
    alignas(64) D out[blocks::kBlock];  // results gathered first, so the branch-free forms vectorise
    for (size_t i = 0; i < n; ++i) out[i] = ApplyExact<Op, kEval, D, kFma>(v[i], a);
    std::memcpy(dst, out, n * sizeof(D));
}

// Below this magnitude the lanes' integer conversion holds every truncation: 2^50 where the set
// converts to int64 (AVX-512; the division by multiplies needs quotients below 2^51), 2^31
// elsewhere.
inline constexpr double kLanesReach = QM_VECTOR_BYTES == 64 ? 0x1p50 : 0x1p31;

// An exact evaluation of Op in vector lanes, straight from n elements of S into D (for integers,
// the unsigned type of D's width: the low bits are the same). Integer results go through the
// lanes' conversion; under Exact, whose results may reach beyond it, each vector is checked and goes
// element by element where it does not fit (under Exact32 every result lies within 2^30, and the
// check, which costs as much as the evaluation, is left out). The last partial vector runs in the
// same lanes through copies.
template <class Op, Eval kEval, class S, class D>
void ExactInLanes(const unsigned char* src, size_t n, double a, unsigned char* dst) noexcept {
    const VD va = SplatVD(a), reciprocal = SplatVD(1.0 / a);
    const auto lanes = [&](const unsigned char* s, unsigned char* d) {
        const VD x = LoadDouble<S>(s);
        VD r;
        if constexpr (std::is_same_v<D, float>)
            r = LanesOf<Op>::ToOdd(x, va);
        else if constexpr (std::is_same_v<Op, DivOp>)  // multiplies instead of a division
            r = QuotientLanes::TruncatableByReciprocal(x, va, reciprocal);
        else
            r = LanesOf<Op>::TowardZero(x, va);
        if constexpr (Op::kZeroGuard) {  // 1 / 0 and 1 / NaN store 0
            const auto computed = (x != 0.0) & (x == x);
            r = computed ? r : 0.0;
        }
        if constexpr (std::is_same_v<D, float>) {
            StoreFloat(d, r);
        } else if (kEval == Eval::Exact32) {
            StoreInt<D>(d, TruncateToInt32(r));
        } else if (AllWithin(r, kLanesReach)) {
            StoreInt<D>(d, kLanesReach > 0x1p31 ? TruncateLow32(r) : TruncateToInt32(r));
        } else {
            alignas(64) double xs[kLanes];
            StoreVD(xs, x);
            Exact<Op, Eval::Exact, D>(xs, kLanes, a, d);
        }
    };
    alignas(64) unsigned char in[kLanes * sizeof(S)] = {}, out[kLanes * sizeof(D)];
    for (size_t i = 0; i < n; i += kLanes) {
        const size_t m = std::min(kLanes, n - i);
        const bool whole = m == kLanes;
        if (!whole) std::memcpy(in, src + i * sizeof(S), m * sizeof(S));
        lanes(whole ? src + i * sizeof(S) : in, whole ? dst + i * sizeof(D) : out);
        if (!whole) std::memcpy(dst + i * sizeof(D), out, m * sizeof(D));
    }
}

// The exact evaluations of Op, for the tables: in lanes from each source into floats and integers,
// and the scaled one into every type.
template <class Op, class S> constexpr void SetExactLanes(ExactLanesFn (&row)[2][9]) noexcept {
    row[0][kF32] = &ExactInLanes<Op, Eval::Exact, S, float>;
    row[0][kI8] = row[0][kU8] = &ExactInLanes<Op, Eval::Exact, S, uint8_t>;
    row[0][kI16] = row[0][kU16] = &ExactInLanes<Op, Eval::Exact, S, uint16_t>;
    row[0][kI32] = row[0][kU32] = &ExactInLanes<Op, Eval::Exact, S, uint32_t>;
    // Exact32 leaves out the check where it costs (in mask registers, under AVX-512); elsewhere
    // the checked kernels serve it.
    constexpr Eval kWithin = QM_VECTOR_BYTES == 64 ? Eval::Exact32 : Eval::Exact;
    for (const int32_t d : {kF32, kI8, kU8, kI16, kU16, kI32, kU32}) row[1][d] = row[0][d];
    if constexpr (std::is_integral_v<S>) {
        row[1][kI8] = row[1][kU8] = &ExactInLanes<Op, kWithin, S, uint8_t>;
        row[1][kI16] = row[1][kU16] = &ExactInLanes<Op, kWithin, S, uint16_t>;
        row[1][kI32] = row[1][kU32] = &ExactInLanes<Op, kWithin, S, uint32_t>;
    }
}
template <class Op, int32_t... Code>
constexpr void FillExact(ExactFn (&row)[9], std::integer_sequence<int32_t, Code...>) noexcept {
    ((row[Code] = &Exact<Op, Eval::Scaled, Element<Code>>), ...);
}
template <class Op> constexpr void SetExact(Kernels& k) noexcept {
    const int op = static_cast<int>(ExactOf<Op>);
    FillExact<Op>(k.scaled[op], std::integer_sequence<int32_t, kI8, kI16, kI32, kF32, kF64, kU8, kU16, kU32>{});
    ForEachReadType([&k, op]<class S>(int32_t type) { SetExactLanes<Op, S>(k.lanes[op][type]); });
}

constexpr Kernels MakeKernels() noexcept {
    Kernels k{};
    ForEachReadType([&k]<class S>(int32_t type) { SetForms<S>(k, type); });
    SetExact<AddOp>(k);
    SetExact<MulOp>(k);
    SetExact<DivOp>(k);
    SetExact<ReciprocalOp>(k);
    k.log10[static_cast<int>(LogTarget::Single)] = &Log10InPlace<LogTarget::Single>;
    k.log10[static_cast<int>(LogTarget::Integer)] = &Log10InPlace<LogTarget::Integer>;
    k.log10[static_cast<int>(LogTarget::Double)] = &Log10InPlace<LogTarget::Double>;
    SetLog10Direct<int32_t>(k, kI32);
    SetLog10Direct<float>(k, kF32);
    SetLog10Direct<double>(k, kF64);
    k.log10Gather[kI8] = &Log10Gather<int8_t>;
    k.log10Gather[kU8] = &Log10Gather<uint8_t>;
    k.log10Gather[kI16] = &Log10Gather<int16_t>;
    k.log10Gather[kU16] = &Log10Gather<uint16_t>;
    return k;
}

}  // namespace

extern constinit const Kernels kKernels = MakeKernels();

}  // namespace qm::scalar::QM_ISA_NS
