// SPDX-License-Identifier: MIT
// The scalar kernels for baseline x86-64 (SSE2).
#if defined(__AVX2__)
#error "built with the flags of a wider instruction set"
#endif
#include "scalar/scalar_kernels_body.h"
