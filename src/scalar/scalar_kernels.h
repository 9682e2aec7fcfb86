// The scalar family's kernels of one instruction set: the stages a call runs over each block of
// elements. A block is read into doubles (or, for wrapping integer arithmetic, int32), the
// operation's plain form runs over it in place, and it is stored into the destination by the
// store rule; exact evaluations read the doubles and store each result themselves. The engine
// (scalar_engine.cpp) chooses the stages once per call; scalar_kernels_body.h holds them, built
// once for each instruction set.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/cpu.h"

namespace qm::scalar {

// Elements per block: the block's doubles stay in the first-level cache.
inline constexpr size_t kBlock = 512;

struct Constants {
    double a;
    double b;
};

// Plain forms, applied to a block of doubles in place.
enum class Form : uint8_t { Add, Mul, Div, Reciprocal, Clip, Band, Zero, Count };
// Exact evaluations: operation x {Exact, Scaled}.
enum class ExactOp : uint8_t { Add, Mul, Div, Reciprocal, Count };

using LoadFn = void (*)(const unsigned char* src, size_t n, double* out) noexcept;
using LoadIntFn = void (*)(const unsigned char* src, size_t n, int32_t* out) noexcept;
using FormFn = void (*)(double* v, size_t n, Constants c) noexcept;
using IntFormFn = void (*)(int32_t* v, size_t n, uint32_t c) noexcept;
using StoreFn = void (*)(const double* v, size_t n, unsigned char* dst) noexcept;
using StoreIntFn = void (*)(const int32_t* v, size_t n, unsigned char* dst) noexcept;
using ExactFn = void (*)(const double* v, size_t n, double a, unsigned char* dst) noexcept;

// Every array is indexed by element type code (0 and codes that have no such stage: null);
// U32 sources are read as I32.
struct Kernels {
    LoadFn load[9];
    LoadIntFn loadInt[9];
    FormFn form[static_cast<int>(Form::Count)];
    IntFormFn intAdd;
    IntFormFn intMul;
    StoreFn store[9];
    StoreIntFn storeInt[9];
    ExactFn exact[static_cast<int>(ExactOp::Count)][2][9];  // [operation][scaled][destination]
};

namespace baseline { extern const Kernels kKernels; }
namespace avx2 { extern const Kernels kKernels; }
namespace avx512 { extern const Kernels kKernels; }

inline constexpr IsaTables<Kernels> kTables{{&baseline::kKernels, &avx2::kKernels, &avx512::kKernels}};

}  // namespace qm::scalar
