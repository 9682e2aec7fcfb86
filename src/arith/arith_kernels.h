// The element loop of image-to-image arithmetic and the kernels built on it.
//
// One loop applies an element rule (arith_rules.h) over three buffers walked by index; it is
// compiled for baseline x86-64, AVX2 and AVX-512 and the variant is chosen once per call. Element
// i of both operands is read before element i of the destination is written, so the destination
// may be the very buffer of an operand of the same element size.
#pragma once

#include <cstdint>

#include "arith/arith_rules.h"
#include "core/cpu.h"
#include "core/status.h"

namespace qm {

// Applies Rule to every element; returns non-zero when some element met a zero divisor.
template <class D, class A, class B, class Rule>
QM_INLINE uint32_t ArithLoopBody(D* d, const A* a, const B* b, int32_t count, Rule /*rule*/) noexcept {
    uint32_t zero = 0;
    for (int32_t i = 0; i < count; ++i) d[i] = Rule::template Apply<A, B>(a[i], b[i], zero);
    return zero;
}

QM_MULTIVERSION((class D, class A, class B, class Rule), uint32_t, ArithLoop, (ArithLoopBody<D, A, B, Rule>),
                (D * d, const A* a, const B* b, int32_t count, Rule rule), (d, a, b, count, rule))

// Operation Op (process code 1 to 4) into destination elements D from operands A and B.
template <class D, int32_t Op, class A, class B>
Status ArithKernel(D* d, const A* a, const B* b, int32_t count) noexcept {
    if (count < 1) return Status::MissingImage;
    const uint32_t zero = ArithLoop(d, a, b, count, ArithRule<D, Op>{});
    return zero != 0 ? Status::ElementNotComputed : Status::Ok;
}

// The kernel families by destination and operation, for operand element types A and B.
template <class A, class B> inline constexpr auto KernelSubU16 = &ArithKernel<uint16_t, kArithSubtract, A, B>;
template <class A, class B> inline constexpr auto KernelDivU16 = &ArithKernel<uint16_t, kArithDivide, A, B>;
template <class A, class B> inline constexpr auto KernelMulU16 = &ArithKernel<uint16_t, kArithMultiply, A, B>;
template <class A, class B> inline constexpr auto KernelAddU32 = &ArithKernel<uint32_t, kArithAdd, A, B>;
template <class A, class B> inline constexpr auto KernelSubU32 = &ArithKernel<uint32_t, kArithSubtract, A, B>;
template <class A, class B> inline constexpr auto KernelDivU32 = &ArithKernel<uint32_t, kArithDivide, A, B>;
template <class A, class B> inline constexpr auto KernelMulU32 = &ArithKernel<uint32_t, kArithMultiply, A, B>;
template <class A, class B> inline constexpr auto KernelAddI8 = &ArithKernel<int8_t, kArithAdd, A, B>;
template <class A, class B> inline constexpr auto KernelSubI8 = &ArithKernel<int8_t, kArithSubtract, A, B>;
template <class A, class B> inline constexpr auto KernelDivI8 = &ArithKernel<int8_t, kArithDivide, A, B>;
template <class A, class B> inline constexpr auto KernelMulI8 = &ArithKernel<int8_t, kArithMultiply, A, B>;

}  // namespace qm
