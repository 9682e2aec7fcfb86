// SPDX-License-Identifier: MIT
// The scalar kernels for AVX-512 (F, BW, DQ, VL) with FMA (flags from the build: *_avx512.cpp).
#if !defined(__AVX512F__) || !defined(__AVX512BW__) || !defined(__AVX512DQ__) || !defined(__AVX512VL__)
#error "built without the AVX-512 flags"
#endif
#include "scalar/scalar_kernels_body.h"
