// SPDX-License-Identifier: MIT
#include "core/colour_copy.h"

#include <cstring>

#include "core/element_types.h"

namespace qm {

Status CopyColourImage(const QmdDataStruct* dst, const QmdDataStruct* src) noexcept {
    if (!HasElements(dst) || !HasElements(src)) return Status::MissingImage;
    const int32_t count = ElementCount(*dst);
    if (count != ElementCount(*src)) return Status::CountMismatch;
    if (src->eType != kRgb24) return Status::UnsupportedType;
    std::memmove(dst->pData, src->pData, static_cast<size_t>(count) * 3);
    return Status::Ok;
}

}  // namespace qm
