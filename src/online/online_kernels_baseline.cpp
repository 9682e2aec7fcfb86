// SPDX-License-Identifier: MIT
// The online kernels for baseline x86-64 (SSE2).
#if defined(__AVX2__)
#error "built with the flags of a wider instruction set"
#endif
#include "online/online_kernels_body.h"
