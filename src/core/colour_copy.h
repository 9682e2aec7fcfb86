// SPDX-License-Identifier: MIT
// The plain copy of 24-bit colour images: no arithmetic is ever applied to colour pixels.
#pragma once

#include "core/status.h"
#include "qmath/qmath.h"

namespace qm {

// Copies src into dst, three bytes an element in the same order. Checks, in order: either
// descriptor or data pointer missing, or either count below 1: MissingImage; counts differ:
// CountMismatch; src not of type 11: UnsupportedType. Only counts are compared, not shapes.
Status CopyColourImage(const QmdDataStruct* dst, const QmdDataStruct* src) noexcept;

}  // namespace qm
