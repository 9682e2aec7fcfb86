// SPDX-License-Identifier: MIT
#include "core/owned_image.h"

#include <cstring>
#include <new>

#include "core/allocation.h"
#include "core/element_types.h"

namespace qm {

QmdDataStruct* CreateOwnedImage(int32_t type, uint32_t width, uint32_t height) noexcept {
    void* record = Allocate(sizeof(QmdDataStruct));
    if (record == nullptr) return nullptr;
    auto* image = new (record) QmdDataStruct{};
    image->nWidth = width;
    image->nHeight = height;
    image->eType = type;
    image->nDepth = 1;
    const int32_t count = ElementCount(*image);
    // An empty shape still gets a (one-element) buffer so that the descriptor is well formed;
    // the engines see its count below 1 and refuse it.
    const size_t bytes = static_cast<size_t>(count > 0 ? count : 1) * ElementSize(type);
    image->pData = Allocate(bytes);
    if (image->pData == nullptr) {
        Release(image);
        return nullptr;
    }
    std::memset(image->pData, 0, bytes);
    return image;
}

void ReleaseOwnedImage(QmdDataStruct*& image) noexcept {
    if (image == nullptr) return;
    Release(image->pData);
    image->pData = nullptr;
    Release(image);
    image = nullptr;
}

}  // namespace qm
