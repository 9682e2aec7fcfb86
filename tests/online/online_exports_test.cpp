// Online processing through the exported functions, as a camera host drives it: the accumulation
// cycle, a corrected and summed sequence of frames, and single pixels worked out by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <cstring>
#include <vector>

#include "online_model.h"
#include "support/instances.h"

namespace {

using qmtest::Describe;
using qmtest::ScopedInstance;

// Frames 1..3 of a cycle sum and frame 4 overwrites; MathReset, switching accumulation on again
// and a new frame count restart the cycle; without accumulation or with frame count 0 every frame
// overwrites. Each step: what the host does first, then (pixel value, output value) per frame.
TEST(OnlineExports, AccumulationCycleSumsFramesAndRestarts) {
    ScopedInstance h;
    ASSERT_EQ(MathSetProcess(h, qmeOnlineAccumulate, 1), qmeSuccess);
    std::vector<uint16_t> src(4);
    std::vector<uint32_t> out(4, 77);
    QmdDataStruct s = Describe(src, 2, 2, qmeTypeU16), o = Describe(out, 2, 2, qmeTypeU32);
    ASSERT_EQ(MathSetData(h, qmeDataSourceFrame, &s), qmeSuccess);
    const struct { void (*before)(QmHandle); std::vector<std::pair<uint16_t, uint32_t>> frames; } steps[] = {
        {[](QmHandle i) { MathSetConstant(i, qmeConstFrameCount, 3); }, {{10, 10}, {20, 30}, {65535, 65565}, {5, 5}, {6, 11}}},
        {[](QmHandle i) { MathReset(i); }, {{7, 7}, {8, 15}}},
        {[](QmHandle i) { MathSetProcess(i, qmeOnlineAccumulate, 1); }, {{1, 1}, {2, 3}, {3, 6}, {4, 4}}},
        {[](QmHandle i) { MathSetProcess(i, qmeOnlineAccumulate, 0); }, {{9, 9}, {4, 4}}},
        {[](QmHandle i) { MathSetProcess(i, qmeOnlineAccumulate, 1), MathSetConstant(i, qmeConstFrameCount, 0); }, {{3, 3}, {2, 2}}},
    };
    for (size_t step = 0; step < std::size(steps); ++step) {
        steps[step].before(h);
        for (auto [value, sum] : steps[step].frames) {
            std::fill(src.begin(), src.end(), value);
            ASSERT_EQ(MathProcessData(h, &o), qmeSuccess);
            EXPECT_EQ(out, std::vector<uint32_t>(4, sum)) << "step " << step << " pixel " << value;
        }
    }
}

// Dark frame from a U16 image, flat field normalised by its mean, three frames summed into F32.
TEST(OnlineExports, CameraSequenceIsCorrectedAndSummed) {
    constexpr uint32_t kW = 37, kH = 5, kN = kW * kH;
    std::mt19937 rng(2024);
    std::vector<uint16_t> darkImage(kN), flatImage(kN), src(kN);
    for (uint32_t i = 0; i < kN; ++i) {
        darkImage[i] = static_cast<uint16_t>(rng() % 400);
        flatImage[i] = static_cast<uint16_t>(i % 40 == 3 ? 0 : 1000 + rng() % 3000);
    }
    ScopedInstance h;
    QmdDataStruct d = Describe(darkImage, kW, kH, qmeTypeU16), f = Describe(flatImage, kW, kH, qmeTypeU16), s = Describe(src, kW, kH, qmeTypeU16);
    ASSERT_EQ(MathSetData(h, qmeDataDarkFrame, &d), qmeSuccess);
    ASSERT_EQ(MathSetData(h, qmeDataFlatFieldMean, &f), qmeSuccess);
    ASSERT_EQ(MathSetData(h, qmeDataSourceFrame, &s), qmeSuccess);
    for (int32_t code : {qmeOnlineDarkSubtract, qmeOnlineFlatField, qmeOnlineAccumulate}) ASSERT_EQ(MathSetProcess(h, code, 1), qmeSuccess);
    ASSERT_EQ(MathSetConstant(h, qmeConstFrameCount, 3), qmeSuccess);
    // The references as the module builds them: the dark image as I32; the factor mean / x, 0 where
    // x is 0, made as the float reciprocal then multiplied by the mean, each step rounded once.
    double mean = 0.0;
    for (uint16_t x : flatImage) mean += x;
    mean /= kN;
    std::vector<int32_t> dark(darkImage.begin(), darkImage.end());
    std::vector<float> factor(kN);
    for (uint32_t i = 0; i < kN; ++i) {
        const float reciprocal = flatImage[i] == 0 ? 0.0f : onlinemodel::RoundNearest<float>(1 / mpq_class(flatImage[i]));
        factor[i] = onlinemodel::RoundNearest<float>(onlinemodel::Q(reciprocal) * onlinemodel::Q(mean));
    }
    std::vector<float> out(kN, 123.0f), expected(kN);
    QmdDataStruct o = Describe(out, kW, kH, qmeTypeF32);
    for (int frame = 1; frame <= 3; ++frame) {
        for (uint16_t& x : src) x = static_cast<uint16_t>(rng() % (frame == 2 ? 600 : 65536));  // frame 2 mostly below the dark
        ASSERT_EQ(MathProcessData(h, &o), qmeSuccess);
        for (uint32_t i = 0; i < kN; ++i) {
            float value;
            onlinemodel::ModelPixel(reinterpret_cast<unsigned char*>(&value), qmeTypeF32, reinterpret_cast<const unsigned char*>(src.data()),
                                    qmeTypeU16, i, dark.data(), factor.data(), nullptr, 0, 0, {true, true, false, onlinemodel::Final::None});
            expected[i] = frame == 1 ? value : expected[i] + value;
        }
        ASSERT_EQ(out, expected) << "frame " << frame;
    }
}

// One pixel through MathProcessData. References are attached through MathSetData: the dark
// pixel as I32, the flat image (factor 1 / x) and the gain as F32.
TEST(OnlineExports, SinglePixelsWorkedByHand) {
    const struct {
        const char* what;
        int32_t srcType;
        uint32_t src;  // the element's bytes (three for colour sources)
        int32_t dark;
        float flatImage, gain;
        std::vector<int32_t> options;
        double a, b;
        int32_t outType;
        double expected;  // the output element read back as a number
    } cases[] = {
        {"dark above source wraps", 7, 1000, 1200, 1, 1, {qmeOnlineDarkSubtract}, 0, 0, qmeTypeU16, 65336},
        {"dark above source, float output", 7, 1000, 1200, 1, 1, {qmeOnlineDarkSubtract}, 0, 0, qmeTypeF32, -200},
        {"flat 0.5 truncates", 7, 101, 0, 2, 1, {qmeOnlineFlatField}, 0, 0, qmeTypeU16, 50},
        {"log of an exact power of ten", 7, 1000, 0, 1, 1e6f, {qmeOnlineLog10}, 0, 0, qmeTypeF64, 9},
        {"log of 0 in F32", 7, 0, 0, 1, 1, {qmeOnlineLog10}, 0, 0, qmeTypeF32, -INFINITY},
        {"threshold: equal gives 0", 7, 100, 0, 1, 1, {qmeOnlineThreshold}, 100, 0, qmeTypeU16, 0},
        {"clip with A > B: above B", 7, 150, 0, 1, 1, {qmeOnlineClipRange}, 200, 100, qmeTypeU16, 100},
        {"clip with A > B: at B", 7, 100, 0, 1, 1, {qmeOnlineClipRange}, 200, 100, qmeTypeU16, 200},
        {"type 2 reads unsigned", 2, 0xFFFF, 0, 1, 1, {qmeOnlineFlipVertical}, 0, 0, qmeTypeF64, 65535},
        {"type 3 -1 times 1.0 reads unsigned", 3, 0xFFFFFFFF, 0, 1, 1, {qmeOnlineFlatField}, 0, 0, qmeTypeF64, 4294967295.0},
        {"type 3 plain copy reads signed", 3, 0xFFFFFFFF, 0, 1, 1, {}, 0, 0, qmeTypeF64, -1},
        {"exact dark difference", 3, 0x7FFFFFFF, -1, 1, 1, {qmeOnlineDarkSubtract, qmeOnlineFlatField}, 0, 0, qmeTypeF64, 2147483648.0},
        {"wrapped difference with clip", 3, 0x7FFFFFFF, -1, 1, 1, {qmeOnlineDarkSubtract, qmeOnlineFlatField, qmeOnlineClipRange}, -1e300, 1e300, qmeTypeF64, -2147483648.0},
        {"colour mean truncates", 15, 0x1F140A, 0, 1, 1, {qmeOnlineFlipVertical}, 0, 0, qmeTypeU16, 20},
        {"colour source into 16 bits: 16-bit pixels", 11, 0x030201, 0, 1, 1, {}, 0, 0, qmeTypeU16, 0x0201},
    };
    for (const auto& c : cases) {
        ScopedInstance h;
        MathSetProcess(h, qmeProcessOnline, 1);
        for (int32_t option : c.options) MathSetProcess(h, option, 1);
        MathSetConstant(h, qmeConstA, c.a);
        MathSetConstant(h, qmeConstB, c.b);
        std::vector<uint32_t> src{c.src};
        std::vector<int32_t> dark{c.dark};
        std::vector<float> flat{c.flatImage}, gain{c.gain};
        QmdDataStruct s = Describe(src, 1, 1, c.srcType), d = Describe(dark, 1, 1, qmeTypeI32), f = Describe(flat, 1, 1, qmeTypeF32), g = Describe(gain, 1, 1, qmeTypeF32);
        ASSERT_EQ(MathSetData(h, qmeDataSourceFrame, &s), qmeSuccess) << c.what;
        MathSetData(h, qmeDataDarkFrame, &d), MathSetData(h, qmeDataFlatField, &f), MathSetData(h, qmeDataGainFrame, &g);
        std::vector<double> out(1, 0.0);  // room for any element type
        QmdDataStruct o = Describe(out, 1, 1, c.outType);
        ASSERT_EQ(MathProcessData(h, &o), qmeSuccess) << c.what;
        float single;
        uint16_t u16;
        std::memcpy(&single, out.data(), 4), std::memcpy(&u16, out.data(), 2);
        EXPECT_EQ(c.outType == qmeTypeF64 ? out[0] : c.outType == qmeTypeF32 ? single : u16, c.expected) << c.what;
    }
}

}  // namespace
