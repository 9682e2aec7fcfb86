// The 2 x 2 binning and the raw-pointer export.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "bayer/bayer_ref.h"
#include "support/instances.h"

namespace {

constexpr uint8_t kGuard = 0xA5;

std::vector<uint16_t> Counting(size_t n, uint16_t value = 0) {
    std::vector<uint16_t> v(n, value);
    if (value == 0)
        for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint16_t>(i);
    return v;
}

TEST(BayerSimple, Cases) {
    struct Case {
        const char* what;
        uint16_t fill;  // 0: samples 0, 1, 2, ... row by row
        uint16_t shift;
        std::vector<uint8_t> row0;  // blue, green, red of output pixels 0 and 1
    };
    const Case cases[] = {
        {"counting samples", 0, 0, {4, 2, 1, 6, 4, 3}},
        {"4095 >> 4 clips nothing: 255", 4095, 4, {255, 255, 255, 255, 255, 255}},
        {"4095 unshifted keeps its low byte", 4095, 0, {255, 255, 255, 255, 255, 255}},
        {"256 unshifted stores 0", 256, 0, {0, 0, 0, 0, 0, 0}},
        {"shift 32 is shift 0", 300, 32, {44, 44, 44, 44, 44, 44}},
        {"shift 33 is shift 1", 300, 33, {150, 150, 150, 150, 150, 150}},
    };
    for (const Case& c : cases) {
        std::vector<uint16_t> mosaic = Counting(16, c.fill);
        std::vector<uint8_t> out(3 * 4 + 6, kGuard);
        QmdDataStruct src = qmtest::Describe(mosaic, 4, 4, qmeTypeU16);
        QmdDataStruct dst = qmtest::Describe(out, 2, 2, qmeTypeRgb24);
        ASSERT_EQ(MathBayerSimple(&dst, &src, c.shift), qmeSuccess) << c.what;
        EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + 6), c.row0) << c.what;
        for (size_t i = 6; i < out.size(); ++i) EXPECT_EQ(out[i], kGuard) << c.what << ": row 1 or beyond written";
    }
}

// Any destination size, including ones larger than the source can feed (read as 0 past it), on
// every instruction set; every third trial is a wide mosaic whose rows hold several vector runs
// and a remainder.
TEST(BayerSimple, MatchesReferenceAndWritesNothingElse) {
    std::mt19937_64 rng(11);
    for (int trial = 0; trial < 300; ++trial) {
        const bool wide = trial % 3 == 0;
        const uint32_t w = static_cast<uint32_t>(rng() % (wide ? 80 : 9)), h = static_cast<uint32_t>(rng() % 9);
        const uint32_t sw = wide ? 2 * w + static_cast<uint32_t>(rng() % 3) : static_cast<uint32_t>(rng() % 12);
        const uint32_t sh = static_cast<uint32_t>(rng() % 12);
        const uint16_t shift = static_cast<uint16_t>(rng() % 40);
        std::vector<uint16_t> mosaic(static_cast<size_t>(sw) * sh + 1);
        for (uint16_t& s : mosaic) s = static_cast<uint16_t>(rng());
        std::vector<uint8_t> expected(3 * (static_cast<size_t>(w) * h + 2), kGuard);
        qmtest::ReferenceSimple(expected, w, h, mosaic, sw, sh, shift);
        QmdDataStruct src = qmtest::Describe(mosaic, sw, sh, qmeTypeU16);
        for (qm::Isa isa : qmtest::kEveryIsa) {
            qmtest::ScopedIsa scoped(isa);
            std::vector<uint8_t> out(expected.size(), kGuard);
            QmdDataStruct dst = qmtest::Describe(out, w, h, qmeTypeRgb24);
            ASSERT_EQ(MathBayerSimple(&dst, &src, shift), qmeSuccess);
            ASSERT_EQ(out, expected) << sw << 'x' << sh << " -> " << w << 'x' << h << " shift " << shift << " isa "
                                     << int(isa);
        }
    }
    std::vector<uint16_t> mosaic = Counting(16);
    std::vector<uint8_t> out(12, kGuard);
    QmdDataStruct src = qmtest::Describe(mosaic, 4, 4, qmeTypeU16), dst = qmtest::Describe(out, 2, 2, qmeTypeRgb24);
    QmdDataStruct noData{nullptr, 4, 4, qmeTypeU16, 1, {}};
    EXPECT_EQ(MathBayerSimple(nullptr, &src, 0), qmeMissingImage);
    EXPECT_EQ(MathBayerSimple(&dst, nullptr, 0), qmeMissingImage);
    EXPECT_EQ(MathBayerSimple(&noData, &src, 0), qmeMissingImage);
    EXPECT_EQ(MathBayerSimple(&dst, &noData, 0), qmeMissingImage);
    EXPECT_EQ(out, std::vector<uint8_t>(12, kGuard));
}

// The samples are 16-bit whatever the type, but only the bytes the descriptor describes are read.
TEST(BayerSimple, ReadsOnlyTheBytesOfANarrowerType) {
    std::vector<uint16_t> mosaic = Counting(16);
    std::vector<uint8_t> out(27 + 3, kGuard);
    QmdDataStruct src = qmtest::Describe(mosaic, 4, 4, qmeTypeU8);  // 16 bytes: samples 0 to 7
    QmdDataStruct dst = qmtest::Describe(out, 3, 3, qmeTypeRgb24);
    ASSERT_EQ(MathBayerSimple(&dst, &src, 0), qmeSuccess);
    const uint8_t G = kGuard;
    EXPECT_EQ(out, (std::vector<uint8_t>{4, 2, 1, 6, 4, 3, 0, 2, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, G, G, G, G, G, G, G, G, G, G, G, G}));
}

TEST(BayerInterpolateRaw, Cases) {
    // Samples in[i] = 10 + i, pitch 6.
    struct Case {
        const char* what;
        uint32_t w, h;
        uint16_t shift;
        std::vector<uint8_t> expected;  // whole output of W x H pixels (guard where untouched)
    };
    const uint8_t G = kGuard;
    const Case cases[] = {
        {"W 4, H 2: the first row only",
         4, 2, 0, {16, 10, 11, 0, 11, 11, 18, 12, 13, 18, 13, 13, G, G, G, G, G, G, G, G, G, G, G, G}},
        {"W 3, H 4: uniform rows, last row untouched",
         3, 4, 0, {16, 10, 11, 0, 11, 11, 0, 11, 12, 19, 6, 0, 19, 6, 0, 19, 6, 0, 19, 6, 0, 19, 6, 0, 19, 6, 0, G, G, G, G, G, G, G, G, G}},
        {"W 2, shift 1: remembered bytes are shifted again",
         2, 2, 1, {8, 5, 5, 4, 5, 2, G, G, G, G, G, G}},
        {"W 1: remembered bytes are 1, index -1 reads 0", 1, 1, 0, {1, 0, 10}},
        {"W 1, shift 1", 1, 1, 1, {0, 0, 5}},
        {"H 1 reads nothing past the first row", 3, 1, 0, {0, 10, 11, 0, 11, 11, 0, 11, 12}},
    };
    std::vector<uint16_t> in(64);
    for (size_t i = 0; i < in.size(); ++i) in[i] = static_cast<uint16_t>(10 + i);
    for (const Case& c : cases) {
        std::vector<uint8_t> out(c.expected.size() + 6, kGuard);
        ASSERT_EQ(MathBayerInterpolate(reinterpret_cast<QmdRgbTriple*>(out.data()), c.w, c.h, in.data(), 6, 0, c.shift),
                  qmeSuccess)
            << c.what;
        EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + c.expected.size()), c.expected) << c.what;
        for (size_t i = c.expected.size(); i < out.size(); ++i) EXPECT_EQ(out[i], kGuard) << c.what;
    }
    std::vector<uint8_t> out(6, kGuard);
    EXPECT_EQ(MathBayerInterpolate(nullptr, 2, 1, in.data(), 2, 0, 0), qmeMissingImage);
    EXPECT_EQ(MathBayerInterpolate(reinterpret_cast<QmdRgbTriple*>(out.data()), 2, 1, nullptr, 2, 0, 0), qmeMissingImage);
    EXPECT_EQ(MathBayerInterpolate(reinterpret_cast<QmdRgbTriple*>(out.data()), 2, 0, in.data(), 2, 0, 0), qmeSuccess);
    EXPECT_EQ(MathBayerInterpolate(reinterpret_cast<QmdRgbTriple*>(out.data()), 0, 5, in.data(), 2, 0, 0), qmeSuccess);
    EXPECT_EQ(out, std::vector<uint8_t>(6, kGuard));
}

}  // namespace
