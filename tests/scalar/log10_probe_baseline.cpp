// SPDX-License-Identifier: MIT
#include "scalar/log10_probe_body.h"

namespace qmtest {
Log10Probe Log10ProbeBaseline() { return QM_ISA_NS::Probe(); }
}  // namespace qmtest
