// SPDX-License-Identifier: MIT
// The reconstructions against plain per-pixel models of their rules, on every instruction set, with
// guard bytes after the destination; the raw-pointer export's hand-worked quirks; the refusals.
#include "bayer/bayer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "bayer/fixed_rule.h"
#include "bayer_model.h"
#include "support/instances.h"
#include "support/isa.h"

namespace {

using bayermodel::Channel;
using bayermodel::Wrap32;

constexpr uint8_t kGuard = 0xA5;

// While it lasts, the check of the integer channel rule may evaluate every cut-off value of a
// 16-bit sample one by one, so that small images take that rule whatever their offsets.
struct CheckEveryValue {
    CheckEveryValue() { qm::SetFixedRuleBudget(int64_t{1} << 20); }
    ~CheckEveryValue() { qm::SetFixedRuleBudget(0); }
};

// How a member sums its samples: 8- and 16-bit exactly, 32-bit wrapped and divided as the type divides.
enum class Sums { Exact, Unsigned32, Signed32 };

// A mosaic read by element index r * W + j; anything outside its W x H elements reads as 0.
struct Mosaic {
    std::vector<int64_t> s;  // the samples' values
    int64_t w, h;
    Sums sums;
    int64_t At(int64_t r, int64_t j) const { return r * w + j >= 0 && r * w + j < w * h ? s[r * w + j] : 0; }
    using Taps = std::vector<std::pair<int, int>>;  // (row, column) offsets whose mean is taken
    int64_t Mean(const Taps& taps, int64_t r, int64_t j) const {
        int64_t sum = 0, n = static_cast<int64_t>(taps.size());
        for (auto [dr, dj] : taps) sum += At(r + dr, j + dj);
        if (sums == Sums::Unsigned32) return Wrap32(static_cast<uint32_t>(sum) / n);
        return (sums == Sums::Signed32 ? Wrap32(sum) : sum) / n;
    }
};

using Taps = Mosaic::Taps;
const Taps O{{0, 0}}, E{{0, 1}}, Wt{{0, -1}}, S{{1, 0}}, A{{0, -1}, {0, 1}}, V{{-1, 0}, {1, 0}},
    X{{0, -1}, {0, 1}, {-1, 0}, {1, 0}}, D{{-1, -1}, {-1, 1}, {1, -1}, {1, 1}}, Row0G{{0, -1}, {0, 1}, {1, 0}},
    Row0R{{1, -1}, {1, 1}}, EdgeB{{-1, 1}, {1, 1}}, EdgeG{{0, 1}, {-1, 0}, {1, 0}};

// Native colour of an interior position by phase, row parity, column parity: red, blue, green in a
// red row, green in a blue row; and the blue, green, red taps of each.
enum Native { R, B, Gr, Gb };
constexpr Native kNative[5][2][2] = {
    {}, {{R, Gr}, {Gb, B}}, {{Gb, B}, {R, Gr}}, {{B, Gb}, {Gr, R}}, {{Gr, R}, {B, Gb}}};
const Taps* const kInterior[4][3] = {{&D, &X, &O}, {&O, &X, &D}, {&V, &O, &A}, {&A, &O, &V}};
// Row 0 (first pixel, last pixel, odd, even column) and the edge columns of even and odd rows, all
// in the layout G B / R G whatever the phase.
const Taps* const kRow0[4][3] = {{&E, &O, &S}, {&Wt, &O, &S}, {&O, &Row0G, &Row0R}, {&A, &O, &S}};
const Taps* const kEdges[2][3] = {{&E, &O, &V}, {&EdgeB, &EdgeG, &O}};

// Output of the interpolating reconstruction over `out`, prefilled with guard bytes.
void Interpolate(std::vector<uint8_t>& out, const Mosaic& m, const qm::BayerParams& p) {
    const int64_t perRow = std::max<int64_t>(m.w, 2), rows = m.h >= 3 ? m.h - 1 : 1;
    for (int64_t i = 0; i < rows; ++i) {
        int64_t v[3], first[3] = {};
        for (int64_t k = 0; k < perRow; ++k) {
            const bool edge = k == 0 || k == perRow - 1;
            const int64_t j = k == perRow - 1 ? m.w - 1 : k;
            const Taps* const* taps = nullptr;
            if (i == 0)
                taps = kRow0[k == 0 ? 0 : edge ? 1 : 3 - k % 2];
            else if (edge)
                taps = kEdges[i % 2];
            else if (p.phase >= 1 && p.phase <= 4)
                taps = kInterior[kNative[p.phase][i % 2][j % 2]];
            for (int c = 0; c < 3; ++c) v[c] = taps != nullptr ? m.Mean(*taps[c], i, j) : first[c];
            if (k == 0) std::copy(v, v + 3, first);
            for (int c = 0; c < 3; ++c)
                out[3 * (i * perRow + k) + c] = Channel(v[c], p.gain[2 - c], p.offset[2 - c], c == 0, p.shift);
        }
    }
}

qm::BayerParams RandomParams(std::mt19937_64& rng, uint16_t phase, bool shifted) {
    static const double kGains[] = {1.0, 0.013, -1.5, -0.25, 1e-9, 65536.0, 1e12, -3e15, 1e300, INFINITY, NAN};
    static const int32_t kOffsets[] = {0, 1, 40, -5, 255, 40000, -40000, INT32_MAX, INT32_MIN, 1 << 30};
    static const uint16_t kShifts[] = {1, 2, 8, 13, 31, 32, 33, 200};
    qm::BayerParams p{shifted ? kShifts[rng() % std::size(kShifts)] : uint16_t{0}, {}, {}, phase};
    for (int c = 0; c < 3; ++c) {  // mostly gains and offsets for which the narrow form is exact
        p.gain[c] = rng() % 3 == 0 ? kGains[rng() % std::size(kGains)] : static_cast<double>(rng() % 1000) / 250.0;
        p.offset[c] = rng() % 3 == 0 ? kOffsets[rng() % std::size(kOffsets)] : static_cast<int32_t>(rng() % 50);
    }
    return p;
}

// Sizes 1 to 3 each way, widths across several vector runs and their remainders, and rows longer
// than the reconstruction's chunk; samples small, near the maximum or anywhere in the type.
template <class Sample, class Member>
void Compare(Member member, int32_t type, Sums sums, uint64_t seed, int trials = 120) {
    std::mt19937_64 rng(seed);
    for (int trial = 0; trial < trials; ++trial) {
        const uint32_t w = trial < 9 ? 1 + trial % 3 : trial % 10 == 0 ? 250 + rng() % 20 : 1 + rng() % 72;
        const uint32_t h = trial < 9 ? 1 + trial / 3 : 1 + rng() % 9;
        const int mode = static_cast<int>(rng() % 3);
        std::vector<Sample> mosaic(static_cast<size_t>(w) * h);
        const uint64_t max = std::numeric_limits<Sample>::max();
        for (Sample& s : mosaic) s = static_cast<Sample>(mode == 0 ? rng() % 64 : mode == 1 ? max - rng() % 4 : rng());
        const Mosaic model{{mosaic.begin(), mosaic.end()}, w, h, sums};
        QmdDataStruct src = qmtest::Describe(mosaic, w, h, type);
        for (uint16_t phase : {0, 1, 2, 3, 4, 9})
            for (bool shifted : {false, true}) {
                const qm::BayerParams p = RandomParams(rng, phase, shifted);
                std::vector<uint8_t> expected(3 * (std::max<size_t>(w, 2) * h + 8), kGuard);
                Interpolate(expected, model, p);
                qmtest::OnEveryIsa([&](qm::Isa) {
                    std::vector<uint8_t> out(expected.size(), kGuard);
                    QmdDataStruct dst = qmtest::Describe(out, std::max(w, 2u), h, qmeTypeRgb24);
                    ASSERT_EQ(member(&dst, &src, p.shift, p.gain[0], p.gain[1], p.gain[2], p.offset[0], p.offset[1],
                                     p.offset[2], -7, p.phase),
                              qmeSuccess);
                    ASSERT_EQ(out, expected)
                        << "trial " << trial << ' ' << w << 'x' << h << " phase " << phase << " shift " << p.shift;
                });
            }
    }
}

TEST(BayerInterpolate, ModelU8) { Compare<uint8_t>(MathBayerInterpolateU8, qmeTypeU8, Sums::Exact, 1); }
TEST(BayerInterpolate, ModelU16) { Compare<uint16_t>(MathBayerInterpolateU16, qmeTypeU16, Sums::Exact, 2); }
TEST(BayerInterpolate, ModelI16) { Compare<int16_t>(MathBayerInterpolateI16, qmeTypeI16, Sums::Exact, 3); }
TEST(BayerInterpolate, ModelU32) { Compare<uint32_t>(MathBayerInterpolateU32, qmeTypeU32, Sums::Unsigned32, 4); }
TEST(BayerInterpolate, ModelI32) { Compare<int32_t>(MathBayerInterpolateI32, qmeTypeI32, Sums::Signed32, 5); }
TEST(BayerInterpolate, ModelIntegerRule) {
    const CheckEveryValue budget;
    Compare<uint8_t>(MathBayerInterpolateU8, qmeTypeU8, Sums::Exact, 6, 60);
    Compare<uint16_t>(MathBayerInterpolateU16, qmeTypeU16, Sums::Exact, 7, 60);
}

// The integer form of the channel rule at the edges of its exactness argument: gains whose
// products land on or just beside integers (where the double rounding of the exact rule decides),
// gains of 1 and above (the multiplier shifted up), a gain just below 1 that the check must refuse,
// offsets at the cut-off's ends, shifts of 0, 31 and 32; samples at the type's largest values and
// next to the offsets; widths around the 32- and 64-pixel runs, every phase, every instruction set.
template <class Sample> void CompareEdges(int32_t type, uint64_t seed) {
    const CheckEveryValue budget;
    constexpr int32_t kMax = std::numeric_limits<Sample>::max();
    const struct {
        double gain;
        int32_t offset;
        uint16_t shift;
    } cases[] = {
        {0.9, 0, 0},      {0.9, 0, 4},           {0.9, 64, 0},       {0.9, 64, 4},   {0.7, 0, 0},
        {0.1, 3, 1},      {1.1, 0, 2},           {1.0, 0, 0},        {4.0, 0, 0},    {255.0, 1, 0},
        {1.0 / 3, 0, 31}, {1.0 - 0x1p-40, 0, 0}, {0.5, kMax - 1, 3}, {0.5, kMax, 0}, {2.0, 200, 32},
        {0.0, 7, 0},      {1e-4, 0, 0},          {3000.0, 0, 5},     {2.0, 1, 1},
    };
    std::mt19937_64 rng(seed);
    for (const uint32_t w : {33u, 35u, 65u, 66u, 67u, 98u, 130u, 131u})
        for (const auto& c : cases) {
            const uint32_t h = 3 + rng() % 3;
            std::vector<Sample> mosaic(static_cast<size_t>(w) * h);
            for (Sample& s : mosaic) {
                const int pick = static_cast<int>(rng() % 4);
                const int64_t near =
                    std::clamp<int64_t>(int64_t{c.offset} + static_cast<int64_t>(rng() % 5) - 2, 0, kMax);
                s = static_cast<Sample>(pick == 0 ? kMax : pick == 1 ? near : pick == 2 ? kMax - rng() % 3 : rng());
            }
            const Mosaic model{{mosaic.begin(), mosaic.end()}, w, h, Sums::Exact};
            QmdDataStruct src = qmtest::Describe(mosaic, w, h, type);
            for (uint16_t phase : {1, 2, 3, 4}) {
                // The channels get the case, and the case with its gain halved and doubled.
                const qm::BayerParams p{
                    c.shift, {c.gain, c.gain / 2, c.gain * 2}, {c.offset, c.offset, c.offset}, phase};
                std::vector<uint8_t> expected(3 * (size_t{w} * h + 8), kGuard);
                Interpolate(expected, model, p);
                qmtest::OnEveryIsa([&](qm::Isa) {
                    std::vector<uint8_t> out(expected.size(), kGuard);
                    QmdDataStruct dst = qmtest::Describe(out, w, h, qmeTypeRgb24);
                    const auto member =
                        sizeof(Sample) == 1 ? qm::BayerInterpolate<uint8_t> : qm::BayerInterpolate<uint16_t>;
                    ASSERT_EQ(member(&dst, &src, p), qm::Status::Ok);
                    ASSERT_EQ(out, expected) << w << 'x' << h << " gain " << c.gain << " offset " << c.offset
                                             << " shift " << c.shift << " phase " << phase;
                });
            }
        }
}
TEST(BayerInterpolate, IntegerRuleEdgesU8) { CompareEdges<uint8_t>(qmeTypeU8, 12); }
TEST(BayerInterpolate, IntegerRuleEdgesU16) { CompareEdges<uint16_t>(qmeTypeU16, 13); }

// The reconstruction of `mosaic` into a destination that starts `offset` bytes past a cache line,
// from a copy that starts `sourceOffset` samples past one, on every instruction set, against the
// model.
template <class Sample> void CheckPlaced(const std::vector<Sample>& mosaic, uint32_t w, uint32_t h,
                                         const qm::BayerParams& p, size_t offset, size_t sourceOffset = 0) {
    const Mosaic model{{mosaic.begin(), mosaic.end()}, w, h, Sums::Exact};
    std::vector<uint8_t> expected(3 * (size_t{w} * h + 8), kGuard);
    Interpolate(expected, model, p);
    std::vector<Sample> copy(mosaic.size() + 128 / sizeof(Sample));
    Sample* const source =
        copy.data() + (64 - reinterpret_cast<uintptr_t>(copy.data()) % 64) / sizeof(Sample) + sourceOffset;
    std::copy(mosaic.begin(), mosaic.end(), source);
    QmdDataStruct src{source, w, h, sizeof(Sample) == 1 ? qmeTypeU8 : qmeTypeU16, 1, {}};
    qmtest::OnEveryIsa([&](qm::Isa) {
        std::vector<uint8_t> buffer(expected.size() + 128, kGuard);
        uint8_t* const out = buffer.data() + (64 - reinterpret_cast<uintptr_t>(buffer.data()) % 64) + offset;
        QmdDataStruct dst{out, w, h, qmeTypeRgb24, 1, {}};
        const auto member = sizeof(Sample) == 1 ? qm::BayerInterpolate<uint8_t> : qm::BayerInterpolate<uint16_t>;
        ASSERT_EQ(member(&dst, &src, p), qm::Status::Ok);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out))
            << "first difference at byte "
            << (std::mismatch(expected.begin(), expected.end(), out).first - expected.begin()) << ' ' << w << 'x' << h
            << " at +" << offset << " from +" << sourceOffset << " gains " << p.gain[0] << ' ' << p.gain[1] << ' '
            << p.gain[2] << " offset " << p.offset[0] << " shift " << p.shift << " phase " << p.phase;
    });
}

// 8-bit mosaics take their channel rule from 256-entry tables. Columns in blocks of four equal
// samples (rows alike) give every mean at a block's two inner columns the block's value, so
// blocks 0 to 255 send every byte value through every channel at both column parities; the gains,
// offsets and shifts make the tables wrap, saturate, cut off and step.
TEST(BayerInterpolate, ByteTablesTakeEveryValue) {
    const struct {
        double gain[3];
        int32_t offset;
        uint16_t shift;
    } cases[] = {
        {{0.9, 0.45, 1.8}, 0, 0},         {{0.9, 0.9, 0.9}, 64, 0},
        {{0.9, 1.7, 3.1}, 64, 4},         {{-1.5, -0.25, 1e12}, 0, 0},
        {{1.0, 1.0, 1.0}, 255, 0},        {{1.0 / 3, 2.0, 1e-9}, -5, 31},
        {{NAN, INFINITY, -3e15}, 40, 32}, {{65536.0, 0.013, 1.0}, 1 << 30, 8},
        {{0.5, 2.5, 1.0}, INT32_MIN, 2},  {{1.0, 1.0, 1.0}, 0, 0},
    };
    const uint32_t w = 4 * 256 + 2, h = 3;
    std::vector<uint8_t> mosaic(size_t{w} * h);
    for (size_t i = 0; i < mosaic.size(); ++i) mosaic[i] = static_cast<uint8_t>(i % w / 4);
    for (const auto& c : cases)
        for (uint16_t phase : {1, 2, 3, 4})
            CheckPlaced(mosaic, w, h,
                        {c.shift, {c.gain[0], c.gain[1], c.gain[2]}, {c.offset, c.offset, c.offset}, phase}, phase * 7);
}

// Widths around the 64-pixel run of 8-bit mosaics (66 is the first to take it) and multiples of it
// and of the 32-pixel run of 16-bit ones, heights odd and even, every phase, destinations and
// sources starting anywhere within a cache line (the kernels store whole vectors wherever they
// fall, and start their runs where a row's samples meet a cache line, after runs from column 1 that
// overlap them), and the last run of a row overlapping the one before it.
template <class Sample> void CompareRuns(uint64_t seed) {
    const CheckEveryValue budget;
    std::mt19937_64 rng(seed);
    const qm::BayerParams params[] = {{0, {0.9, 0.9, 0.9}, {0, 0, 0}, 0}, {3, {0.7, 1.3, 0.45}, {16, 16, 16}, 0}};
    for (const uint32_t w : {65u, 66u, 67u, 68u, 97u, 129u, 130u, 131u, 194u})
        for (const uint32_t h : {3u, 4u, 5u}) {
            std::vector<Sample> mosaic(size_t{w} * h);
            for (Sample& s : mosaic) s = static_cast<Sample>(rng());
            for (const size_t offset : {0, 3, 17, 61})
                for (uint16_t phase : {1, 2, 3, 4}) {
                    qm::BayerParams p = params[(offset + phase) % 2];
                    p.phase = phase;
                    CheckPlaced(mosaic, w, h, p, offset, (offset + 11 * phase) % 64 / sizeof(Sample));
                }
        }
}
TEST(BayerInterpolate, RunsAroundTheirWidthU8) { CompareRuns<uint8_t>(21); }
TEST(BayerInterpolate, RunsAroundTheirWidthU16) { CompareRuns<uint16_t>(22); }

// Both integer forms, where the check takes them, give the exact rule's byte for every value of
// the range, not only at the levels the check looks at; as red or green (the offset subtracted)
// and as blue (only cut off at it).
TEST(BayerInterpolate, IntegerFormsMatchEveryValue) {
    const struct {
        double gain;
        int32_t offset;
        bool shifted;
        uint32_t shift;
        int32_t high;
    } cases[] = {
        {0.9, 0, false, 0, 65535},     {0.9, 64, false, 0, 65535},    {0.9, 0, true, 4, 65535},
        {1.8374, 256, true, 4, 65535}, {0.7, 3, true, 1, 65535},      {1.0, 0, false, 0, 65535},
        {255.0, 1, false, 0, 65535},   {1.0 / 3, 0, true, 31, 65535}, {1e-4, 0, false, 0, 65535},
        {3000.0, 0, true, 5, 65535},   {0.0, 7, false, 0, 65535},     {2.5, 16, true, 1, 255},
        {4.0, 1, true, 1, 65535},      {4.0, 2, true, 1, 65535},
    };
    int taken[2] = {};
    for (const auto& c : cases)
        for (const int shortForm : {0, 1})
            for (const bool blue : {false, true}) {
                const qm::BayerChannel channel{c.gain, c.offset, blue ? 0 : c.offset};
                int64_t budget = int64_t{1} << 20;
                qm::FixedChannel fixed{};
                if (!qm::MakeFixedChannel(channel, c.shifted, c.shift, c.high, budget, fixed, shortForm == 1)) continue;
                ++taken[shortForm];
                for (int32_t x = 0; x <= c.high; ++x)
                    ASSERT_EQ(qm::ApplyFixed(x, fixed), qm::ApplyExact(x, channel, c.shifted, c.shift))
                        << c.gain << ' ' << c.offset << ' ' << c.shift << (shortForm ? " short" : " long")
                        << (blue ? " blue" : "") << " at " << x;
            }
    // The short form serves the common gains; neither form is vacuous here.
    EXPECT_GE(taken[1], 16);
    EXPECT_GE(taken[0], 20);
}

// Which channels the integer form takes under the budget of a 2048 x 2048 frame: the gains and
// black levels cameras use must not fall back to the slower path; gains it cannot represent must.
TEST(BayerInterpolate, IntegerRuleTakesCommonChannels) {
    const struct {
        double gain;
        int32_t offset;
        bool shifted;
        uint32_t shift;
        int32_t high;
        bool taken;
    } cases[] = {
        {0.9, 0, false, 0, 65535, true},          {0.9, 64, false, 0, 65535, true}, {0.9, 0, true, 4, 65535, true},
        {1.8374, 256, true, 4, 65535, true},      {0.9, 0, false, 0, 255, true},    {2.5, 16, true, 1, 255, true},
        {-1.0, 0, false, 0, 255, false},          {NAN, 0, true, 1, 255, false},    {1e6, 0, false, 0, 65535, false},
        {1.0 - 0x1p-40, 0, false, 0, 255, false}, {0.9, -5, false, 0, 255, false},
    };
    for (const auto& c : cases) {
        const qm::BayerChannel channel{c.gain, c.offset, c.offset};
        int64_t budget = 2048 * 2048 / 16;
        qm::FixedChannel fixed{};
        EXPECT_EQ(qm::MakeFixedChannel(channel, c.shifted, c.shift, c.high, budget, fixed), c.taken)
            << c.gain << ' ' << c.offset << ' ' << c.shift;
    }
}

// Binning: output row y from source rows 2y and 2y + 1 by element index, the samples 16-bit
// whatever the type, reading 0 past the bytes the source describes; never the last output row.
void CompareBinning(uint64_t seed, int trials) {
    std::mt19937_64 rng(seed);
    for (int trial = 0; trial < trials; ++trial) {
        const bool wide = trial % 3 == 0;
        const uint32_t w = rng() % (wide ? 80 : 9), h = rng() % 9, sh = rng() % 12;
        const uint32_t sw = wide ? 2 * w + rng() % 3 : rng() % 12;
        const int32_t type = trial % 4 == 1 ? qmeTypeU8 : trial % 4 == 2 ? qmeTypeU32 : qmeTypeU16;
        const uint16_t shift = rng() % 40;
        std::vector<uint16_t> mosaic(2 * static_cast<size_t>(sw) * sh + 1);
        for (uint16_t& s : mosaic) s = static_cast<uint16_t>(rng());
        const int64_t n = int64_t{sw} * sh * (type == qmeTypeU8 ? 1 : type == qmeTypeU16 ? 2 : 4) / 2;  // readable
        const Mosaic m{{mosaic.begin(), mosaic.begin() + n}, n, 1, Sums::Exact};
        std::vector<uint8_t> expected(3 * (static_cast<size_t>(w) * h + 2), kGuard);
        for (int64_t y = 0; y + 1 < h; ++y)
            for (int64_t x = 0; x < w; ++x) {
                const int64_t at = 2 * (y * sw + x), top = m.At(0, at), bottom = m.At(0, at + sw);
                const int64_t bgr[3] = {bottom, (top + m.At(0, at + sw + 1)) / 2, m.At(0, at + 1)};
                for (int c = 0; c < 3; ++c) expected[3 * (y * w + x) + c] = static_cast<uint8_t>(bgr[c] >> shift % 32);
            }
        QmdDataStruct src = qmtest::Describe(mosaic, sw, sh, type);
        qmtest::OnEveryIsa([&](qm::Isa) {
            std::vector<uint8_t> out(expected.size(), kGuard);
            QmdDataStruct dst = qmtest::Describe(out, w, h, qmeTypeRgb24);
            ASSERT_EQ(MathBayerSimple(&dst, &src, shift), qmeSuccess);
            ASSERT_EQ(out, expected) << "trial " << trial;
        });
    }
}
TEST(BayerSimple, MatchesModel) { CompareBinning(11, 300); }

// The raw-pointer export over samples 10, 11, 12, ... at a pitch of 6: the first row only, uniform
// rows after it, its last pixel re-storing remembered bytes, the last row untouched.
TEST(BayerInterpolateRaw, Cases) {
    const struct {
        uint32_t w, h;
        uint16_t shift;
        std::vector<uint8_t> expected;
    } cases[] = {
        // then guard bytes
        {4, 2, 0, {16, 10, 11, 0, 11, 11, 18, 12, 13, 18, 13, 13}},
        {3, 4, 0, {16, 10, 11, 0, 11, 11, 0, 11, 12, 19, 6, 0, 19, 6, 0, 19, 6, 0, 19, 6, 0, 19, 6, 0, 19, 6, 0}},
        {2, 2, 1, {8, 5, 5, 4, 5, 2}},  // remembered bytes are shifted again
        {1, 1, 0, {1, 0, 10}},
        {1, 1, 1, {0, 0, 5}},                          // remembered bytes start at 1; index -1 reads 0
        {3, 1, 0, {0, 10, 11, 0, 11, 11, 0, 11, 12}},  // H 1 reads nothing past the first row
        {2, 0, 0, {}},
        {0, 5, 0, {}},
    };
    std::vector<uint16_t> in(64);
    for (size_t i = 0; i < in.size(); ++i) in[i] = static_cast<uint16_t>(10 + i);
    for (const auto& c : cases) {
        std::vector<uint8_t> out(3 * (c.w * c.h + 2), kGuard), expected = c.expected;
        expected.resize(out.size(), kGuard);
        auto* rgb = reinterpret_cast<QmdRgbTriple*>(out.data());
        EXPECT_EQ(MathBayerInterpolate(rgb, c.w, c.h, in.data(), 6, 0, c.shift), qmeSuccess);
        EXPECT_EQ(out, expected) << c.w << 'x' << c.h << " shift " << c.shift;
        EXPECT_EQ(MathBayerInterpolate(nullptr, 2, 1, in.data(), 2, 0, 0), qmeMissingImage);
        EXPECT_EQ(MathBayerInterpolate(rgb, 2, 1, nullptr, 2, 0, 0), qmeMissingImage);
        EXPECT_EQ(out, expected);
    }
}

// Refusals leave every byte of the destination as it was; an exact fit is written whole.
TEST(BayerRefusals, WriteNothing) {
    std::vector<int16_t> mosaic(5 * 4, 3);
    enum { kNullDst = 1, kNullDstData = 2, kNullSrc = 4, kNullSrcData = 8, kBinning = 16, kU8Source = 32 };
    const auto check = [&](int flags, uint32_t srcW, uint32_t srcH, uint32_t dstW, uint32_t dstH, QmeErrorCode want) {
        std::vector<uint8_t> out(3 * 40, kGuard);
        QmdDataStruct dst{flags & kNullDstData ? nullptr : out.data(), dstW, dstH, qmeTypeRgb24, 1, {}};
        QmdDataStruct src{flags & kNullSrcData ? nullptr : mosaic.data(), srcW, srcH,
                          flags & kU8Source ? qmeTypeU8 : qmeTypeI16,     1,    {}};
        QmdDataStruct* d = flags & kNullDst ? nullptr : &dst;
        QmdDataStruct* s = flags & kNullSrc ? nullptr : &src;
        const auto got =
            flags & kBinning ? MathBayerSimple(d, s, 1) : MathBayerInterpolateI16(d, s, 1, 1, 1, 1, 0, 0, 0, 0, 2);
        EXPECT_EQ(got, want) << flags << ' ' << srcW << 'x' << srcH << " -> " << dstW << 'x' << dstH;
        const size_t written = want == qmeSuccess ? 3 * size_t{dstW} * dstH : 0;
        for (size_t i = written; i < out.size(); ++i) ASSERT_EQ(out[i], kGuard) << flags << " byte " << i;
    };
    for (int null : {kNullDst, kNullDstData, kNullSrc, kNullSrcData})
        for (int member : {0, int{kBinning}}) check(member | null, 4, 4, 2, 2, qmeMissingImage);
    check(0, 0, 4, 5, 4, qmeMissingImage);  // an empty mosaic
    check(kU8Source, 5, 4, 5, 4, qmeUnsupportedType);
    check(0, 5, 4, 14, 1, qmeCountMismatch);
    check(0, 5, 4, 5, 0, qmeCountMismatch);
    check(0, 5, 4, 15, 1, qmeSuccess);
    check(0, 1, 4, 5, 1, qmeCountMismatch);
    check(0, 1, 1, 1, 1, qmeCountMismatch);
    check(0, 1, 4, 6, 1, qmeSuccess);
}

}  // namespace
