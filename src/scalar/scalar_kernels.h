// SPDX-License-Identifier: MIT
// The scalar family's kernels of one instruction set: what a call does to each block of elements
// besides the block stages of core/blocks.h. A block is read into doubles (or, for wrapping
// integer arithmetic, int32) with the operation's plain form applied on the way, then stored by
// the store rule; exact evaluations run in vector lanes straight from the source (into floats, and
// into integers within 2^30), or read the doubles and store each result themselves. The engine
// (scalar_engine.cpp) chooses the stages once per call; scalar_kernels_body.h holds them, built
// once for each instruction set.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/cpu.h"
#include "scalar/integer_form.h"

namespace qm::scalar {

struct Constants {
    double a;
    double b;
};

// Plain forms, applied to the elements as they are read into a block of doubles.
enum class Form : uint8_t { Add, Mul, Div, Reciprocal, Clip, Band, Zero, Count };

// 505 between integer types: each value's number of decimal digits less one (0 for values below 1)
// stored straight into the destination; true when some value was not positive.
using DigitsFn = bool (*)(const unsigned char* src, size_t n, unsigned char* dst) noexcept;
// Exact evaluations, by operation; Scaled ones over a block of doubles.
enum class ExactOp : uint8_t { Add, Mul, Div, Reciprocal, Count };

using FormFn = void (*)(const unsigned char* src, size_t n, double* v, Constants c) noexcept;
// Integer sources into integer destinations: the integer entries with wrapping 32-bit add or
// multiply by c, stored (their low bits) straight into the destination.
using IntFormFn = void (*)(const unsigned char* src, size_t n, unsigned char* dst, uint32_t c) noexcept;
// 8- and 16-bit integer sources into integer destinations: x / a (or 1 / x, 0 for x = 0) divided in
// singles and truncated, straight into the destination (divide_reciprocal.h says when).
using NarrowFn = void (*)(const unsigned char* src, size_t n, unsigned char* dst, double a) noexcept;
// Clip and band mask of 8- and 16-bit integer sources, in integer lanes straight into the
// destination (integers and F32).
using IntBoundsFn = void (*)(const unsigned char* src, size_t n, unsigned char* dst, Constants c) noexcept;
// 8- and 16-bit integer sources into integer destinations: the floor form of integer_form.h, its
// low bits stored straight into the destination.
using FloorFormFn = void (*)(const unsigned char* src, size_t n, unsigned char* dst, const FloorForm& k) noexcept;
using ExactFn = void (*)(const double* v, size_t n, double a, unsigned char* dst) noexcept;
// Exact and Exact32 evaluations in vector lanes, straight from the source, into F32 and integers.
using ExactLanesFn = void (*)(const unsigned char* src, size_t n, double a, unsigned char* dst) noexcept;
// 505 over a block of doubles in place: each becomes a double that the destination's store rule
// turns into the stored logarithm (0 for values not positive); true when some value was not
// positive.
using Log10Fn = bool (*)(double* v, size_t n) noexcept;
// 505 from I32, F32 and F64 sources straight into F32, 32-bit integer and (where the set has double
// lanes) F64 destinations; true when some element was not positive.
using Log10DirectFn = bool (*)(const unsigned char* src, size_t n, unsigned char* dst) noexcept;
// 505 from 8- and 16-bit sources into singles through the table of every result (log_root.h);
// true when some element was not positive.
using Log10GatherFn = bool (*)(const float* table, const unsigned char* src, size_t n, unsigned char* dst) noexcept;

struct Kernels {
    // By source type code (U32 read as I32); the integer ones for integer sources only.
    FormFn form[9][static_cast<int>(Form::Count)];
    DigitsFn digits[9][9];   // [source][destination], integer types only
    IntFormFn intAdd[9][9];  // [source][destination], integer types only
    IntFormFn intMul[9][9];
    FloorFormFn floor[9][9];      // [source][destination], 8- and 16-bit sources into integer types
    IntBoundsFn bounds[2][9][9];  // [clip, band][source][destination], where they apply
    NarrowFn narrow[2][9][9];     // [divide, reciprocal][source][destination], where they apply
    ExactFn scaled[static_cast<int>(ExactOp::Count)][9];            // [operation][destination]
    ExactLanesFn lanes[static_cast<int>(ExactOp::Count)][9][2][9];  // [operation][source][Exact, Exact32][destination]
    Log10Fn log10[3];                                               // by LogTarget of the destination
    Log10DirectFn log10Direct[9][9];                                // [source][destination], where it applies
    Log10GatherFn log10Gather[9];                                   // by source type code, 8- and 16-bit ones
};

QM_FAMILY_TABLES(Kernels);

}  // namespace qm::scalar
