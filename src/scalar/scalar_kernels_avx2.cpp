// SPDX-License-Identifier: MIT
// The scalar kernels for AVX2 with FMA (flags from the build: *_avx2.cpp).
#if !defined(__AVX2__) || !defined(__FMA__) || defined(__AVX512F__)
#error "built without the AVX2 flags"
#endif
#include "scalar/scalar_kernels_body.h"
