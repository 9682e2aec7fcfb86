// SPDX-License-Identifier: MIT
#include "scalar/log10_probe_body.h"

namespace qmtest {
Log10Probe Log10ProbeAvx2() { return QM_ISA_NS::Probe(); }
}  // namespace qmtest
