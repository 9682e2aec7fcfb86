#include "online/online_frame.h"

#include <algorithm>

#include "core/colour_copy.h"
#include "core/element_types.h"
#include "online/frame_plan.h"
#include "online/orientation.h"

namespace qm::online {
namespace {

// Pixel count of the plain converting copy: width x height x depth as a signed 32-bit product,
// but never more than the width x height elements the descriptor describes.
int32_t ConvertCopyCount(const QmdDataStruct& out) noexcept {
    const auto withDepth = static_cast<int32_t>(out.nWidth * out.nHeight * out.nDepth);
    return std::min(withDepth, std::max(ElementCount(out), int32_t{0}));
}

}  // namespace

Status RunOnlineFrame(const OnlineFrame& frame, const PipelineLayout& layout) noexcept {
    const QmdDataStruct* out = frame.output;
    QmdDataStruct* src = frame.source;
    if (out == nullptr || out->pData == nullptr || !HasElements(src)) return Status::MissingImage;
    if (ElementSize(src->eType) < layout.pixelBytes) return Status::UnsupportedType;

    const FramePlan plan = PlanFrame(frame.options, frame.frameNumber);
    const int32_t n = plan.ConvertCopy() ? ConvertCopyCount(*out) : ElementCount(*out);
    const QmdDataStruct* refs[3];
    int refCount = 0;
    if (plan.dark) refs[refCount++] = frame.dark;
    if (plan.flat) refs[refCount++] = frame.flat;
    if (plan.UsesGain()) refs[refCount++] = frame.gain;
    for (int r = 0; r < refCount; ++r)
        if (!HasElements(refs[r])) return Status::MissingImage;
    if (ElementCount(*src) < n) return Status::CountMismatch;
    // Reference frames are read as 4-byte elements, one for every output pixel.
    for (int r = 0; r < refCount; ++r)
        if (ElementSize(refs[r]->eType) < 4 || ElementCount(*refs[r]) < n) return Status::CountMismatch;
    if (plan.Orients()) {
        // The steps walk width x height elements: a shape whose product leaves the signed 32-bit
        // count is not a frame they can move.
        if (uint64_t{src->nWidth} * src->nHeight != static_cast<uint64_t>(ElementCount(*src))) return Status::CountMismatch;
        if (const Status s = OrientSource(*src, plan, layout.orientCells); s != Status::Ok) return s;
    }
    if (plan.contradictory) return Status::ContradictoryOptions;
    const int outputClass = OutputClassOf(out->eType);
    if (outputClass < 0) return Status::UnsupportedType;
    if (n < 1) return plan.ConvertCopy() ? Status::Ok : Status::MissingImage;

    KernelArgs args;
    args.out = static_cast<unsigned char*>(out->pData);
    args.src = static_cast<const unsigned char*>(src->pData);
    if (plan.dark) args.dark = static_cast<const int32_t*>(frame.dark->pData);
    if (plan.flat) args.flat = static_cast<const float*>(frame.flat->pData);
    if (plan.UsesGain()) args.gain = static_cast<const float*>(frame.gain->pData);
    args.a = frame.a;
    args.b = frame.b;
    args.n = static_cast<size_t>(n);
    (*layout.kernels)[KernelSlot(outputClass, plan.dark, plan.flat, plan.stage, plan.accumulate)](args);
    return Status::Ok;
}

}  // namespace qm::online

namespace qm {

Status OnlineColourCopy(const OnlineFrame& frame) noexcept {
    const QmdDataStruct* out = frame.output;
    const QmdDataStruct* src = frame.source;
    if (out != nullptr && out->eType == kRgb24) return CopyColourImage(out, src);
    // Other outputs never come here from the processing entry; they get the same checks, then
    // nothing is written.
    if (!HasElements(out) || !HasElements(src)) return Status::MissingImage;
    if (ElementCount(*out) != ElementCount(*src)) return Status::CountMismatch;
    if (src->eType != kRgb24) return Status::UnsupportedType;
    return IsNumericType(out->eType) ? Status::Ok : Status::UnsupportedType;
}

}  // namespace qm
