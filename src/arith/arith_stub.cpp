// Placeholder until the arithmetic engine lands.
#include "arith/arith_dispatch.h"

namespace qm {
Status ArithDispatch(int32_t, const QmdDataStruct*, const QmdDataStruct*, const QmdDataStruct*) noexcept {
    return Status::UnknownProcess;
}
}  // namespace qm
