// SPDX-License-Identifier: MIT
// 505 decimal logarithm of every element, 506 natural logarithm and 507 square root of the last.
//
// 505: x > 0 stores log10(x) in extended precision (core/log10.h), rounded once to the
// destination; x <= 0 or NaN stores 0 and the call reports ElementNotComputed after finishing
// every element. Between integer types the truncated logarithm of x >= 1 is its number of decimal
// digits less one, so no logarithm is taken.
// 506 and 507 read every element but keep the last; ln or sqrt of it, in extended precision, goes
// into destination element 0 only (the others are left as they were). A last element <= 0 (zero
// included) or NaN stores 0 there and reports ElementNotComputed.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>

#include "core/log10.h"
#include "core/truncate.h"

namespace qm::scalar {

// 505 of one element x into a double the store rule turns into the target's element (0 where x
// is not positive); true when x was not positive. The kernels take this path for lanes their
// bound leaves open (core/log10_lanes.h); between integer types the digit count serves instead.
template <LogTarget T> inline bool Log10Exactly(double x, double& out) noexcept {
    const bool failed = !(x > 0.0);
    out = failed ? 0.0 : StoredLog<T>(Log10Extended(x));
    return failed;
}

// Between integer types: the number of decimal digits of x less one (0 for x below 1).
inline int64_t Digits(double x) noexcept {
    int64_t digits = 0;
    double power = 10.0;
    for (int k = 1; k <= 9; ++k, power *= 10.0) digits += static_cast<int64_t>(x >= power);
    return digits;
}

// 505 from 8- and 16-bit sources into floats: every result is a function of the element alone,
// so one table per (source, destination) type, built once with the rule above (at its first use, which costs
// one extended logarithm per source value), serves every later call. Null when memory for it
// cannot be had; the caller then computes element by element.
template <class S, class D> const D* Log10Table() noexcept {
    static_assert(std::is_integral_v<S> && sizeof(S) <= 2 && std::is_floating_point_v<D>);
    static const D* const table = []() noexcept -> const D* {
        constexpr size_t kValues = size_t{1} << (8 * sizeof(S));
        D* t = new (std::nothrow) D[kValues];
        if (t == nullptr) return nullptr;
        using U = std::make_unsigned_t<S>;
        for (size_t k = 0; k < kValues; ++k) {
            const auto x = static_cast<double>(static_cast<S>(static_cast<U>(k)));
            t[k] = x > 0.0 ? StoreFloat<D>(Log10Extended(x)) : D(0);
        }
        return t;
    }();
    return table;
}

// 505 through the table; true when some element was not positive.
template <class S, class D>
bool Log10ByTable(const D* table, const unsigned char* src, size_t n, unsigned char* dst) noexcept {
    using U = std::make_unsigned_t<S>;
    bool failed = false;
    for (size_t i = 0; i < n; ++i) {
        U k;
        std::memcpy(&k, src + i * sizeof(S), sizeof(S));
        failed |= !(static_cast<S>(k) > 0);
        std::memcpy(dst + i * sizeof(D), table + k, sizeof(D));
    }
    return failed;
}

// ln (506) or sqrt (507) of the last element into destination element 0; true when not positive.
template <class D, bool kRoot> inline bool LastElement(double last, unsigned char* dst) noexcept {
    const auto v = static_cast<long double>(last);
    const D r = v > 0.0L ? StoreFloat<D>(kRoot ? std::sqrt(v) : std::log(v)) : D(0);
    std::memcpy(dst, &r, sizeof(D));
    return !(v > 0.0L);
}

}  // namespace qm::scalar
