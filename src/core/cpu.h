// Run-time choice of instruction set for the hot loops.
//
// Each hot loop is written once as an always-inline body and wrapped three times: baseline
// x86-64, AVX2 and AVX-512 (gnu::target on the wrapper, so the body is compiled for that set when
// it is inlined there). The set is detected once at load; the library never requires more than
// baseline x86-64. Tests may lower the active set to run the other variants on the same machine.
#pragma once

#include <cstdint>

namespace qm {

enum class Isa : uint8_t { Baseline = 0, Avx2 = 1, Avx512 = 2 };

// The best set this CPU supports (detected once).
Isa DetectedIsa() noexcept;

// The set the loops use now: DetectedIsa() unless lowered by SetActiveIsa.
Isa ActiveIsa() noexcept;

// Chooses the set the loops use, capped at what the CPU supports; returns the set in force.
Isa SetActiveIsa(Isa wanted) noexcept;

}  // namespace qm

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define QM_HAVE_ISA_VARIANTS 1
#define QM_TARGET_AVX2 [[gnu::target("avx2,fma,bmi,bmi2,popcnt")]]
#define QM_TARGET_AVX512 \
    [[gnu::target("avx512f,avx512bw,avx512dq,avx512vl,avx512cd,avx2,fma,bmi,bmi2,popcnt")]]
#else
#define QM_HAVE_ISA_VARIANTS 0
#define QM_TARGET_AVX2
#define QM_TARGET_AVX512
#endif

#define QM_INLINE [[gnu::always_inline]] inline

// Defines three wrappers NAME##Baseline, NAME##Avx2 and NAME##Avx512 around the always-inline
// template BODY, and NAME, which calls the one for the active set. TEMPLATE_PARAMS are the
// template parameters (with `template <...>` omitted), PARAMS the function parameters and ARGS
// the names passed on. Example:
//   QM_MULTIVERSION((class D, class S, class Rule), MapElements, MapElementsBody<D, S, Rule>,
//                   (D* d, const S* s, int32_t n, Rule r), (d, s, n, r))
#define QM_UNPAREN(...) __VA_ARGS__
#define QM_MULTIVERSION(TEMPLATE_PARAMS, RET, NAME, BODY, PARAMS, ARGS)                 \
    template <QM_UNPAREN TEMPLATE_PARAMS> RET NAME##Baseline PARAMS { return BODY ARGS; } \
    template <QM_UNPAREN TEMPLATE_PARAMS> QM_TARGET_AVX2 RET NAME##Avx2 PARAMS {           \
        return BODY ARGS;                                                                 \
    }                                                                                     \
    template <QM_UNPAREN TEMPLATE_PARAMS> QM_TARGET_AVX512 RET NAME##Avx512 PARAMS {       \
        return BODY ARGS;                                                                 \
    }                                                                                     \
    template <QM_UNPAREN TEMPLATE_PARAMS> RET NAME PARAMS {                               \
        switch (::qm::ActiveIsa()) {                                                      \
            case ::qm::Isa::Avx512: return NAME##Avx512 ARGS;                             \
            case ::qm::Isa::Avx2: return NAME##Avx2 ARGS;                                 \
            default: return NAME##Baseline ARGS;                                          \
        }                                                                                 \
    }
