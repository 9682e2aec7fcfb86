// SPDX-License-Identifier: MIT
// How a scalar operation is evaluated in one call, and what each operation's exactness argument
// works from.
//
// Numeric rule of the module. A source element is read exactly (integers as their values, U32
// through the signed 32-bit engine, singles widened). For clip, band mask, add, subtract,
// multiply, divide, reciprocal and convert the stored element is the exact mathematical result
// of the operation on the element and the double constants, rounded once to the destination: F32
// and F64 to nearest even (overflow to infinity), integer destinations the low bits of the exact
// value truncated toward zero, where NaN, infinities and values beyond int64 give 0. So 3 + (-1e-17)
// stores 2 into I32 and 3.0 into F64, and x * 0.1 into F32 is the float nearest the exact
// product even when the double product lies on a midpoint between two floats.
//
// Each operation's file (add_subtract.h, multiply.h, divide_reciprocal.h) decides once per call,
// from the constant and the two element types, which evaluation gives that exact result for every
// element the call can see: plain double arithmetic where it is provably exact (or rounds to the
// same element as the exact value), wrapping integer arithmetic for integral constants between
// integer types, and otherwise the error-free transformations of core/exact_arith.h.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include "core/cpu.h"
#include "core/element_types.h"
#include "core/exact_arith.h"
#include "core/truncate.h"

namespace qm::scalar {

enum class Eval : uint8_t {
    Zero,     // every element stores 0 (division by 0 or NaN)
    Integer,  // integer source, integral constant, integer destination: wrapping 32-bit arithmetic
    Plain,    // the double result is exact, or rounds to the same element as the exact value
    Exact,    // error-free transformation, operands within the ranges where it is exact
    Exact32,  // as Exact, into an integer destination, every result within (-2^30, 2^30)
    Scaled,   // error-free transformation on operands scaled to [0.5, 1): any magnitude
};

// What the choice needs to know of an element type.
struct Kind {
    bool integer;
    bool f32;
    bool f64;
    int bits;      // integers: every |x| is at most 2^bits, so x has at most that many significant bits
    double bound;  // integers: 2^bits
};

constexpr Kind KindOf(int32_t type) noexcept {
    switch (type) {
        case kI8: return {true, false, false, 7, 0x1p7};
        case kU8: return {true, false, false, 8, 0x1p8};
        case kI16: return {true, false, false, 15, 0x1p15};
        case kU16: return {true, false, false, 16, 0x1p16};
        case kI32:
        case kU32: return {true, false, false, 31, 0x1p31};
        case kF32: return {false, true, false, 0, 0.0};
        default: return {false, false, true, 0, 0.0};
    }
}

inline bool IsIntegral(double a) noexcept { return std::isfinite(a) && std::trunc(a) == a; }

// Finite non-zero a = m * 2^e with 0.5 <= |m| < 1: the number of bits from the highest to the
// lowest set bit of m, and e.
struct Significand {
    int bits;
    int exponent;
};
inline Significand Analyse(double a) noexcept {
    int e = 0;
    const double m = std::frexp(std::fabs(a), &e);
    const auto mantissa = static_cast<uint64_t>(std::ldexp(m, 53));
    return {53 - std::countr_zero(mantissa), e};
}

inline bool Within(double a, double low, double high) noexcept {
    const double m = std::fabs(a);
    return m >= low && m <= high;
}

// One arithmetic operation (Op of add_subtract.h, multiply.h, divide_reciprocal.h) on a widened
// element x under the Exact or Scaled evaluation, stored into D, one element at a time: Scaled
// always, Exact for the vectors whose integer results the lanes of core/exact_lanes.h cannot hold. kFma: the unit has
// fused multiply-add.
template <class Op, Eval kEval, class D, bool kFma> QM_INLINE D ApplyExact(double x, double a) noexcept {
    if constexpr (Op::kZeroGuard) {
        if (x == 0.0 || x != x) return D(0);
    }
    if constexpr (kEval == Eval::Exact) {
        return StoreExact<D>(Op::template Exact<kFma>(x, a));
    } else {
        // Zeros, infinities and NaN have no scaled form; their plain result is exact.
        if (!std::isfinite(x) || x == 0.0) return StoreFloat<D>(Op::Plain(x, a));
        return StoreExact<D>(Op::Scaled(x, a));
    }
}

}  // namespace qm::scalar
