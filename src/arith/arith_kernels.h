// SPDX-License-Identifier: MIT
// The arithmetic family's kernels of one instruction set: what a call does to each block of
// operand elements between the block stages of core/blocks.h. arith_kernels_body.h holds them,
// built once for each instruction set; the dispatcher picks them once per call.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/cpu.h"

namespace qm::arith {

// a := a op (the integer entries of n elements of operand 2 at b): add, subtract, multiply, wrapping.
using IntegerFn = void (*)(int32_t* a, const unsigned char* b, size_t n) noexcept;
// a := a op (n elements of operand 2 at b, as doubles); true when some divisor was 0 or NaN.
using RealFn = bool (*)(double* a, const unsigned char* b, size_t n) noexcept;
// The quotients of n entries, reduced to the destination type, stored; true for a zero divisor.
using DivideFn = bool (*)(const int32_t* a, const int32_t* b, size_t n, unsigned char* dst) noexcept;
// Both operands of one type, in one pass from the operands to the destination; true for a zero
// divisor.
using DirectFn = bool (*)(const unsigned char* a, const unsigned char* b, size_t n, unsigned char* dst) noexcept;

struct Kernels {
    IntegerFn integer[5][9];   // [process code 1, 2, 4][operand 2 type code (U32 read as I32)]
    RealFn real[5][9];         // [process code 1 to 4][operand 2 type code]
    DivideFn divide[9];        // by integer destination type code
    DirectFn direct[5][9][9];  // [process code][operand type code (U32 read as I32)][destination]; null elsewhere
};

QM_FAMILY_TABLES(Kernels);

}  // namespace qm::arith
