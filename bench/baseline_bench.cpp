// The baseline every figure is read against: memcpy of a 2048 x 2048 x 4-byte buffer (16 MiB read,
// 16 MiB written), counted as bytes read plus bytes written like the engine benchmarks.
#include <cstring>

#include "frame.h"

namespace {

void BM_Memcpy_2048x2048x4(benchmark::State& state) {
    qmbench::Frame src(qmeTypeF32), dst(qmeTypeF32);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), src.bytes());
        benchmark::ClobberMemory();
    }
    qmbench::SetBytes(state, 2 * src.bytes());
}
BENCHMARK(BM_Memcpy_2048x2048x4)->Unit(benchmark::kMicrosecond);

}  // namespace
