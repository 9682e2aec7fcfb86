// SPDX-License-Identifier: MIT
// Orientation steps of an online source frame, in place on the host's buffer.
#pragma once

#include <cstddef>

#include "core/status.h"
#include "online/frame_plan.h"
#include "qmath/qmath.h"

namespace qm::online {

// How a pipeline moves the source frame: elements of cellBytes (2 or 4) each, or, with cellBytes
// 0, bytes, with rows of (element size of the source type) x width bytes.
//
// Runs the plan's steps: rotation by 180 degrees, or the vertical flip, or the horizontal mirror,
// then the transposition. The descriptor's width and height are never changed, so a transposed
// frame that is not square holds rows of `height` elements while it still states width x height.
// The transposition's temporary buffer is allocated before any step: if that fails the status
// is MissingImage and the frame is as it was.
//
// The caller has checked that the buffer holds width x height elements of at least cellBytes.
Status OrientSource(QmdDataStruct& source, const FramePlan& plan, size_t cellBytes) noexcept;

}  // namespace qm::online
