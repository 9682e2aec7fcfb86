// SPDX-License-Identifier: MIT
// Online processing of a live frame stream: one call per camera frame.
#pragma once

#include <cstdint>

#include "core/status.h"
#include "qmath/qmath.h"

namespace qm {

// Option bits of the instance's option word.
enum OnlineOption : uint32_t {
    kOnlineDarkSubtract = 0x001,
    kOnlineFlatField = 0x002,
    kOnlineAccumulate = 0x004,
    kOnlineThreshold = 0x008,
    kOnlineLog10 = 0x010,
    kOnlineFlipVertical = 0x020,
    kOnlineTranspose = 0x040,
    kOnlineMirrorHorizontal = 0x080,
    kOnlineClipRange = 0x100,
};

// Everything one online frame works with. The source frame is the host's and the orientation
// steps rewrite it in place; the three reference frames are the instance's.
struct OnlineFrame {
    uint32_t options = 0;
    QmdDataStruct* source = nullptr;
    const QmdDataStruct* gain = nullptr;
    const QmdDataStruct* dark = nullptr;
    const QmdDataStruct* flat = nullptr;
    const QmdDataStruct* output = nullptr;
    double a = 0.0;
    double b = 0.0;
    uint32_t frameCount = 1;
    uint32_t frameNumber = 0;  // the instance's frame counter after this call's increment
    uint32_t colourFlag = 0;   // 8-bit pipeline only: 1 when the source holds colour pixels
};

// One online frame, routed by the output's and the source's element types: a colour output
// (type 11) gets a plain copy of a colour source, options ignored; otherwise 8-bit sources (type
// 6, and colour type 15 reduced to 8 bits: colourFlag is set to 0 or 1 for them), 32-bit ones
// (types 8 and 3) and all others (16-bit) go to their pipelines. A missing source is MissingImage.
Status RunOnline(OnlineFrame& frame, uint32_t& colourFlag) noexcept;
// Sources of 16-bit elements (types 7 and 2, and type 11 with a non-colour output).
Status OnlinePipeline16(const OnlineFrame& frame) noexcept;
// Sources of 32-bit elements (types 8 and 3).
Status OnlinePipeline32(const OnlineFrame& frame) noexcept;
// Sources of 8-bit elements (type 6) and colour sources reduced to 8 bits (type 15).
Status OnlinePipeline8(const OnlineFrame& frame) noexcept;

}  // namespace qm
