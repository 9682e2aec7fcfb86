// SPDX-License-Identifier: MIT
#include "online/online_frame.h"

#include <algorithm>
#include <array>

#include "core/blocks.h"
#include "core/colour_copy.h"
#include "core/element_types.h"
#include "core/overlap.h"
#include "core/stream.h"
#include "online/frame_plan.h"
#include "online/online_kernels.h"
#include "online/orientation.h"

namespace qm::online {
namespace {

// The buffers and constants of one frame's kernel.
struct KernelArgs {
    unsigned char* out = nullptr;
    const unsigned char* src = nullptr;
    const int32_t* dark = nullptr;
    const float* flat = nullptr;
    const float* gain = nullptr;
    double a = 0.0;
    double b = 0.0;
    size_t n = 0;
};

// The flat factors of frames without a flat field, for the kernels that take one.
constexpr std::array<float, blocks::kBlock> kOnes = [] {
    std::array<float, blocks::kBlock> ones{};
    for (float& f : ones) f = 1.0f;
    return ones;
}();

// Pixel count of the plain converting copy: width x height x depth as a signed 32-bit product,
// but never more than the width x height elements the descriptor describes.
int32_t ConvertCopyCount(const QmdDataStruct& out) noexcept {
    const auto withDepth = static_cast<int32_t>(out.nWidth * out.nHeight * out.nDepth);
    return std::min(withDepth, std::max(ElementCount(out), int32_t{0}));
}

// Where the flat factor enters the logarithm's argument.
LogOrder OrderOf(const FramePlan& plan) noexcept {
    return !plan.flat ? LogOrder::NoFlat : !plan.dark ? LogOrder::FlatFirst : LogOrder::GainFirst;
}

// Runs the kernel of a frame over n pixels, block by block: the base values, the flat factor
// (exactly: plainly where every value of the block is narrow enough, else as an exact product),
// the final stage, then the store or the accumulation.
void RunKernel(const FramePlan& plan, Reading reading, const KernelArgs& k, int32_t outType,
               size_t pixelBytes) noexcept {
    const Kernels& kk = kTables.Active();
    const blocks::Kernels& io = blocks::kTables.Active();
    const DarkRule darkRule = plan.dark ? reading.dark : DarkRule::Off;
    const BaseFn base = kk.base[static_cast<int>(reading.reader)][static_cast<int>(darkRule)];
    const size_t os = ElementSize(outType);
    const WideFn wide = kk.wide[static_cast<int>(plan.stage)][plan.accumulate][outType];
    const LogStageFn log = plan.stage == Stage::Log
                               ? kk.log[static_cast<int>(OrderOf(plan))][static_cast<int>(LogTargetOf(outType))]
                               : nullptr;
    const double slack = LogSlack(plan, reading);
    // A block reads all its source pixels before writing; where the output overlaps the source
    // so that a write could change a pixel not yet read, pixels go one at a time.
    const size_t block = BlockwiseIsSafe(k.out, os, k.src, pixelBytes, k.n) ? blocks::kBlock : 1;
    alignas(64) double v[blocks::kBlock];
    // A large output that is only written (not accumulated into, not over the source) is streamed.
    const bool stream = !plan.accumulate && Streams(k.n * os, Overlaps(k.out, k.n * os, k.src, k.n * pixelBytes));
    alignas(64) unsigned char scratch[blocks::kBlock * sizeof(double)];
    // Without a flat factor or a final stage, the base values go straight into the output (such
    // frames read the dark pixel as a wrapping difference, if at all).
    if (!plan.flat && plan.stage == Stage::None) {
        const DirectFn direct = kk.direct[static_cast<int>(reading.reader)][plan.dark][plan.accumulate][outType];
        for (size_t i0 = 0; i0 < k.n; i0 += block) {
            const size_t m = std::min(block, k.n - i0);
            direct(k.src + i0 * pixelBytes, k.dark != nullptr ? k.dark + i0 : nullptr, m,
                   stream ? scratch : k.out + i0 * os);
            if (stream) StreamCopy(k.out + i0 * os, scratch, m * os);
        }
        if (stream) StreamFence();
        return;
    }
    // Word and byte pixels with a flat factor or a threshold or clip (not the logarithm) run in
    // registers; without a flat factor they take a factor of 1, which changes no value.
    const bool registers = log == nullptr && (plan.flat || plan.stage != Stage::None);
    const FlatDirectFn flatDirect = registers
                                        ? kk.flatDirect[static_cast<int>(reading.reader)][static_cast<int>(darkRule)]
                                                       [static_cast<int>(plan.stage)][plan.accumulate][outType]
                                        : nullptr;
    for (size_t i0 = 0; i0 < k.n; i0 += block) {
        const size_t m = std::min(block, k.n - i0);
        unsigned char* out = stream ? scratch : k.out + i0 * os;
        const float* flat = k.flat != nullptr ? k.flat + i0 : nullptr;
        const int32_t* dark = k.dark != nullptr ? k.dark + i0 : nullptr;
        if (flatDirect != nullptr) {
            flatDirect(k.src + i0 * pixelBytes, dark, flat != nullptr ? flat : kOnes.data(), flat == nullptr, m, k.a,
                       k.b, out);
            if (stream) StreamCopy(k.out + i0 * os, scratch, m * os);
            continue;
        }
        base(k.src + i0 * pixelBytes, dark, m, v);
        if (plan.flat && log == nullptr && !kk.flat(v, flat, m)) {
            wide(v, flat, m, k.a, k.b, out);
        } else {
            if (log != nullptr) log(v, flat, k.gain + i0, m, slack);
            if (plan.stage == Stage::Threshold) kk.threshold(v, m, k.a, k.b);
            if (plan.stage == Stage::Clip) kk.clip(v, m, k.a, k.b);
            if (plan.accumulate) {
                kk.accumulate[outType](v, m, out);
            } else {
                io.store[outType](v, m, out);
            }
        }
        if (stream) StreamCopy(k.out + i0 * os, scratch, m * os);
    }
    if (stream) StreamFence();
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
        if (uint64_t{src->nWidth} * src->nHeight != static_cast<uint64_t>(ElementCount(*src)))
            return Status::CountMismatch;
        if (const Status s = OrientSource(*src, plan, layout.orientCells); s != Status::Ok) return s;
    }
    if (plan.contradictory) return Status::ContradictoryOptions;
    if (!IsNumericType(out->eType)) return Status::UnsupportedType;
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
    RunKernel(plan, layout.pick(plan.dark, plan.flat, plan.stage, plan.accumulate), args, out->eType,
              layout.pixelBytes);
    return Status::Ok;
}

}  // namespace qm::online

namespace qm {

Status RunOnline(OnlineFrame& frame, uint32_t& colourFlag) noexcept {
    if (frame.output != nullptr && frame.output->eType == kRgb24) return CopyColourImage(frame.output, frame.source);
    if (frame.source == nullptr) return Status::MissingImage;
    switch (frame.source->eType) {
        case kU8:
        case kRgb24Alt:
            colourFlag = frame.colourFlag = frame.source->eType == kU8 ? 0 : 1;
            return OnlinePipeline8(frame);
        case kU32:
        case kI32: return OnlinePipeline32(frame);
        default: return OnlinePipeline16(frame);
    }
}

}  // namespace qm
