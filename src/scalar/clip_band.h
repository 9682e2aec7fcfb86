// SPDX-License-Identifier: MIT
// 256 clip to [A, B] and 500 band mask (A, B).
//
// Both compare the widened element with the double constants, so the plain double form is exact:
// clip stores A, B or the element itself through the store rule, band stores 1 or 0.
#pragma once

#include "core/cpu.h"

namespace qm::scalar {

// a in every lane of V (a - 0 keeps the sign of a zero, where 0 + a would not).
template <class V> QM_INLINE V Broadcast(double a) noexcept { return a - V{}; }

// 256: A is tested first, so with A > B every result is A or B; an unordered comparison counts as
// below, so a NaN element stores A.
struct ClipForm {
    template <class V> QM_INLINE static V Apply(V x, double a, double b) noexcept {
        return !(x >= a) ? Broadcast<V>(a) : (x > b ? Broadcast<V>(b) : x);
    }
};

// 500: 1 strictly inside (A, B), else 0 (NaN gives 0).
struct BandForm {
    template <class V> QM_INLINE static V Apply(V x, double a, double b) noexcept {
        return ((x > a) & (x < b)) ? Broadcast<V>(1.0) : V{};
    }
};

}  // namespace qm::scalar
