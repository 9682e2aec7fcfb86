// The type-pair routines: one template over the two operand element types, instantiated for the
// 49 pairs the dispatcher distinguishes (U32 operands are read through the I32 routines).
#pragma once

#include <array>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "arith/arith_dispatch.h"
#include "arith/arith_kernels.h"
#include "core/element_types.h"
#include "core/status.h"
#include "qmath/qmath.h"

namespace qm {

namespace arith_detail {

using ErasedKernel = Status (*)(void* d, const void* a, const void* b, int32_t count) noexcept;

template <class D, int32_t Op, class A, class B>
Status RunKernel(void* d, const void* a, const void* b, int32_t count) noexcept {
    return ArithKernel<D, Op, A, B>(static_cast<D*>(d), static_cast<const A*>(a), static_cast<const B*>(b), count);
}

// Integer destinations keep only low bits, so some kernels serve several type combinations:
// an integer operand at least as wide as the destination contributes only its low bits, whatever
// its signedness, and a sum, difference or product has the same low bits in a signed or unsigned
// destination. The table points those combinations at one kernel over unsigned elements (the
// buffers are read and written through the unsigned type of the same width).
template <class T, bool = std::is_integral_v<T>> struct UnsignedOfT { using type = T; };
template <class T> struct UnsignedOfT<T, true> { using type = std::make_unsigned_t<T>; };
template <class T> using UnsignedOf = typename UnsignedOfT<T>::type;

template <class T, class D>
using SharedOperand = std::conditional_t<std::is_integral_v<T> && std::is_integral_v<D> && sizeof(T) >= sizeof(D),
                                         UnsignedOf<T>, T>;

template <class D, int32_t Op> using SharedDestination = std::conditional_t<Op == kArithDivide, D, UnsignedOf<D>>;

template <class D, int32_t Op, class A, class B>
inline constexpr ErasedKernel kSharedKernel =
    &RunKernel<SharedDestination<D, Op>, Op, SharedOperand<A, D>, SharedOperand<B, D>>;

// [destination type code][process code] -> kernel; row and column 0 unused.
using KernelTable = std::array<std::array<ErasedKernel, 5>, 9>;

template <class A, class B, int32_t... Dst>
constexpr KernelTable MakeKernelTable(std::integer_sequence<int32_t, Dst...>) noexcept {
    KernelTable table{};
    ((table[Dst] = {nullptr, kSharedKernel<Element<Dst>, kArithAdd, A, B>,
                    kSharedKernel<Element<Dst>, kArithSubtract, A, B>, kSharedKernel<Element<Dst>, kArithDivide, A, B>,
                    kSharedKernel<Element<Dst>, kArithMultiply, A, B>}),
     ...);
    return table;
}

template <class A, class B>
inline constexpr KernelTable kKernels =
    MakeKernelTable<A, B>(std::integer_sequence<int32_t, kI8, kI16, kI32, kF32, kF64, kU8, kU16, kU32>{});

}  // namespace arith_detail

// Operation `op` of operand elements A and B into `dst`, whose type decides the loop. A type
// outside 1 to 8 is refused, an operation outside 1 to 4 writes nothing and succeeds, an empty
// count is a missing image; otherwise the loop for (destination type, operation) runs and 8003
// reports zero divisors.
template <class A, class B>
Status ArithPair(int32_t op, const QmdDataStruct* dst, const void* op1, const void* op2, int32_t count) noexcept {
    const int32_t type = dst->eType;
    if (!IsNumericType(type)) return Status::UnsupportedType;
    if (op < kArithAdd || op > kArithMultiply) return Status::Ok;
    if (count < 1) return Status::MissingImage;
    return arith_detail::kKernels<A, B>[static_cast<size_t>(type)][static_cast<size_t>(op)](dst->pData, op1, op2,
                                                                                            count);
}

// The routines by name: Arith followed by operand 1's and operand 2's type.
#define QM_ARITH_ROUTINE(X, Y) inline constexpr ArithRoutine Arith##X##Y = &ArithPair<Element<k##X>, Element<k##Y>>;
#define QM_ARITH_ROUTINE_ROW(X)                                                                                   \
    QM_ARITH_ROUTINE(X, I8) QM_ARITH_ROUTINE(X, I16) QM_ARITH_ROUTINE(X, I32) QM_ARITH_ROUTINE(X, F32)          \
    QM_ARITH_ROUTINE(X, F64) QM_ARITH_ROUTINE(X, U8) QM_ARITH_ROUTINE(X, U16)
QM_ARITH_ROUTINE_ROW(I8)
QM_ARITH_ROUTINE_ROW(I16)
QM_ARITH_ROUTINE_ROW(I32)
QM_ARITH_ROUTINE_ROW(F32)
QM_ARITH_ROUTINE_ROW(F64)
QM_ARITH_ROUTINE_ROW(U8)
QM_ARITH_ROUTINE_ROW(U16)
#undef QM_ARITH_ROUTINE_ROW
#undef QM_ARITH_ROUTINE

}  // namespace qm
