// SPDX-License-Identifier: MIT
// Scalar operations on a square frame, in bytes read plus bytes written per second.
#include <cstring>

#include "frame.h"
#include "scalar/scalar_dispatch.h"

namespace {

void Scalar(benchmark::State& state, int32_t op, double a, int32_t srcType, int32_t dstType) {
    const uint32_t side = qmbench::Side(state);
    qmbench::Frame src(srcType, side), dst(dstType, side);
    if (srcType == qmeTypeF32) src.Fill<float>([](size_t i) { return static_cast<float>(i % 4093) * 0.37f + 1.0f; });
    if (srcType == qmeTypeF64) src.Fill<double>([](size_t i) { return static_cast<double>(i % 4093) * 0.37 + 1.0; });
    if (srcType == qmeTypeI32)  // positive, spread over the whole range
        src.Fill<int32_t>(
            [](size_t i) { return static_cast<int32_t>(static_cast<uint32_t>(i * 2654435761u) >> 1 | 1); });
    for (auto _ : state) {
        benchmark::DoNotOptimize(qm::ScalarDispatch(op, dst.desc(), src.desc(), a, 60000.0));
        benchmark::ClobberMemory();
    }
    qmbench::SetBytes(state, src.bytes() + (op == 506 || op == 507 ? 0 : dst.bytes()));
}

constexpr int32_t kU8 = qmeTypeU8, kU16 = qmeTypeU16, kI32 = qmeTypeI32, kF32 = qmeTypeF32, kF64 = qmeTypeF64;

#define QM_SCALAR_BENCH(NAME, ...) \
    BENCHMARK_CAPTURE(Scalar, NAME, __VA_ARGS__) QM_BENCH_SIDES->Unit(benchmark::kMicrosecond)

// Each operation family from U16 into U16, F32 and F64.
QM_SCALAR_BENCH(Clip_U16_U16, 256, 100.0, kU16, kU16);
QM_SCALAR_BENCH(Clip_U16_F32, 256, 100.0, kU16, kF32);
QM_SCALAR_BENCH(Band_U16_U16, 500, 100.0, kU16, kU16);
QM_SCALAR_BENCH(Band_U16_F32, 500, 100.0, kU16, kF32);
QM_SCALAR_BENCH(Add3_U16_U16, 501, 3.0, kU16, kU16);
QM_SCALAR_BENCH(Add3_U16_F32, 501, 3.0, kU16, kF32);
QM_SCALAR_BENCH(Add3_U16_F64, 501, 3.0, kU16, kF64);
QM_SCALAR_BENCH(AddTenth_U16_U16, 501, 0.1, kU16, kU16);
QM_SCALAR_BENCH(AddTenth_U16_F32, 501, 0.1, kU16, kF32);
QM_SCALAR_BENCH(AddTenth_U16_F64, 501, 0.1, kU16, kF64);
QM_SCALAR_BENCH(Sub3_U16_U16, 502, 3.0, kU16, kU16);
QM_SCALAR_BENCH(Mul3_U16_U16, 503, 3.0, kU16, kU16);
QM_SCALAR_BENCH(Mul3_U16_F32, 503, 3.0, kU16, kF32);
QM_SCALAR_BENCH(Mul3_U16_F64, 503, 3.0, kU16, kF64);
QM_SCALAR_BENCH(MulTenth_U16_U16, 503, 0.1, kU16, kU16);
QM_SCALAR_BENCH(MulTenth_U16_F32, 503, 0.1, kU16, kF32);
QM_SCALAR_BENCH(MulTenth_U16_F64, 503, 0.1, kU16, kF64);
QM_SCALAR_BENCH(MulTenth_F32_F32, 503, 0.1, kF32, kF32);
QM_SCALAR_BENCH(MulTenth_F32_U16, 503, 0.1, kF32, kU16);
QM_SCALAR_BENCH(MulPi_I32_I32, 503, 3.14159, kI32, kI32);  // products beyond 2^31: element by element
QM_SCALAR_BENCH(Div3_U16_U16, 504, 3.0, kU16, kU16);
QM_SCALAR_BENCH(Div3_U16_F32, 504, 3.0, kU16, kF32);
QM_SCALAR_BENCH(DivTenth_U16_U16, 504, 0.1, kU16, kU16);
QM_SCALAR_BENCH(DivTenth_U16_F32, 504, 0.1, kU16, kF32);
QM_SCALAR_BENCH(Log10_U16_U16, 505, 0.0, kU16, kU16);
QM_SCALAR_BENCH(Log10_U16_F32, 505, 0.0, kU16, kF32);
QM_SCALAR_BENCH(Log10_F32_F32, 505, 0.0, kF32, kF32);
QM_SCALAR_BENCH(Log10_F32_I32, 505, 0.0, kF32, kI32);
QM_SCALAR_BENCH(Log10_I32_F32, 505, 0.0, kI32, kF32);
QM_SCALAR_BENCH(Log10_F64_F32, 505, 0.0, kF64, kF32);
QM_SCALAR_BENCH(Log10_F64_F64, 505, 0.0, kF64, kF64);
QM_SCALAR_BENCH(SqrtOfLast_U16_F64, 507, 0.0, kU16, kF64);
QM_SCALAR_BENCH(Reciprocal_U16_F32, 508, 0.0, kU16, kF32);
QM_SCALAR_BENCH(Reciprocal_U16_U16, 508, 0.0, kU16, kU16);
// Conversions.
QM_SCALAR_BENCH(Convert_U16_U8, 509, 0.0, kU16, kU8);
QM_SCALAR_BENCH(Convert_U8_U16, 509, 0.0, kU8, kU16);
QM_SCALAR_BENCH(Convert_U16_I32, 509, 0.0, kU16, kI32);
QM_SCALAR_BENCH(Convert_U16_F32, 509, 0.0, kU16, kF32);
QM_SCALAR_BENCH(Convert_U16_F64, 509, 0.0, kU16, kF64);
QM_SCALAR_BENCH(Convert_I32_F32, 509, 0.0, kI32, kF32);
QM_SCALAR_BENCH(Convert_F32_U16, 509, 0.0, kF32, kU16);
QM_SCALAR_BENCH(Convert_F32_F64, 509, 0.0, kF32, kF64);
QM_SCALAR_BENCH(Convert_F64_F32, 509, 0.0, kF64, kF32);
QM_SCALAR_BENCH(Convert_F64_I32, 509, 0.0, kF64, kI32);

}  // namespace
