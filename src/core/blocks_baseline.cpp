// SPDX-License-Identifier: MIT
// The block stages for baseline x86-64 (SSE2).
#if defined(__AVX2__)
#error "built with the flags of a wider instruction set"
#endif
#include "core/blocks_body.h"
