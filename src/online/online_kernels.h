// SPDX-License-Identifier: MIT
// The online family's kernels of one instruction set: the stages a frame runs over each block of
// pixels (online_rules.h gives the rule). online_kernels_body.h holds them, built once for each
// instruction set; the frame routine (online_frame.cpp) picks them once per frame.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/cpu.h"
#include "online/online_rules.h"

namespace qm::online {

// The base values of n pixels from `src` (the block's first pixel) and the dark pixels.
using BaseFn = void (*)(const unsigned char* src, const int32_t* dark, size_t n, double* base) noexcept;
// v := v x flat where every |v| < 2^29 (the product is then exact); returns false, changing
// nothing, where some value is wider.
using FlatFn = bool (*)(double* v, const float* flat, size_t n) noexcept;
// The threshold or clip stage in place.
using StageFn = void (*)(double* v, size_t n, double a, double b) noexcept;
// Adds the results, converted to the output element, into n output elements.
using AccumulateFn = void (*)(const double* v, size_t n, unsigned char* out) noexcept;
// Flat-field blocks with wider base values: exact products, the final stage, the store or the
// accumulation, all per pixel.
using WideFn = void (*)(const double* base, const float* flat, size_t n, double a, double b,
                        unsigned char* out) noexcept;

// Frames without a flat factor or a final stage: the base values of n pixels converted and stored
// (or added) straight into n output elements, in registers.
using DirectFn = void (*)(const unsigned char* src, const int32_t* dark, size_t n, unsigned char* out) noexcept;

// Frames of word and byte readers with a flat factor (1 for frames without one) and a final stage
// other than the logarithm: base value, factor, stage and store (or accumulation) in registers;
// vectors holding a base value of 2^29 or more take the exact product in lanes (lane by lane where
// an integer output's product reaches 2^52). `unit`: every factor is 1 (a frame without a flat
// field, `flat` then holding ones), so the threshold and the clip skip the product.
using FlatDirectFn = void (*)(const unsigned char* src, const int32_t* dark, const float* flat, bool unit, size_t n,
                              double a, double b, unsigned char* out) noexcept;

// The logarithm stage in place: each base value becomes a double that the output's store rule (or
// accumulation) turns into the element the extended logarithm of its argument gives. `slack`
// bounds how far the logarithm of the argument formed in doubles may lie from that of the one
// formed in extended precision (0 where they are equal).
using LogStageFn = void (*)(double* v, const float* flat, const float* gain, size_t n, double slack) noexcept;

struct Kernels {
    BaseFn base[kReaders][kDarkRules];
    DirectFn direct[kReaders][2][2][9];  // [reader][dark rule Off or Wrap][accumulate][output type code]
    // [reader][dark rule][final stage][accumulate][output type code]
    FlatDirectFn flatDirect[kReaders][kDarkRules][kStages][2][9];
    FlatFn flat;
    StageFn threshold;
    StageFn clip;
    AccumulateFn accumulate[9];     // by output type code
    WideFn wide[kStages][2][9];     // [final stage][accumulate][output type code]
    LogStageFn log[kLogOrders][3];  // [LogOrder][LogTarget of the output]
};

QM_FAMILY_TABLES(Kernels);

}  // namespace qm::online
