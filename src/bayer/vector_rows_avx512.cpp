// SPDX-License-Identifier: MIT
// The vector row kernels for AVX-512 (F, BW, DQ, VL, VBMI) with FMA (flags from the build:
// *_avx512.cpp); the interior of 16-bit mosaics with the channel rule in its integer form, 32 pixels
// a step in 16-bit lanes, and of 8-bit mosaics with the rule in byte tables, 64 pixels a step in
// 8-bit lanes.
#if !defined(__AVX512F__) || !defined(__AVX512BW__) || !defined(__AVX512DQ__) || !defined(__AVX512VL__) || \
    !defined(__AVX512VBMI__)
#error "built without the AVX-512 flags"
#endif
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "bayer/channel_rule.h"
#include "bayer/fixed_rule.h"
#include "bayer/lanes_avx512.h"
#include "bayer/native_colour.h"
#include "bayer/vector_rows.h"
#include "bayer/vector_rows_body.h"

namespace qm {
namespace {

// The 192 output bytes of 64 pixels, three vectors: each takes its blue and green bytes from a
// two-source byte permute and its red bytes from a masked one-source permute over it. Index byte q
// of vector v: pixel (64 v + q) / 3, plus 64 (the second source) where it is green.
struct InterleaveBytes {
    alignas(64) uint8_t index[3][64];
    uint64_t red[3];
};
constexpr InterleaveBytes MakeInterleave() noexcept {
    InterleaveBytes out{};
    for (int v = 0; v < 3; ++v)
        for (int q = 0; q < 64; ++q) {
            const int at = 64 * v + q, pixel = at / 3, channel = at % 3;
            out.index[v][q] = static_cast<uint8_t>(pixel + (channel == 1 ? 64 : 0));
            if (channel == 2) out.red[v] |= uint64_t{1} << q;
        }
    return out;
}
constexpr InterleaveBytes kInterleave = MakeInterleave();

// The interleave's indices and red masks in registers, and the store of 64 pixels from their
// blue, green and red bytes.
struct Interleave {
    __m512i index[3];
    __mmask64 red[3];

    QM_INLINE static Interleave Load(const InterleaveBytes& m) noexcept {
        return {{_mm512_load_si512(m.index[0]), _mm512_load_si512(m.index[1]), _mm512_load_si512(m.index[2])},
                {m.red[0], m.red[1], m.red[2]}};
    }
    QM_INLINE void Store(uint8_t* out, __m512i b, __m512i g, __m512i r) const noexcept {
        for (int v = 0; v < 3; ++v) {
            const __m512i bg = _mm512_permutex2var_epi8(b, index[v], g);
            _mm512_storeu_si512(out + 64 * v, _mm512_mask_permutexvar_epi8(bg, red[v], index[v], r));
        }
    }
};

// 0, 1, ..., 63.
struct AscendingBytes {
    alignas(64) uint8_t at[64];
};
constexpr AscendingBytes kAscendingBytes = [] {
    AscendingBytes up{};
    for (int q = 0; q < 64; ++q) up.at[q] = static_cast<uint8_t>(q);
    return up;
}();

// The means of a run of 64 / sizeof(Sample) pixels in lanes of the samples' own width (8 or 16
// bits), blended into their blue, green and red values.
template <class Sample> struct SampleLanes {
    using V = __m512i;
    static constexpr bool kBytes = sizeof(Sample) == 1;

    QM_INLINE static V Load(const Sample* p) noexcept { return _mm512_loadu_si512(p); }
    QM_INLINE static V Average(V a, V b) noexcept {  // the rounding average, (a + b + 1) >> 1
        if constexpr (kBytes)
            return _mm512_avg_epu8(a, b);
        else
            return _mm512_avg_epu16(a, b);
    }
    QM_INLINE static V Sub(V a, V b) noexcept {
        if constexpr (kBytes)
            return _mm512_sub_epi8(a, b);
        else
            return _mm512_sub_epi16(a, b);
    }
    // floor((a + b) / 2), and (a + b) mod 2 in `odd`: the rounding average less the carried-in one
    // where the sum is odd.
    QM_INLINE static V Half(V a, V b, V one, V& odd) noexcept {
        odd = _mm512_ternarylogic_epi32(a, b, one, 0x28);  // (a ^ b) & 1
        return Sub(Average(a, b), odd);
    }
    // floor((a + b + c + d) / 4) from x = floor((a + b) / 2), y = floor((c + d) / 2) and the two
    // remainders: floor((x + y + 1) / 2) when both remainders are 1, else floor((x + y) / 2).
    QM_INLINE static V Quarter(V x, V oddX, V y, V oddY, V one) noexcept {
        const V notBoth = _mm512_ternarylogic_epi32(oddX, oddY, one, 0x2A);  // ~(oddX & oddY) & 1
        return Sub(Average(x, y), _mm512_ternarylogic_epi32(x, y, notBoth, 0x28));
    }
    // A row's samples at the run's columns, one column to their left and one to their right.
    struct Window {
        V left, own, right;
    };
    // The blue, green and red values of a run from an odd column, from the windows of the rows
    // above (p), at (c) and below (n) it; `one` holds 1 in every lane.
    template <RowLayout Layout>
    QM_INLINE static void Values(const Window& p, const Window& c, const Window& n, V one, V (&bgr)[3]) noexcept {
        // Even lanes hold odd columns.
        constexpr ColourMeans kOdd = MeansOf(LayoutColumns<Layout>::odd), kEven = MeansOf(LayoutColumns<Layout>::even);
        V means[kMeans], oddAcross, oddVertical, oddAbove, oddBelow;
        means[kOwn] = c.own;
        means[kAcross] = Half(c.left, c.right, one, oddAcross);
        means[kVertical] = Half(p.own, n.own, one, oddVertical);
        means[kCross] = Quarter(means[kAcross], oddAcross, means[kVertical], oddVertical, one);
        const V above = Half(p.left, p.right, one, oddAbove);
        const V below = Half(n.left, n.right, one, oddBelow);
        means[kDiagonal] = Quarter(above, oddAbove, below, oddBelow, one);
        const auto pick = [&](int odd, int even) {
            if constexpr (kBytes)
                return _mm512_mask_blend_epi8(0xAAAAAAAAAAAAAAAAu, means[odd], means[even]);
            else
                return _mm512_mask_blend_epi16(0xAAAAAAAAu, means[odd], means[even]);
        };
        bgr[0] = pick(kOdd.blue, kEven.blue);
        bgr[1] = pick(kOdd.green, kEven.green);
        bgr[2] = pick(kOdd.red, kEven.red);
    }

    // Lane q + k of a and b joined (b's bytes following a's), for lanes q = 0 to 63.
    template <int K> QM_INLINE static V Joined(V a, V b) noexcept {
        return _mm512_permutex2var_epi8(a, _mm512_add_epi8(_mm512_load_si512(kAscendingBytes.at), _mm512_set1_epi8(K)),
                                        b);
    }
    // `groups` runs from column 1, passing each run's column and values to `store`.
    //
    // Byte runs load each row once, a vector a run: a window's left and right vectors are joined
    // from the run's vector and its neighbours', so the loads stay on whole cache lines where the
    // row is aligned. Only the first run's window and the last run's right vectors are loaded as
    // they are (the vectors past the last run could lie outside the source). This made the byte
    // kernel 1.3-1.7 times as fast: it was bound by its loads across cache lines. 16-bit runs load
    // their windows, and joining measured no faster there: they are bound by the means (without
    // most of them a run took 40 % less time, without the channel rule 4 % less).
    template <RowLayout Layout, class Store> QM_INLINE static void Runs(const Sample* p, const Sample* c,
                                                                        const Sample* n, int64_t groups,
                                                                        Store&& store) noexcept {
        constexpr int kLanes = 64 / sizeof(Sample);
        const V one = kBytes ? _mm512_set1_epi8(1) : _mm512_set1_epi16(1);
        const Sample* rows[3] = {p, c, n};
        Window window[3];
        for (int64_t g = 0, j = 1; g < groups; ++g, j += kLanes) {
            // Whether this run's left and own vectors came from the run before, and whether the
            // next run's come from this one.
            const bool carried = kBytes && g > 0, join = kBytes && g + 1 < groups;
            V next[3];
            for (int r = 0; r < 3; ++r) {
                if (!carried) window[r] = {Load(rows[r] + j - 1), Load(rows[r] + j), _mm512_setzero_si512()};
                next[r] = join ? Load(rows[r] + j + kLanes) : _mm512_setzero_si512();
                window[r].right = join ? Joined<1>(window[r].own, next[r]) : Load(rows[r] + j + 1);
            }
            V bgr[3];
            Values<Layout>(window[0], window[1], window[2], one, bgr);
            store(j, bgr);
            if (join)
                for (int r = 0; r < 3; ++r)
                    window[r] = {Joined<kLanes - 1>(window[r].own, next[r]), next[r], _mm512_setzero_si512()};
        }
    }
};

// The interior of 16-bit mosaics with the channel rule in its integer form, 32 pixels a step in
// 16-bit lanes.
struct FixedKernels {
    using V = __m512i;
    static constexpr int kWidth = 32;

    struct Channel {
        V cutFrom, cutByte, sub, limit, mulHigh, mulLow;
        __m128i up, down;
    };
    QM_INLINE static Channel Broadcast(const FixedChannel& c) noexcept {
        return {_mm512_set1_epi16(static_cast<int16_t>(c.cutFrom)),
                _mm512_set1_epi16(static_cast<int16_t>(c.cutByte)),
                _mm512_set1_epi16(static_cast<int16_t>(c.sub)),
                _mm512_set1_epi16(static_cast<int16_t>(c.limit)),
                _mm512_set1_epi16(static_cast<int16_t>(c.mulHigh)),
                _mm512_set1_epi16(static_cast<int16_t>(c.mulLow)),
                _mm_cvtsi32_si128(c.up),
                _mm_cvtsi32_si128(c.down)};
    }
    // ApplyFixed lane by lane. The short form has mulLow 0, the long one down 0.
    template <FixedForm Form> QM_INLINE static V Apply(V x, const Channel& c, V one) noexcept {
        const __mmask32 cut = _mm512_cmplt_epu16_mask(x, c.cutFrom);
        const V t = _mm512_sll_epi16(_mm512_min_epu16(_mm512_subs_epu16(x, c.sub), c.limit), c.up);
        V high = _mm512_mulhi_epu16(t, c.mulHigh);
        if constexpr (Form == FixedForm::Short) {
            high = _mm512_srl_epi16(high, c.down);
        } else {
            // floor(t * multiplier / 2^32) = high(t * mulHigh) + carry of low(t * mulHigh) + high(t * mulLow).
            const V low = _mm512_mulhi_epu16(t, c.mulLow);
            const V sum = _mm512_add_epi16(_mm512_mullo_epi16(t, c.mulHigh), low);
            high = _mm512_mask_add_epi16(high, _mm512_cmplt_epu16_mask(sum, low), high, one);
        }
        return _mm512_mask_mov_epi16(_mm512_min_epu16(high, _mm512_set1_epi16(255)), cut, c.cutByte);
    }

    template <RowLayout Layout, FixedForm Form> static void Interior(const uint16_t* p, const uint16_t* c,
                                                                     const uint16_t* n, int64_t groups, uint8_t* out,
                                                                     const FixedChannels& ch) noexcept {
        const Channel blue = Broadcast(ch.blue), green = Broadcast(ch.green), red = Broadcast(ch.red);
        const V one = _mm512_set1_epi16(1);
        SampleLanes<uint16_t>::Runs<Layout>(p, c, n, groups, [&](int64_t j, const V(&bgr)[3]) {
            Store(out + 3 * j, Apply<Form>(bgr[0], blue, one), Apply<Form>(bgr[1], green, one),
                  Apply<Form>(bgr[2], red, one));
        });
    }

    // Blue, green and red bytes (16-bit lanes below 256) stored as 32 pixels, 96 bytes: a pixel a
    // 32-bit lane, its three bytes gathered at the bottom of each 16-byte block, then the blocks'
    // 12-byte heads joined across the two vectors (no masked stores, which are slow here).
    QM_INLINE static void Store(uint8_t* out, V b, V g, V r) noexcept {
        const V bg = _mm512_or_si512(b, _mm512_slli_epi16(g, 8));
        const V first = _mm512_set_epi16(47, 15, 46, 14, 45, 13, 44, 12, 43, 11, 42, 10, 41, 9, 40, 8, 39, 7, 38, 6, 37,
                                         5, 36, 4, 35, 3, 34, 2, 33, 1, 32, 0);
        const V second = _mm512_add_epi16(first, _mm512_set1_epi16(16));
        StorePixels(out, _mm512_permutex2var_epi16(bg, first, r), _mm512_permutex2var_epi16(bg, second, r));
    }
    // 32 pixels, one a 32-bit lane with its bytes at the bottom: 96 bytes.
    QM_INLINE static void StorePixels(uint8_t* out, V pixels0, V pixels1) noexcept {
        const V bytes = _mm512_broadcast_i32x4(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
        const V low = _mm512_shuffle_epi8(pixels0, bytes);
        const V high = _mm512_shuffle_epi8(pixels1, bytes);
        const V head = _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20);
        const V tail = _mm512_setr_epi32(5, 6, 8, 9, 10, 12, 13, 14, 0, 0, 0, 0, 0, 0, 0, 0);
        _mm512_storeu_si512(out, _mm512_permutex2var_epi32(low, head, high));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 64),
                            _mm512_castsi512_si256(_mm512_permutexvar_epi32(tail, high)));
    }

    // Binning, 32 cells a step with the unmasked store above; an odd group of 16 goes to the
    // common kernel. A 32-bit word of a row holds a cell's even (low half) and odd (high half)
    // sample; the store keeps the low byte of each channel.
    static void Bin(const uint16_t* top, const uint16_t* bottom, int64_t groups, uint8_t* out,
                    uint32_t shift) noexcept {
        const __m128i count = _mm_cvtsi32_si128(static_cast<int>(shift));
        const V low = _mm512_set1_epi32(0xFFFF);
        const auto cells = [&](const uint16_t* a, const uint16_t* b) noexcept {
            const V x = _mm512_loadu_si512(a), y = _mm512_loadu_si512(b);
            const V blue = _mm512_srl_epi32(_mm512_and_si512(y, low), count);
            const V green = _mm512_srl_epi32(
                _mm512_srli_epi32(_mm512_add_epi32(_mm512_and_si512(x, low), _mm512_srli_epi32(y, 16)), 1), count);
            const V red = _mm512_srl_epi32(_mm512_srli_epi32(x, 16), count);
            // b | g << 8 | r << 16 in the three low bytes; the fourth is not stored.
            return _mm512_ternarylogic_epi32(_mm512_and_si512(blue, _mm512_set1_epi32(0xFF)),
                                             _mm512_slli_epi32(_mm512_and_si512(green, _mm512_set1_epi32(0xFF)), 8),
                                             _mm512_slli_epi32(red, 16), 0xFE);
        };
        int64_t g = 0;
        for (; g + 2 <= groups; g += 2, top += 64, bottom += 64, out += 96)
            StorePixels(out, cells(top, bottom), cells(top + 32, bottom + 32));
        if (g < groups) RowKernels<Avx512Lanes>::Bin(top, bottom, 1, out, shift);
    }

    template <FixedForm Form> static constexpr void Fill(FixedRowFn<uint16_t>* row) noexcept {
        row[static_cast<int>(RowLayout::GreenRRed)] = &Interior<RowLayout::GreenRRed, Form>;
        row[static_cast<int>(RowLayout::BlueGreenB)] = &Interior<RowLayout::BlueGreenB, Form>;
        row[static_cast<int>(RowLayout::GreenBBlue)] = &Interior<RowLayout::GreenBBlue, Form>;
        row[static_cast<int>(RowLayout::RedGreenR)] = &Interior<RowLayout::RedGreenR, Form>;
    }
    static constexpr VectorRows Table() noexcept {
        VectorRows table = RowKernels<Avx512Lanes>::kTable;
        table.fixed.width = kWidth;
        Fill<FixedForm::Long>(table.fixed.u16[static_cast<int>(FixedForm::Long)]);
        Fill<FixedForm::Short>(table.fixed.u16[static_cast<int>(FixedForm::Short)]);
        table.bin = &Bin;
        return table;
    }
};

// The interior of 8-bit mosaics in 8-bit lanes, 64 pixels a step: every mean of 8-bit samples is
// an 8-bit value, so the means come from byte averages and the channel rule from byte tables.
struct ByteKernels {
    using V = __m512i;
    static constexpr int kWidth = 64;

    using Lanes = SampleLanes<uint8_t>;

    // A 256-byte table in four vectors: two 128-entry lookups on the low seven bits of each
    // byte, and the top bit picking between them.
    struct Table {
        V part[4];
    };
    QM_INLINE static Table LoadTable(const uint8_t* t) noexcept {
        return {{Lanes::Load(t), Lanes::Load(t + 64), Lanes::Load(t + 128), Lanes::Load(t + 192)}};
    }
    // Each lookup writes only its own half and keeps the index elsewhere, so the second one reads
    // the bytes the first left alone.
    QM_INLINE static V Lookup(V x, const Table& t) noexcept {
        const __mmask64 high = _mm512_movepi8_mask(x);
        const V low = _mm512_mask2_permutex2var_epi8(t.part[0], x, _knot_mask64(high), t.part[1]);
        return _mm512_mask2_permutex2var_epi8(t.part[2], low, high, t.part[3]);
    }

    template <RowLayout Layout> static void Interior(const uint8_t* p, const uint8_t* c, const uint8_t* n,
                                                     int64_t groups, uint8_t* out, const ByteTables& tables) noexcept {
        const Table blue = LoadTable(tables.channel[0]), green = LoadTable(tables.channel[1]),
                    red = LoadTable(tables.channel[2]);
        const Interleave interleave = Interleave::Load(kInterleave);
        Lanes::template Runs<Layout>(p, c, n, groups, [&](int64_t j, const V(&bgr)[3]) {
            interleave.Store(out + 3 * j, Lookup(bgr[0], blue), Lookup(bgr[1], green), Lookup(bgr[2], red));
        });
    }

    static constexpr ByteRows Rows() noexcept {
        ByteRows rows{kWidth, {}};
        rows.row[static_cast<int>(RowLayout::GreenRRed)] = &Interior<RowLayout::GreenRRed>;
        rows.row[static_cast<int>(RowLayout::BlueGreenB)] = &Interior<RowLayout::BlueGreenB>;
        rows.row[static_cast<int>(RowLayout::GreenBBlue)] = &Interior<RowLayout::GreenBBlue>;
        rows.row[static_cast<int>(RowLayout::RedGreenR)] = &Interior<RowLayout::RedGreenR>;
        return rows;
    }
};

constexpr VectorRows Avx512Table() noexcept {
    VectorRows table = FixedKernels::Table();
    table.bytes = ByteKernels::Rows();
    return table;
}

}  // namespace

extern constinit const VectorRows kVectorRowsAvx512 = Avx512Table();
}  // namespace qm
