#include "core/owned_image.h"

#include <cstring>
#include <new>

#include "core/element_types.h"

namespace qm {
namespace {
constexpr std::align_val_t kBufferAlignment{64};
}

QmdDataStruct* CreateOwnedImage(int32_t type, uint32_t width, uint32_t height) noexcept {
    auto* image = new (std::nothrow) QmdDataStruct{};
    if (image == nullptr) return nullptr;
    image->nWidth = width;
    image->nHeight = height;
    image->eType = type;
    image->nDepth = 1;
    const int32_t count = ElementCount(*image);
    // An empty shape still gets a (one-element) buffer so that the descriptor is well formed;
    // the engines see its count below 1 and refuse it.
    const size_t bytes = static_cast<size_t>(count > 0 ? count : 1) * ElementSize(type);
    image->pData = ::operator new[](bytes, kBufferAlignment, std::nothrow);
    if (image->pData == nullptr) {
        delete image;
        return nullptr;
    }
    std::memset(image->pData, 0, bytes);
    return image;
}

void ReleaseOwnedImage(QmdDataStruct*& image) noexcept {
    if (image == nullptr) return;
    if (image->pData != nullptr) ::operator delete[](image->pData, kBufferAlignment);
    image->pData = nullptr;
    delete image;
    image = nullptr;
}

}  // namespace qm
