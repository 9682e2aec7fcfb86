// SPDX-License-Identifier: MIT
// The frame routine every online pipeline shares: checks, orientation, the kernel choice.
#pragma once

#include <cstddef>

#include "core/status.h"
#include "online/frame_plan.h"
#include "online/online.h"
#include "online/online_rules.h"

namespace qm::online {

// What distinguishes one pipeline (or one reading of it) from another.
struct PipelineLayout {
    // The reader and dark rule of each kernel: (dark, flat, final stage, accumulate).
    Reading (*pick)(bool dark, bool flat, Stage stage, bool accumulate) noexcept;
    size_t pixelBytes;   // bytes of the source buffer one pixel takes (the source type must give that many)
    size_t orientCells;  // 2 or 4: orientation moves elements of that size; 0: it moves bytes
};

// Runs one online frame. In order:
//   1. output, source, or a reference frame that the options use missing (null descriptor or
//      data, or no elements): MissingImage; a source type narrower than the pipeline's pixel:
//      UnsupportedType;
//   2. source or reference with fewer elements than the pixel count: CountMismatch (a colour
//      source counts its pixels; the count is the output's width x height, or for the plain
//      converting copy its width x height x depth, capped at width x height since the module
//      never writes beyond a descriptor's width x height elements);
//   3. orientation steps on the source (MissingImage if the transposition cannot get memory);
//   4. logarithm with threshold or clip: ContradictoryOptions;
//   5. output type outside 1 to 8: UnsupportedType; no pixels: MissingImage, or Ok for the copy;
//   6. the kernel.
// Steps 1 and 2 come before anything is written or moved.
Status RunOnlineFrame(const OnlineFrame& frame, const PipelineLayout& layout) noexcept;

}  // namespace qm::online
