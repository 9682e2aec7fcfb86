// The vector row kernels compiled for AVX2 (the set of QM_TARGET_AVX2). Everything this file
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
#pragma GCC target("avx2,fma,bmi,bmi2,popcnt")
#include "bayer/lanes_avx2.h"
#include "bayer/vector_rows_body.h"

namespace qm {
extern constinit const VectorRows kVectorRowsAvx2 = RowKernels<Avx2Lanes>::kTable;
}  // namespace qm

#pragma GCC pop_options
#endif
