// SPDX-License-Identifier: MIT
// Image-to-image arithmetic on square frames: both operands read, the destination written.
#include <cstdint>

#include "arith/arith_dispatch.h"
#include "frame.h"

namespace {

// Operands hold small non-zero values so every division takes the ordinary path.
void BM_Arith(benchmark::State& state, int32_t op, int32_t operandType, int32_t dstType) {
    const uint32_t side = qmbench::Side(state);
    qmbench::Frame a(operandType, side), b(operandType, side), dst(dstType, side);
    if (operandType == qmeTypeF32) {
        a.Fill<float>([](size_t i) { return static_cast<float>(i % 1000) * 0.75f; });
        b.Fill<float>([](size_t i) { return static_cast<float>(i % 7) + 1.5f; });
    } else if (operandType == qmeTypeU16) {
        a.Fill<uint16_t>([](size_t i) { return i % 60000; });
        b.Fill<uint16_t>([](size_t i) { return i % 13 + 1; });
    } else {
        a.Fill<int32_t>([](size_t i) { return static_cast<int64_t>(i * 2654435761u) - 2000000000; });
        b.Fill<int32_t>([](size_t i) { return (static_cast<int64_t>(i % 1001) - 500) | 1; });
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(qm::ArithDispatch(op, dst.desc(), a.desc(), b.desc()));
        benchmark::ClobberMemory();
    }
    qmbench::SetBytes(state, a.bytes() + b.bytes() + dst.bytes());
}

#define QM_ARITH_BENCH(NAME, OPERAND, DST)                                                                  \
    BENCHMARK_CAPTURE(BM_Arith, Add_##NAME, 1, OPERAND, DST) QM_BENCH_SIDES->Unit(benchmark::kMicrosecond); \
    BENCHMARK_CAPTURE(BM_Arith, Sub_##NAME, 2, OPERAND, DST) QM_BENCH_SIDES->Unit(benchmark::kMicrosecond); \
    BENCHMARK_CAPTURE(BM_Arith, Div_##NAME, 3, OPERAND, DST) QM_BENCH_SIDES->Unit(benchmark::kMicrosecond); \
    BENCHMARK_CAPTURE(BM_Arith, Mul_##NAME, 4, OPERAND, DST) QM_BENCH_SIDES->Unit(benchmark::kMicrosecond);

QM_ARITH_BENCH(U16xU16toU16, qmeTypeU16, qmeTypeU16)
QM_ARITH_BENCH(U16xU16toF32, qmeTypeU16, qmeTypeF32)
QM_ARITH_BENCH(F32xF32toF32, qmeTypeF32, qmeTypeF32)
QM_ARITH_BENCH(I32xI32toI32, qmeTypeI32, qmeTypeI32)

}  // namespace
