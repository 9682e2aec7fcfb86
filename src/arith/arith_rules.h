// SPDX-License-Identifier: MIT
// Per-element rules of image-to-image arithmetic, each written once over a value type V (a
// vector of lanes, or one element).
//
// How an operand element enters: into an integer destination as its 32-bit integer entry
// (core/blocks.h: integers sign- or zero-extended, floats truncated toward zero keeping the low 32
// bits), into a float destination as its exact double. Sums, differences and products into an
// integer destination are done in wrapping 32-bit arithmetic, whose low bits are those of the
// same operation in the destination's own width; into a float destination in double, rounded
// once by the store.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/cpu.h"

namespace qm::arith {

// The four operations, by process code.
enum OpCode : int32_t { kAdd = 1, kSubtract = 2, kDivide = 3, kMultiply = 4 };

struct AddRule {
    QM_INLINE static uint32_t Integer(uint32_t a, uint32_t b) noexcept { return a + b; }
    template <class V> QM_INLINE static V Real(V a, V b) noexcept { return a + b; }
};
struct SubtractRule {
    QM_INLINE static uint32_t Integer(uint32_t a, uint32_t b) noexcept { return a - b; }
    template <class V> QM_INLINE static V Real(V a, V b) noexcept { return a - b; }
};
struct MultiplyRule {
    QM_INLINE static uint32_t Integer(uint32_t a, uint32_t b) noexcept { return a * b; }
    template <class V> QM_INLINE static V Real(V a, V b) noexcept { return a * b; }
};

// Division: into floats by RealQuotient, into integers by IntegerQuotient.
struct DivideRule {};

// Division into a float destination: a divisor equal to 0 or not a number gives the element 0
// (and the call reports it); otherwise the double quotient. `vanished` is true where that held.
template <class V> QM_INLINE V RealQuotient(V a, V b, decltype(b < b)& kept) noexcept {
    kept = (b < 0.0) | (b > 0.0);
    return kept ? a / b : V{};
}

// Division into an integer destination D: the dividend and divisor entries are reduced to D (its
// width and signedness) and divided truncating toward zero. A divisor that only becomes zero on
// the way (0.5 truncated, or 256 reduced to 8 bits) is a zero divisor as well: element 0, reported.
// A signed -2^31 / -1 stores -2^31 (the negation wraps); in 8 and 16 bits the division is done in
// 32 bits and its low bits give -128 and -32768 the same way. Returns true for a zero divisor.
//
// The quotient comes from a floating division, which vectorises where an integer division cannot,
// and is exact: when the quotient is not an integer it lies at least 1/|divisor| from the next
// integer, farther than the rounding can move it as long as |dividend| is below 2^24 (float) or
// 2^53 (double), and rounding never passes the integer next to it toward zero.
template <class D> QM_INLINE bool IntegerQuotient(uint32_t a, uint32_t b, D& out) noexcept {
    static_assert(std::is_integral_v<D>);
    const auto dividend = static_cast<D>(a);
    const auto divisor = static_cast<D>(b);
    const bool vanishes = divisor == 0;
    const D safe = vanishes ? D(1) : divisor;
    D q;
    if constexpr (sizeof(D) <= 2) {
        q = static_cast<D>(static_cast<int32_t>(static_cast<float>(dividend) / static_cast<float>(safe)));
    } else if constexpr (std::is_signed_v<D>) {
        const bool negate = safe == -1;
        const double t = static_cast<double>(dividend) / static_cast<double>(negate ? 1 : safe);
        q = negate ? static_cast<int32_t>(0u - static_cast<uint32_t>(dividend)) : static_cast<int32_t>(t);
    } else {
        q = static_cast<uint32_t>(static_cast<double>(dividend) / static_cast<double>(safe));
    }
    out = vanishes ? D(0) : q;
    return vanishes;
}

}  // namespace qm::arith
