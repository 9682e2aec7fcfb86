// SPDX-License-Identifier: MIT
// MathProcessData: one image or frame through the selected process.
#pragma once

#include "core/status.h"
#include "interface/instance_table.h"

namespace qm {

// Advances the frame counter, runs the selected process and wraps the counter at the end of a
// cycle, whatever the status.
Status ProcessData(Instance& instance, QmdDataStruct* image) noexcept;

}  // namespace qm
