// SPDX-License-Identifier: MIT
// Colour reconstruction of square mosaics: the interpolating member through process 2001 and
// the 2 x 2 binning through process 2000. Bytes are the mosaic read plus the colour written.
#include "frame.h"

namespace {

struct Instance {
    QmHandle handle = 0;
    Instance() { MathCreate(0, 0, &handle); }
    ~Instance() { MathDelete(handle); }
};

// Runs the selected process on `image` once per iteration and reports `pixels` colour pixels of
// output and `bytes` read and written per frame.
void Run(benchmark::State& state, const Instance& instance, qmbench::Frame& image, int64_t pixels, size_t bytes) {
    for (auto _ : state) {
        MathProcessData(instance.handle, image.desc());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * pixels);
    qmbench::SetBytes(state, bytes);
}

// Arguments: the side, then 0 unshifted, 1 shifted by 4, 2 unshifted with a black level of 64 on
// every channel.
template <int32_t Type> void BM_BayerInterpolate(benchmark::State& state) {
    const uint32_t side = qmbench::Side(state);
    const bool shifted = state.range(1) == 1;
    qmbench::Frame mosaic(Type, side), image(qmeTypeRgb24, side);
    Instance instance;
    MathSetProcess(instance.handle, qmeProcessBayerInterpolate, 1);
    MathSetConstant(instance.handle, qmeProcessBayerInterpolate, shifted ? 4.0 : 0.0);
    for (int32_t code : {qmeConstBayerGainRed, qmeConstBayerGainGreen, qmeConstBayerGainBlue})
        MathSetConstant(instance.handle, code, 0.9);
    if (state.range(1) == 2)
        for (int32_t code : {qmeConstBayerOffsetRed, qmeConstBayerOffsetGreen, qmeConstBayerOffsetBlue})
            MathSetConstant(instance.handle, code, 64.0);
    MathSetConstant(instance.handle, qmeConstBayerPhase, 2.0);
    MathSetData(instance.handle, qmeDataOperand1, mosaic.desc());
    const int64_t pixels = int64_t{side} * (side - 1);
    Run(state, instance, image, pixels, mosaic.bytes() + static_cast<size_t>(pixels) * 3);
}
BENCHMARK(BM_BayerInterpolate<qmeTypeU16>)->ArgsProduct({{2048, 4096}, {0, 1, 2}})->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_BayerInterpolate<qmeTypeU8>)->ArgsProduct({{2048, 4096}, {0, 1, 2}})->Unit(benchmark::kMicrosecond);

template <int32_t Type> void BM_BayerSimple(benchmark::State& state) {
    const uint32_t side = qmbench::Side(state);
    qmbench::Frame mosaic(Type, side), image(qmeTypeRgb24, side / 2);
    Instance instance;
    MathSetProcess(instance.handle, qmeProcessBayerSimple, 1);
    MathSetConstant(instance.handle, qmeProcessBayerSimple, 4.0);
    MathSetData(instance.handle, qmeDataOperand1, mosaic.desc());
    // Output rows 0 to side / 2 - 2 bin source rows 0 to side - 3.
    const int64_t pixels = int64_t{side / 2} * (side / 2 - 1);
    Run(state, instance, image, pixels, static_cast<size_t>(pixels) * (4 * 2 + 3));
}
// The binning reads 16-bit samples whatever the descriptor's type says.
BENCHMARK(BM_BayerSimple<qmeTypeU16>) QM_BENCH_SIDES->Unit(benchmark::kMicrosecond);

}  // namespace
