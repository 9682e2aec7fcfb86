// SPDX-License-Identifier: MIT
// The vector row kernels for AVX-512 (F, BW, DQ, VL) with FMA (flags from the build: *_avx512.cpp).
#if !defined(__AVX512F__) || !defined(__AVX512BW__) || !defined(__AVX512DQ__) || !defined(__AVX512VL__)
#error "built without the AVX-512 flags"
#endif
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "bayer/channel_rule.h"
#include "bayer/lanes_avx512.h"
#include "bayer/native_colour.h"
#include "bayer/vector_rows.h"
#include "bayer/vector_rows_body.h"

namespace qm {
extern constinit const VectorRows kVectorRowsAvx512 = RowKernels<Avx512Lanes>::kTable;
}  // namespace qm
