// SPDX-License-Identifier: MIT
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

// Largest element as a double (the type's lowest value for an empty image); StatisticUnavailable
// (result untouched) for types outside 1 to 8. MissingImage (result untouched) for a missing
// descriptor or result, or a non-empty image without data.
Status ImageMaximum(const QmdDataStruct* src, double* result) noexcept;

// Mean of the elements as a double, summed in element order (0.0 / n, so NaN, for an empty
// image); StatisticUnavailable with 0.0 / n for types outside 1 to 8. MissingImage as for
// ImageMaximum.
Status ImageMean(const QmdDataStruct* src, double* result) noexcept;

}  // namespace qm
