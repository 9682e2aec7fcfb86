// SPDX-License-Identifier: MIT
// Include once per set, in log10_probe_<set>.cpp.
#include "core/lanes.h"
#include "core/log10_lanes.h"
#include "scalar/log10_probe.h"

namespace qmtest::QM_ISA_NS {

inline void Run(const double* x, double* y, size_t n) {
    using namespace ::qm::QM_ISA_NS;
    for (size_t i = 0; i < n; i += kLanes) StoreVD(y + i, Log10Lanes(LoadVD(x + i)));
}

inline void RunDouble(const double* x, double* z, bool* settled, size_t n) {
    using namespace ::qm::QM_ISA_NS;
    if constexpr (kLogDoubleLanes) {
        for (size_t i = 0; i < n; i += kLanes) {
            VS64 margin;
            StoreVD(z + i, Log10DoubleLanes(LoadVD(x + i), margin));
            for (size_t k = 0; k < kLanes; ++k) settled[i + k] = margin[k] >= 0;
        }
    }
}

inline Log10Probe Probe() {
    using namespace ::qm::QM_ISA_NS;
    return {kLogBound.bound, kLogBound.lowestArgument, kLanes, &Run, kLogDoubleLanes ? &RunDouble : nullptr};
}

}  // namespace qmtest::QM_ISA_NS
