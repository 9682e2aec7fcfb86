// SPDX-License-Identifier: MIT
// Online kernels on a square frame: bytes read (source and every reference used, the output
// too when accumulating) plus bytes written, per frame.
#include <vector>

#include "frame.h"
#include "online/online.h"

namespace {

using qmbench::Frame;

void RunOnline(benchmark::State& state, int32_t srcType, int32_t outType, uint32_t options, uint32_t frameNumber) {
    const uint32_t side = qmbench::Side(state);
    Frame src(srcType, side), dark(qmeTypeI32, side), flat(qmeTypeF32, side), gain(qmeTypeF32, side),
        out(outType, side);
    dark.Fill<int32_t>([](size_t i) { return static_cast<int32_t>(i % 97); });
    flat.Fill<float>([](size_t i) { return 0.75f + static_cast<float>(i % 13) / 32.0f; });
    gain.Fill<float>([](size_t i) { return 1.0f + static_cast<float>(i % 7); });
    qm::OnlineFrame frame;
    frame.options = options;
    frame.source = src.desc();
    frame.dark = dark.desc();
    frame.flat = flat.desc();
    frame.gain = gain.desc();
    frame.output = out.desc();
    frame.a = 1000.0;
    frame.b = 30000.0;
    frame.frameNumber = frameNumber;
    frame.colourFlag = srcType == qmeTypeRgb24Alt ? 1 : 0;
    for (auto _ : state) {
        qm::Status s;
        if (srcType == qmeTypeU8 || srcType == qmeTypeRgb24Alt)
            s = qm::OnlinePipeline8(frame);
        else if (srcType == qmeTypeU32 || srcType == qmeTypeI32)
            s = qm::OnlinePipeline32(frame);
        else
            s = qm::OnlinePipeline16(frame);
        benchmark::DoNotOptimize(s);
        benchmark::ClobberMemory();
    }
    size_t bytes = src.bytes() + out.bytes();
    if (options & qm::kOnlineDarkSubtract) bytes += dark.bytes();
    if (options & qm::kOnlineFlatField) bytes += flat.bytes();
    if (options & qm::kOnlineLog10) bytes += gain.bytes();
    const bool accumulate = (options & qm::kOnlineAccumulate) && frameNumber != 1;
    if (accumulate) bytes += out.bytes();
    // Orientation steps read and write the source once more (the transposition twice).
    if (options & (qm::kOnlineFlipVertical | qm::kOnlineMirrorHorizontal)) bytes += 2 * src.bytes();
    if (options & qm::kOnlineTranspose) bytes += 4 * src.bytes();
    qmbench::SetBytes(state, bytes);
}

constexpr uint32_t D = qm::kOnlineDarkSubtract, F = qm::kOnlineFlatField, A = qm::kOnlineAccumulate;

#define ONLINE_BENCH(name, src, out, options, frame)                                               \
    void BM_Online_##name(benchmark::State& state) { RunOnline(state, src, out, options, frame); } \
    BENCHMARK(BM_Online_##name) QM_BENCH_SIDES->Unit(benchmark::kMicrosecond)

#define ONLINE_MODES(name, out, options)                     \
    ONLINE_BENCH(name##_Write, qmeTypeU16, out, options, 1); \
    ONLINE_BENCH(name##_Accumulate, qmeTypeU16, out, (options) | A, 2)

ONLINE_MODES(U16toF32_Copy, qmeTypeF32, 0);
ONLINE_MODES(U16toF32_Dark, qmeTypeF32, D);
ONLINE_MODES(U16toF32_Flat, qmeTypeF32, F);
ONLINE_MODES(U16toF32_DarkFlat, qmeTypeF32, D | F);
ONLINE_MODES(U16toU16_Copy, qmeTypeU16, 0);
ONLINE_MODES(U16toU16_Dark, qmeTypeU16, D);
ONLINE_MODES(U16toU16_Flat, qmeTypeU16, F);
ONLINE_MODES(U16toU16_DarkFlat, qmeTypeU16, D | F);
ONLINE_BENCH(U16toF32_Log, qmeTypeU16, qmeTypeF32, qm::kOnlineLog10, 1);
ONLINE_BENCH(U16toF64_Log, qmeTypeU16, qmeTypeF64, qm::kOnlineLog10, 1);
ONLINE_BENCH(U16toF32_Threshold, qmeTypeU16, qmeTypeF32, qm::kOnlineThreshold, 1);
ONLINE_BENCH(U16toF32_Clip, qmeTypeU16, qmeTypeF32, qm::kOnlineClipRange, 1);
ONLINE_BENCH(U16toU16_DarkFlatClip, qmeTypeU16, qmeTypeU16, D | F | qm::kOnlineClipRange, 1);
ONLINE_BENCH(U16_Rotate, qmeTypeU16, qmeTypeU16, qm::kOnlineFlipVertical | qm::kOnlineMirrorHorizontal, 1);
ONLINE_BENCH(U16_Flip, qmeTypeU16, qmeTypeU16, qm::kOnlineFlipVertical, 1);
ONLINE_BENCH(U16_Mirror, qmeTypeU16, qmeTypeU16, qm::kOnlineMirrorHorizontal, 1);
ONLINE_BENCH(U16_Transpose, qmeTypeU16, qmeTypeU16, qm::kOnlineTranspose, 1);
ONLINE_BENCH(U32toF32_DarkFlat, qmeTypeU32, qmeTypeF32, D | F, 2);
ONLINE_BENCH(ColourToU16_DarkFlat, qmeTypeRgb24Alt, qmeTypeU16, D | F, 1);
ONLINE_BENCH(ColourToU8_Copy, qmeTypeRgb24Alt, qmeTypeU8, 0, 1);

}  // namespace
