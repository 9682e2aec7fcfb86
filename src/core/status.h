// SPDX-License-Identifier: MIT
// Status values inside the module. They cross the border as QmeErrorCode.
#pragma once

#include <cstdint>

#include "qmath/qmath.h"

namespace qm {

enum class Status : int32_t {
    Ok = qmeSuccess,
    NoFreeInstance = qmeNoFreeInstance,
    StatisticUnavailable = qmeStatisticUnavailable,
    MissingImage = qmeMissingImage,
    UnsupportedType = qmeUnsupportedType,
    ContradictoryOptions = qmeContradictoryOptions,
    ElementNotComputed = qmeElementNotComputed,
    CountMismatch = qmeCountMismatch,
    UnknownProcess = qmeUnknownProcess,
    UnsupportedSourceType = qmeUnsupportedSourceType,
};

constexpr QmeErrorCode ToErrorCode(Status s) noexcept { return static_cast<QmeErrorCode>(s); }

}  // namespace qm
