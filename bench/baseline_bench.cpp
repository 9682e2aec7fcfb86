// SPDX-License-Identifier: MIT
// The baseline every figure is read against: memcpy of a side x side x 4-byte buffer (at 2048, 16 MiB
// read and 16 MiB written), counted as bytes read plus bytes written like the engine benchmarks.
#include <cstring>

#include "frame.h"

namespace {

void BM_Memcpy(benchmark::State& state) {
    qmbench::Frame src(qmeTypeF32, qmbench::Side(state)), dst(qmeTypeF32, qmbench::Side(state));
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), src.bytes());
        benchmark::ClobberMemory();
    }
    qmbench::SetBytes(state, 2 * src.bytes());
}
BENCHMARK(BM_Memcpy) QM_BENCH_SIDES->Unit(benchmark::kMicrosecond);

}  // namespace
