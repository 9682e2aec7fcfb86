// SPDX-License-Identifier: MIT
// The module's decimal logarithm: evaluated in extended precision (long double), with the powers
// of ten that extended precision holds exactly giving their exponent exactly (the library
// logarithm may miss it by an ulp, at 10^3 and 10^6 among others).
#pragma once

#include <cmath>
#include <cstdint>

#include "core/element_types.h"
#include "core/truncate.h"

namespace qm {

inline long double Log10Extended(long double x) noexcept {
    static constexpr long double kPowersOfTen[] = {1e0L,  1e1L,  1e2L,  1e3L,  1e4L,  1e5L,  1e6L,  1e7L,  1e8L,  1e9L,
                                                   1e10L, 1e11L, 1e12L, 1e13L, 1e14L, 1e15L, 1e16L, 1e17L, 1e18L, 1e19L,
                                                   1e20L, 1e21L, 1e22L, 1e23L, 1e24L, 1e25L, 1e26L, 1e27L};
    const long double l = std::log10(x);
    if (l > -0.5L && l < 27.5L) {
        const int k = static_cast<int>(l + 0.5L);
        if (x == kPowersOfTen[k]) return static_cast<long double>(k);
    }
    return l;
}

// What a logarithm is stored into decides which of its digits matter: singles need its rounding
// to a single, integers its truncation, doubles every bit a double can hold.
enum class LogTarget : uint8_t { Single, Integer, Double };

constexpr LogTarget LogTargetOf(int32_t type) noexcept {
    return type == kF32 ? LogTarget::Single : type == kF64 ? LogTarget::Double : LogTarget::Integer;
}

// A double that the store rule turns into the same element of the target's type as the extended
// logarithm l: the single it rounds to, its truncation (INT64_MIN, -2^63, for NaN and infinities),
// or l rounded to double.
template <LogTarget T> inline double StoredLog(long double l) noexcept {
    if constexpr (T == LogTarget::Single)
        return static_cast<float>(l);
    else if constexpr (T == LogTarget::Integer)
        return static_cast<double>(TruncateToInteger(l));
    else
        return static_cast<double>(l);
}

}  // namespace qm
