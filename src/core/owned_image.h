// SPDX-License-Identifier: MIT
// Images the module owns: the reference frames that MathSetData builds.
#pragma once

#include <cstdint>

#include "qmath/qmath.h"

namespace qm {

// A new descriptor of `type` with the given shape, nDepth 1, and a zero-filled buffer of
// ElementCount x ElementSize(type) bytes (64-byte aligned). Null when memory runs out.
QmdDataStruct* CreateOwnedImage(int32_t type, uint32_t width, uint32_t height) noexcept;

// Releases the buffer and the record of an image made by CreateOwnedImage and clears the
// pointer; does nothing for null.
void ReleaseOwnedImage(QmdDataStruct*& image) noexcept;

}  // namespace qm
