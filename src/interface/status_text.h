// SPDX-License-Identifier: MIT
// The text behind QmStatusText.
#pragma once

#include <cstdint>

#include "qmath/qmath.h"

namespace qm {

// A static NUL-terminated text that names `status` and its common causes; a fixed text for a value
// the module never returns.
const char* StatusText(int32_t status) noexcept;

}  // namespace qm
