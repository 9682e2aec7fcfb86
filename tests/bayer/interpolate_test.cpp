// The interpolating reconstruction against its reference model, its hand-worked cases and its
// refusals, through the exported members.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "bayer/bayer.h"
#include "bayer/bayer_ref.h"
#include "core/cpu.h"
#include "support/instances.h"

namespace {

using Member = QmeErrorCode (*)(QmdDataStruct*, QmdDataStruct*, uint16_t, double, double, double, int32_t, int32_t,
                                int32_t, int16_t, uint16_t);

template <class Sample> struct Typed;
template <> struct Typed<uint8_t> { static constexpr Member member = MathBayerInterpolateU8; static constexpr int32_t type = qmeTypeU8; };
template <> struct Typed<uint16_t> { static constexpr Member member = MathBayerInterpolateU16; static constexpr int32_t type = qmeTypeU16; };
template <> struct Typed<int16_t> { static constexpr Member member = MathBayerInterpolateI16; static constexpr int32_t type = qmeTypeI16; };
template <> struct Typed<uint32_t> { static constexpr Member member = MathBayerInterpolateU32; static constexpr int32_t type = qmeTypeU32; };
template <> struct Typed<int32_t> { static constexpr Member member = MathBayerInterpolateI32; static constexpr int32_t type = qmeTypeI32; };

constexpr uint8_t kGuard = 0xA5;

QmeErrorCode Call(Member member, QmdDataStruct* dst, QmdDataStruct* src, const qm::BayerParams& p) {
    return member(dst, src, p.shift, p.gain[0], p.gain[1], p.gain[2], p.offset[0], p.offset[1], p.offset[2], -7, p.phase);
}

// Pixels the reconstruction writes per row of a W-wide mosaic.
uint32_t PerRow(uint32_t w) { return w < 2 ? 2 : w; }

template <class Sample> Sample RandomSample(std::mt19937_64& rng, int mode) {
    using L = std::numeric_limits<Sample>;
    if (mode == 0) return static_cast<Sample>(rng() % 64);  // small values around typical offsets
    if (mode == 1) return static_cast<Sample>(L::max() - static_cast<Sample>(rng() % 4));
    return static_cast<Sample>(rng());
}

qm::BayerParams RandomParams(std::mt19937_64& rng, uint16_t phase, bool shifted) {
    static const double kGains[] = {1.0, 0.5, 0.013, 3.75, -1.5, -0.25, 1e-9, 65536.0, 1e12, -3e15, 1e300,
                                    std::numeric_limits<double>::infinity(), std::nan("")};
    static const int32_t kOffsets[] = {0, 0, 1, 17, 40, -5, 255, 40000, -40000, INT32_MAX, INT32_MIN, 1 << 30};
    qm::BayerParams p;
    const uint16_t shifts[] = {1, 2, 4, 8, 13, 31, 32, 33, 200};
    p.shift = shifted ? shifts[rng() % std::size(shifts)] : 0;
    p.phase = phase;
    for (int c = 0; c < 3; ++c) {
        // Mostly gains and offsets that keep the narrow form exact, often some that do not.
        p.gain[c] = rng() % 3 == 0 ? kGains[rng() % std::size(kGains)] : static_cast<double>(rng() % 1000) / 250.0;
        p.offset[c] = rng() % 3 == 0 ? kOffsets[rng() % std::size(kOffsets)] : static_cast<int32_t>(rng() % 50);
    }
    return p;
}

template <class Sample> void CompareWithReference(uint64_t seed) {
    std::mt19937_64 rng(seed);
    const uint32_t sizes[] = {1, 2, 3, 4, 5, 8, 17, 300};
    for (int trial = 0; trial < 120; ++trial) {
        const uint32_t w = trial < 64 ? sizes[trial % 8] : 1 + static_cast<uint32_t>(rng() % 72);
        const uint32_t h = trial < 64 ? sizes[(trial / 8) % 8] % 9 + (trial / 8 == 7 ? 1 : 0) : 1 + static_cast<uint32_t>(rng() % 12);
        const int mode = static_cast<int>(rng() % 3);
        std::vector<Sample> mosaic(static_cast<size_t>(w) * h);
        for (Sample& s : mosaic) s = RandomSample<Sample>(rng, mode);
        QmdDataStruct src = qmtest::Describe(mosaic, w, h, Typed<Sample>::type);
        for (uint16_t phase : {0, 1, 2, 3, 4, 9}) {
            for (bool shifted : {false, true}) {
                const qm::BayerParams p = RandomParams(rng, phase, shifted);
                // A destination of W x H pixels plus a guard row's worth after it.
                std::vector<uint8_t> expected(3 * (static_cast<size_t>(PerRow(w)) * h + 8), kGuard);
                qmtest::ReferenceInterpolate(expected, mosaic, w, h, p);
                for (qm::Isa isa : qmtest::kEveryIsa) {
                    qmtest::ScopedIsa scoped(isa);
                    std::vector<uint8_t> out(expected.size(), kGuard);
                    QmdDataStruct dst = qmtest::Describe(out, PerRow(w), h, qmeTypeRgb24);
                    ASSERT_EQ(Call(Typed<Sample>::member, &dst, &src, p), qmeSuccess);
                    ASSERT_EQ(out, expected) << "W " << w << " H " << h << " phase " << phase << " shift " << p.shift
                                             << " gains " << p.gain[0] << ' ' << p.gain[1] << ' ' << p.gain[2]
                                             << " offsets " << p.offset[0] << ' ' << p.offset[1] << ' ' << p.offset[2]
                                             << " isa " << int(isa);
                }
            }
        }
    }
}

TEST(BayerInterpolate, MatchesReferenceU8) { CompareWithReference<uint8_t>(1); }
TEST(BayerInterpolate, MatchesReferenceU16) { CompareWithReference<uint16_t>(2); }
TEST(BayerInterpolate, MatchesReferenceI16) { CompareWithReference<int16_t>(3); }
TEST(BayerInterpolate, MatchesReferenceU32) { CompareWithReference<uint32_t>(4); }
TEST(BayerInterpolate, MatchesReferenceI32) { CompareWithReference<int32_t>(5); }

// Hand-worked pixels: one interior position of a 4 x 4 U16 mosaic under phase 1 (row 2, column 2
// is native red) with every other sample 0.
TEST(BayerInterpolate, ChannelRuleCases) {
    struct Case {
        const char* what;
        uint16_t sample;  // at row 2, column 2 (red under phase 1) or row 1, column 1 (blue)
        bool blueSite;
        uint16_t shift;
        int32_t offset;
        int channelByte;  // 0 blue, 1 green, 2 red of the pixel at that site
        uint8_t expected;
    };
    const Case cases[] = {
        {"red 1000 >> 2", 1000, false, 2, 0, 2, 250},
        {"red 1000 unshifted clips", 1000, false, 0, 0, 2, 255},
        {"blue keeps its offset out of the product", 100, true, 1, 50, 0, 50},
        {"red subtracts its offset", 100, false, 1, 50, 2, 25},
        {"sample at the offset is cut off", 50, false, 1, 50, 2, 0},
        {"unshifted sample below its offset wraps high", 10, false, 0, 20, 2, 255},
        {"shift 32 shifts by 0 but still cuts off", 5, false, 32, 7, 2, 0},
        {"shift 33 shifts by 1", 9, false, 33, 0, 2, 4},
    };
    for (const Case& c : cases) {
        std::vector<uint16_t> mosaic(16, 0);
        mosaic[c.blueSite ? 5 : 10] = c.sample;
        QmdDataStruct src = qmtest::Describe(mosaic, 4, 4, qmeTypeU16);
        std::vector<uint8_t> out(3 * 16, kGuard);
        QmdDataStruct dst = qmtest::Describe(out, 4, 4, qmeTypeRgb24);
        const int32_t offset[3] = {c.offset, 0, 0};
        const int32_t blueOffset[3] = {0, 0, c.offset};
        const int32_t* o = c.blueSite ? blueOffset : offset;
        ASSERT_EQ(MathBayerInterpolateU16(&dst, &src, c.shift, 1.0, 1.0, 1.0, o[0], o[1], o[2], 0, 1), qmeSuccess);
        const size_t pixel = c.blueSite ? 5 : 10;
        EXPECT_EQ(out[3 * pixel + c.channelByte], c.expected) << c.what;
        for (size_t i = 36; i < 48; ++i) EXPECT_EQ(out[i], kGuard) << c.what << ": last row written";
    }
}

TEST(BayerInterpolate, PhaseZeroRepeatsTheFirstPixelOfEachRow) {
    std::vector<uint16_t> mosaic(6 * 5);
    for (size_t i = 0; i < mosaic.size(); ++i) mosaic[i] = static_cast<uint16_t>(i * 37 % 251);
    QmdDataStruct src = qmtest::Describe(mosaic, 6, 5, qmeTypeU16);
    std::vector<uint8_t> out(3 * 30, kGuard);
    QmdDataStruct dst = qmtest::Describe(out, 6, 5, qmeTypeRgb24);
    ASSERT_EQ(MathBayerInterpolateU16(&dst, &src, 0, 1.0, 1.0, 1.0, 0, 0, 0, 0, 0), qmeSuccess);
    for (int row = 1; row <= 3; ++row)
        for (int col = 1; col <= 4; ++col)
            for (int byte = 0; byte < 3; ++byte)
                EXPECT_EQ(out[3 * (row * 6 + col) + byte], out[3 * (row * 6) + byte]) << row << ',' << col;
}

// Refusals leave every byte of the destination as it was.
TEST(BayerInterpolate, RefusalsWriteNothing) {
    std::vector<int16_t> mosaic(5 * 4, 3);
    struct Case {
        const char* what;
        bool nullDst, nullDstData, nullSrc, nullSrcData;
        uint32_t srcW, srcH, dstW, dstH;
        QmeErrorCode expected;
    };
    const Case cases[] = {
        {"null destination", true, false, false, false, 5, 4, 5, 4, qmeMissingImage},
        {"null destination data", false, true, false, false, 5, 4, 5, 4, qmeMissingImage},
        {"null source", false, false, true, false, 5, 4, 5, 4, qmeMissingImage},
        {"null source data", false, false, false, true, 5, 4, 5, 4, qmeMissingImage},
        {"empty source", false, false, false, false, 0, 4, 5, 4, qmeMissingImage},
        {"source type narrower than the samples", false, false, false, false, 5, 4, 5, 4, qmeUnsupportedType},
        {"one pixel short", false, false, false, false, 5, 4, 14, 1, qmeCountMismatch},
        {"empty destination", false, false, false, false, 5, 4, 5, 0, qmeCountMismatch},
        {"W = 1 needs two pixels per row", false, false, false, false, 1, 4, 5, 1, qmeCountMismatch},
        {"H = 1 needs one row of two", false, false, false, false, 1, 1, 1, 1, qmeCountMismatch},
        {"exact fit", false, false, false, false, 5, 4, 15, 1, qmeSuccess},
        {"exact fit, W = 1", false, false, false, false, 1, 4, 6, 1, qmeSuccess},
    };
    for (const Case& c : cases) {
        std::vector<uint8_t> out(3 * 40, kGuard);
        QmdDataStruct dst{c.nullDstData ? nullptr : out.data(), c.dstW, c.dstH, qmeTypeU16, 1, {}};
        const int32_t type = c.expected == qmeUnsupportedType ? qmeTypeU8 : qmeTypeI16;
        QmdDataStruct src{c.nullSrcData ? nullptr : mosaic.data(), c.srcW, c.srcH, type, 1, {}};
        EXPECT_EQ(MathBayerInterpolateI16(c.nullDst ? nullptr : &dst, c.nullSrc ? nullptr : &src, 1, 1.0, 1.0, 1.0, 0, 0,
                                          0, 0, 2),
                  c.expected)
            << c.what;
        const size_t fits = c.expected == qmeSuccess ? 3 * static_cast<size_t>(c.dstW) * c.dstH : 0;
        for (size_t i = fits; i < out.size(); ++i) ASSERT_EQ(out[i], kGuard) << c.what << ": byte " << i;
    }
}

}  // namespace
