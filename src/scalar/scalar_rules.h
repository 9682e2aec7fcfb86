// Per-element rules of the scalar operations, each written once for every pair of source and
// destination element types.
//
// Numeric rule of the module. A source element is read exactly (integers as their values, U32
// through the signed 32-bit engine, singles widened). For clip, band mask, add, subtract,
// multiply, divide, reciprocal and convert the stored element is the exact mathematical result
// of the operation on the element and the double constants, rounded once to the destination: F32
// and F64 to nearest even (overflow to infinity), integer destinations the low bits of the exact
// value truncated toward zero, where NaN, infinities and values beyond int64 give 0. So 3 + (-1e-17)
// stores 2 into I32 and 3.0 into F64, and x * 0.1 into F32 is the float nearest the exact
// product even when the double product lies on a midpoint between two floats.
// The logarithms and the square root are evaluated in extended precision (long double) and that
// value is rounded once to the destination; exact powers of ten give exact integers.
//
// How a result is evaluated is decided once per call (see scalar_engine.h): with plain double or
// integer arithmetic where that is provably exact for every element the call can see, otherwise
// with the error-free transformations of core/exact_arith.h.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

#include "core/cpu.h"
#include "core/exact_arith.h"
#include "core/truncate.h"

namespace qm {

template <class S> QM_INLINE double Widen(S x) noexcept { return static_cast<double>(x); }

// 256: A is tested first; an unordered comparison counts as below, so a NaN element stores A.
// k32: integer source and destination with A and B within int32, so every result truncates in 32 bits.
template <bool k32> struct ClipRule {
    double a, b;
    template <class D, bool, class S> QM_INLINE D Apply(S x) const noexcept {
        const double v = Widen(x);
        const double r = !(v >= a) ? a : (v > b ? b : v);
        if constexpr (k32) {
            return static_cast<D>(static_cast<int32_t>(r));
        } else {
            return StoreFloat<D>(r);
        }
    }
};

// 500: 1 strictly inside (A, B), else 0.
struct BandRule {
    double a, b;
    template <class D, bool, class S> QM_INLINE D Apply(S x) const noexcept {
        const double v = Widen(x);
        return (v > a && v < b) ? D(1) : D(0);
    }
};

// 509: integers move as bits (same width copies, narrower keeps the low bits, wider extends by
// the source's signedness); everything else follows the store rule.
struct ConvertRule {
    template <class D, bool, class S> QM_INLINE D Apply(S x) const noexcept {
        if constexpr (std::is_integral_v<S> && std::is_integral_v<D>) {
            return static_cast<D>(x);  // modular conversion: sign- or zero-extension, low bits
        } else if constexpr (std::is_integral_v<S>) {
            return static_cast<D>(x);  // one rounding to the float type
        } else {
            return StoreFloat<D>(Widen(x));
        }
    }
};

// How an arithmetic operation is evaluated in one call.
enum class Eval : uint8_t {
    Zero,     // every element stores 0 (division by 0 or NaN)
    Integer,  // integer source, integral constant, integer destination: wrapping 32-bit arithmetic
    Plain,    // the double result is exact, or rounds to the same element as the exact value
    Plain32,  // as Plain, and every result lies within int32: one 32-bit truncation
    Exact,    // error-free transformation, operands within the ranges where it is exact
    Exact32,  // as Exact, into an integer destination, every result within (-2^30, 2^30)
    Scaled,   // error-free transformation on operands scaled to [0.5, 1): any magnitude
};

struct AddOp {
    static constexpr bool kZeroGuard = false;
    QM_INLINE static double Plain(double x, double a) noexcept { return x + a; }
    QM_INLINE static uint32_t Integer(uint32_t x, uint32_t a) noexcept { return x + a; }
    template <bool kFma> QM_INLINE static ExactValue Exact(double x, double a) noexcept { return TwoSum(x, a); }
    QM_INLINE static ExactValue Scaled(double x, double a) noexcept { return TwoSum(x, a); }
};

struct MulOp {
    static constexpr bool kZeroGuard = false;
    QM_INLINE static double Plain(double x, double a) noexcept { return x * a; }
    QM_INLINE static uint32_t Integer(uint32_t x, uint32_t a) noexcept { return x * a; }
    template <bool kFma> QM_INLINE static ExactValue Exact(double x, double a) noexcept {
        return TwoProduct<kFma>(x, a);
    }
    QM_INLINE static ExactValue Scaled(double x, double a) noexcept { return ScaledProduct(x, a); }
};

struct DivOp {
    static constexpr bool kZeroGuard = false;
    QM_INLINE static double Plain(double x, double a) noexcept { return x / a; }
    template <bool kFma> QM_INLINE static ExactValue Exact(double x, double a) noexcept {
        return TwoQuotient<kFma>(x, a);
    }
    QM_INLINE static ExactValue Scaled(double x, double a) noexcept { return ScaledQuotient(x, a); }
};

// 508: 1 / x; an element equal to 0 or NaN stores 0.
struct ReciprocalOp {
    static constexpr bool kZeroGuard = true;
    QM_INLINE static double Plain(double x, double) noexcept { return 1.0 / x; }
    template <bool kFma> QM_INLINE static ExactValue Exact(double x, double) noexcept {
        return TwoQuotient<kFma>(1.0, x);
    }
    QM_INLINE static ExactValue Scaled(double x, double) noexcept { return ScaledQuotient(1.0, x); }
};

// 501 to 504 and 508 under one evaluation chosen for the call. a is the constant (negated for
// subtraction), ai its low 32 bits when it is integral.
template <class Op, Eval kEval> struct ArithRule {
    double a;
    uint32_t ai = 0;

    template <class D, bool kFma, class S> QM_INLINE D Apply(S x) const noexcept {
        const double v = Widen(x);
        if constexpr (Op::kZeroGuard) {
            if (v == 0.0 || v != v) return D(0);
        }
        if constexpr (kEval == Eval::Zero) {
            return D(0);
        } else if constexpr (kEval == Eval::Integer) {
            return static_cast<D>(Op::Integer(static_cast<uint32_t>(x), ai));
        } else if constexpr (kEval == Eval::Plain) {
            return StoreFloat<D>(Op::Plain(v, a));
        } else if constexpr (kEval == Eval::Plain32) {
            return static_cast<D>(static_cast<int32_t>(Op::Plain(v, a)));
        } else if constexpr (kEval == Eval::Exact) {
            return StoreExact<D>(Op::template Exact<kFma>(v, a));
        } else if constexpr (kEval == Eval::Exact32) {
            return static_cast<D>(TruncateExactSmall(Op::template Exact<kFma>(v, a)));
        } else {
            // Zeros, infinities and NaN have no scaled form; their plain result is exact.
            if (!std::isfinite(v) || v == 0.0) return StoreFloat<D>(Op::Plain(v, a));
            return StoreExact<D>(Op::Scaled(v, a));
        }
    }
};

// 505: log10 of positive elements; the others store 0 and are counted in `failed`.
template <bool kDigits> struct Log10Rule {
    template <class D, class S> QM_INLINE D Apply(S x, uint32_t& failed) const noexcept {
        if constexpr (kDigits) {
            // Integer source into integer destination: the truncated logarithm of x >= 1 is its
            // number of decimal digits less one.
            const int64_t v = x;
            failed |= static_cast<uint32_t>(v <= 0);
            int64_t digits = 0, power = 10;
            for (int k = 1; k <= 9; ++k, power *= 10) digits += static_cast<int64_t>(v >= power);
            return LowBits<D>(digits);
        } else {
            const double v = Widen(x);
            if (!(v > 0.0)) {
                failed = 1;
                return D(0);
            }
            return StoreFloat<D>(Log10Extended(v));
        }
    }

    // log10 in extended precision, exact at the powers of ten a double can hold.
    static long double Log10Extended(double v) noexcept {
        const long double r = std::log10(static_cast<long double>(v));
        const long double k = std::round(r);
        if (r != k && k >= 0.0L && k <= 22.0L && std::fabs(r - k) < 0x1p-50L) {
            long double power = 1.0L;
            for (int i = 0; i < static_cast<int>(k); ++i) power *= 10.0L;
            if (static_cast<long double>(v) == power) return k;
        }
        return r;
    }
};

}  // namespace qm
