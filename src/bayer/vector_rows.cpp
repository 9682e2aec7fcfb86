// SPDX-License-Identifier: MIT
// The vector row kernels of the baseline set (SSE2), and the table of each set.
#include "bayer/vector_rows.h"

#include "bayer/lanes_sse2.h"
#include "bayer/vector_rows_body.h"

namespace qm {

extern constinit const VectorRows kVectorRowsSse2 = RowKernels<Sse2Lanes>::kTable;

namespace {
constexpr IsaTables<VectorRows> kTables{{&kVectorRowsSse2, &kVectorRowsAvx2, &kVectorRowsAvx512}};
}  // namespace

const VectorRows* ActiveVectorRows() noexcept { return &kTables.Active(); }

}  // namespace qm
