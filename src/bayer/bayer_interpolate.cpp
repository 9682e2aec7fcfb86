// SPDX-License-Identifier: MIT
// Bilinear reconstruction of a mosaic into full-size colour, one template over the sample type.
//
// Geometry. Output pixels are written contiguously from the start of the destination: output row
// 0 from source row 0, then rows 1 to H - 2 from the source rows of the same number; the last
// row is never written (H of 1 or 2 writes row 0 only). Every row writes its column 0, its
// interior columns 1 to W - 2 and its last column W - 1 as separate pixels, so a 1-sample-wide
// mosaic gives two pixels per row and W of 2 or more gives W.
//
// Sampling. S_r[j] is the element r * W + j of the source: an index past a row's end reads on into
// the next row (the edge column reads one sample past its row), and an index outside the source's
// W x H elements (below 0, or past the last row) reads as 0.
//
// Row 0 and the edge columns assume the layout G B / R G whatever the phase; the interior follows
// the phase 1 to 4, and any other phase repeats the row's column-0 pixel across the interior.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "bayer/bayer.h"
#include "bayer/channel_rule.h"
#include "bayer/colour_destination.h"
#include "bayer/fixed_rule.h"
#include "bayer/mosaic_arith.h"
#include "bayer/native_colour.h"
#include "bayer/vector_rows.h"
#include "core/cpu.h"
#include "core/element_types.h"

namespace qm {
namespace {

constexpr int32_t kChunk = 256;  // pixels interpolated before the channel rule runs over them

// Interpolated values of a run of output pixels, one plane per channel.
struct Planes {
    alignas(64) int32_t blue[kChunk];
    alignas(64) int32_t green[kChunk];
    alignas(64) int32_t red[kChunk];
    QM_INLINE void Set(int32_t k, int32_t b, int32_t g, int32_t r) noexcept {
        blue[k] = b;
        green[k] = g;
        red[k] = r;
    }
};

// A row of host samples, read without assuming their alignment (a host may slice a byte buffer).
template <class Sample> struct SampleRow {
    const unsigned char* bytes;
    QM_INLINE Sample operator[](int64_t j) const noexcept {
        Sample s;
        std::memcpy(&s, bytes + j * static_cast<int64_t>(sizeof(Sample)), sizeof s);
        return s;
    }
};

template <class Sample> struct Mosaic {
    using A = MosaicArith<Sample>;
    using Sum = typename A::Sum;

    const unsigned char* data;
    int64_t width, height;

    SampleRow<Sample> Row(int64_t r) const noexcept {
        return {data + r * width * static_cast<int64_t>(sizeof(Sample))};
    }
    // The address of row r, for the vector kernels (which load without assuming alignment).
    const Sample* RowAddress(int64_t r) const noexcept { return reinterpret_cast<const Sample*>(Row(r).bytes); }
    // S_r[j], 0 outside the source.
    QM_INLINE Sum At(int64_t r, int64_t j) const noexcept {
        const int64_t index = r * width + j;
        return index >= 0 && index < width * height ? A::Read(SampleRow<Sample>{data}[index]) : Sum{0};
    }
};

template <class Sample> using Sum = typename MosaicArith<Sample>::Sum;

template <class Sample> QM_INLINE Sum<Sample> Add(Sum<Sample> a, Sum<Sample> b) noexcept {
    return MosaicArith<Sample>::Add(a, b);
}
template <class Sample, int D> QM_INLINE int32_t Div(Sum<Sample> a) noexcept {
    using A = MosaicArith<Sample>;
    return A::Value(A::template Divide<D>(a));
}
template <class Sample> QM_INLINE int32_t Val(Sum<Sample> a) noexcept { return MosaicArith<Sample>::Value(a); }

// Row 0, output pixel k of n (n = max(W, 2)).
template <class Sample>
inline void FirstRowPixel(const Mosaic<Sample>& m, int64_t k, int64_t n, Planes& v, int32_t at) noexcept {
    using S = Sample;
    if (k == 0) {
        v.Set(at, Val<S>(m.At(0, 1)), Val<S>(m.At(0, 0)), Val<S>(m.At(1, 0)));
    } else if (k == n - 1) {
        const int64_t j = m.width - 1;
        v.Set(at, Val<S>(m.At(0, j - 1)), Val<S>(m.At(0, j)), Val<S>(m.At(1, j)));
    } else if (k % 2 == 1) {
        v.Set(at, Val<S>(m.At(0, k)), Div<S, 3>(Add<S>(Add<S>(m.At(0, k - 1), m.At(0, k + 1)), m.At(1, k))),
              Div<S, 2>(Add<S>(m.At(1, k - 1), m.At(1, k + 1))));
    } else {
        v.Set(at, Div<S, 2>(Add<S>(m.At(0, k - 1), m.At(0, k + 1))), Val<S>(m.At(0, k)), Val<S>(m.At(1, k)));
    }
}

// Edge column j of row i >= 1 (column 0 or W - 1), in the fixed layout; j + 1 may reach the next row.
// Two per row, so it stays out of line and is compiled once, not once per instruction set.
template <class Sample>
[[gnu::noinline]] void EdgePixel(const Mosaic<Sample>& m, int64_t i, int64_t j, int32_t out[3]) noexcept {
    using S = Sample;
    if (i % 2 == 1) {
        out[2] = Val<S>(m.At(i, j));
        out[0] = Div<S, 2>(Add<S>(m.At(i - 1, j + 1), m.At(i + 1, j + 1)));
        out[1] = Div<S, 3>(Add<S>(Add<S>(m.At(i, j + 1), m.At(i - 1, j)), m.At(i + 1, j)));
    } else {
        out[1] = Val<S>(m.At(i, j));
        out[2] = Div<S, 2>(Add<S>(m.At(i - 1, j), m.At(i + 1, j)));
        out[0] = Val<S>(m.At(i, j + 1));
    }
}

// An interior position j of a row with neighbours p (above) and n (below); every index is inside.
template <Native K, class Sample> QM_INLINE void InteriorPixel(SampleRow<Sample> p, SampleRow<Sample> c,
                                                               SampleRow<Sample> n, int64_t j, Planes& v,
                                                               int32_t at) noexcept {
    using S = Sample;
    using A = MosaicArith<Sample>;
    const auto R = [](Sample s) { return A::Read(s); };
    const Sum<S> across = Add<S>(R(c[j - 1]), R(c[j + 1])), vertical = Add<S>(R(p[j]), R(n[j]));
    const int32_t means[kMeans] = {
        Val<S>(R(c[j])), Div<S, 4>(Add<S>(across, vertical)),
        Div<S, 4>(Add<S>(Add<S>(R(p[j - 1]), R(p[j + 1])), Add<S>(R(n[j - 1]), R(n[j + 1])))), Div<S, 2>(across),
        Div<S, 2>(vertical)};
    constexpr ColourMeans kTake = MeansOf(K);
    v.Set(at, means[kTake.blue], means[kTake.green], means[kTake.red]);
}

// Interior columns [from, to) of a row of the given layout; plane index = column - base. Columns
// go in pairs (odd, even), so the loop holds no colour test.
template <RowLayout Layout, class Sample> QM_INLINE void InteriorRun(SampleRow<Sample> p, SampleRow<Sample> c,
                                                                     SampleRow<Sample> n, int64_t from, int64_t to,
                                                                     int64_t base, Planes& v) noexcept {
    constexpr Native kOdd = LayoutColumns<Layout>::odd, kEven = LayoutColumns<Layout>::even;
    int64_t j = from;
    if (j < to && j % 2 == 0) {
        InteriorPixel<kEven>(p, c, n, j, v, static_cast<int32_t>(j - base));
        ++j;
    }
    for (; j + 1 < to; j += 2) {
        InteriorPixel<kOdd>(p, c, n, j, v, static_cast<int32_t>(j - base));
        InteriorPixel<kEven>(p, c, n, j + 1, v, static_cast<int32_t>(j + 1 - base));
    }
    if (j < to) InteriorPixel<kOdd>(p, c, n, j, v, static_cast<int32_t>(j - base));
}

// The channel rule over a run of pixels, written as blue, green, red bytes.
template <class Rule>
QM_INLINE void StoreRunWith(uint8_t* out, const Planes& v, int32_t count, const BayerChannels& ch) noexcept {
    for (int32_t k = 0; k < count; ++k) {
        out[3 * k + 0] = Rule::Apply(v.blue[k], ch.blue, ch.shift);
        out[3 * k + 1] = Rule::Apply(v.green[k], ch.green, ch.shift);
        out[3 * k + 2] = Rule::Apply(v.red[k], ch.red, ch.shift);
    }
}

// The rule is picked per run of up to kChunk pixels rather than compiled into the whole
// reconstruction, which would repeat the interpolation once per rule for every sample type.
enum class StoreRule : uint8_t { Plain, PlainNarrow, Shifted, ShiftedNarrow };

QM_INLINE void StoreRun(StoreRule rule, uint8_t* out, const Planes& v, int32_t count,
                        const BayerChannels& ch) noexcept {
    switch (rule) {
        case StoreRule::Plain: StoreRunWith<PlainRule<false>>(out, v, count, ch); break;
        case StoreRule::PlainNarrow: StoreRunWith<PlainRule<true>>(out, v, count, ch); break;
        case StoreRule::Shifted: StoreRunWith<ShiftedRule<false>>(out, v, count, ch); break;
        case StoreRule::ShiftedNarrow: StoreRunWith<ShiftedRule<true>>(out, v, count, ch); break;
    }
}

template <class Sample> struct Job {
    Mosaic<Sample> mosaic;
    uint8_t* out;
    BayerChannels channels;
    StoreRule rule;
    RowLayout layout[2];  // by row parity
    // By row parity, the interior's vector kernel for runs from an odd and from an even column, or
    // null; one of them with the channel rule in its integer form.
    InteriorRowFn<Sample> vectorRow[2][2];
    int64_t vectorWidth;  // pixels per run of the vector kernel
    FixedRowFn<Sample> fixedRow[2][2];
    FixedChannels fixed;
    // 8-bit mosaics: the kernels with the channel rule in byte tables, and the tables.
    ByteRowFn byteRow[2][2];
    ByteTables tables;
};

// Row i >= 1 through the planes, except interior columns [1, done) (written by the vector
// kernel): interior columns by the row's layout, the edge columns from `first` and `last`.
template <class Sample> QM_INLINE void ScalarColumns(const Job<Sample>& job, int64_t i, const int32_t first[3],
                                                     const int32_t last[3], int64_t done, uint8_t* out,
                                                     Planes& v) noexcept {
    const Mosaic<Sample>& m = job.mosaic;
    const int64_t w = m.width, perRow = std::max<int64_t>(w, 2);
    const SampleRow<Sample> p = m.Row(i - 1), c = m.Row(i), n = m.Row(i + 1);
    // Chunks from column 0; when the vector kernel wrote columns from 1, column 0 is a chunk of its
    // own and the next starts at `done`.
    for (int64_t base = 0, end = 0; base < perRow; base = end == 1 ? done : end) {
        end = base == 0 && done > 1 ? 1 : std::min<int64_t>(base + kChunk, perRow);
        const int64_t from = std::max<int64_t>(base, 1), to = std::min<int64_t>(end, w - 1);
        switch (job.layout[i % 2]) {
            case RowLayout::GreenRRed: InteriorRun<RowLayout::GreenRRed>(p, c, n, from, to, base, v); break;
            case RowLayout::BlueGreenB: InteriorRun<RowLayout::BlueGreenB>(p, c, n, from, to, base, v); break;
            case RowLayout::GreenBBlue: InteriorRun<RowLayout::GreenBBlue>(p, c, n, from, to, base, v); break;
            case RowLayout::RedGreenR: InteriorRun<RowLayout::RedGreenR>(p, c, n, from, to, base, v); break;
            case RowLayout::Repeat:
                for (int64_t j = from; j < to; ++j) v.Set(static_cast<int32_t>(j - base), first[0], first[1], first[2]);
                break;
        }
        if (base == 0) v.Set(0, first[0], first[1], first[2]);
        if (end == perRow) v.Set(static_cast<int32_t>(perRow - 1 - base), last[0], last[1], last[2]);
        StoreRun(job.rule, out + 3 * base, v, static_cast<int32_t>(end - base), job.channels);
    }
}

// The edge pixels of row i (values `first` and `last`) through the byte tables or the integer
// form the row's vector kernel used, which hold the exact rule for every value a mean of the
// samples can take. False, writing nothing, where the kernel had neither.
template <class Sample> QM_INLINE bool StoreEdges(const Job<Sample>& job, int64_t i, const int32_t first[3],
                                                  const int32_t last[3], uint8_t* out) noexcept {
    const int parity = static_cast<int>(i % 2);
    uint8_t* const at[2] = {out, out + 3 * (job.mosaic.width - 1)};
    const int32_t* const values[2] = {first, last};
    if constexpr (std::is_same_v<Sample, uint8_t>)
        if (job.byteRow[parity][0] != nullptr) {
            for (int e = 0; e < 2; ++e)
                for (int k = 0; k < 3; ++k) at[e][k] = job.tables.channel[k][values[e][k]];
            return true;
        }
    if (job.fixedRow[parity][0] == nullptr) return false;
    for (int e = 0; e < 2; ++e) {
        at[e][0] = ApplyFixed(values[e][0], job.fixed.blue);
        at[e][1] = ApplyFixed(values[e][1], job.fixed.green);
        at[e][2] = ApplyFixed(values[e][2], job.fixed.red);
    }
    return true;
}

// Row 0, out of line like the edge columns, with planes of its own.
template <class Sample> [[gnu::noinline]] void FirstRow(const Job<Sample>& job) noexcept {
    Planes v;
    const int64_t perRow = std::max<int64_t>(job.mosaic.width, 2);
    for (int64_t k0 = 0; k0 < perRow; k0 += kChunk) {
        const int32_t count = static_cast<int32_t>(std::min<int64_t>(kChunk, perRow - k0));
        for (int32_t k = 0; k < count; ++k) FirstRowPixel(job.mosaic, k0 + k, perRow, v, k);
        StoreRun(job.rule, job.out + 3 * k0, v, count, job.channels);
    }
}

// The interior of row i by a vector kernel, in runs of `width` columns that cover columns 1 to
// W - 2: the runs start where the row's samples meet a 64-byte boundary, so that each run reads
// whole cache lines (and, when the destination's rows are aligned too, writes them), with runs from
// column 1 up to there before them and one that ends at column W - 2 after them; these overlap
// their neighbours by less than a run and write the same bytes again. `kernel` holds the kernel
// for runs from an odd column and the one for runs from an even column (the row's layout with its
// columns' parities swapped). Returns W - 1, the first column not written.
template <class Kernel, class Sample, class Channels>
QM_INLINE int64_t VectorColumns(const Kernel (&kernel)[2], const Mosaic<Sample>& m, int64_t i, int64_t width,
                                uint8_t* out, const Channels& channels) noexcept {
    const Sample *p = m.RowAddress(i - 1), *c = m.RowAddress(i), *n = m.RowAddress(i + 1);
    const int64_t w = m.width;
    // Runs of `count` from column `from` (the kernels start at column 1 of what they are given).
    const auto runs = [&](int64_t from, int64_t count) noexcept {
        const int64_t shift = from - 1;
        kernel[from % 2 == 0](p + shift, c + shift, n + shift, count, out + 3 * shift, channels);
    };
    const uintptr_t misaligned = reinterpret_cast<uintptr_t>(c + 1) % 64;
    int64_t from = 1;
    if (misaligned != 0 && misaligned % sizeof(Sample) == 0) {
        if (const int64_t aligned = 1 + static_cast<int64_t>((64 - misaligned) / sizeof(Sample));
            aligned + width <= w - 1) {
            runs(1, (aligned - 1 + width - 1) / width);
            from = aligned;
        }
    }
    const int64_t count = (w - 1 - from) / width;
    runs(from, count);
    if (from + count * width < w - 1) runs(w - 1 - width, 1);
    return w - 1;
}

// The interior of row i by the vector kernel the call chose: returns the first column not written
// (1 when there is no kernel).
template <class Sample> QM_INLINE int64_t VectorInterior(const Job<Sample>& job, int64_t i, uint8_t* out) noexcept {
    const int parity = static_cast<int>(i % 2);
    const Mosaic<Sample>& m = job.mosaic;
    if constexpr (std::is_same_v<Sample, uint8_t>)
        if (job.byteRow[parity][0] != nullptr)
            return VectorColumns(job.byteRow[parity], m, i, job.vectorWidth, out, job.tables);
    if (job.fixedRow[parity][0] != nullptr)
        return VectorColumns(job.fixedRow[parity], m, i, job.vectorWidth, out, job.fixed);
    if (job.vectorRow[parity][0] != nullptr)
        return VectorColumns(job.vectorRow[parity], m, i, job.vectorWidth, out, job.channels);
    return 1;
}

template <class Sample> QM_INLINE void ReconstructBody(const Job<Sample>& job) noexcept {
    const Mosaic<Sample>& m = job.mosaic;
    const int64_t w = m.width, h = m.height;
    const int64_t perRow = std::max<int64_t>(w, 2);
    uint8_t* out = job.out;
    Planes v;

    FirstRow(job);
    out += 3 * perRow;

    // The vector kernel takes the interior of rows that hold a run of it; the edge columns, and
    // narrower rows, go through the planes.
    const bool vector = job.vectorWidth > 0 && w - 2 >= job.vectorWidth;
    for (int64_t i = 1; i + 1 < h; ++i, out += 3 * perRow) {
        // Columns [1, done) are written by the vector kernel; where it wrote them with the rule in
        // tables or its integer form, the edge pixels take that form too, else the planes.
        int32_t first[3], last[3];
        EdgePixel(m, i, 0, first);
        EdgePixel(m, i, w - 1, last);
        const int64_t done = vector ? VectorInterior(job, i, out) : 1;
        if (done == w - 1 && StoreEdges(job, i, first, last, out)) continue;
        ScalarColumns<Sample>(job, i, first, last, done, out, v);
    }
}

// The table index of a row layout's kernel for runs from an odd column, or from an even one: the
// layout with the native colours of its odd and even columns swapped.
int LayoutIndex(RowLayout layout, int even) noexcept {
    constexpr RowLayout kSwapped[4] = {RowLayout::RedGreenR, RowLayout::GreenBBlue, RowLayout::BlueGreenB,
                                       RowLayout::GreenRRed};
    return static_cast<int>(even != 0 ? kSwapped[static_cast<int>(layout)] : layout);
}

std::atomic<int64_t> g_fixedBudget{0};

// The integer form of the three channels, when the sample type has its kernels here, the rows are
// wide enough for a run and the form checks out within the budget: a few thousand values, more
// for larger images, so the check stays a small part of the call. The short form first (its
// kernels are cheaper), then the long one.
template <class Sample> bool UseFixedRule(Job<Sample>& job, const VectorRows& vector, bool shifted) noexcept {
    if (vector.fixed.width == 0 || job.mosaic.width - 2 < vector.fixed.width) return false;
    const int64_t pixels = job.mosaic.width * job.mosaic.height, set = g_fixedBudget.load(std::memory_order_relaxed);
    const int32_t high = std::numeric_limits<Sample>::max();
    const BayerChannels& ch = job.channels;
    for (const bool shortForm : {true, false}) {
        // A form this set has no kernels for is not worth checking.
        const FixedRowFn<Sample>* rows =
            vector.fixed.template For<Sample>(shortForm ? FixedForm::Short : FixedForm::Long);
        if (rows == nullptr || rows[0] == nullptr) continue;
        int64_t budget = set > 0 ? set : 3 * 1024 + pixels / 16;
        if (!MakeFixedChannel(ch.blue, shifted, ch.shift, high, budget, job.fixed.blue, shortForm) ||
            !MakeFixedChannel(ch.green, shifted, ch.shift, high, budget, job.fixed.green, shortForm) ||
            !MakeFixedChannel(ch.red, shifted, ch.shift, high, budget, job.fixed.red, shortForm))
            continue;
        for (int parity = 0; parity < 2; ++parity)
            if (job.layout[parity] != RowLayout::Repeat)
                for (int even = 0; even < 2; ++even)
                    job.fixedRow[parity][even] = rows[LayoutIndex(job.layout[parity], even)];
        job.vectorWidth = vector.fixed.width;
        return true;
    }
    return false;
}

// The channel rule of an 8-bit mosaic in byte tables, when the instruction set has their kernels
// and the rows are wide enough for a run: every mean is one of the 256 values the tables hold.
template <class Sample> bool UseByteTables(Job<Sample>& job, const VectorRows& vector, bool shifted) noexcept {
    if (!std::is_same_v<Sample, uint8_t> || vector.bytes.width == 0 || job.mosaic.width - 2 < vector.bytes.width)
        return false;
    const BayerChannels& ch = job.channels;
    const BayerChannel* channels[3] = {&ch.blue, &ch.green, &ch.red};
    for (int c = 0; c < 3; ++c)
        for (int32_t x = 0; x < 256; ++x) job.tables.channel[c][x] = ApplyExact(x, *channels[c], shifted, ch.shift);
    for (int parity = 0; parity < 2; ++parity)
        if (job.layout[parity] != RowLayout::Repeat)
            for (int even = 0; even < 2; ++even)
                job.byteRow[parity][even] = vector.bytes.row[LayoutIndex(job.layout[parity], even)];
    job.vectorWidth = vector.bytes.width;
    return true;
}

}  // namespace

void SetFixedRuleBudget(int64_t values) noexcept { g_fixedBudget.store(values, std::memory_order_relaxed); }

template <class Sample>
Status BayerInterpolate(const QmdDataStruct* dst, const QmdDataStruct* src, const BayerParams& params) noexcept {
    if (dst == nullptr || dst->pData == nullptr || src == nullptr || src->pData == nullptr) return Status::MissingImage;
    const int64_t w = src->nWidth, h = src->nHeight;
    if (w == 0 || h == 0) return Status::MissingImage;  // an empty mosaic
    // A descriptor whose elements are narrower than the member's samples describes too few bytes.
    if (ElementSize(src->eType) < sizeof(Sample)) return Status::UnsupportedType;
    const int64_t rows = h >= 3 ? h - 1 : 1;
    const uint64_t needed = static_cast<uint64_t>(rows) * static_cast<uint64_t>(std::max<int64_t>(w, 2));
    if (const Status s = CheckColourDestination(*dst, needed); s != Status::Ok) return s;

    const bool shifted = params.shift != 0;
    BayerChannels ch;
    ch.shift = params.shift & 31u;
    ch.red = {params.gain[0], params.offset[0], params.offset[0]};
    ch.green = {params.gain[1], params.offset[1], params.offset[1]};
    ch.blue = {params.gain[2], params.offset[2], 0};
    using A = MosaicArith<Sample>;
    bool narrow = true, signedMultiplicands = true;
    for (const BayerChannel& c : {ch.blue, ch.green, ch.red}) {
        const double bound = shifted ? ShiftedBound(A::kLow, A::kHigh, c) : PlainBound(A::kLow, A::kHigh, c);
        narrow = narrow && NarrowSuffices(bound, c.gain);
        // The vector kernels hold the unshifted rule's unsigned multiplicand in a signed lane.
        signedMultiplicands = signedMultiplicands && (shifted || bound < 0x1p31);
    }
    const uint16_t phase = params.phase <= 4 ? params.phase : 0;
    Job<Sample> job{{static_cast<const unsigned char*>(src->pData), w, h},
                    static_cast<uint8_t*>(dst->pData),
                    ch,
                    static_cast<StoreRule>(2 * shifted + narrow),
                    {kLayouts[phase][0], kLayouts[phase][1]},
                    {},
                    0,
                    {},
                    {},
                    {},
                    {}};
    const VectorRows* vector = ActiveVectorRows();
    // Byte tables for 8-bit mosaics, else the integer form of the channel rule where it checks out, else
    // the kernels of the exact rule.
    const InteriorRows<Sample>* interior = nullptr;
    if (vector != nullptr && !UseByteTables(job, *vector, shifted) && !UseFixedRule(job, *vector, shifted))
        interior = vector->Interior<Sample>();
    if (interior != nullptr) {
        const bool wide = !(narrow && signedMultiplicands);
        for (int parity = 0; parity < 2; ++parity)
            if (job.layout[parity] != RowLayout::Repeat)
                for (int even = 0; even < 2; ++even)
                    job.vectorRow[parity][even] = interior->row[shifted][wide][LayoutIndex(job.layout[parity], even)];
        job.vectorWidth = vector->width;
    }
    ReconstructBody(job);
    return Status::Ok;
}

template Status BayerInterpolate<uint8_t>(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;
template Status BayerInterpolate<uint16_t>(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;
template Status BayerInterpolate<int16_t>(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;
template Status BayerInterpolate<uint32_t>(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;
template Status BayerInterpolate<int32_t>(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;

}  // namespace qm
