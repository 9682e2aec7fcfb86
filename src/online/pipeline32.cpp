// SPDX-License-Identifier: MIT
// Online pipeline for 32-bit sources. The pixel is taken unsigned by the plain kernels and as a
// wrapped signed difference by the dark ones, with two exceptions: the converting copy reads it
// as the source type declares it (it matters for floating outputs only), and the write-mode
// dark + flat kernel reads it signed and subtracts the dark pixel exactly, so that difference does
// not wrap (2147483647 - (-1) is 2147483648 there and -2147483648 in its accumulating twin).
#include "core/element_types.h"
#include "online/online_frame.h"

namespace qm {
namespace {

template <online::ReaderId CopyReader> struct Pixels32 {
    static constexpr online::Reading Pick(bool dark, bool flat, online::Stage stage, bool accumulate) noexcept {
        using online::DarkRule;
        using online::ReaderId;
        const bool plain = stage == online::Stage::None && !accumulate;
        if (plain && !dark && !flat) return {CopyReader, DarkRule::Off};
        if (plain && dark && flat) return {ReaderId::I32, DarkRule::Wide};
        return {ReaderId::U32, dark ? DarkRule::Wrap : DarkRule::Off};
    }
};

constexpr online::PipelineLayout kLayoutU32{&Pixels32<online::ReaderId::U32>::Pick, 4, 4};
constexpr online::PipelineLayout kLayoutI32{&Pixels32<online::ReaderId::I32>::Pick, 4, 4};

}  // namespace

Status OnlinePipeline32(const OnlineFrame& frame) noexcept {
    const bool unsignedSource = frame.source != nullptr && frame.source->eType == kU32;
    return online::RunOnlineFrame(frame, unsignedSource ? kLayoutU32 : kLayoutI32);
}

}  // namespace qm
