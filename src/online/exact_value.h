// Exact online values and their one rounding into the output type.
//
// A corrected pixel is an integer (the source pixel, possibly less the dark pixel) times a float
// factor. With up to 29 significant bits in the integer the product is exact in double. A 32- or
// 33-bit difference times a 24-bit factor needs up to 57 bits, so the value is carried as an
// unevaluated sum hi + lo of two doubles (hi the correctly rounded value, lo the exact rest), and
// each store rounds that exact value once: nearest for F64 and F32, toward zero for integers.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "core/cpu.h"
#include "core/truncate.h"

namespace qm::online {

// value = hi + lo exactly, with hi = value rounded to double.
struct Exact {
    double hi;
    double lo;
};

// Error-free sum of two doubles: hi + lo == a + b exactly, hi the rounded sum.
QM_INLINE Exact TwoSum(double a, double b) noexcept {
    const double s = a + b;
    const double bb = s - a;
    const double err = (a - (s - bb)) + (b - bb);
    return {s, err};
}

// v x f exactly, for |v| < 2^37 (I is int32_t or int64_t; 32-bit integers keep the conversions
// to double vectorisable on every instruction set). The integer is split into a high part and 16
// low bits; each part times the factor needs at most 45 bits, so both products are exact and one
// error-free sum joins them. A factor that is infinite or not a number takes the plain product
// instead (the parts would give inf - inf or 0 x inf where the whole does not).
template <class I> QM_INLINE Exact ExactProduct(I v, float f) noexcept {
    const double fd = f;
    const double plain = static_cast<double>(v) * fd;
    const double high = static_cast<double>(static_cast<I>(v >> 16)) * fd * 65536.0;
    const double low = static_cast<double>(static_cast<I>(v & 0xFFFF)) * fd;
    const Exact split = TwoSum(high, low);
    const bool finite = std::fabs(fd) <= static_cast<double>(std::numeric_limits<float>::max());
    return {finite ? split.hi : plain, finite ? split.lo : 0.0};
}

// value > a and value < a for the exact value: hi decides unless it equals a, then lo does.
QM_INLINE bool Above(Exact v, double a) noexcept { return v.hi > a || (v.hi == a && v.lo > 0.0); }
QM_INLINE bool Below(Exact v, double a) noexcept { return v.hi < a || (v.hi == a && v.lo < 0.0); }

// Truncation toward zero of the exact value to int64 (INT64_MIN when out of range or NaN). Only
// an integral hi can truncate differently from the sum: then the rest moves it by floor(lo)
// above zero or ceil(lo) below zero.
QM_INLINE int64_t TruncateExact(Exact v) noexcept {
    const int64_t t = TruncateToInteger(v.hi);
    if (v.lo == 0.0 || v.hi != std::trunc(v.hi) || !(std::fabs(v.hi) <= 0x1p63)) return t;
    const int64_t adjust = static_cast<int64_t>(v.hi > 0.0 ? std::floor(v.lo) : std::ceil(v.lo));
    // At the two ends of the range: 2^63 comes back in range only downwards, -2^63 leaves it
    // downwards (and must then give INT64_MIN, which is its own bit pattern).
    if (v.hi == 0x1p63 && adjust >= 0) return std::numeric_limits<int64_t>::min();
    if (v.hi == -0x1p63 && adjust < 0) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(static_cast<uint64_t>(t) + static_cast<uint64_t>(adjust));
}

// The exact value rounded to nearest float. hi is first made the round-to-odd double of the value
// (a lost rest sets the last bit by moving to the odd neighbour on the rest's side), so the
// conversion to float rounds once as if from the exact value.
QM_INLINE float RoundExactToFloat(Exact v) noexcept {
    const uint64_t bits = std::bit_cast<uint64_t>(v.hi);
    const bool toOdd = v.lo != 0.0 && (bits & 1u) == 0;
    const bool outward = (v.lo > 0.0) == (v.hi > 0.0);
    const uint64_t step = toOdd ? (outward ? uint64_t{1} : ~uint64_t{0}) : uint64_t{0};
    return static_cast<float>(std::bit_cast<double>(bits + step));
}

// Stores the exact value into an element of type D.
template <class D> QM_INLINE D StoreExact(Exact v) noexcept {
    if constexpr (std::is_same_v<D, double>) {
        return v.hi;
    } else if constexpr (std::is_same_v<D, float>) {
        return RoundExactToFloat(v);
    } else {
        return LowBits<D>(TruncateExact(v));
    }
}

}  // namespace qm::online
