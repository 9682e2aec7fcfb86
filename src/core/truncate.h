// SPDX-License-Identifier: MIT
// The one conversion of a floating value to an integer element, and the store rules built on it.
//
// TruncateToInteger truncates toward zero to int64; NaN, infinities and values outside int64 give
// INT64_MIN. Integer elements keep its low 8, 16 or 32 bits, so such values store 0. A plain C++
// cast of an out-of-range double is undefined behaviour, so the range is tested first; on x86-64
// the test and cvttsd2si compile to the same result the instruction alone gives.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

namespace qm {

[[gnu::always_inline]] inline int64_t TruncateToInteger(double x) noexcept {
    // Every double in [-2^63, 2^63) truncates into int64; NaN fails both tests.
    if (x >= -0x1p63 && x < 0x1p63) return static_cast<int64_t>(x);
    return std::numeric_limits<int64_t>::min();
}

[[gnu::always_inline]] inline int64_t TruncateToInteger(long double x) noexcept {
    // (-2^63 - 1, -2^63) truncates to -2^63 as well, which is the out-of-range value anyway.
    if (x > -0x1p63L - 1.0L && x < 0x1p63L) return static_cast<int64_t>(x);
    return std::numeric_limits<int64_t>::min();
}

template <class T> inline constexpr bool kIsFloat = std::is_floating_point_v<T>;

// Low bits of a 64-bit integer as an integer element: wrap-around, never saturation.
template <class D> [[gnu::always_inline]] constexpr D LowBits(int64_t v) noexcept {
    static_assert(std::is_integral_v<D>);
    return static_cast<D>(static_cast<std::make_unsigned_t<D>>(static_cast<uint64_t>(v)));
}

// Store rule of a floating result into element type D: floats round to nearest, integers take
// the low bits of TruncateToInteger.
template <class D, class F> [[gnu::always_inline]] inline D StoreFloat(F v) noexcept {
    if constexpr (kIsFloat<D>) {
        return static_cast<D>(v);
    } else {
        return LowBits<D>(TruncateToInteger(v));
    }
}

}  // namespace qm
