// Placeholder until the scalar engine lands.
#include "scalar/scalar_dispatch.h"

namespace qm {
Status ScalarDispatch(int32_t, const QmdDataStruct*, const QmdDataStruct*, double, double) noexcept {
    return Status::UnknownProcess;
}
Status ImageMaximum(const QmdDataStruct*, double*) noexcept { return Status::StatisticUnavailable; }
Status ImageMean(const QmdDataStruct*, double*) noexcept { return Status::StatisticUnavailable; }
}  // namespace qm
