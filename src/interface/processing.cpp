// SPDX-License-Identifier: MIT
#include "interface/processing.h"

#include <array>

#include "arith/arith_dispatch.h"
#include "bayer/bayer.h"
#include "core/colour_copy.h"
#include "core/element_types.h"
#include "core/truncate.h"
#include "online/online.h"
#include "scalar/scalar_dispatch.h"

namespace qm {
namespace {

bool IsScalarProcess(int32_t code) noexcept { return code == qmeProcessClip || (code >= 500 && code <= 509); }

// Constant A as a shift count: truncated toward zero, cut to 16 bits.
uint16_t ShiftFromConstant(double a) noexcept { return LowBits<uint16_t>(TruncateToInteger(a)); }

using BayerMember = Status (*)(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;

// The interpolating member for each mosaic element type; null where no member exists.
constexpr std::array<BayerMember, 9> kBayerMembers = [] {
    std::array<BayerMember, 9> table{};
    table[kU8] = &BayerInterpolate<uint8_t>;
    table[kU16] = &BayerInterpolate<uint16_t>;
    table[kI16] = &BayerInterpolate<int16_t>;
    table[kU32] = &BayerInterpolate<uint32_t>;
    table[kI32] = &BayerInterpolate<int32_t>;
    return table;
}();

Status BayerInterpolateProcess(const Instance& instance, const QmdDataStruct* image) noexcept {
    const QmdDataStruct* mosaic = instance.pOperand1;
    if (mosaic == nullptr) return Status::MissingImage;
    const int32_t type = mosaic->eType;
    if (type < 0 || type >= static_cast<int32_t>(kBayerMembers.size()) || kBayerMembers[type] == nullptr)
        return Status::Ok;  // no member for this type: nothing is written
    return kBayerMembers[type](image, mosaic, ParamsOf(instance.bayer, ShiftFromConstant(instance.dConstA)));
}

Status OnlineProcess(Instance& instance, QmdDataStruct* image) noexcept {
    OnlineFrame frame;
    frame.options = instance.nOptions;
    frame.source = instance.pSourceFrame;
    frame.gain = instance.pGainFrame;
    frame.dark = instance.pDarkFrame;
    frame.flat = instance.pFlatFieldFrame;
    frame.output = image;
    frame.a = instance.dConstA;
    frame.b = instance.dConstB;
    frame.frameCount = instance.nFrameCount;
    frame.frameNumber = instance.nFrameCounter;
    return RunOnline(frame, instance.nColourFlag);
}

Status RunProcess(Instance& instance, QmdDataStruct* image) noexcept {
    const int32_t process = instance.nProcess;
    if (process == qmeProcessOnline) return OnlineProcess(instance, image);
    if (process == qmeProcessBayerSimple) {
        if (instance.pOperand1 == nullptr) return Status::MissingImage;
        return BayerSimple(image, instance.pOperand1, ShiftFromConstant(instance.dConstA));
    }
    if (process == qmeProcessBayerInterpolate) return BayerInterpolateProcess(instance, image);
    if (process >= qmeProcessAdd && process <= qmeProcessMultiply)
        return ArithDispatch(process, image, instance.pOperand1, instance.pOperand2);
    if (IsScalarProcess(process)) {
        if (image != nullptr && image->eType == kRgb24) return CopyColourImage(image, instance.pOperand1);
        return ScalarDispatch(process, image, instance.pOperand1, instance.dConstA, instance.dConstB);
    }
    return Status::UnknownProcess;
}

}  // namespace

Status ProcessData(Instance& instance, QmdDataStruct* image) noexcept {
    ++instance.nFrameCounter;  // unsigned: wraps
    const Status status = RunProcess(instance, image);
    if (instance.nFrameCounter >= instance.nFrameCount) instance.nFrameCounter = 0;
    return status;
}

}  // namespace qm
