// SPDX-License-Identifier: MIT
// Blocks of elements moved between host images and the kernels' working types: every family
// reads a run of elements into doubles (exactly) or into their integer entry (int32), works on
// the block in the first-level cache, and stores it back by the module's store rule. One table
// of these stages per instruction set (blocks_body.h), chosen once at load.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/cpu.h"

namespace qm::blocks {

// Elements per block: a block of doubles stays in the first-level cache.
inline constexpr size_t kBlock = 512;

using LoadFn = void (*)(const unsigned char* src, size_t n, double* out) noexcept;
using EntryFn = void (*)(const unsigned char* src, size_t n, int32_t* out) noexcept;
using StoreFn = void (*)(const double* v, size_t n, unsigned char* dst) noexcept;
using StoreIntFn = void (*)(const int32_t* v, size_t n, unsigned char* dst) noexcept;

// Indexed by element type code (1 to 8; U32 elements are read as I32).
struct Kernels {
    // Elements exactly as doubles.
    LoadFn load[9];
    // Elements as they enter integer arithmetic: integers sign- or zero-extended to their 32-bit
    // pattern, floats truncated toward zero keeping the low 32 bits (0 for NaN, infinities and
    // values beyond int64).
    EntryFn entry[9];
    // Doubles by the store rule: floats rounded to nearest, integers the low bits of the
    // truncation toward zero (0 for NaN, infinities and values beyond int64).
    StoreFn store[9];
    // The low bits of int32 values into integer elements (null for float types).
    StoreIntFn storeInt[9];
    // n bytes with streaming stores of the set's widest register (core/stream.h's StreamCopy).
    void (*streamCopy)(unsigned char* dst, const unsigned char* src, size_t n) noexcept;
};

QM_FAMILY_TABLES(Kernels);

}  // namespace qm::blocks
