// SPDX-License-Identifier: MIT
// The vector row kernels for AVX2 with FMA (flags from the build: *_avx2.cpp).
#if !defined(__AVX2__) || !defined(__FMA__) || defined(__AVX512F__)
#error "built without the AVX2 flags"
#endif
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "bayer/channel_rule.h"
#include "bayer/lanes_avx2.h"
#include "bayer/native_colour.h"
#include "bayer/vector_rows.h"
#include "bayer/vector_rows_body.h"

namespace qm {
extern constinit const VectorRows kVectorRowsAvx2 = RowKernels<Avx2Lanes>::kTable;
}  // namespace qm
