// SPDX-License-Identifier: MIT
// The simple reconstructions: 2 x 2 binning of a 16-bit mosaic, and the raw-pointer export whose
// sampling is kept as the module has always done it (first row only, uniform rows after it).
//
// Both read the mosaic through a bounded reader: an element index outside the buffer they were
// given reads as 0, so no argument a host can pass makes them read memory they do not own.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bayer/bayer.h"
#include "bayer/colour_destination.h"
#include "bayer/vector_rows.h"
#include "core/cpu.h"
#include "core/element_types.h"

namespace qm {
namespace {

// Store rule of the simple functions: the low 8 bits of the value shifted right by the shift
// count mod 32 (a count of 0 or 32 stores the low 8 bits of the value itself). No clipping.
QM_INLINE uint8_t StoreSimple(uint32_t value, uint32_t shift) noexcept {
    return static_cast<uint8_t>(value >> (shift & 31u));
}

QM_INLINE void PutPixel(uint8_t* out, uint32_t blue, uint32_t green, uint32_t red, uint32_t shift) noexcept {
    out[0] = StoreSimple(blue, shift);
    out[1] = StoreSimple(green, shift);
    out[2] = StoreSimple(red, shift);
}

// 16-bit samples in [0, size); every other index reads as 0.
// The samples are read without assuming their alignment (a host may slice a byte buffer).
class BoundedSamples {
public:
    BoundedSamples(const void* data, uint64_t size) noexcept
        : data_(static_cast<const unsigned char*>(data)), size_(size) {}
    QM_INLINE uint32_t operator()(int64_t index) const noexcept {
        return index >= 0 && static_cast<uint64_t>(index) < size_ ? At(index) : 0u;
    }
    // Sample `index`, which the caller knows to be inside.
    QM_INLINE uint32_t At(int64_t index) const noexcept {
        uint16_t s;
        std::memcpy(&s, data_ + 2 * index, sizeof s);
        return s;
    }
    const uint16_t* Address(int64_t index) const noexcept {
        return reinterpret_cast<const uint16_t*>(data_ + 2 * index);
    }
    uint64_t size() const noexcept { return size_; }

private:
    const unsigned char* data_;
    uint64_t size_;
};

}  // namespace

// Output row y bins source rows 2y and 2y + 1; the cell of output column x starts at source column
// 2x. Positions are element indices r * S + c of the source (S its row length), so a destination
// wider than half the source reads on into the next row, and whatever lies past the source's
// nWidth x nHeight elements (of the size its type gives) reads as 0.
Status BayerSimple(const QmdDataStruct* dst, const QmdDataStruct* src, uint16_t shift) noexcept {
    if (dst == nullptr || dst->pData == nullptr || src == nullptr || src->pData == nullptr) return Status::MissingImage;
    const uint32_t width = dst->nWidth;
    const uint32_t height = dst->nHeight;
    // The last output row is never written; with no columns no row is (a 0 x 4e9 destination
    // must not cost 4e9 empty rows).
    if (height <= 1 || width == 0) return Status::Ok;
    if (const Status s = CheckColourDestination(*dst, uint64_t{height - 1} * width); s != Status::Ok) return s;
    const int64_t stride = src->nWidth;
    // The samples are 16-bit whatever the source's type says; only the bytes it describes are read.
    const uint64_t bytes = static_cast<uint64_t>(stride) * src->nHeight * ElementSize(src->eType);
    const BoundedSamples sample(src->pData, bytes / sizeof(uint16_t));
    uint8_t* out = static_cast<uint8_t*>(dst->pData);
    const VectorRows* vector = ActiveVectorRows();
    const uint32_t runWidth = vector != nullptr ? static_cast<uint32_t>(vector->width) : 0;
    for (uint32_t y = 0; y + 1 < height; ++y) {
        const int64_t top = 2 * static_cast<int64_t>(y) * stride;
        const int64_t bottom = top + stride;
        uint8_t* row = out + static_cast<size_t>(y) * width * 3;
        if (static_cast<uint64_t>(bottom + 2 * static_cast<int64_t>(width)) <= sample.size()) {
            // The whole row of cells lies inside the source: whole runs go to the vector kernel.
            uint32_t x = 0;
            if (runWidth > 0 && width >= runWidth) {
                const uint32_t runs = width / runWidth;
                vector->bin(sample.Address(top), sample.Address(bottom), runs, row, shift & 31u);
                x = runs * runWidth;
            }
            for (; x < width; ++x) {
                const int64_t a = top + 2 * int64_t{x}, b = bottom + 2 * int64_t{x};
                PutPixel(row + 3 * static_cast<size_t>(x), sample.At(b), (sample.At(a) + sample.At(b + 1)) / 2,
                         sample.At(a + 1), shift);
            }
        } else {
            for (uint32_t x = 0; x < width; ++x) {
                const int64_t c = 2 * static_cast<int64_t>(x);
                PutPixel(row + 3 * static_cast<size_t>(x), sample(bottom + c),
                         (sample(top + c) + sample(bottom + c + 1)) / 2, sample(top + c + 1), shift);
            }
        }
    }
    return Status::Ok;
}

// The samples are taken as H rows at a pitch of P samples, of which the last holds W samples: the
// readable indices are [0, (H - 1) * P + W). The output holds W x H pixels. The sample at the
// address equal to the width (the carried sample) is taken as 0, and so is any index outside the
// readable range (index -1 with W = 1, row 1 with H = 1). A width or height of 0 writes nothing.
Status BayerInterpolateRaw(QmdRgbTriple* out, uint32_t width, uint32_t height, const uint16_t* samples, uint32_t pitch,
                           uint16_t shift) noexcept {
    if (out == nullptr || samples == nullptr) return Status::MissingImage;
    if (width == 0 || height == 0) return Status::Ok;
    const BoundedSamples in(samples, static_cast<uint64_t>(height - 1) * pitch + width);
    constexpr uint32_t kCarried = 0;
    uint8_t* pixel = reinterpret_cast<uint8_t*>(out);
    const int64_t w = width;
    const int64_t p = pitch;

    // First row up to the last pixel; the blue and red bytes of each pixel are remembered.
    uint32_t blueByte = 1, redByte = 1;
    for (int64_t x = 0; x + 1 < w; ++x, pixel += 3) {
        if (x % 2 == 0) {
            PutPixel(pixel, in(p + x), in(x), in(x + 1), shift);
        } else {
            const uint32_t mean = (in(x - 1) + in(x + 1)) / 2;
            PutPixel(pixel, kCarried, mean, mean, shift);
        }
        blueByte = pixel[0];
        redByte = pixel[2];
    }
    // The last pixel stores the remembered bytes through the store rule once more.
    const int64_t last = w - 1;
    if (last % 2 == 1)
        PutPixel(pixel, blueByte, in(last), redByte, shift);
    else
        PutPixel(pixel, blueByte, in(last - 1), in(last), shift);
    if (height <= 2) return Status::Ok;

    // The sample positions do not advance after the first row: rows 1 to H - 2 are uniform.
    uint8_t uniform[3];
    PutPixel(uniform, in(p + w), (kCarried + in(w)) / 2, kCarried, shift);
    uint8_t* end = reinterpret_cast<uint8_t*>(out) + static_cast<size_t>(height - 1) * width * 3;
    for (pixel = reinterpret_cast<uint8_t*>(out) + static_cast<size_t>(width) * 3; pixel != end; pixel += 3) {
        pixel[0] = uniform[0];
        pixel[1] = uniform[1];
        pixel[2] = uniform[2];
    }
    return Status::Ok;
}

}  // namespace qm
