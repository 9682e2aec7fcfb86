// SPDX-License-Identifier: MIT
// Exact online values and their one rounding into the output type.
//
// A corrected pixel is an integer (the source pixel, possibly less the dark pixel) times a float
// factor. With up to 29 significant bits in the integer the product is exact in double. A 32- or
// 33-bit difference times a 24-bit factor needs up to 57 bits, so the value is carried as an
// unevaluated sum hi + lo of two doubles (hi the correctly rounded value, lo the exact rest), and
// each store rounds that exact value once: nearest for F64 and F32, toward zero for integers.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "core/cpu.h"
#include "core/exact_arith.h"

namespace qm::online {

// An online value carried exactly: hi + lo, with hi the value rounded to double (the tail is
// always 0 here). It is stored by the module's one exact rounding, StoreExact of core/exact_arith.h.
using Exact = ExactValue;

// v x f exactly, for |v| < 2^37 (I is int32_t or int64_t; 32-bit integers keep the conversions
// to double vectorisable on every instruction set). The integer is split into a high part and 16
// low bits; each part times the factor needs at most 45 bits, so both products are exact and one
// error-free sum joins them. A factor that is infinite or not a number takes the plain product
// instead (the parts would give inf - inf or 0 x inf where the whole does not), and so does a
// zero product.
template <class I> QM_INLINE Exact ExactProduct(I v, float f) noexcept {
    const double fd = f;
    const double plain = static_cast<double>(v) * fd;
    const double high = static_cast<double>(static_cast<I>(v >> 16)) * fd * 65536.0;
    const double low = static_cast<double>(static_cast<I>(v & 0xFFFF)) * fd;
    const Exact split = TwoSum(high, low);
    // A zero product is exact in the plain form, with the sign IEEE gives it (-3 x +0 is -0.0),
    // which the sum of the parts (-0.0 + 0.0) would lose.
    const bool useSplit = std::fabs(fd) <= static_cast<double>(std::numeric_limits<float>::max()) && plain != 0.0;
    return {useSplit ? split.hi : plain, useSplit ? split.lo : 0.0, 0.0};
}

// The same product for v an integer held exactly as a double (|v| < 2^37), where the hardware
// fuses multiply and add: the product's error comes from one fused step, exactly (its lowest bit
// weighs at least 2^-149, far above the smallest double), with the same plain cases.
QM_INLINE Exact ExactProductFused(double v, float f) noexcept {
    const double fd = f;
    const Exact t = TwoProduct<true>(v, fd);
    const bool useSplit = std::fabs(fd) <= static_cast<double>(std::numeric_limits<float>::max()) && t.hi != 0.0;
    return {t.hi, useSplit ? t.lo : 0.0, 0.0};
}

// value > a and value < a for the exact value: hi decides unless it equals a, then lo does.
QM_INLINE bool Above(Exact v, double a) noexcept { return v.hi > a || (v.hi == a && v.lo > 0.0); }
QM_INLINE bool Below(Exact v, double a) noexcept { return v.hi < a || (v.hi == a && v.lo < 0.0); }

}  // namespace qm::online
