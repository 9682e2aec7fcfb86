// Online processing through the exported functions: the accumulation cycle and the single-pixel
// cases a host meets. Reference frames are placed in the instance directly, as the module would
// build them, so these tests do not depend on the scalar engine.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "core/owned_image.h"
#include "support/instances.h"

namespace {

using qmtest::Describe;
using qmtest::ScopedInstance;

template <class T> QmdDataStruct* OwnedFrame(int32_t type, std::vector<T> values) {
    QmdDataStruct* d = qm::CreateOwnedImage(type, static_cast<uint32_t>(values.size()), 1);
    std::memcpy(d->pData, values.data(), values.size() * sizeof(T));
    return d;
}

TEST(OnlineExports, AccumulationCycleSumsFramesAndRestarts) {
    ScopedInstance h;
    ASSERT_EQ(MathSetProcess(h, qmeOnlineAccumulate, 1), qmeSuccess);
    ASSERT_EQ(MathSetConstant(h, qmeConstFrameCount, 3), qmeSuccess);
    std::vector<uint16_t> src(4);
    std::vector<uint32_t> out(4, 77);
    QmdDataStruct s = Describe(src, 2, 2, qmeTypeU16), o = Describe(out, 2, 2, qmeTypeU32);
    ASSERT_EQ(MathSetData(h, qmeDataSourceFrame, &s), qmeSuccess);
    auto frame = [&](uint16_t v) {
        std::fill(src.begin(), src.end(), v);
        EXPECT_EQ(MathProcessData(h, &o), qmeSuccess);
        return out[3];
    };
    // Frames 1..3 sum, frame 4 starts a new sum.
    EXPECT_EQ(frame(10), 10u);
    EXPECT_EQ(frame(20), 30u);
    EXPECT_EQ(frame(65535), 65565u);
    EXPECT_EQ(h.record().nFrameCounter, 0u);
    EXPECT_EQ(frame(5), 5u);
    EXPECT_EQ(frame(6), 11u);
    // MathReset restarts the cycle mid-way.
    ASSERT_EQ(MathReset(h), qmeSuccess);
    EXPECT_EQ(frame(7), 7u);
    EXPECT_EQ(frame(8), 15u);
    // Turning accumulation off restarts the cycle too, and every frame then overwrites.
    ASSERT_EQ(MathSetProcess(h, qmeOnlineAccumulate, 0), qmeSuccess);
    EXPECT_EQ(frame(9), 9u);
    EXPECT_EQ(frame(4), 4u);
    // Frame count 0: every frame is a first frame, nothing accumulates.
    ASSERT_EQ(MathSetProcess(h, qmeOnlineAccumulate, 1), qmeSuccess);
    ASSERT_EQ(MathSetConstant(h, qmeConstFrameCount, 0), qmeSuccess);
    EXPECT_EQ(frame(3), 3u);
    EXPECT_EQ(frame(2), 2u);
}

TEST(OnlineExports, ThresholdAccumulationCountsFramesAboveA) {
    ScopedInstance h;
    MathSetProcess(h, qmeOnlineThreshold, 1);
    MathSetProcess(h, qmeOnlineClipRange, 1);  // threshold wins
    MathSetProcess(h, qmeOnlineAccumulate, 1);
    MathSetConstant(h, qmeConstFrameCount, 4);
    MathSetConstant(h, qmeConstA, 100);
    MathSetConstant(h, qmeConstB, 0);
    std::vector<uint16_t> src = {0, 0};
    std::vector<uint8_t> out(2, 9);
    QmdDataStruct s = Describe(src, 2, 1, qmeTypeU16), o = Describe(out, 2, 1, qmeTypeU8);
    MathSetData(h, qmeDataSourceFrame, &s);
    for (uint16_t v : {100, 101, 5000, 99}) {
        src = {v, 200};
        ASSERT_EQ(MathProcessData(h, &o), qmeSuccess);
    }
    EXPECT_EQ(out, (std::vector<uint8_t>{2, 4}));
}

// One pixel through MathProcessData: source value(s), references, options, constants, output.
struct PixelCase {
    const char* what;
    int32_t srcType;
    std::vector<uint32_t> src;  // one element (three bytes for colour sources)
    std::vector<int32_t> dark;
    std::vector<float> flat, gain;
    std::vector<int32_t> options;
    double a, b;
    int32_t outType;
    double expected;  // the output element read back as a number
};

double ReadBack(const std::vector<unsigned char>& out, int32_t type) {
    switch (type) {
        case 1: return static_cast<int8_t>(out[0]);
        case 6: return out[0];
        case 7: { uint16_t v; std::memcpy(&v, out.data(), 2); return v; }
        case 8: { uint32_t v; std::memcpy(&v, out.data(), 4); return v; }
        case 3: { int32_t v; std::memcpy(&v, out.data(), 4); return v; }
        case 4: { float v; std::memcpy(&v, out.data(), 4); return v; }
        default: { double v; std::memcpy(&v, out.data(), 8); return v; }
    }
}

TEST(OnlineExports, SinglePixelResultsAsAHostSeesThem) {
    const std::vector<int32_t> none;
    const PixelCase cases[] = {
        {"dark above source wraps", 7, {1000}, {1200}, {}, {}, {qmeOnlineDarkSubtract}, 0, 0, 7, 65336},
        {"dark above source, float output", 7, {1000}, {1200}, {}, {}, {qmeOnlineDarkSubtract}, 0, 0, 4, -200},
        {"flat 0.5", 7, {100}, {}, {0.5f}, {}, {qmeOnlineFlatField}, 0, 0, 7, 50},
        {"flat 0.5 truncates", 7, {101}, {}, {0.5f}, {}, {qmeOnlineFlatField}, 0, 0, 7, 50},
        {"flat factor 0", 7, {4000}, {}, {0.0f}, {}, {qmeOnlineFlatField}, 0, 0, 4, 0},
        {"negative float into U16", 7, {1}, {}, {-1.5f}, {}, {qmeOnlineFlatField}, 0, 0, 7, 65535},
        {"log of 5000", 7, {5000}, {}, {}, {1.0f}, {qmeOnlineLog10}, 0, 0, 7, 3},
        {"log of 0 stores 0", 7, {0}, {}, {}, {1.0f}, {qmeOnlineLog10}, 0, 0, 7, 0},
        {"log of 0 in F32", 7, {0}, {}, {}, {1.0f}, {qmeOnlineLog10}, 0, 0, 4, -INFINITY},
        {"log of an exact power of ten", 7, {1000}, {}, {}, {1e6f}, {qmeOnlineLog10}, 0, 0, 5, 9},
        {"log of 10^4 in I32", 7, {10}, {}, {}, {1000.0f}, {qmeOnlineLog10}, 0, 0, 3, 4},
        {"threshold equal gives 0", 7, {100}, {}, {}, {}, {qmeOnlineThreshold}, 100, 0, 7, 0},
        {"threshold above gives 1", 7, {101}, {}, {}, {}, {qmeOnlineThreshold}, 100, 0, 7, 1},
        {"clip A > B: above B", 7, {150}, {}, {}, {}, {qmeOnlineClipRange}, 200, 100, 7, 100},
        {"clip A > B: at B", 7, {100}, {}, {}, {}, {qmeOnlineClipRange}, 200, 100, 7, 200},
        {"clip to A = 10.7 truncates", 7, {3}, {}, {}, {}, {qmeOnlineClipRange}, 10.7, 50, 7, 10},
        {"type 2 source reads unsigned", 2, {0xFFFF}, {}, {}, {}, {qmeOnlineFlipVertical}, 0, 0, 5, 65535},
        {"type 3 -1 times 1.0", 3, {0xFFFFFFFF}, {}, {1.0f}, {}, {qmeOnlineFlatField}, 0, 0, 5, 4294967295.0},
        {"type 3 -1 plain copy", 3, {0xFFFFFFFF}, {}, {}, {}, {}, 0, 0, 5, -1},
        {"type 8 plain copy", 8, {0xFFFFFFFF}, {}, {}, {}, {}, 0, 0, 5, 4294967295.0},
        {"32-bit dark wraps", 8, {5}, {7}, {}, {}, {qmeOnlineDarkSubtract}, 0, 0, 8, 4294967294.0},
        {"32-bit into 16 bits", 8, {70000}, {}, {}, {}, {qmeOnlineFlipVertical}, 0, 0, 7, 4464},
        {"exact dark difference", 3, {0x7FFFFFFF}, {-1}, {1.0f}, {}, {qmeOnlineDarkSubtract, qmeOnlineFlatField}, 0, 0, 5, 2147483648.0},
        {"wrapped difference with clip", 3, {0x7FFFFFFF}, {-1}, {1.0f}, {}, {qmeOnlineDarkSubtract, qmeOnlineFlatField, qmeOnlineClipRange}, -1e300, 1e300, 5, -2147483648.0},
        {"colour mean truncates", 15, {0x1F140A}, {}, {}, {}, {qmeOnlineFlipVertical}, 0, 0, 7, 20},
        {"colour mean of white", 15, {0xFFFFFF}, {}, {}, {}, {qmeOnlineFlipVertical}, 0, 0, 7, 255},
        {"colour times 2", 15, {0x646464}, {}, {2.0f}, {}, {qmeOnlineFlatField}, 0, 0, 6, 200},
        {"colour times 2 keeps the low byte", 15, {0xC8C8C8}, {}, {2.0f}, {}, {qmeOnlineFlatField}, 0, 0, 6, 144},
        {"8-bit source with dark", 6, {3}, {5}, {}, {}, {qmeOnlineDarkSubtract}, 0, 0, 1, -2},
        {"colour source, 16-bit output: read as 16-bit pixels", 11, {0x030201}, {}, {}, {}, {}, 0, 0, 7, 0x0201},
    };
    for (const PixelCase& c : cases) {
        ScopedInstance h;
        for (int32_t option : c.options) MathSetProcess(h, option, 1);
        MathSetProcess(h, qmeProcessOnline, 1);
        MathSetConstant(h, qmeConstA, c.a);
        MathSetConstant(h, qmeConstB, c.b);
        std::vector<uint32_t> src = c.src;
        QmdDataStruct s = Describe(src, 1, 1, c.srcType);
        ASSERT_EQ(MathSetData(h, qmeDataSourceFrame, &s), qmeSuccess) << c.what;
        if (!c.dark.empty()) h.record().pDarkFrame = OwnedFrame(qmeTypeI32, c.dark);
        if (!c.flat.empty()) h.record().pFlatFieldFrame = OwnedFrame(qmeTypeF32, c.flat);
        if (!c.gain.empty()) h.record().pGainFrame = OwnedFrame(qmeTypeF32, c.gain);
        std::vector<unsigned char> out(8, 0);
        QmdDataStruct o = Describe(out, 1, 1, c.outType);
        ASSERT_EQ(MathProcessData(h, &o), qmeSuccess) << c.what;
        EXPECT_EQ(ReadBack(out, c.outType), c.expected) << c.what;
    }
}

TEST(OnlineExports, ColourOutputIsAPlainCopyWhateverTheOptions) {
    ScopedInstance h;
    MathSetProcess(h, qmeOnlineDarkSubtract, 1);
    MathSetProcess(h, qmeOnlineLog10, 1);
    MathSetProcess(h, qmeOnlineClipRange, 1);
    std::vector<unsigned char> src = {1, 2, 3, 4, 5, 6}, out(6, 0);
    QmdDataStruct s = Describe(src, 2, 1, qmeTypeRgb24), o = Describe(out, 1, 2, qmeTypeRgb24);
    MathSetData(h, qmeDataSourceFrame, &s);
    EXPECT_EQ(MathProcessData(h, &o), qmeSuccess);
    EXPECT_EQ(out, src);
    std::vector<uint16_t> mono = {1, 2};
    QmdDataStruct m = Describe(mono, 2, 1, qmeTypeU16);
    MathSetData(h, qmeDataSourceFrame, &m);
    EXPECT_EQ(MathProcessData(h, &o), qmeUnsupportedType);
}

TEST(OnlineExports, MissingSourceFrameIsReportedNotFollowed) {
    ScopedInstance h;
    MathSetProcess(h, qmeProcessOnline, 1);
    std::vector<uint16_t> out(4, 1);
    QmdDataStruct o = Describe(out, 2, 2, qmeTypeU16);
    EXPECT_EQ(MathProcessData(h, &o), qmeMissingImage);
    EXPECT_EQ(MathProcessData(h, nullptr), qmeMissingImage);
}

}  // namespace
