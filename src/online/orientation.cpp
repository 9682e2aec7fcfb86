// SPDX-License-Identifier: MIT
#include "online/orientation.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "core/allocation.h"
#include "core/element_types.h"

namespace qm::online {
namespace {

inline __m128i LoadBytes16(const unsigned char* p) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline void StoreBytes16(unsigned char* p, __m128i v) noexcept { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// A cell of N bytes moved as a unit; the buffers may have any alignment.
template <size_t N> struct Cell { unsigned char b[N]; };

template <size_t N> inline Cell<N> Get(const unsigned char* p, size_t i) noexcept {
    Cell<N> c;
    std::memcpy(c.b, p + i * N, N);
    return c;
}
template <size_t N> inline void Put(unsigned char* p, size_t i, Cell<N> c) noexcept { std::memcpy(p + i * N, c.b, N); }

// One 16-byte vector of cells in reverse order (SSE2, which every x86 target of the module has).
template <size_t N> inline __m128i ReverseVector(__m128i v) noexcept {
    v = _mm_shuffle_epi32(v, _MM_SHUFFLE(0, 1, 2, 3));  // dwords reversed: 4-byte cells done
    if constexpr (N <= 2) {
        v = _mm_shufflelo_epi16(v, _MM_SHUFFLE(2, 3, 0, 1));  // words inside each dword
        v = _mm_shufflehi_epi16(v, _MM_SHUFFLE(2, 3, 0, 1));
    }
    if constexpr (N == 1) v = _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));  // bytes inside words
    return v;
}

// Reverses the order of count cells: a vector from each end at a time, swapped and reversed,
// until fewer than two vectors' worth are left in the middle, which go cell by cell.
template <size_t N> void ReverseCells(unsigned char* p, size_t count) noexcept {
    constexpr size_t kCells = 16 / N;
    size_t i = 0, j = count;  // cells [i, j) are still to reverse
    if constexpr (N == 1 || N == 2 || N == 4) {
        for (; j - i >= 2 * kCells; i += kCells, j -= kCells) {
            const __m128i front = LoadBytes16(p + i * N), back = LoadBytes16(p + (j - kCells) * N);
            StoreBytes16(p + i * N, ReverseVector<N>(back));
            StoreBytes16(p + (j - kCells) * N, ReverseVector<N>(front));
        }
    }
    for (; j - i >= 2; ++i, --j) {
        const Cell<N> a = Get<N>(p, i);
        Put<N>(p, i, Get<N>(p, j - 1));
        Put<N>(p, j - 1, a);
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

// Blocks of kBlock<N> x kBlock<N> cells transposed in registers: one row of the block is 8 bytes
// (bytes) or 16 bytes (16- and 32-bit cells). Rows of `from` are fromStride bytes apart, rows of
// `to` toStride.
template <size_t N> inline constexpr size_t kBlock = N == 4 ? 4 : 8;

template <size_t N>
void TransposeBlock(const unsigned char* from, size_t fromStride, unsigned char* to, size_t toStride) noexcept {
    if constexpr (N == 4) {
        const __m128i r0 = LoadBytes16(from), r1 = LoadBytes16(from + fromStride);
        const __m128i r2 = LoadBytes16(from + 2 * fromStride), r3 = LoadBytes16(from + 3 * fromStride);
        const __m128i t0 = _mm_unpacklo_epi32(r0, r1), t1 = _mm_unpackhi_epi32(r0, r1);
        const __m128i t2 = _mm_unpacklo_epi32(r2, r3), t3 = _mm_unpackhi_epi32(r2, r3);
        StoreBytes16(to, _mm_unpacklo_epi64(t0, t2));
        StoreBytes16(to + toStride, _mm_unpackhi_epi64(t0, t2));
        StoreBytes16(to + 2 * toStride, _mm_unpacklo_epi64(t1, t3));
        StoreBytes16(to + 3 * toStride, _mm_unpackhi_epi64(t1, t3));
    } else {
        __m128i r[8];
        for (size_t k = 0; k < 8; ++k)
            r[k] = N == 2 ? LoadBytes16(from + k * fromStride)
                          : _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from + k * fromStride));
        // Pairs of rows interleaved by cell, then pairs of pairs, then the halves joined: each
        // step doubles the run of one column's cells.
        __m128i a[8], b[8];
        for (size_t k = 0; k < 4; ++k) {
            if constexpr (N == 2) {
                a[2 * k] = _mm_unpacklo_epi16(r[2 * k], r[2 * k + 1]);
                a[2 * k + 1] = _mm_unpackhi_epi16(r[2 * k], r[2 * k + 1]);
            } else {
                a[2 * k] = _mm_unpacklo_epi8(r[2 * k], r[2 * k + 1]);  // 8 columns of 2 rows
            }
        }
        if constexpr (N == 2) {
            // a[2k]: columns 0-3 of rows 2k, 2k+1; a[2k+1]: columns 4-7.
            for (size_t half = 0; half < 2; ++half)
                for (size_t q = 0; q < 2; ++q) {
                    b[4 * half + 2 * q] = _mm_unpacklo_epi32(a[4 * q + half], a[4 * q + 2 + half]);
                    b[4 * half + 2 * q + 1] = _mm_unpackhi_epi32(a[4 * q + half], a[4 * q + 2 + half]);
                }
            // b[4h + 2q + e]: columns 4h + 2e, 4h + 2e + 1 of rows 4q to 4q + 3.
            for (size_t h = 0; h < 2; ++h)
                for (size_t e = 0; e < 2; ++e) {
                    const size_t column = 4 * h + 2 * e;
                    StoreBytes16(to + column * toStride, _mm_unpacklo_epi64(b[4 * h + e], b[4 * h + 2 + e]));
                    StoreBytes16(to + (column + 1) * toStride, _mm_unpackhi_epi64(b[4 * h + e], b[4 * h + 2 + e]));
                }
        } else {
            // a[2k]: the 8 columns of rows 2k, 2k+1 (2 bytes each).
            const __m128i c0 = _mm_unpacklo_epi16(a[0], a[2]), c1 = _mm_unpackhi_epi16(a[0], a[2]);  // rows 0-3
            const __m128i c2 = _mm_unpacklo_epi16(a[4], a[6]), c3 = _mm_unpackhi_epi16(a[4], a[6]);  // rows 4-7
            // c0: columns 0-3 of rows 0-3 (4 bytes each), c1: columns 4-7; c2, c3 the same of rows 4-7.
            const __m128i d[4] = {_mm_unpacklo_epi32(c0, c2), _mm_unpackhi_epi32(c0, c2), _mm_unpacklo_epi32(c1, c3),
                                  _mm_unpackhi_epi32(c1, c3)};
            // d[k]: columns 2k and 2k + 1, all 8 rows each.
            for (size_t k = 0; k < 4; ++k) {
                _mm_storel_epi64(reinterpret_cast<__m128i*>(to + 2 * k * toStride), d[k]);
                _mm_storel_epi64(reinterpret_cast<__m128i*>(to + (2 * k + 1) * toStride),
                                 _mm_unpackhi_epi64(d[k], d[k]));
            }
        }
    }
}

// Reads the rows x cols tile at p (rows `stride` cells apart) into t transposed: t[c][r] = p(r, c).
// Whole blocks go through the registers, the cells of a partial block at the frame's edge one by one.
template <size_t N>
void LoadTransposed(Tile<N>& t, const unsigned char* p, size_t stride, size_t rows, size_t cols) noexcept {
    constexpr size_t B = kBlock<N>;
    const size_t wholeRows = rows / B * B, wholeCols = cols / B * B;
    for (size_t r = 0; r < wholeRows; r += B)
        for (size_t c = 0; c < wholeCols; c += B)
            TransposeBlock<N>(p + (r * stride + c) * N, stride * N, t.cell[c][r].b, kTile<N> * N);
    for (size_t r = 0; r < rows; ++r)
        for (size_t c = r < wholeRows ? wholeCols : 0; c < cols; ++c) t.cell[c][r] = Get<N>(p, r * stride + c);
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
