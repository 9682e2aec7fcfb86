// SPDX-License-Identifier: MIT
// The decision an online frame takes once, before any pixel is touched: which orientation steps
// run, which arithmetic stages the kernel has, and whether it writes or accumulates.
#pragma once

#include <cstdint>

#include "online/online.h"

namespace qm::online {

// Final stage of the per-pixel value.
enum class Stage : uint8_t { None, Log, Threshold, Clip };
inline constexpr int kStages = 4;

struct FramePlan {
    bool dark = false;
    bool flat = false;
    Stage stage = Stage::None;
    bool accumulate = false;     // add into the output instead of overwriting it
    bool contradictory = false;  // logarithm together with threshold or clip
    bool rotate = false;         // vertical flip and horizontal mirror together
    bool flip = false;           // vertical flip alone
    bool mirror = false;         // horizontal mirror alone
    bool transpose = false;

    bool Orients() const noexcept { return rotate || flip || mirror || transpose; }
    // The plain converting copy: nothing to compute and nothing to add into.
    bool ConvertCopy() const noexcept { return !dark && !flat && stage == Stage::None && !accumulate; }
    // The gain frame is read only by the logarithm.
    bool UsesGain() const noexcept { return stage == Stage::Log && !contradictory; }
};

// frameNumber is the instance's frame counter after this call's increment: 1 is the first frame
// of a cycle, which always overwrites. An option word of 0 is the plain copy with no orientation.
constexpr FramePlan PlanFrame(uint32_t options, uint32_t frameNumber) noexcept {
    FramePlan plan;
    if (options == 0) return plan;
    const auto has = [options](uint32_t bit) { return (options & bit) != 0; };
    plan.dark = has(kOnlineDarkSubtract);
    plan.flat = has(kOnlineFlatField);
    plan.accumulate = has(kOnlineAccumulate) && frameNumber != 1;
    const bool threshold = has(kOnlineThreshold), clip = has(kOnlineClipRange), log = has(kOnlineLog10);
    plan.contradictory = log && (threshold || clip);
    plan.stage = threshold ? Stage::Threshold : clip ? Stage::Clip : log ? Stage::Log : Stage::None;
    const bool flip = has(kOnlineFlipVertical), mirror = has(kOnlineMirrorHorizontal);
    plan.rotate = flip && mirror;
    plan.flip = flip && !mirror;
    plan.mirror = mirror && !flip;
    plan.transpose = has(kOnlineTranspose);
    return plan;
}

}  // namespace qm::online
