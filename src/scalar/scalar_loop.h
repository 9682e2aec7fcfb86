// The loops that apply a per-element rule to a whole image, compiled for three instruction sets.
//
// The rule decides what an element becomes; the loop only walks the elements in order, reading
// element i before writing element i (so the destination may be the source itself). The AVX2 and
// AVX-512 variants are compiled with FMA, and tell the rule so, so that exact products and
// remainders take one fused instruction there; the baseline variant splits operands instead.
#pragma once

#include <cstdint>

#include "core/cpu.h"
#include "core/status.h"

namespace qm {

template <bool kFma, class D, class S, class Rule>
QM_INLINE void MapBody(void* dst, const S* src, int32_t n, const Rule& rule) noexcept {
    D* d = static_cast<D*>(dst);
    const Rule r = rule;  // a local copy: stores through d cannot change it, so its constants stay in registers
    for (int32_t i = 0; i < n; ++i) d[i] = r.template Apply<D, kFma>(src[i]);
}

// As MapBody, for rules that report elements they could not compute; returns whether any failed.
template <bool, class D, class S, class Rule>
QM_INLINE uint32_t MapCheckedBody(void* dst, const S* src, int32_t n, const Rule& rule) noexcept {
    D* d = static_cast<D*>(dst);
    const Rule r = rule;
    uint32_t failed = 0;
    for (int32_t i = 0; i < n; ++i) d[i] = r.template Apply<D>(src[i], failed);
    return failed;
}

#define QM_SCALAR_LOOP(RET, NAME, BODY)                                                              \
    template <class D, class S, class Rule> RET NAME##Baseline(void* d, const S* s, int32_t n,       \
                                                               const Rule& r) noexcept {             \
        return BODY<false, D>(d, s, n, r);                                                           \
    }                                                                                                \
    template <class D, class S, class Rule>                                                          \
    QM_TARGET_AVX2 RET NAME##Avx2(void* d, const S* s, int32_t n, const Rule& r) noexcept {          \
        return BODY<QM_HAVE_ISA_VARIANTS != 0, D>(d, s, n, r);                                       \
    }                                                                                                \
    template <class D, class S, class Rule>                                                          \
    QM_TARGET_AVX512 RET NAME##Avx512(void* d, const S* s, int32_t n, const Rule& r) noexcept {      \
        return BODY<QM_HAVE_ISA_VARIANTS != 0, D>(d, s, n, r);                                       \
    }                                                                                                \
    template <class D, class S, class Rule> RET NAME(void* d, const S* s, int32_t n, const Rule& r) noexcept { \
        switch (ActiveIsa()) {                                                                       \
            case Isa::Avx512: return NAME##Avx512<D>(d, s, n, r);                                    \
            case Isa::Avx2: return NAME##Avx2<D>(d, s, n, r);                                        \
            default: return NAME##Baseline<D>(d, s, n, r);                                           \
        }                                                                                            \
    }

QM_SCALAR_LOOP(void, MapElements, MapBody)
QM_SCALAR_LOOP(uint32_t, MapCheckedElements, MapCheckedBody)

#undef QM_SCALAR_LOOP

}  // namespace qm
