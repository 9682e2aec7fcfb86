// SPDX-License-Identifier: MIT
// Image-to-image arithmetic: processes 1 add, 2 subtract, 3 divide, 4 multiply.
#pragma once

#include <cstdint>

#include "core/status.h"
#include "qmath/qmath.h"

namespace qm {

// Checks the three descriptors in order (destination, operand 1, operand 2 missing: MissingImage;
// any count below 1: MissingImage; counts differ: CountMismatch; operand types outside 1 to 8:
// UnsupportedType), then runs the pair routine of the two operand types.
Status ArithDispatch(int32_t op, const QmdDataStruct* dst, const QmdDataStruct* op1, const QmdDataStruct* op2) noexcept;

// A type-pair routine: operation `op` of `count` elements of operand 1 and operand 2 into `dst`.
using ArithRoutine = Status (*)(int32_t op, const QmdDataStruct* dst, const void* op1, const void* op2,
                                int32_t count) noexcept;

// The routine the dispatcher runs for two operand type codes; null when either is outside 1 to 8.
ArithRoutine ArithRoutineFor(int32_t op1Type, int32_t op2Type) noexcept;

// The type-pair routine of operand type codes A and B (the 49 routines ArithI8I8 to ArithU16U16;
// U32 operands use the I32 ones). A destination type outside 1 to 8 is refused, an operation
// outside 1 to 4 writes nothing and succeeds, an empty count is a missing image; otherwise every
// element is computed and ElementNotComputed reports zero divisors.
template <int32_t A, int32_t B>
Status ArithPair(int32_t op, const QmdDataStruct* dst, const void* op1, const void* op2, int32_t count) noexcept;

}  // namespace qm
