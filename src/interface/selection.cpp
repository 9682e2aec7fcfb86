// SPDX-License-Identifier: MIT
#include "interface/selection.h"

#include <array>

#include "core/element_types.h"
#include "core/owned_image.h"
#include "core/truncate.h"
#include "online/online.h"
#include "scalar/scalar_dispatch.h"

namespace qm {
namespace {

constexpr bool IsAcceptedProcess(int32_t code) noexcept {
    switch (code) {
        case 1:
        case 2:
        case 3:
        case 4:  // image arithmetic
        case 5:
        case 6:
        case 8:
        case 9:  // accepted, never handled (7 is refused)
        case 256:
        case 2000:
        case 2001:
        case 2002:
        case 9000: return true;
        default: return code >= 500 && code <= 509;
    }
}

// The option bit of each option code 9001 to 9009; the order is the module's own.
constexpr std::array<uint32_t, 9> kOptionBits = {
    kOnlineDarkSubtract,      // 9001
    kOnlineFlatField,         // 9002
    kOnlineAccumulate,        // 9003
    kOnlineTranspose,         // 9004
    kOnlineFlipVertical,      // 9005
    kOnlineMirrorHorizontal,  // 9006
    kOnlineLog10,             // 9007
    kOnlineThreshold,         // 9008
    kOnlineClipRange,         // 9009
};

// Rebuilds one reference frame from `image`: a new one of `type` and the image's shape is made,
// replaces the old frame (released) and is filled by scalar operation `op`. When memory runs out
// the status is MissingImage and the old frame stays installed, untouched: the instance is just
// as it was before the call. (So the old and new frames are held together for a moment.)
Status RebuildReference(QmdDataStruct*& field, int32_t type, int32_t op, const QmdDataStruct* image) noexcept {
    if (image == nullptr) {
        ReleaseOwnedImage(field);
        return Status::MissingImage;
    }
    QmdDataStruct* fresh = CreateOwnedImage(type, image->nWidth, image->nHeight);
    if (fresh == nullptr) return Status::MissingImage;
    ReleaseOwnedImage(field);
    field = fresh;
    return ScalarDispatch(op, field, image, 0.0, 0.0);
}

// The flat-field factor frame: statistic / element, 0 where the element is 0.
Status RebuildFlatField(QmdDataStruct*& field, const QmdDataStruct* image,
                        Status (*statistic)(const QmdDataStruct*, double*)) noexcept {
    const QmdDataStruct* before = field;
    const Status reciprocal = RebuildReference(field, kF32, qmeProcessReciprocal, image);
    // Nothing was rebuilt (no image, or no memory): the statistic is not applied to the old frame.
    if (statistic == nullptr || field == nullptr || field == before) return reciprocal;
    double value = 0.0;
    (void)statistic(image, &value);  // its status is not looked at: an unknown type fails above
    return ScalarDispatch(qmeProcessMultiplyConstant, field, field, value, 0.0);
}

}  // namespace

uint32_t ConstantToU32(double value) noexcept { return LowBits<uint32_t>(TruncateToInteger(value)); }

Status SetProcess(Instance& instance, int32_t code, uint8_t on) noexcept {
    if (code >= 9001 && code <= 9009) {
        const uint32_t bit = kOptionBits[static_cast<size_t>(code - 9001)];
        instance.nOptions = on != 0 ? (instance.nOptions | bit) : (instance.nOptions & ~bit);
        if (code == qmeOnlineAccumulate) instance.nFrameCounter = 0;
        instance.nProcess = qmeProcessOnline;
        return Status::Ok;
    }
    if (!IsAcceptedProcess(code)) return Status::UnknownProcess;
    instance.nProcess = code;
    return Status::Ok;
}

Status SetConstant(Instance& instance, int32_t code, double value) noexcept {
    switch (code) {
        case 2:
        case 4:
        case 6:
        case 2000:
        case 2001:
        case 2002: instance.dConstA = value; break;
        case 3:
        case 5:
        case 7: instance.dConstB = value; break;
        case qmeConstFrameCount:
            instance.nFrameCount = ConstantToU32(value);
            instance.nFrameCounter = 0;
            break;
        case qmeConstColourFlag: instance.nColourFlag = ConstantToU32(value); break;
        case qmeConstBayerGainRed: instance.bayer.dBayer1 = value; break;
        case qmeConstBayerGainGreen: instance.bayer.dBayer2 = value; break;
        case qmeConstBayerGainBlue: instance.bayer.dBayer3 = value; break;
        case qmeConstBayerOffsetRed: instance.bayer.nBayer1 = static_cast<int32_t>(ConstantToU32(value)); break;
        case qmeConstBayerOffsetGreen: instance.bayer.nBayer2 = static_cast<int32_t>(ConstantToU32(value)); break;
        case qmeConstBayerOffsetBlue: instance.bayer.nBayer3 = static_cast<int32_t>(ConstantToU32(value)); break;
        case qmeConstBayerReserved: instance.bayer.nBayerShort = static_cast<int16_t>(ConstantToU32(value)); break;
        case qmeConstBayerPhase: instance.bayer.nBayerWord = static_cast<uint16_t>(ConstantToU32(value)); break;
        default: break;  // every other code is ignored
    }
    return Status::Ok;
}

Status SetData(Instance& instance, int32_t code, QmdDataStruct* image) noexcept {
    switch (code) {
        case qmeDataOperand1: instance.pOperand1 = image; return Status::Ok;
        case qmeDataOperand2: instance.pOperand2 = image; return Status::Ok;
        case qmeDataSourceFrame: {
            if (image == nullptr) return Status::MissingImage;
            switch (image->eType) {
                case kU16:
                case kI16:
                case kU32:
                case kI32:
                case kU8:
                case kRgb24Alt:
                case kRgb24: instance.pSourceFrame = image; return Status::Ok;
                default: return Status::UnsupportedSourceType;
            }
        }
        case qmeDataDarkFrame: return RebuildReference(instance.pDarkFrame, kI32, qmeProcessConvert, image);
        case qmeDataGainFrame: return RebuildReference(instance.pGainFrame, kF32, qmeProcessConvert, image);
        case qmeDataFlatField: return RebuildFlatField(instance.pFlatFieldFrame, image, nullptr);
        case qmeDataFlatFieldMean: return RebuildFlatField(instance.pFlatFieldFrame, image, ImageMean);
        case qmeDataFlatFieldMax:
        case qmeDataFlatFieldMaxAlt: return RebuildFlatField(instance.pFlatFieldFrame, image, ImageMaximum);
        default: return Status::Ok;  // every other code is ignored
    }
}

}  // namespace qm
