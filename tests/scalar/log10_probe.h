// SPDX-License-Identifier: MIT
// The vector logarithm of core/log10_lanes.h compiled for each instruction set, so that a test
// can hold every set's evaluation to its own bound (log10_probe_<set>.cpp).
#pragma once

#include <cstddef>
#include <cstdint>

namespace qmtest {

struct Log10Probe {
    double bound;             // the set's proven relative bound
    uint64_t lowestArgument;  // the least bits of an argument the evaluation takes
    size_t lanes;
    void (*run)(const double* x, double* y, size_t n);  // n a multiple of lanes
    // The double lanes where the set has them (else null): z and whether each lane settled.
    void (*runDouble)(const double* x, double* z, bool* settled, size_t n);
};

Log10Probe Log10ProbeBaseline();
Log10Probe Log10ProbeAvx2();
Log10Probe Log10ProbeAvx512();

}  // namespace qmtest
