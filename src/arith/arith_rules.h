// Per-element rules of image-to-image arithmetic: how an operand element enters the arithmetic,
// and what each operation makes of two elements for a destination type. Each rule is written once
// here; the loops in arith_kernels.h apply them to every type combination.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/cpu.h"
#include "core/truncate.h"

namespace qm {

// The four operations, by process code.
enum ArithOpCode : int32_t { kArithAdd = 1, kArithSubtract = 2, kArithDivide = 3, kArithMultiply = 4 };

// An operand element as it enters integer arithmetic: its 32-bit pattern. Narrow integers are
// sign- or zero-extended by their own type; floats are truncated toward zero and keep the low 32
// bits of the 64-bit truncation (0 for NaN, infinities and values beyond the 64-bit range).
template <class T> QM_INLINE uint32_t IntegerValue(T v) noexcept {
    if constexpr (kIsFloat<T>) {
        return static_cast<uint32_t>(static_cast<uint64_t>(TruncateToInteger(static_cast<double>(v))));
    } else {
        return static_cast<uint32_t>(static_cast<int32_t>(v));
    }
}

// Element types of which a float holds every value exactly. With both operands of such types, a
// sum, difference, product or quotient done in float is the double one rounded to float: double
// carries more than twice float's precision, so rounding twice gives the same as rounding once.
template <class T>
inline constexpr bool kExactInFloat = std::is_same_v<T, float> || (std::is_integral_v<T> && sizeof(T) <= 2);

// Addition, subtraction and multiplication: one integer form (unsigned, so it wraps) and one
// double form. An integer destination keeps the low bits of the 32-bit result, which are the
// low bits of the same operation done in its own width.
struct AddRule {
    static constexpr uint32_t Integer(uint32_t a, uint32_t b) noexcept { return a + b; }
    template <class F> static constexpr F Real(F a, F b) noexcept { return a + b; }
};
struct SubtractRule {
    static constexpr uint32_t Integer(uint32_t a, uint32_t b) noexcept { return a - b; }
    template <class F> static constexpr F Real(F a, F b) noexcept { return a - b; }
};
struct MultiplyRule {
    static constexpr uint32_t Integer(uint32_t a, uint32_t b) noexcept { return a * b; }
    template <class F> static constexpr F Real(F a, F b) noexcept { return a * b; }
};

// Element rule of add, subtract or multiply into destination type D. Float destinations combine
// both values in double and round once to D (done in float, or in integers, where that gives the
// same element); integer destinations never leave integer arithmetic unless an operand is a
// float. `zero` is untouched (no divisor here).
template <class D, class Op> struct CombineInto {
    template <class A, class B> QM_INLINE static D Apply(A a, B b, uint32_t& /*zero*/) noexcept {
        if constexpr (std::is_same_v<D, float> && kExactInFloat<A> && kExactInFloat<B>) {
            return Op::Real(static_cast<float>(a), static_cast<float>(b));
        } else if constexpr (kIsFloat<D> && kNarrowIntegers<A, B>) {
            // The double result is exact here, so it equals the integer result, which converts
            // faster: sums and differences lie within int32, products of unsigned elements within
            // uint32. (A signed product is left to double: -1 x 0 is -0.0 there.)
            const uint32_t r = Op::Integer(IntegerValue(a), IntegerValue(b));
            if constexpr (kUnsignedProduct<A, B>) return static_cast<D>(r);
            else return static_cast<D>(static_cast<int32_t>(r));
        } else if constexpr (kIsFloat<D>) {
            return static_cast<D>(Op::Real(static_cast<double>(a), static_cast<double>(b)));
        } else {
            return static_cast<D>(Op::Integer(IntegerValue(a), IntegerValue(b)));
        }
    }

private:
    template <class A, class B>
    static constexpr bool kUnsignedProduct =
        std::is_same_v<Op, MultiplyRule> && std::is_unsigned_v<A> && std::is_unsigned_v<B>;
    template <class A, class B>
    static constexpr bool kNarrowIntegers = std::is_integral_v<A> && std::is_integral_v<B> && sizeof(A) <= 2 &&
                                            sizeof(B) <= 2 &&
                                            (!std::is_same_v<Op, MultiplyRule> || kUnsignedProduct<A, B>);
};

// Element rule of division into destination type D. A divisor that is zero or not a number gives
// the element 0 and sets `zero`; the loop goes on.
//
// Integer destinations reduce the dividend and the truncated divisor to D (its width and its
// signedness) and divide truncating toward zero. A divisor that only becomes zero on the way
// (0.5, or 256 reduced to 8 bits) is a zero divisor as well, so the test is on the reduced
// divisor: a zero or NaN double truncates to a pattern whose low bits are 0 anyway. The quotient
// is computed with a divisor that cannot be zero and then replaced by 0, so the loop has no
// branch. A signed 32-bit -2^31 / -1 stores -2^31 (the negation wraps); in 8 and 16 bits the
// division is done in 32 bits and its low bits give -128 and -32768 the same way.
template <class D> struct DivideInto {
    template <class A, class B> QM_INLINE static D Apply(A a, B b, uint32_t& zero) noexcept {
        if constexpr (std::is_same_v<D, float> && kExactInFloat<A> && kExactInFloat<B>) {
            const float divisor = static_cast<float>(b);
            const bool vanishes = !(divisor < 0.0f || divisor > 0.0f);  // equal to 0, or unordered
            zero |= vanishes;
            const float q = static_cast<float>(a) / (vanishes ? 1.0f : divisor);
            return vanishes ? 0.0f : q;
        } else if constexpr (kIsFloat<D>) {
            const double divisor = static_cast<double>(b);
            const bool vanishes = !(divisor < 0.0 || divisor > 0.0);  // equal to 0, or unordered
            zero |= vanishes;
            const double q = static_cast<double>(a) / (vanishes ? 1.0 : divisor);
            return vanishes ? D(0) : static_cast<D>(q);
        } else {
            const D dividend = static_cast<D>(IntegerValue(a));
            const D divisor = static_cast<D>(IntegerValue(b));
            const bool vanishes = divisor == 0;
            zero |= vanishes;
            const D q = Quotient(dividend, vanishes ? D(1) : divisor);
            return vanishes ? D(0) : q;
        }
    }

private:
    // Truncating quotient of two reduced values; `divisor` is not 0. It is taken from a floating
    // division, which vectorises where an integer division cannot, and is exact: when the
    // quotient is not an integer it lies at least 1/|divisor| from the next integer, farther than
    // the rounding can move it as long as |dividend| is below 2^24 (float) or 2^53 (double), and
    // rounding never passes the integer next to it toward zero; integral quotients are exact.
    QM_INLINE static D Quotient(D dividend, D divisor) noexcept {
        if constexpr (sizeof(D) <= 2) {
            const float q = static_cast<float>(dividend) / static_cast<float>(divisor);
            return static_cast<D>(static_cast<int32_t>(q));  // |q| <= 2^16: in range
        } else if constexpr (std::is_same_v<D, int32_t>) {
            // -1 negates (wrapping), so -2^31 / -1 stores -2^31; every other quotient fits.
            const bool negate = divisor == -1;
            const double q = static_cast<double>(dividend) / static_cast<double>(negate ? 1 : divisor);
            const int32_t t = static_cast<int32_t>(q);
            return negate ? static_cast<int32_t>(0u - static_cast<uint32_t>(dividend)) : t;
        } else {
            return static_cast<uint32_t>(static_cast<double>(dividend) / static_cast<double>(divisor));
        }
    }
};

// The element rule of operation Op (a process code 1 to 4) into destination type D.
template <class D, int32_t Op> struct ArithRuleOf;
template <class D> struct ArithRuleOf<D, kArithAdd> { using type = CombineInto<D, AddRule>; };
template <class D> struct ArithRuleOf<D, kArithSubtract> { using type = CombineInto<D, SubtractRule>; };
template <class D> struct ArithRuleOf<D, kArithDivide> { using type = DivideInto<D>; };
template <class D> struct ArithRuleOf<D, kArithMultiply> { using type = CombineInto<D, MultiplyRule>; };
template <class D, int32_t Op> using ArithRule = typename ArithRuleOf<D, Op>::type;

}  // namespace qm
