// One image and the constants A and B into a destination of any numeric element type
// (operations 256 and 500 to 509), and the statistics used to normalise flat fields.
#pragma once

#include <cstdint>

#include "core/status.h"
#include "qmath/qmath.h"

namespace qm {

// Checks, in order: destination descriptor or data missing: MissingImage; source descriptor or
// data missing, or either count below 1: MissingImage; counts differ: CountMismatch; source type
// outside 1 to 8: UnsupportedType. Then the engine of the source type runs. dst and src may be
// the same image.
Status ScalarDispatch(int32_t op, const QmdDataStruct* dst, const QmdDataStruct* src, double a, double b) noexcept;

// Largest element as a double; StatisticUnavailable (result untouched) for types outside 1 to 8.
Status ImageMaximum(const QmdDataStruct* src, double* result) noexcept;

// Mean of the elements as a double (NaN for an empty image); StatisticUnavailable for types
// outside 1 to 8.
Status ImageMean(const QmdDataStruct* src, double* result) noexcept;

}  // namespace qm
