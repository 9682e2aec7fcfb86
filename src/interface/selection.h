// SPDX-License-Identifier: MIT
// Choosing what an instance does: the process, its constants and its images.
#pragma once

#include <cstdint>

#include "core/status.h"
#include "interface/instance_table.h"

namespace qm {

Status SetProcess(Instance& instance, int32_t code, uint8_t on) noexcept;
Status SetConstant(Instance& instance, int32_t code, double value) noexcept;
Status SetData(Instance& instance, int32_t code, QmdDataStruct* image) noexcept;

// Truncation toward zero to int64, of which the caller keeps the low bits (TruncateToInteger).
uint32_t ConstantToU32(double value) noexcept;

}  // namespace qm
