// SPDX-License-Identifier: MIT
// Online pipeline for 8-bit sources and colour sources reduced to 8 bits. The colour flag picks
// the reader: 0 the byte itself, 1 the mean of the three colour bytes, anything else their
// luminance. Orientation moves bytes, whole rows of (element size) x width bytes.
#include "online/online_frame.h"

namespace qm {
namespace {

template <online::ReaderId Id> struct Pixels8 {
    static constexpr online::Reading Pick(bool dark, bool, online::Stage, bool) noexcept {
        return {Id, dark ? online::DarkRule::Wrap : online::DarkRule::Off};
    }
};

constexpr online::PipelineLayout kLayoutByte{&Pixels8<online::ReaderId::Byte>::Pick, 1, 0};
constexpr online::PipelineLayout kLayoutMean{&Pixels8<online::ReaderId::ColourMean>::Pick, 3, 0};
constexpr online::PipelineLayout kLayoutLuminance{&Pixels8<online::ReaderId::ColourLuminance>::Pick, 3, 0};

}  // namespace

Status OnlinePipeline8(const OnlineFrame& frame) noexcept {
    const online::PipelineLayout& layout = frame.colourFlag == 0   ? kLayoutByte
                                           : frame.colourFlag == 1 ? kLayoutMean
                                                                   : kLayoutLuminance;
    return online::RunOnlineFrame(frame, layout);
}

}  // namespace qm
