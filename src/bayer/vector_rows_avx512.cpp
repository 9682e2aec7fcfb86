// The vector row kernels compiled for AVX-512 (the set of QM_TARGET_AVX512). Everything this file
// includes from outside the kernels comes before the target is selected, so no shared inline
// function is compiled here for the wider set.
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "bayer/channel_rule.h"
#include "bayer/native_colour.h"
#include "bayer/vector_rows.h"
#include "core/cpu.h"

#if QM_HAVE_ISA_VARIANTS
#pragma GCC push_options
// GCC 12 reports the deliberately undefined source operand of its AVX-512 intrinsics as
// possibly uninitialised; the kernels read no uninitialised value.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC target("avx512f,avx512bw,avx512dq,avx512vl,avx512cd,avx2,fma,bmi,bmi2,popcnt")
#include "bayer/lanes_avx512.h"
#include "bayer/vector_rows_body.h"

namespace qm {
extern constinit const VectorRows kVectorRowsAvx512 = RowKernels<Avx512Lanes>::kTable;
}  // namespace qm

#pragma GCC pop_options
#endif
