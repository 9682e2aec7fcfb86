// The vector row kernels of the baseline set (SSE2), and the choice of table by the active set.
#include "bayer/vector_rows.h"

#include "core/cpu.h"

#if QM_HAVE_ISA_VARIANTS
#include "bayer/lanes_sse2.h"
#include "bayer/vector_rows_body.h"
#endif

namespace qm {

#if QM_HAVE_ISA_VARIANTS
extern constinit const VectorRows kVectorRowsSse2 = RowKernels<Sse2Lanes>::kTable;

const VectorRows* ActiveVectorRows() noexcept {
    switch (ActiveIsa()) {
        case Isa::Avx512: return &kVectorRowsAvx512;
        case Isa::Avx2: return &kVectorRowsAvx2;
        default: return &kVectorRowsSse2;
    }
}
#else
const VectorRows* ActiveVectorRows() noexcept { return nullptr; }
#endif

}  // namespace qm
