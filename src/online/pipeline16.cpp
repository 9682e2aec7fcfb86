// SPDX-License-Identifier: MIT
// Online pipeline for 16-bit sources: every pixel is read unsigned, whatever the declared type.
#include "online/online_frame.h"

namespace qm {
namespace {

struct Pixels16 {
    static constexpr online::Reading Pick(bool dark, bool, online::Stage, bool) noexcept {
        return {online::ReaderId::U16, dark ? online::DarkRule::Wrap : online::DarkRule::Off};
    }
};

constexpr online::PipelineLayout kLayout16{&Pixels16::Pick, 2, 2};

}  // namespace

Status OnlinePipeline16(const OnlineFrame& frame) noexcept { return online::RunOnlineFrame(frame, kLayout16); }

}  // namespace qm
