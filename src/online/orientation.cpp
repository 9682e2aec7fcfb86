// SPDX-License-Identifier: MIT
#include "online/orientation.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "core/allocation.h"
#include "core/element_types.h"

namespace qm::online {
namespace {

// A cell of N bytes moved as a unit; the buffers may have any alignment.
template <size_t N> struct Cell { unsigned char b[N]; };

template <size_t N> inline Cell<N> Get(const unsigned char* p, size_t i) noexcept {
    Cell<N> c;
    std::memcpy(c.b, p + i * N, N);
    return c;
}
template <size_t N> inline void Put(unsigned char* p, size_t i, Cell<N> c) noexcept { std::memcpy(p + i * N, c.b, N); }

// Reverses the order of count cells.
template <size_t N> void ReverseCells(unsigned char* p, size_t count) noexcept {
    if (count < 2) return;
    for (size_t i = 0, j = count - 1; i < j; ++i, --j) {
        const Cell<N> a = Get<N>(p, i);
        Put<N>(p, i, Get<N>(p, j));
        Put<N>(p, j, a);
    }
}

// Swaps row r with row rows - 1 - r for the top half; rows are rowBytes long.
void FlipRows(unsigned char* p, size_t rowBytes, size_t rows) noexcept {
    for (size_t r = 0; r < rows / 2; ++r)
        std::swap_ranges(p + r * rowBytes, p + (r + 1) * rowBytes, p + (rows - 1 - r) * rowBytes);
}

template <size_t N> void MirrorRows(unsigned char* p, size_t rowCells, size_t rows) noexcept {
    for (size_t r = 0; r < rows; ++r) ReverseCells<N>(p + r * rowCells * N, rowCells);
}

// Square tiles of whole cache lines' worth of cells, moved through two local buffers: a tile's
// rows are read and written whole, so the columns of a frame whose rows are a power of two apart
// never crowd one cache set, and the transposition itself runs in the first-level cache.
template <size_t N> inline constexpr size_t kTile = N == 1 ? 64 : 128 / N;

template <size_t N> struct Tile { Cell<N> cell[kTile<N>][kTile<N>]; };

// Reads the rows x cols tile at p (rows `stride` cells apart) into t transposed: t[c][r] = p(r, c).
template <size_t N>
void LoadTransposed(Tile<N>& t, const unsigned char* p, size_t stride, size_t rows, size_t cols) noexcept {
    Tile<N> in;
    for (size_t r = 0; r < rows; ++r) std::memcpy(in.cell[r], p + r * stride * N, cols * N);
    for (size_t c = 0; c < cols; ++c)
        for (size_t r = 0; r < rows; ++r) t.cell[c][r] = in.cell[r][c];
}

// Writes the first rows x cols cells of t at p, rows `stride` cells apart.
template <size_t N>
void StoreTile(const Tile<N>& t, unsigned char* p, size_t stride, size_t rows, size_t cols) noexcept {
    for (size_t r = 0; r < rows; ++r) std::memcpy(p + r * stride * N, t.cell[r], cols * N);
}

// Cell (r, c) of a w x h frame goes to position c x h + r. A square frame is transposed in place,
// tile (i, j) swapping with tile (j, i); any other goes through tmp and is copied back.
template <size_t N> void TransposeCells(unsigned char* p, unsigned char* tmp, size_t w, size_t h) noexcept {
    constexpr size_t T = kTile<N>;
    Tile<N> a, b;
    for (size_t r0 = 0; r0 < h; r0 += T) {
        const size_t rows = std::min(T, h - r0);
        for (size_t c0 = (w == h ? r0 : 0); c0 < w; c0 += T) {
            const size_t cols = std::min(T, w - c0);
            unsigned char* tileA = p + (r0 * w + c0) * N;
            LoadTransposed<N>(a, tileA, w, rows, cols);
            if (w != h) {
                StoreTile<N>(a, tmp + (c0 * h + r0) * N, h, cols, rows);
            } else if (c0 == r0) {
                StoreTile<N>(a, tileA, w, cols, rows);
            } else {
                unsigned char* tileB = p + (c0 * w + r0) * N;
                LoadTransposed<N>(b, tileB, w, cols, rows);
                StoreTile<N>(a, tileB, w, cols, rows);
                StoreTile<N>(b, tileA, w, rows, cols);
            }
        }
    }
    if (w != h) std::memcpy(p, tmp, w * h * N);
}

// The byte-wise transposition of 8-bit and colour frames: the e bytes of pixel (r, c) go to byte
// offset r + c x e x w, row by row, later writes over earlier ones; then the first w x h bytes
// come back over the start of the frame. Only those bytes are ever copied back, so the
// temporary holds just them and the parts of writes beyond them are dropped; bytes that no write
// reaches keep the frame's own value.
void TransposePixelBytes(unsigned char* p, unsigned char* tmp, size_t w, size_t h, size_t e) noexcept {
    const size_t kept = w * h;
    std::memcpy(tmp, p, kept);
    const size_t rowBytes = e * w;
    for (size_t r = 0; r < h; ++r) {
        const unsigned char* pixel = p + r * rowBytes;
        for (size_t c = 0; c < w; ++c, pixel += e) {
            const size_t at = r + c * rowBytes;
            if (at >= kept) break;  // later columns land further out
            std::memcpy(tmp + at, pixel, std::min(e, kept - at));
        }
    }
    std::memcpy(p, tmp, kept);
}

template <size_t N>
void OrientCells(unsigned char* p, const FramePlan& plan, size_t w, size_t h, unsigned char* tmp) noexcept {
    if (plan.rotate) ReverseCells<N>(p, w * h);
    if (plan.flip) FlipRows(p, w * N, h);
    if (plan.mirror) MirrorRows<N>(p, w, h);
    if (plan.transpose) TransposeCells<N>(p, tmp, w, h);
}

void OrientBytes(unsigned char* p, const FramePlan& plan, size_t w, size_t h, size_t e, unsigned char* tmp) noexcept {
    if (plan.rotate) ReverseCells<1>(p, e * w * h);
    if (plan.flip) FlipRows(p, e * w, h);
    if (plan.mirror) MirrorRows<1>(p, e * w, h);
    if (plan.transpose) {
        if (e == 1 && w == h) {
            TransposeCells<1>(p, tmp, w, h);  // the square byte frame: a true transposition
        } else {
            TransposePixelBytes(p, tmp, w, h, e);
        }
    }
}

}  // namespace

Status OrientSource(QmdDataStruct& source, const FramePlan& plan, size_t cellBytes) noexcept {
    if (!plan.Orients()) return Status::Ok;
    const size_t w = source.nWidth, h = source.nHeight;
    auto* p = static_cast<unsigned char*>(source.pData);
    struct ReleaseTemporary {
        void operator()(unsigned char* q) const noexcept { Release(q); }
    };
    std::unique_ptr<unsigned char, ReleaseTemporary> tmp;
    // Square frames of whole cells are transposed in place; the others need the temporary.
    const bool inPlace = w == h && (cellBytes != 0 || ElementSize(source.eType) == 1);
    if (plan.transpose && !inPlace) {
        tmp.reset(static_cast<unsigned char*>(Allocate(w * h * (cellBytes == 0 ? 1 : cellBytes))));
        if (!tmp) return Status::MissingImage;
    }
    switch (cellBytes) {
        case 2: OrientCells<2>(p, plan, w, h, tmp.get()); break;
        case 4: OrientCells<4>(p, plan, w, h, tmp.get()); break;
        default: OrientBytes(p, plan, w, h, ElementSize(source.eType), tmp.get()); break;
    }
    return Status::Ok;
}

}  // namespace qm::online
