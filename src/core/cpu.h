// SPDX-License-Identifier: MIT
// The instruction set the kernels run on, chosen once at load.
//
// Every family keeps its hot loops in three translation units, one per instruction set (baseline
// x86-64, AVX2, AVX-512), each compiled with its own flags and filling the same table of kernels
// (see core/lanes.h). At load the module picks the best set the CPU supports, lowered by the
// environment variable QMATH_ISA (baseline, avx2 or avx512; never above what the CPU has), and
// every family reads its table through KernelsFor. Tests may switch the set with SetActiveIsa.
// The AVX-512 set means AVX-512 F, BW, DQ and VL with VBMI (byte permutes): Ice Lake, Zen 4 and
// later; older AVX-512 processors run the AVX2 set.
// The shipped library never requires more than baseline x86-64.
#pragma once

#include <atomic>
#include <cstdint>

namespace qm {

enum class Isa : uint8_t { Baseline = 0, Avx2 = 1, Avx512 = 2 };
inline constexpr int kIsaCount = 3;

// The best set this CPU supports (detected once).
Isa DetectedIsa() noexcept;

// The set the kernels use now.
Isa ActiveIsa() noexcept;

// Chooses the set the kernels use, capped at what the CPU supports; returns the set in force.
Isa SetActiveIsa(Isa wanted) noexcept;

// The set QMATH_ISA asks for, read from `text` (null or unknown: the detected set), capped at the
// detected set. This is the choice made at load.
Isa IsaFromEnvironment(const char* text) noexcept;

// A family's kernel tables, one per set; a set without a table of its own (where it would not
// beat the one below) points at the narrower one's.
template <class Table> struct IsaTables {
    const Table* bySet[kIsaCount];
    const Table& Active() const noexcept { return *bySet[static_cast<int>(ActiveIsa())]; }
};

}  // namespace qm

// Inside a family's namespace: declares the table that each set's unit defines as
// `<set>::kKernels` and the family's `kTables` over the three.
#define QM_FAMILY_TABLES(Table)                                     \
    namespace baseline {                                            \
    extern const Table kKernels;                                    \
    }                                                               \
    namespace avx2 {                                                \
    extern const Table kKernels;                                    \
    }                                                               \
    namespace avx512 {                                              \
    extern const Table kKernels;                                    \
    }                                                               \
    inline constexpr ::qm::IsaTables<Table> kTables {               \
        { &baseline::kKernels, &avx2::kKernels, &avx512::kKernels } \
    }

#define QM_INLINE [[gnu::always_inline]] inline
// The same for a lambda, written after its parameter list.
#define QM_LAMBDA_INLINE __attribute__((always_inline))
