// SPDX-License-Identifier: MIT
// Scaling over threads: each thread drives an instance of its own through the exports, a U16
// camera frame corrected by a dark frame and a flat field (mean) and summed into an F32 output,
// the way a host with two cameras would. Bytes as in the online benchmarks (source, dark and flat
// factor read, output read and written), summed over the threads; wall-clock time, so the
// threads:2 row over the threads:1 row is the scaling.
#include "frame.h"

namespace {

void BM_InstancePerThread(benchmark::State& state) {
    const uint32_t side = qmbench::Side(state);
    qmbench::Frame source(qmeTypeU16, side), dark(qmeTypeU16, side), flat(qmeTypeU16, side), sum(qmeTypeF32, side);
    flat.Fill<uint16_t>([](size_t i) { return 20000 + static_cast<uint16_t>(i % 4096); });
    QmHandle h = 0;
    if (MathCreate(0, 0, &h) != 0) {
        state.SkipWithError("no free instance");
        return;
    }
    MathSetProcess(h, qmeOnlineDarkSubtract, 1);
    MathSetProcess(h, qmeOnlineFlatField, 1);
    MathSetProcess(h, qmeOnlineAccumulate, 1);
    MathSetConstant(h, qmeConstFrameCount, 1000);
    MathSetData(h, qmeDataDarkFrame, dark.desc());
    MathSetData(h, qmeDataFlatFieldMean, flat.desc());
    MathSetData(h, qmeDataSourceFrame, source.desc());
    for (auto _ : state) {
        benchmark::DoNotOptimize(MathProcessData(h, sum.desc()));
        benchmark::ClobberMemory();
    }
    MathDelete(h);
    // The instance keeps its dark frame as I32 and its flat factors as F32.
    qmbench::SetBytes(state, size_t{side} * side * (2 + 4 + 4 + 4 + 4));
}
BENCHMARK(BM_InstancePerThread) QM_BENCH_SIDES->Threads(1)->Threads(2)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
