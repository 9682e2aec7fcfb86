// SPDX-License-Identifier: MIT
// Online processing through the exported functions, as a camera host drives it: the accumulation
// cycle, a corrected and summed sequence of frames, and single pixels worked out by hand.
#include <gtest/gtest.h>

#include <random>
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
    const struct {
        void (*before)(QmHandle);
        std::vector<std::pair<uint16_t, uint32_t>> frames;
    } steps[] = {
        {[](QmHandle i) { MathSetConstant(i, qmeConstFrameCount, 3); },
         {{10, 10}, {20, 30}, {65535, 65565}, {5, 5}, {6, 11}}},
        {[](QmHandle i) { MathReset(i); }, {{7, 7}, {8, 15}}},
        {[](QmHandle i) { MathSetProcess(i, qmeOnlineAccumulate, 1); }, {{1, 1}, {2, 3}, {3, 6}, {4, 4}}},
        {[](QmHandle i) { MathSetProcess(i, qmeOnlineAccumulate, 0); }, {{9, 9}, {4, 4}}},
        {[](QmHandle i) { MathSetProcess(i, qmeOnlineAccumulate, 1), MathSetConstant(i, qmeConstFrameCount, 0); },
         {{3, 3}, {2, 2}}},
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
    QmdDataStruct d = Describe(darkImage, kW, kH, qmeTypeU16), f = Describe(flatImage, kW, kH, qmeTypeU16),
                  s = Describe(src, kW, kH, qmeTypeU16);
    ASSERT_EQ(MathSetData(h, qmeDataDarkFrame, &d), qmeSuccess);
    ASSERT_EQ(MathSetData(h, qmeDataFlatFieldMean, &f), qmeSuccess);
    ASSERT_EQ(MathSetData(h, qmeDataSourceFrame, &s), qmeSuccess);
    for (int32_t code : {qmeOnlineDarkSubtract, qmeOnlineFlatField, qmeOnlineAccumulate})
        ASSERT_EQ(MathSetProcess(h, code, 1), qmeSuccess);
    ASSERT_EQ(MathSetConstant(h, qmeConstFrameCount, 3), qmeSuccess);
    // The references as the module builds them: the dark image as I32; the factor mean / x, 0 where
    // x is 0, made as the float reciprocal then multiplied by the mean, each step rounded once.
    double mean = 0.0;
    for (uint16_t x : flatImage) mean += x;
    mean /= kN;
    std::vector<int32_t> dark(darkImage.begin(), darkImage.end());
    std::vector<float> factor(kN);
    for (uint32_t i = 0; i < kN; ++i) {
        const float reciprocal =
            flatImage[i] == 0 ? 0.0f : onlinemodel::RoundNearest<float>(1 / mpq_class(flatImage[i]));
        factor[i] = onlinemodel::RoundNearest<float>(onlinemodel::Q(reciprocal) * onlinemodel::Q(mean));
    }
    std::vector<float> out(kN, 123.0f), expected(kN);
    QmdDataStruct o = Describe(out, kW, kH, qmeTypeF32);
    for (int frame = 1; frame <= 3; ++frame) {
        for (uint16_t& x : src)
            x = static_cast<uint16_t>(rng() % (frame == 2 ? 600 : 65536));  // frame 2 mostly below the dark
        ASSERT_EQ(MathProcessData(h, &o), qmeSuccess);
        for (uint32_t i = 0; i < kN; ++i) {
            float value;
            onlinemodel::ModelPixel(reinterpret_cast<unsigned char*>(&value), qmeTypeF32,
                                    reinterpret_cast<const unsigned char*>(src.data()), qmeTypeU16, i, dark.data(),
                                    factor.data(), nullptr, 0, 0, {true, true, false, onlinemodel::Final::None});
            expected[i] = frame == 1 ? value : expected[i] + value;
        }
        ASSERT_EQ(out, expected) << "frame " << frame;
    }
}

}  // namespace
